add_test(NAME Sources.OnlyPortsKnowToolkits
    COMMAND bash "${CMAKE_CURRENT_SOURCE_DIR}/install/toolkits.sh" "${PROJECT_SOURCE_DIR}")

# What users get: an installation, moved to where they want it.
set(install_scripts "${CMAKE_CURRENT_SOURCE_DIR}/install")
set(install_scratch "${CMAKE_CURRENT_BINARY_DIR}/install")
set(install_prefix "${install_scratch}/prefix/moved")

set(ports)
if(TQWB_HAS_GTK)
    list(APPEND ports gtk)
    set(library_of_gtk TQWhiteBoardLib)
endif()
if(TQWB_HAS_QT)
    list(APPEND ports qt)
    set(library_of_qt TQWhiteBoardLibQt)
endif()
set(programs)
if(TQWB_HAS_APPS)
    set(programs tqwhiteboard tqwhiteboard-conference)
endif()

add_test(NAME Install.MachinesWithoutAToolkitAreTold
    COMMAND bash "${install_scripts}/configure.sh" "${PROJECT_SOURCE_DIR}" "${install_scratch}/configure" ${ports})
add_test(NAME Install.RunsFromAnyPlace
    COMMAND bash "${install_scripts}/prefix.sh" "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}"
        "${install_scratch}/prefix" ${programs})
set_tests_properties(Install.RunsFromAnyPlace PROPERTIES FIXTURES_SETUP installation)

add_test(NAME Install.EachPortIsFoundAlone
    COMMAND bash "${install_scripts}/ports.sh" "${PROJECT_BINARY_DIR}" "${install_scratch}/ports" ${ports})
add_test(NAME Install.HeadersAreCompleteAndCompileAlone
    COMMAND bash "${install_scripts}/headers.sh" "${CMAKE_CXX_COMPILER}" "${PROJECT_SOURCE_DIR}/include"
        "${install_prefix}/${CMAKE_INSTALL_INCLUDEDIR}" "${install_scratch}/headers" ${ports})
foreach(mode build run)
    add_test(NAME Install.Examples-${mode}
        COMMAND bash "${install_scripts}/examples.sh" ${mode} "${install_prefix}" "${install_scratch}/examples")
endforeach()
set_tests_properties(Install.Examples-build PROPERTIES FIXTURES_SETUP examples)
set_tests_properties(Install.Examples-run PROPERTIES FIXTURES_REQUIRED examples)
set_tests_properties(Install.EachPortIsFoundAlone Install.Examples-build PROPERTIES
    ENVIRONMENT "CXX=${CMAKE_CXX_COMPILER}")
set(documents CHANGELOG.md README.md SECURITY.md docs/architecture.md docs/client.md docs/guide.md docs/performance.md
    docs/room-page.md page/README.md)
add_test(NAME Install.LinksOfDocumentsLeadSomewhere
    COMMAND bash "${install_scripts}/links.sh" "${install_prefix}/${CMAKE_INSTALL_DATADIR}/tqwhiteboardlib" ${documents})
add_test(NAME Documents.LinksLeadSomewhere
    COMMAND bash "${install_scripts}/links.sh" "${PROJECT_SOURCE_DIR}" ${documents} CONTRIBUTING.md fuzz/README.md)
set(install_users Install.HeadersAreCompleteAndCompileAlone Install.Examples-build Install.LinksOfDocumentsLeadSomewhere)
# Only this compiler tells what headers declare.
find_program(TQWB_CLANG clang++)
if(NOT TQWB_CLANG)
    message(STATUS "What the installed headers declare is not compared with the library: that takes clang++")
endif()
foreach(port ${ports})
    set(library "$<TARGET_FILE:${library_of_${port}}>")
    add_test(NAME Install.ExportsWhatHeadersMark-${port}
        COMMAND bash "${install_scripts}/exports.sh" "${library}" "${install_prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
    list(APPEND install_users Install.ExportsWhatHeadersMark-${port})
    if(TQWB_CLANG)
        add_test(NAME Install.HeadersDeclareOnlyWhatLinks-${port}
            COMMAND bash "${install_scripts}/declared.sh" "${TQWB_CLANG}" "${library}" ${port}
                "${install_prefix}/${CMAKE_INSTALL_INCLUDEDIR}" "${install_scratch}/declared-${port}")
        list(APPEND install_users Install.HeadersDeclareOnlyWhatLinks-${port})
    endif()
endforeach()
set_tests_properties(${install_users} PROPERTIES FIXTURES_REQUIRED installation TIMEOUT 300)
# What takes longest begins first.
set_tests_properties(Install.HeadersAreCompleteAndCompileAlone Install.Examples-build Install.RunsFromAnyPlace
    PROPERTIES COST 100)
