# The archive for users: module, stand-in host, examples, docs, and the licences of everything linked in.

install(TARGETS Pixelforge preview RUNTIME DESTINATION .)

# Only files under version control, so that no stray file gets in.
install(CODE "set(source \"${PROJECT_SOURCE_DIR}\")")
install(CODE [[
  execute_process(
    COMMAND git -C "${source}" ls-files -- LICENSE CHANGELOG.md docs/hosting.md docs/preview.md docs/service.md
            docs/shaders.md docs/volume_files.md examples
    OUTPUT_VARIABLE names OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" names "${names}")
  foreach(name IN LISTS names)
    cmake_path(GET name PARENT_PATH folder)
    file(INSTALL "${source}/${name}" DESTINATION "${CMAKE_INSTALL_PREFIX}/${folder}")
  endforeach()
]])

install(FILES "${CMAKE_CURRENT_LIST_DIR}/archive_readme.md" DESTINATION . RENAME README.md)
install(FILES "${PROJECT_SOURCE_DIR}/src/module/host_abi.h" DESTINATION examples/host)

# Where Debian's packages keep them; both mingw files cover the run-time libraries (libstdc++, libgcc,
# winpthreads). A missing one fails the packaging.
foreach(licence IN ITEMS
    "GLEW=${PIXELFORGE_GLEW_SOURCE}/LICENSE.txt"
    "RapidJSON=/usr/share/doc/rapidjson-dev/copyright"
    "CLI11=/usr/share/doc/libcli11-dev/copyright"
    "gcc-runtime=/usr/share/doc/gcc-mingw-w64-base/copyright"
    "mingw-w64-runtime=/usr/share/doc/mingw-w64-x86-64-dev/copyright")
  string(REGEX MATCH "^([^=]+)=(.+)$" matched "${licence}")
  install(FILES "${CMAKE_MATCH_2}" DESTINATION licences RENAME "${CMAKE_MATCH_1}.txt")
endforeach()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME "pixelforge-${PROJECT_VERSION}")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_PIXELFORGE_EPOCH "${PIXELFORGE_BUILD_EPOCH}")
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/sort_archive.cmake")
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
