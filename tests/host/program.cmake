# Picture files, colour and numbered frames.
tarnwell_test(host_picture_tests NO_CORE
  SOURCES
    color_management_test.cpp
    frame_sequence_test.cpp
    gentle_view_test.cpp
    image_file_test.cpp
  LIBRARIES tarnwell_pictures)
# The plug-in's encodings are the reference of the configuration.
target_link_libraries(host_picture_tests PRIVATE tarnwell_core ${CMAKE_DL_LIBS})

# The program itself, as a child process.
tarnwell_test(cli_tests NO_CORE
  SOURCES cli_test.cpp
  LIBRARIES tarnwell_pictures)
target_compile_definitions(cli_tests PRIVATE
  TEST_BUNDLES="${TEST_BUNDLES}" TARNWELL_PROGRAM="$<TARGET_FILE:tarnwell>")
add_dependencies(cli_tests tarnwell test_bundle_Second test_bundle_NoEntryPoints test_bundle_DescribeFails)

# Looks as files, sampled through the built plug-in.
tarnwell_test(lut_export_tests NO_CORE
  SOURCES lut_export_test.cpp
  LIBRARIES tarnwell_host tarnwell_ocio)
target_compile_definitions(lut_export_tests PRIVATE TARNWELL_BUNDLE="${TARNWELL_BUNDLE}")
add_dependencies(lut_export_tests tarnwell_plugin)

# The program on a GPU runtime.
opencl_test(opencl_cli_tests
  SOURCES opencl_cli_test.cpp
  LIBRARIES tarnwell_pictures)
target_compile_definitions(opencl_cli_tests PRIVATE TEST_BUNDLES="${TEST_BUNDLES}"
  TARNWELL_PROGRAM="$<TARGET_FILE:tarnwell>" TARNWELL_BUNDLE="${TARNWELL_BUNDLE}"
  TARNWELL_PICTURE="${PROJECT_SOURCE_DIR}/docs/gallery/scene.png")
add_dependencies(opencl_cli_tests tarnwell tarnwell_plugin test_bundle_Second)
