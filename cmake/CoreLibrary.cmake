# The core alone, for any machine that has a C++ library.
# Headers alone, which are the same for all machines: Boost's configuration package is sought among the libraries of the
# machine that is built for, where there is none.
find_path(TQWB_BOOST_HEADERS boost/json/src.hpp REQUIRED)
find_package(Threads REQUIRED)

add_library(tqwb_json STATIC platform/core/BoostJson.cpp)
target_compile_features(tqwb_json PUBLIC cxx_std_20)
target_include_directories(tqwb_json SYSTEM PUBLIC "${TQWB_BOOST_HEADERS}")
target_link_libraries(tqwb_json PRIVATE tqwb_options)

add_library(tqwb_core STATIC ${TQWB_CORE_SOURCES})
target_include_directories(tqwb_core PUBLIC "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/include")
target_link_libraries(tqwb_core PUBLIC tqwb_json PRIVATE tqwb_options)
tqwb_precompile_headers(tqwb_core <boost/json.hpp> <functional> <map> <memory> <string> <vector>)
# Most of what the compiler reads are headers. Builds of the whole library see that each file has its own.
set_target_properties(tqwb_core PROPERTIES UNITY_BUILD ON)
