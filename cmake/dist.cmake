# The archive for users: module, stand-in host, examples, texts, and the licences of all that is linked in.

# Nothing else of the Windows build needs it.
find_package(Python3 COMPONENTS Interpreter)
if(NOT Python3_FOUND)
  return()
endif()

# Where Debian's packages keep them; the run-time libraries (libstdc++, libgcc, winpthreads) are in both
# mingw files.
set(licences
  "GLEW=${PIXELFORGE_GLEW_SOURCE}/LICENSE.txt"
  "RapidJSON=/usr/share/doc/rapidjson-dev/copyright"
  "CLI11=/usr/share/doc/libcli11-dev/copyright"
  "gcc-runtime=/usr/share/doc/gcc-mingw-w64-base/copyright"
  "mingw-w64-runtime=/usr/share/doc/mingw-w64-x86-64-dev/copyright")
list(TRANSFORM licences PREPEND "--licence=")

add_custom_target(dist
  COMMAND "${Python3_EXECUTABLE}" "${CMAKE_CURRENT_LIST_DIR}/make_dist.py" "${PROJECT_SOURCE_DIR}"
          "${PROJECT_VERSION}" $<TARGET_FILE:Pixelforge> $<TARGET_FILE:preview> ${licences}
  VERBATIM)
