# Debian packages, one of each component; scripts/package makes them. Those of a port depend on nothing of another one.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
# The summaries are the first lines of the components' descriptions.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "TQWhiteBoardLib developers <developers@whiteboard.example>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Each version of Boost has an ABI of its own, and its values are part of the interface.
set(boost_json libboost-json${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}-dev)
set(this_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtqwhiteboardlib-common-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${boost_json})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS tqwhiteboard-conference)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "shared whiteboard rooms for applications - common development files
Headers of the library, for C++20, which are the same for GTK and for Qt, the
documents, the examples, and the script with which pages call their
application. Applications are built with libtqwhiteboardlib-dev (GTK) or
libtqwhiteboardlib-qt-dev.")

file(WRITE "${PROJECT_BINARY_DIR}/generated/triggers" "activate-noawait ldconfig\n")
# @param name of the packages begins with that. @param toolkit as it is written. @param headers are its package of them.
macro(tqwb_package_port port name toolkit headers)
    string(TOUPPER "${port}" PORT)
    list(APPEND CPACK_COMPONENTS_ALL runtime-${port} development-${port})
    set(CPACK_DEBIAN_RUNTIME-${PORT}_PACKAGE_NAME ${name}${PROJECT_VERSION_MAJOR})
    set(CPACK_DEBIAN_RUNTIME-${PORT}_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_RUNTIME-${PORT}_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/generated/triggers")
    set(CPACK_COMPONENT_RUNTIME-${PORT}_DESCRIPTION "shared whiteboard rooms for applications - library for ${toolkit}
Puts a shared, interactive whiteboard room on an application's screen: finds
the conference service, joins, replays and leaves rooms, and carries calls
between the room's page and the application.")

    set(CPACK_DEBIAN_DEVELOPMENT-${PORT}_PACKAGE_NAME ${name}-dev)
    set(CPACK_DEBIAN_DEVELOPMENT-${PORT}_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_DEVELOPMENT-${PORT}_PACKAGE_SHLIBDEPS OFF)
    string(CONCAT CPACK_DEBIAN_DEVELOPMENT-${PORT}_PACKAGE_DEPENDS "${name}${PROJECT_VERSION_MAJOR} ${this_version}, "
        "${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME} ${this_version}")
    set(CPACK_DEBIAN_DEVELOPMENT-${PORT}_PACKAGE_RECOMMENDS ${headers})
    set(CPACK_COMPONENT_DEVELOPMENT-${PORT}_DESCRIPTION
        "shared whiteboard rooms for applications - development files for ${toolkit}
What applications for ${toolkit} are built with beside the common files: how CMake
and pkg-config find the library, and the header that gives a view's widget.")
endmacro()
if(TQWB_HAS_GTK)
    tqwb_package_port(gtk libtqwhiteboardlib GTK libgtk-4-dev)
    # The engine's TLS, which is loaded at run time.
    set(CPACK_DEBIAN_RUNTIME-GTK_PACKAGE_DEPENDS glib-networking)
endif()
if(TQWB_HAS_QT)
    tqwb_package_port(qt libtqwhiteboardlib-qt Qt qt6-base-dev)
    # Wayland, and more kinds of pictures.
    set(CPACK_DEBIAN_RUNTIME-QT_PACKAGE_SUGGESTS "qt6-wayland, qt6-image-formats-plugins")
endif()

if(TQWB_HAS_APPS)
    list(APPEND CPACK_COMPONENTS_ALL client conference)
    set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/CompressManuals.cmake")
endif()
set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME tqwhiteboard)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_CLIENT_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME-GTK_PACKAGE_NAME} (>= ${PROJECT_VERSION})")
# Draws the program's icon.
set(CPACK_DEBIAN_CLIENT_PACKAGE_RECOMMENDS librsvg2-common)
set(CPACK_COMPONENT_CLIENT_DESCRIPTION "client for shared whiteboard rooms
Shows a room in a window, where several people draw on one board, and replays
recorded ones. Scripts can do what a person does, by its standard input.")

set(CPACK_DEBIAN_CONFERENCE_PACKAGE_NAME tqwhiteboard-conference)
set(CPACK_DEBIAN_CONFERENCE_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_CONFERENCE_DESCRIPTION "local conference service for shared whiteboard rooms
Stands in for a conference service on a developer's own machine: navigation,
rooms, recordings and the rooms' page, over HTTPS on the loopback address.")

include(CPack)
