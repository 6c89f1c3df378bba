# Third-party: pixelforge::rapidjson and pixelforge::cli11 (headers only), pixelforge::glew, GoogleTest.

# Third-party warnings must not fail the build. The end of this file restores the setting for our own folders.
set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)

# pixelforge_header_library(<name> <folder>) declares the header-only library whose headers are <folder>/*.
function(pixelforge_header_library name folder)
  find_path(PIXELFORGE_${name}_INCLUDE ${folder} REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  set(include "${PIXELFORGE_${name}_INCLUDE}")
  # The build system's header-only packages serve the target too, but a cross compiler must not see the rest
  # of /usr/include: it gets a folder with just a link.
  if(CMAKE_CROSSCOMPILING)
    set(include "${PROJECT_BINARY_DIR}/header_links/${name}")
    file(MAKE_DIRECTORY "${include}")
    file(CREATE_LINK "${PIXELFORGE_${name}_INCLUDE}/${folder}" "${include}/${folder}" COPY_ON_ERROR SYMBOLIC)
  endif()
  add_library(pixelforge_${name} INTERFACE)
  add_library(pixelforge::${name} ALIAS pixelforge_${name})
  target_include_directories(pixelforge_${name} SYSTEM INTERFACE "${include}")
endfunction()

pixelforge_header_library(rapidjson rapidjson)
if(WIN32)
  pixelforge_header_library(cli11 CLI)
endif()

# Static GLEW: from a package if one exists for this target, otherwise built from source.
if(WIN32)
  find_package(GLEW CONFIG QUIET)
  if(TARGET GLEW::glew_s)
    add_library(pixelforge_glew INTERFACE)
    target_link_libraries(pixelforge_glew INTERFACE GLEW::glew_s)
    set(scope INTERFACE)
  else()
    set(PIXELFORGE_GLEW_SOURCE "${PROJECT_SOURCE_DIR}/build/glew" CACHE PATH "Unpacked sources of GLEW")
    if(NOT EXISTS "${PIXELFORGE_GLEW_SOURCE}/src/glew.c")
      execute_process(
        COMMAND "${PROJECT_SOURCE_DIR}/cmake/fetch_glew" "${PIXELFORGE_GLEW_SOURCE}"
        COMMAND_ERROR_IS_FATAL ANY)
    endif()
    add_library(pixelforge_glew STATIC "${PIXELFORGE_GLEW_SOURCE}/src/glew.c")
    target_include_directories(pixelforge_glew SYSTEM PUBLIC "${PIXELFORGE_GLEW_SOURCE}/include")
    target_compile_options(pixelforge_glew PRIVATE -w)
    set(scope PUBLIC)
  endif()
  add_library(pixelforge::glew ALIAS pixelforge_glew)
  target_compile_definitions(pixelforge_glew ${scope} GLEW_STATIC GLEW_NO_GLU)
  target_link_libraries(pixelforge_glew ${scope} opengl32 gdi32)
endif()

# Built with the sanitizers, or for the target, if the sources are installed; otherwise the package's library.
if(PIXELFORGE_TESTS)
  set(PIXELFORGE_GTEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest")
  if(EXISTS "${PIXELFORGE_GTEST_SOURCE}/CMakeLists.txt")
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(gtest_disable_pthreads ${WIN32} CACHE BOOL "" FORCE)
    add_subdirectory("${PIXELFORGE_GTEST_SOURCE}" googletest EXCLUDE_FROM_ALL SYSTEM)
  else()
    find_package(GTest CONFIG REQUIRED)
  endif()
  include(GoogleTest)
endif()

unset(CMAKE_COMPILE_WARNING_AS_ERROR)
