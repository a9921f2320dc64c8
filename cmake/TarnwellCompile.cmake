# One place for the compile rules of this project.
#
# -ffp-contract=off: a product and a sum are two roundings unless the source says fma. The same source then gives the
# same bits on every instruction set that has a fused multiply-add.
find_package(Threads REQUIRED)

function(tarnwell_target target)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE Threads::Threads)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /fp:precise /utf-8 $<$<BOOL:${TARNWELL_WARNINGS_AS_ERRORS}>:/WX>)
    return()
  endif()
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wcast-align -Wundef
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
    -ffp-contract=off -fno-math-errno -ffunction-sections -fdata-sections
    $<$<BOOL:${TARNWELL_WARNINGS_AS_ERRORS}>:-Werror>)
  # g++ 12 sees overlaps and uninitialised members inside the standard library's own strings and variants at -O3 that
  # are not there (its bugs 105651 and 105562); clang still checks both on every run of the tests.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict> $<$<COMPILE_LANGUAGE:CXX>:-Wno-maybe-uninitialized>)
  endif()
  if(TARNWELL_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${TARNWELL_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${TARNWELL_SANITIZE})
  endif()
endfunction()
