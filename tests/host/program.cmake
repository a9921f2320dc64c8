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
