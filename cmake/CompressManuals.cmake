# Debian wants manuals compressed. Runs when the files of all packages are laid out, and before they are packed.
file(GLOB_RECURSE manuals "${CPACK_TEMPORARY_DIRECTORY}/*.1")
list(FILTER manuals INCLUDE REGEX "/man/man1/[^/]+$")
if(NOT manuals)
    message(FATAL_ERROR "there are no manuals in ${CPACK_TEMPORARY_DIRECTORY}")
endif()
execute_process(COMMAND gzip -9n ${manuals} COMMAND_ERROR_IS_FATAL ANY)
