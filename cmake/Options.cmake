option(TQWB_BUILD_TESTS "Build the tests" ON)
option(TQWB_BUILD_APPS "Build the client and the local conference service" ON)
option(TQWB_BUILD_BENCH "Build the benchmarks" OFF)
option(TQWB_BUILD_PACKAGES "Have cpack make Debian packages" OFF)
option(TQWB_CORE_ONLY "Build only what needs no engine, as a static library, with its tests" OFF)
option(TQWB_BUILD_FUZZERS "Build the fuzzers of the core; for clang++" OFF)
option(TQWB_PRECOMPILED_HEADERS "Compile the largest headers once for each target" OFF)
option(TQWB_WARNINGS_AS_ERRORS "Fail the build on any compiler warning" ON)
set(TQWB_PORTS "gtk;qt" CACHE STRING "The ports to build, of those whose toolkit is there")
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

# Tests and programs with sanitizers are linked by the quicker linker, if it is there.
include(CheckLinkerFlag)
check_linker_flag(CXX -fuse-ld=lld TQWB_HAS_LLD)
set(TQWB_QUICK_LINKER $<$<BOOL:${TQWB_HAS_LLD}>:-fuse-ld=lld>)
if(TQWB_SANITIZERS)
    add_link_options(${TQWB_QUICK_LINKER})
endif()

# Most of the time of a build goes into the same few headers.
function(tqwb_precompile_headers target)
    if(TQWB_PRECOMPILED_HEADERS)
        target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
endfunction()

find_program(TQWB_CCACHE ccache)
if(TQWB_CCACHE)
    # Without this, what is compiled with precompiled headers is never found again.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        "${CMAKE_COMMAND};-E;env;CCACHE_SLOPPINESS=pch_defines,time_macros;${TQWB_CCACHE}")
    if(TQWB_PRECOMPILED_HEADERS AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        add_compile_options(-fpch-preprocess)
    endif()
endif()
