# Device doubles: DLLs whose COM classes replace the system's through a manifest beside a program.

# pixelforge_device_double(<name> SOURCES ... [LINK libraries])
function(pixelforge_device_double name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK")
  add_library(${name} MODULE ${arg_SOURCES} "${PROJECT_SOURCE_DIR}/tests/support/device_double.cpp")
  set_target_properties(${name} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY
    "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE ole32 uuid ${arg_LINK})
endfunction()

# Makes the program use the doubles instead of the system's devices.
function(pixelforge_use_doubles program)
  add_dependencies(${program} sound_double camera_double)
  add_custom_command(TARGET ${program} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E copy_if_different "${PROJECT_SOURCE_DIR}/tests/support/doubles.manifest"
            "$<TARGET_FILE:${program}>.manifest"
    VERBATIM)
endfunction()

if(WIN32)
  pixelforge_device_double(sound_double SOURCES "${CMAKE_CURRENT_LIST_DIR}/sound_double/sound_double.cpp")
  pixelforge_device_double(camera_double
    SOURCES "${CMAKE_CURRENT_LIST_DIR}/camera_double/camera.cpp" LINK strmiids oleaut32)

  # A copy of `preview` with the doubles, for the gallery and for manual use: see docs/doubles.md.
  set(doubles_folder "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/doubles")
  add_custom_target(preview_with_doubles ALL
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${doubles_folder}"
    COMMAND "${CMAKE_COMMAND}" -E copy_if_different
            $<TARGET_FILE:preview_bare> "${doubles_folder}/preview.exe"
    COMMAND "${CMAKE_COMMAND}" -E copy_if_different $<TARGET_FILE:Pixelforge>
            $<TARGET_FILE:sound_double> $<TARGET_FILE:camera_double> "${doubles_folder}"
    COMMAND "${CMAKE_COMMAND}" -E copy_if_different "${PROJECT_SOURCE_DIR}/tests/support/doubles.manifest"
            "${doubles_folder}/preview.exe.manifest"
    VERBATIM)
endif()
