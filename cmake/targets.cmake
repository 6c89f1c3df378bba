# The functions that folders use to declare their libraries, tests and products.

# pixelforge_library(<name> SOURCES ... [LINK ...] [WINDOWS_LINK ...])
# declares the static library pixelforge::<name>. Sources named *_windows.cpp or *_native.cpp are compiled
# only in that build; a library left without sources becomes an INTERFACE library. LINK names every folder
# that the sources include; the test structure.folders checks it.
function(pixelforge_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;WINDOWS_LINK")
  pixelforge_reject_unknown(${name} "${arg_UNPARSED_ARGUMENTS}")
  set(sources ${arg_SOURCES})
  set(links ${arg_LINK})
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "_native\\.cpp$")
    list(APPEND links ${arg_WINDOWS_LINK})
  else()
    list(FILTER sources EXCLUDE REGEX "_windows\\.cpp$")
  endif()
  if(sources)
    add_library(pixelforge_${name} STATIC ${sources})
    target_compile_options(pixelforge_${name} PRIVATE ${PIXELFORGE_LINE_TABLES})
    set(scope PUBLIC)
  else()
    add_library(pixelforge_${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  add_library(pixelforge::${name} ALIAS pixelforge_${name})
  target_include_directories(pixelforge_${name} ${scope} "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}")
  target_link_libraries(pixelforge_${name} ${scope} ${links})
endfunction()

# pixelforge_separate_symbols(<target>)
# moves the symbols of a product into a file beside it, <file>.debug, and leaves a link to that.
function(pixelforge_separate_symbols target)
  target_compile_options(${target} PRIVATE ${PIXELFORGE_LINE_TABLES})
  set(file "$<TARGET_FILE:${target}>")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug "${file}" "${file}.debug"
    COMMAND "${CMAKE_OBJCOPY}" --strip-all "--add-gnu-debuglink=${file}.debug" "${file}"
    VERBATIM)
endfunction()

# pixelforge_test(<name> [SOURCES ...] [WINDOWS_SOURCES ...] [LINK ...] [WINDOWS_LABEL label]
#                 [WINDOWS_DEPENDS targets] [RESOURCE_LOCK name] [TIMEOUT seconds])
# declares the GoogleTest program <name>_test, in builds where it has sources, and each of its cases as a CTest
# test, labelled "unit" unless the Windows build has another label; CONTRIBUTING.md lists them. Tests with the
# same lock run one after the other.
function(pixelforge_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "WINDOWS_LABEL;RESOURCE_LOCK;TIMEOUT"
    "SOURCES;WINDOWS_SOURCES;LINK;WINDOWS_DEPENDS")
  pixelforge_reject_unknown(${name} "${arg_UNPARSED_ARGUMENTS}")
  set(sources ${arg_SOURCES})
  set(label unit)
  if(WIN32)
    list(APPEND sources ${arg_WINDOWS_SOURCES})
    list(APPEND label ${arg_WINDOWS_LABEL})
  endif()
  list(GET label -1 label)
  if(NOT sources)
    return()
  endif()
  add_executable(${name}_test ${sources})
  target_include_directories(${name}_test PRIVATE "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(${name}_test PRIVATE PIXELFORGE_SOURCE_DIR="${PIXELFORGE_SOURCE_DIR_AT_RUN}")
  target_link_libraries(${name}_test PRIVATE ${arg_LINK} GTest::gmock_main)
  if(WIN32 AND arg_WINDOWS_DEPENDS)
    add_dependencies(${name}_test ${arg_WINDOWS_DEPENDS})
  endif()

  set(timeout 120)
  if(arg_TIMEOUT)
    set(timeout ${arg_TIMEOUT})
  endif()
  set(lock)
  if(arg_RESOURCE_LOCK)
    set(lock RESOURCE_LOCK ${arg_RESOURCE_LOCK})
  endif()
  # The runner times out before ctest, which would leave the Windows process running.
  math(EXPR emulatorTimeout "${timeout} - 10")
  gtest_discover_tests(${name}_test
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    # A time zone other than UTC.
    PROPERTIES LABELS ${label} TIMEOUT ${timeout} ${lock} ENVIRONMENT "PIXELFORGE_TIMEOUT=${emulatorTimeout}"
      ENVIRONMENT_MODIFICATION "TZ=set:LOCAL-5:45")
endfunction()

# pixelforge_check(<label>.<name> COMMAND ... [PROPERTIES <property> <value> ...])
# declares a test that is not a GoogleTest case.
function(pixelforge_check name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "COMMAND;PROPERTIES")
  add_test(NAME ${name} COMMAND ${arg_COMMAND})
  string(REGEX MATCH "^[a-z]+" label ${name})
  set_tests_properties(${name} PROPERTIES LABELS ${label} TIMEOUT 120 ${arg_PROPERTIES})
endfunction()

# Where test programs find the repository: Wine maps the root directory to drive Z:.
if(WIN32 AND CMAKE_CROSSCOMPILING)
  set(PIXELFORGE_SOURCE_DIR_AT_RUN "Z:${PROJECT_SOURCE_DIR}")
else()
  set(PIXELFORGE_SOURCE_DIR_AT_RUN "${PROJECT_SOURCE_DIR}")
endif()

function(pixelforge_reject_unknown name arguments)
  if(arguments)
    message(FATAL_ERROR "${name}: unknown arguments: ${arguments}")
  endif()
endfunction()
