find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Boost 1.81 CONFIG REQUIRED COMPONENTS json)
pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl>=7.85)
pkg_check_modules(SQLITE REQUIRED IMPORTED_TARGET sqlite3)

# A port is built where its toolkit is.
pkg_check_modules(WEBKIT IMPORTED_TARGET webkitgtk-6.0>=2.40)
pkg_check_modules(GTK IMPORTED_TARGET gtk4>=4.8)
find_package(Qt6 6.4 QUIET COMPONENTS Widgets Network WebEngineWidgets)
set(TQWB_HAS_GTK OFF)
if("gtk" IN_LIST TQWB_PORTS AND TARGET PkgConfig::WEBKIT AND TARGET PkgConfig::GTK)
    set(TQWB_HAS_GTK ON)
endif()
set(TQWB_HAS_QT OFF)
if("qt" IN_LIST TQWB_PORTS AND TARGET Qt6::WebEngineWidgets)
    set(TQWB_HAS_QT ON)
endif()
if(NOT TQWB_HAS_GTK AND NOT TQWB_HAS_QT)
    message(FATAL_ERROR "There is no port to build: that takes GTK 4.8 and WebKitGTK 6.0, or Qt 6.4 with WebEngine Widgets")
elseif(NOT TQWB_HAS_GTK)
    message(STATUS "Left out: the GTK port and the programs, which take GTK 4.8, WebKitGTK 6.0 and a place in TQWB_PORTS")
elseif(NOT TQWB_HAS_QT)
    message(STATUS "Left out: the Qt port, which takes Qt 6.4 with WebEngine Widgets and a place in TQWB_PORTS")
endif()

# The programs are made with GTK.
set(TQWB_HAS_APPS OFF)
if(TQWB_BUILD_APPS AND TQWB_HAS_GTK)
    set(TQWB_HAS_APPS ON)
    pkg_check_modules(SOUP REQUIRED IMPORTED_TARGET libsoup-3.0)
    pkg_check_modules(ADWAITA REQUIRED IMPORTED_TARGET libadwaita-1>=1.2)
endif()

# The code is written for the oldest of them: what newer ones call deprecated is all that it has, and what they add is not
# there everywhere.
if(TQWB_HAS_GTK)
    target_compile_definitions(PkgConfig::GTK INTERFACE
        GDK_VERSION_MIN_REQUIRED=GDK_VERSION_4_8 GDK_VERSION_MAX_ALLOWED=GDK_VERSION_4_8)
endif()
if(TQWB_HAS_APPS)
    target_compile_definitions(PkgConfig::ADWAITA INTERFACE
        ADW_VERSION_MIN_REQUIRED=ADW_VERSION_1_2 ADW_VERSION_MAX_ALLOWED=ADW_VERSION_1_2)
endif()

# The toolkit's headers are not ours to keep free of warnings.
foreach(dependency WEBKIT GTK CURL SQLITE SOUP ADWAITA)
    if(NOT TARGET PkgConfig::${dependency})
        continue()
    endif()
    get_target_property(directories PkgConfig::${dependency} INTERFACE_INCLUDE_DIRECTORIES)
    if(directories)
        set_target_properties(PkgConfig::${dependency} PROPERTIES
            INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${directories}")
    endif()
endforeach()
