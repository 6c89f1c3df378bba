# Repacks the staged files sorted by name and with the build date as their time (CPack uses the file system's
# order), and the symbols into an archive of their own.
set(ENV{SOURCE_DATE_EPOCH} "${CPACK_PIXELFORGE_EPOCH}")
list(GET CPACK_PACKAGE_FILES 0 archive)
cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH staging)
file(GLOB_RECURSE names RELATIVE "${staging}" "${CPACK_TEMPORARY_DIRECTORY}/*")
set(symbols ${names})
list(FILTER symbols INCLUDE REGEX "/symbols/")
list(FILTER names EXCLUDE REGEX "/symbols/")

function(pack target)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E tar cf "${target}" --format=zip ${ARGN}
    WORKING_DIRECTORY "${staging}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()
pack("${archive}" ${names})
pack("${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}-symbols.zip" ${symbols})
