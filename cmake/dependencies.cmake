# Libraries of others: pixelforge_rapidjson and pixelforge_cli11 (headers only), pixelforge_glew, GoogleTest.

# A header-only library reaches the compiler through a folder that holds nothing but a link to it: the cross
# compiler must never see the machine's own /usr/include.
function(pixelforge_header_library name folder)
  find_path(${name}_PARENT ${folder} PATHS /usr/include REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  set(links "${PROJECT_BINARY_DIR}/header_links/${name}")
  file(MAKE_DIRECTORY "${links}")
  file(CREATE_LINK "${${name}_PARENT}/${folder}" "${links}/${folder}" COPY_ON_ERROR SYMBOLIC)
  add_library(pixelforge_${name} INTERFACE)
  add_library(pixelforge::${name} ALIAS pixelforge_${name})
  target_include_directories(pixelforge_${name} SYSTEM INTERFACE "${links}")
endfunction()

pixelforge_header_library(rapidjson rapidjson)
if(WIN32)
  pixelforge_header_library(cli11 CLI)
endif()

# No package carries GLEW for this target, so it is built from Debian's source package.
if(WIN32)
  set(PIXELFORGE_GLEW_SOURCE "${PROJECT_SOURCE_DIR}/build/glew" CACHE PATH "Unpacked sources of GLEW")
  if(NOT EXISTS "${PIXELFORGE_GLEW_SOURCE}/src/glew.c")
    execute_process(
      COMMAND "${PROJECT_SOURCE_DIR}/cmake/fetch_glew" "${PIXELFORGE_GLEW_SOURCE}"
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
  add_library(pixelforge_glew STATIC "${PIXELFORGE_GLEW_SOURCE}/src/glew.c")
  add_library(pixelforge::glew ALIAS pixelforge_glew)
  target_include_directories(pixelforge_glew SYSTEM PUBLIC "${PIXELFORGE_GLEW_SOURCE}/include")
  target_compile_definitions(pixelforge_glew PUBLIC GLEW_STATIC GLEW_NO_GLU)
  target_compile_options(pixelforge_glew PRIVATE -w)
  target_link_libraries(pixelforge_glew PUBLIC opengl32 gdi32)
endif()

if(PIXELFORGE_TESTS)
  set(PIXELFORGE_GTEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest")
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads ${WIN32} CACHE BOOL "" FORCE)
  add_subdirectory("${PIXELFORGE_GTEST_SOURCE}" googletest EXCLUDE_FROM_ALL SYSTEM)
  include(GoogleTest)
endif()
