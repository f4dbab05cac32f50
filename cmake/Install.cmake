# What an installation holds, in components: for each port runtime-PORT (its library) and development-PORT (what building
# against that takes beside the next), development (what is the same for all ports, with the documents and the script for
# authors of pages), client and conference.
include(GNUInstallDirs)

# Below include/TQWhiteBoardLib, there as here.
set(public_headers
    Answer.h
    Coroutines.h
    DSCallInfo.h
    DWKWebView.h
    Declarations.h
    DialogLabels.h
    NativeFunctions.h
    PageFunction.h
    TQWBError.h
    TQWBException.h
    TQWBLog.h
    TQWBNaviCode.h
    TQWBNaviDataInfo.h
    TQWBPermission.h
    TQWBPermissionProtocol.h
    TQWBRecordConfig.h
    TQWBRecordProtocol.h
    TQWBRole.h
    TQWBRoom.h
    TQWBRoomCode.h
    TQWBRoomConfig.h
    TQWBRoomStatusProtocol.h
    TQWBSessionCode.h
    TQWBWebView.h
    TQWhiteBoard.h
    TQWhiteBoardLib.h
    testing/TQWBFakeRoom.h
)
# What these include of the platform's headers. They are installed beside them, where a quoted "platform/..." is looked for
# first: users need no search path of their own for it.
set(platform_headers
    platform/Foundation/Dispatch.h
    platform/Foundation/Export.h
    platform/Foundation/NSClass.h
    platform/Foundation/NSConversion.h
    platform/Foundation/NSError.h
    platform/Foundation/NSFunction.h
    platform/Foundation/NSObject.h
    platform/Foundation/NSOperationQueue.h
    platform/Foundation/NSStream.h
    platform/Foundation/NSTypes.h
    platform/Foundation/NSURL.h
    platform/Foundation/NSURLRequest.h
    platform/Foundation/NSURLSessionConfiguration.h
    platform/Foundation/TypeScript.h
    platform/Foundation/WeakDelegate.h
    platform/UIKit/CGGeometry.h
    platform/UIKit/UIAlertView.h
    platform/UIKit/UIColor.h
    platform/UIKit/UIImage.h
    platform/UIKit/UIProgressView.h
    platform/UIKit/UIScrollView.h
    platform/UIKit/UIView.h
    platform/WebKit/WKNavigationDelegate.h
    platform/WebKit/WKScriptMessageHandler.h
    platform/WebKit/WKUIDelegate.h
    platform/WebKit/WKUserContentController.h
    platform/WebKit/WKWebView.h
    platform/WebKit/WKWebViewConfiguration.h
)

function(tqwb_install_headers component from)
    foreach(header ${ARGN})
        cmake_path(GET header PARENT_PATH folder)
        install(FILES "${from}/${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/TQWhiteBoardLib/${folder}"
            COMPONENT ${component})
    endforeach()
endfunction()

# The terms go with every component; the name of the package is that of the folder they are looked for in.
function(tqwb_install_terms component package)
    install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}" RENAME copyright
        COMPONENT ${component})
endfunction()

function(tqwb_install_manual component manual)
    cmake_path(GET manual STEM LAST_ONLY page)
    configure_file("${manual}" "${PROJECT_BINARY_DIR}/generated/${page}" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/generated/${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
        COMPONENT ${component})
endfunction()

# development: how builds find the libraries, and what these have in common
tqwb_install_headers(development include/TQWhiteBoardLib ${public_headers})
tqwb_install_headers(development . ${platform_headers})
tqwb_install_terms(development libtqwhiteboardlib-common-dev)
include(CMakePackageConfigHelpers)
set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/TQWhiteBoardLib")
configure_file(cmake/TQWhiteBoardLibConfig.cmake.in "${PROJECT_BINARY_DIR}/generated/TQWhiteBoardLibConfig.cmake" @ONLY)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/generated/TQWhiteBoardLibConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/generated/TQWhiteBoardLibConfig.cmake"
    "${PROJECT_BINARY_DIR}/generated/TQWhiteBoardLibConfigVersion.cmake"
    DESTINATION "${package_directory}" COMPONENT development)

# In pkg-config files from their own place, so that the whole installation may be moved.
file(RELATIVE_PATH prefix_from_pkgconfig "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")

# runtime-PORT and development-PORT
# @param library is the target. @param name of its packages and its pkg-config file begin with that.
function(tqwb_install_library port library name)
    install(TARGETS ${library} EXPORT ${library}Targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime-${port}
        NAMELINK_COMPONENT development-${port}
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    install(EXPORT ${library}Targets NAMESPACE TQWhiteBoardLib:: COMPONENT development-${port}
        DESTINATION "${package_directory}")
    tqwb_install_headers(development-${port} include/TQWhiteBoardLib ${port}/NativeView.h)
    configure_file(cmake/tqwhiteboardlib.pc.in "${PROJECT_BINARY_DIR}/generated/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/generated/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
        COMPONENT development-${port})
    tqwb_install_terms(runtime-${port} lib${name}${PROJECT_VERSION_MAJOR})
    tqwb_install_terms(development-${port} lib${name}-dev)
endfunction()
if(TQWB_HAS_GTK)
    tqwb_install_library(gtk TQWhiteBoardLib tqwhiteboardlib)
endif()
if(TQWB_HAS_QT)
    tqwb_install_library(qt TQWhiteBoardLibQt tqwhiteboardlib-qt)
endif()

# development: the other end of the bridge, for authors of pages; documents and examples. They lie as in the tree, so that
# their links lead where they should.
set(data_directory "${CMAKE_INSTALL_DATADIR}/tqwhiteboardlib")
install(FILES page/bridge.js page/bridge.d.ts DESTINATION "${data_directory}/page" COMPONENT development)
install(DIRECTORY docs/images DESTINATION "${data_directory}/docs" COMPONENT development)
install(DIRECTORY examples DESTINATION "${data_directory}" COMPONENT development
    FILES_MATCHING PATTERN CMakeLists.txt PATTERN "*.cpp" PATTERN "*.h" PATTERN "*.html")

# Headers and terms are elsewhere in an installation, and what is for work on the library itself is not there: links to
# that become plain text.
file(RELATIVE_PATH include_from_data "/prefix/${data_directory}" "/prefix/${CMAKE_INSTALL_INCLUDEDIR}")
file(RELATIVE_PATH terms_from_data "/prefix/${data_directory}"
    "/prefix/${CMAKE_INSTALL_DATADIR}/doc/libtqwhiteboardlib-common-dev/copyright")
function(tqwb_install_document document)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${document}")
    file(READ "${document}" text)
    string(REGEX REPLACE "\\[([^]]*)\\]\\((\\.\\./)?(CONTRIBUTING|bench/|fuzz/|scripts/|tests/)[^)]*\\)" "\\1" text "${text}")
    string(REGEX REPLACE "\\]\\(((\\.\\./)*)include/" "](\\1${include_from_data}/" text "${text}")
    string(REPLACE "](LICENSE)" "](${terms_from_data})" text "${text}")
    file(WRITE "${PROJECT_BINARY_DIR}/generated/documents/${document}" "${text}")
    cmake_path(GET document PARENT_PATH folder)
    install(FILES "${PROJECT_BINARY_DIR}/generated/documents/${document}" DESTINATION "${data_directory}/${folder}"
        COMPONENT development)
endfunction()
foreach(document CHANGELOG.md README.md SECURITY.md docs/architecture.md docs/client.md docs/guide.md docs/performance.md
        docs/room-page.md page/README.md)
    tqwb_install_document(${document})
endforeach()

if(TQWB_HAS_APPS)
    # The client looks for the library from its own place, too.
    file(RELATIVE_PATH libraries_from_programs "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(tqwhiteboard PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_programs}")
    install(TARGETS tqwhiteboard DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT client)
    install(FILES apps/client/tqwhiteboard.desktop DESTINATION "${CMAKE_INSTALL_DATADIR}/applications"
        COMPONENT client)
    install(FILES apps/client/tqwhiteboard.svg DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps"
        COMPONENT client)
    tqwb_install_manual(client apps/client/tqwhiteboard.1.in)
    tqwb_install_terms(client tqwhiteboard)

    install(TARGETS tqwhiteboard-conference DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT conference)
    tqwb_install_manual(conference apps/conference/tqwhiteboard-conference.1.in)
    tqwb_install_terms(conference tqwhiteboard-conference)
endif()
