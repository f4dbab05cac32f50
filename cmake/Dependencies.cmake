find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Boost 1.81 CONFIG REQUIRED COMPONENTS json)
pkg_check_modules(WEBKIT REQUIRED IMPORTED_TARGET webkitgtk-6.0>=2.40)
pkg_check_modules(GTK REQUIRED IMPORTED_TARGET gtk4>=4.8)
pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl>=7.85)
pkg_check_modules(SQLITE REQUIRED IMPORTED_TARGET sqlite3)
pkg_check_modules(SOUP REQUIRED IMPORTED_TARGET libsoup-3.0)
if(TQWB_BUILD_APPS)
    pkg_check_modules(ADWAITA REQUIRED IMPORTED_TARGET libadwaita-1>=1.2)
endif()

# The code is written for the oldest of them: what newer ones call deprecated is all that it has, and what they add is not
# there everywhere.
target_compile_definitions(PkgConfig::GTK INTERFACE
    GDK_VERSION_MIN_REQUIRED=GDK_VERSION_4_8 GDK_VERSION_MAX_ALLOWED=GDK_VERSION_4_8)
if(TQWB_BUILD_APPS)
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
