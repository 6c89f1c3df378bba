# Repacks the staged files sorted by name and with the build date as their time; CPack uses the file system's
# order.
set(ENV{SOURCE_DATE_EPOCH} "${CPACK_PIXELFORGE_EPOCH}")
list(GET CPACK_PACKAGE_FILES 0 archive)
cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH staging)
file(GLOB_RECURSE names RELATIVE "${staging}" "${CPACK_TEMPORARY_DIRECTORY}/*")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E tar cf "${archive}" --format=zip ${names}
  WORKING_DIRECTORY "${staging}" COMMAND_ERROR_IS_FATAL ANY)
