# Adds the test suites of a program, each as one test: its tests share a process, whose start takes longer than most of
# them. Suites without a fixture are the quickest, and one test together, which has the program's name. To run a test
# alone: the program with --gtest_filter.
#
# tqwb_add_suites(PROGRAM [PREFIX TEXT] [ON_SCREEN SUITE...|ALL] SOURCES FILE...)
#
# Suites run side by side. ON_SCREEN are those that need a screen of their own: some need its focus, others are pointed at.
function(tqwb_add_suites program)
    cmake_parse_arguments(add "" "PREFIX" "ON_SCREEN;SOURCES" ${ARGN})
    set_target_properties(${program} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}")
    tqwb_find_suites("TEST" plain ${add_SOURCES})
    tqwb_find_suites("TEST_[FP]" suites ${add_SOURCES})
    string(REGEX REPLACE "_qt$" "" whole "${program}")
    if(plain)
        list(TRANSFORM plain APPEND ".*")
        string(REPLACE ";" ":" filter "${plain}")
        add_test(NAME ${add_PREFIX}${whole} COMMAND ${program} --gtest_filter=${filter})
    endif()
    foreach(suite ${suites})
        set(command ${program})
        if(suite IN_LIST add_ON_SCREEN OR "${add_ON_SCREEN}" STREQUAL ALL)
            set(command bash "${CMAKE_CURRENT_SOURCE_DIR}/support/own-screen.sh" ${CMAKE_CROSSCOMPILING_EMULATOR}
                $<TARGET_FILE:${program}>)
        endif()
        add_test(NAME ${add_PREFIX}${suite} COMMAND ${command} --gtest_filter=${suite}.*:*/${suite}.*)
    endforeach()
endfunction()

# The names of the suites in these files whose tests are written with this macro.
function(tqwb_find_suites macro result)
    set(suites)
    foreach(source ${ARGN})
        cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
        file(STRINGS "${source}" tests REGEX "^${macro}\\(")
        list(TRANSFORM tests REPLACE "^[A-Z_]*\\(([A-Za-z0-9]+).*" "\\1")
        list(APPEND suites ${tests})
    endforeach()
    list(REMOVE_DUPLICATES suites)
    set(${result} ${suites} PARENT_SCOPE)
endfunction()
