# The same target with clang and lld, using the headers and libraries of mingw-w64.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_OBJCOPY x86_64-w64-mingw32-objcopy)

# clang expects gcc's folder to be named by version alone; Debian's name includes the thread model.
if(NOT DEFINED PIXELFORGE_SYSROOT)
  set(PIXELFORGE_SYSROOT "${CMAKE_BINARY_DIR}/sysroot")
  file(GLOB gccFolders LIST_DIRECTORIES true /usr/lib/gcc/x86_64-w64-mingw32/*-posix)
  foreach(folder IN LISTS gccFolders)
    cmake_path(GET folder FILENAME versionAndModel)
    string(REPLACE "-posix" "" version "${versionAndModel}")
    set(link "${PIXELFORGE_SYSROOT}/lib/gcc/x86_64-w64-mingw32/${version}")
    file(MAKE_DIRECTORY "${PIXELFORGE_SYSROOT}/lib/gcc/x86_64-w64-mingw32")
    file(CREATE_LINK "${folder}" "${link}" SYMBOLIC)
  endforeach()
  file(CREATE_LINK /usr/x86_64-w64-mingw32 "${PIXELFORGE_SYSROOT}/x86_64-w64-mingw32" SYMBOLIC)
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PIXELFORGE_SYSROOT)

set(CMAKE_SYSROOT "${PIXELFORGE_SYSROOT}")
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld)

include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
