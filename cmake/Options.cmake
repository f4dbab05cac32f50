option(TQWB_BUILD_TESTS "Build the tests" ON)
option(TQWB_BUILD_APPS "Build the client and the local conference service" ON)
option(TQWB_WARNINGS_AS_ERRORS "Fail the build on any compiler warning" ON)
set(TQWB_SANITIZERS "" CACHE STRING "Sanitizers to build with, as in -fsanitize= (for example address,undefined)")
set(TQWB_DEFAULT_NAVIGATION
    "https://navi1.whiteboard.example/whiteboard/config.json;https://navi2.whiteboard.example/whiteboard/config.json"
    CACHE STRING "The two default navigation addresses, separated by one semicolon")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}")

# What all of our own code is compiled with; nothing of it reaches the users of the library.
add_library(tqwb_options INTERFACE)
target_compile_definitions(tqwb_options INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(tqwb_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion)
if(TQWB_WARNINGS_AS_ERRORS)
    target_compile_options(tqwb_options INTERFACE -Werror)
endif()
if(TQWB_SANITIZERS)
    target_compile_options(tqwb_options INTERFACE -fsanitize=${TQWB_SANITIZERS} -fno-omit-frame-pointer)
    target_link_options(tqwb_options INTERFACE -fsanitize=${TQWB_SANITIZERS})
endif()

find_program(TQWB_CCACHE ccache)
if(TQWB_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${TQWB_CCACHE}")
endif()
