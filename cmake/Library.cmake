# What all ports share, beside the core.
set(TQWB_SHARED_SOURCES
    bridge/DWKWebView.cpp
    bridge/DWKWebViewApi.cpp
    bridge/DWKWebViewCalls.cpp
    bridge/DWKWebViewDialogs.cpp
    bridge/DWKWebViewOrigins.cpp
    bridge/InternalApis.cpp
    bridge/OpenCalls.cpp
    bridge/PageConsole.cpp
    bridge/PagePort.cpp
    bridge/PagePorts.cpp
    bridge/PendingCall.cpp
    bridge/Secret.cpp
    host/TQWBBridge.cpp
    host/TQWBProtocols.cpp
    host/TQWBWebView.cpp
    navigation/TQWBNaviCache.cpp
    navigation/TQWBNaviManager.cpp
    platform/Foundation/Dispatch.cpp
    platform/UIKit/UIAlertView.cpp
    platform/UIKit/UIProgressView.cpp
    platform/UIKit/UIView.cpp
    platform/WebKit/WKDelegates.cpp
    platform/WebKit/WKWebView.cpp
    platform/posix/BackgroundWork.cpp
    platform/posix/CurlErrors.cpp
    platform/posix/CurlTransfer.cpp
    platform/posix/DefaultsDatabase.cpp
    platform/posix/NSOperationQueue.cpp
    platform/posix/NSURL.cpp
    platform/posix/NSURLSession.cpp
    platform/posix/NSURLSessionConfiguration.cpp
    platform/posix/NSUserDefaults.cpp
    platform/posix/Random.cpp
    session/ConferenceRequests.cpp
    session/LiveRoom.cpp
    session/Membership.cpp
    session/RoomProgress.cpp
    session/ServiceRequests.cpp
    session/ServiceSearch.cpp
    session/TQWBError.cpp
    session/TQWBFakeRoom.cpp
    session/TQWBRoom.cpp
    session/TQWhiteBoard.cpp
)

# What each port answers in its own way: one .cpp for each header of platform/ that asks for it.
set(TQWB_GTK_SOURCES
    platform/gtk/AlertContent.cpp
    platform/gtk/AlertWindow.cpp
    platform/gtk/Dispatch.cpp
    platform/gtk/NSLog.cpp
    platform/gtk/NavigationErrors.cpp
    platform/gtk/ServerCertificates.cpp
    platform/gtk/UIImage.cpp
    platform/gtk/UIProgressView.cpp
    platform/gtk/UIScreen.cpp
    platform/gtk/UITextField.cpp
    platform/gtk/UIView.cpp
    platform/gtk/WKWebView.cpp
    platform/gtk/WKWebViewDialogs.cpp
    platform/gtk/WKWebViewNavigation.cpp
    platform/gtk/WKWebViewTouch.cpp
    platform/gtk/WKWebViewTrust.cpp
    platform/gtk/WKWebViewUserContent.cpp
    platform/gtk/WidgetStyle.cpp
)
set(TQWB_QT_SOURCES
    platform/qt/AlertContent.cpp
    platform/qt/AlertWindow.cpp
    platform/qt/Dispatch.cpp
    platform/qt/MessageChannel.cpp
    platform/qt/NSLog.cpp
    platform/qt/NavigationErrors.cpp
    platform/qt/PageQuestion.cpp
    platform/qt/PageScripts.cpp
    platform/qt/Profiles.cpp
    platform/qt/QtText.cpp
    platform/qt/ServerTrust.cpp
    platform/qt/UIImage.cpp
    platform/qt/UIProgressView.cpp
    platform/qt/UIScreen.cpp
    platform/qt/UITextField.cpp
    platform/qt/UIView.cpp
    platform/qt/WKWebView.cpp
    platform/qt/WKWebViewDialogs.cpp
    platform/qt/WKWebViewNavigation.cpp
    platform/qt/WKWebViewTrust.cpp
    platform/qt/WKWebViewUserContent.cpp
)

# The objects are compiled once: the shared library and the tests of its insides both link them.
configure_file(session/DefaultNavigation.h.in "${PROJECT_BINARY_DIR}/generated/DefaultNavigation.h" @ONLY)
function(tqwb_add_objects name)
    add_library(${name} OBJECT ${ARGN})
    target_include_directories(${name} PRIVATE "${PROJECT_BINARY_DIR}/generated")
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>"
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
    )
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_link_libraries(${name} PUBLIC Boost::json PRIVATE tqwb_options Threads::Threads)
    # Sanitizers make compilers slow; most of what they read are headers. Other builds see that each file has its own.
    if(TQWB_SANITIZERS)
        set_target_properties(${name} PROPERTIES UNITY_BUILD ON)
    endif()
endfunction()
tqwb_add_objects(tqwb_objects ${TQWB_CORE_SOURCES} ${TQWB_SHARED_SOURCES})
target_link_libraries(tqwb_objects PRIVATE PkgConfig::CURL PkgConfig::SQLITE)
tqwb_precompile_headers(tqwb_objects <boost/json.hpp> <functional> <map> <memory> <string> <vector>)

# One library for each port, of the same objects and its own.
# @param name of the target. @param export by which users of CMake know it, after "TQWhiteBoardLib::".
function(tqwb_add_library name export)
    add_library(${name} SHARED)
    add_library(TQWhiteBoardLib::${export} ALIAS ${name})
    target_link_libraries(${name} PRIVATE tqwb_objects ${ARGN} PUBLIC Boost::json)
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>"
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
    )
    target_compile_features(${name} PUBLIC cxx_std_20)
    set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        EXPORT_NAME ${export})
    # What the sanitizers compare in both the library and its users must be one thing: everything stays in sight for them.
    if(NOT TQWB_SANITIZERS)
        set(exports "${PROJECT_SOURCE_DIR}/cmake/exports.map")
        target_link_options(${name} PRIVATE "LINKER:--version-script=${exports}" "LINKER:-z,defs")
        set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${exports}")
    endif()
endfunction()

if(TQWB_HAS_GTK)
    tqwb_add_objects(tqwb_gtk_objects ${TQWB_GTK_SOURCES})
    target_link_libraries(tqwb_gtk_objects PRIVATE PkgConfig::WEBKIT PkgConfig::GTK)
    tqwb_precompile_headers(tqwb_gtk_objects <webkit/webkit.h> <boost/json.hpp> <functional> <memory> <string>)
    tqwb_add_library(TQWhiteBoardLib TQWhiteBoardLib tqwb_gtk_objects)
endif()
if(TQWB_HAS_QT)
    tqwb_add_objects(tqwb_qt_objects ${TQWB_QT_SOURCES})
    target_compile_definitions(tqwb_qt_objects PRIVATE QT_NO_KEYWORDS)
    set_target_properties(tqwb_qt_objects PROPERTIES AUTOMOC ON)
    target_link_libraries(tqwb_qt_objects PRIVATE Qt6::WebEngineWidgets Qt6::Widgets Qt6::Network)
    tqwb_precompile_headers(tqwb_qt_objects <QPointer> <QWebEnginePage> <QWebEngineView> <boost/json.hpp> <functional>
        <map> <memory> <string>)
    tqwb_add_library(TQWhiteBoardLibQt Qt tqwb_qt_objects)
endif()
