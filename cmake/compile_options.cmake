# Compiler and linker options of every target, including the dependencies that are built here.

set(PIXELFORGE_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)

option(PIXELFORGE_SANITIZERS "Address and undefined-behaviour sanitizers (native build)" OFF)
option(PIXELFORGE_FUZZERS "Fuzz targets with libFuzzer (native build with sanitizers, clang)" OFF)
option(PIXELFORGE_TRAP_UNDEFINED "Trap on undefined behaviour (no run-time library needed)" OFF)

# Kernels are compared bit for bit with reference implementations: the compiler must not fuse multiply-adds.
add_compile_options(-ffp-contract=off -fstack-protector-strong)
add_compile_definitions(_GLIBCXX_ASSERTIONS)

# Keeps paths of the build machine out of the binaries.
add_compile_options(
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=." "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build")

if(WIN32)
  enable_language(RC)
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX STRICT _WIN32_WINNT=0x0A00)
  # No link time in the binaries: equal sources give equal bytes.
  add_link_options(-fstack-protector-strong -Wl,--no-insert-timestamp)
  # The product depends on system DLLs only. So does every cross-built program: Wine has no C++ runtime.
  set(PIXELFORGE_STATIC_RUNTIME -static -static-libgcc -static-libstdc++)
  if(CMAKE_CROSSCOMPILING)
    add_link_options(${PIXELFORGE_STATIC_RUNTIME})
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # g++ adds these two by default.
    link_libraries(winpthread ssp)
  endif()
endif()

if(PIXELFORGE_SANITIZERS)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(PIXELFORGE_FUZZERS)
  add_compile_options(
    -fsanitize=fuzzer-no-link "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/ignored_checks")
endif()

if(PIXELFORGE_TRAP_UNDEFINED)
  add_compile_options(-fsanitize=undefined -fsanitize-undefined-trap-on-error)
endif()
