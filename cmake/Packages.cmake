# Debian packages of the four components; scripts/package makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development client conference)
set(CPACK_COMPONENTS_GROUPING IGNORE)
# The summaries are the first lines of the components' descriptions.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/CompressManuals.cmake")
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

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtqwhiteboardlib${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
file(WRITE "${PROJECT_BINARY_DIR}/generated/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/generated/triggers")
# The engine's TLS, which is loaded at run time.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS glib-networking)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "shared whiteboard rooms for applications - library
Puts a shared, interactive whiteboard room on an application's screen: finds
the conference service, joins, replays and leaves rooms, and carries calls
between the room's page and the application.")

# Each version of Boost has an ABI of its own, and its values are part of the interface.
set(boost_json libboost-json${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtqwhiteboardlib-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), ${boost_json}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS libgtk-4-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS tqwhiteboard-conference)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "shared whiteboard rooms for applications - development files
Headers of the library, for C++20, the files by which CMake and pkg-config
find it, and the script with which pages call their application.")

set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME tqwhiteboard)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_CLIENT_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (>= ${PROJECT_VERSION})")
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
