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

# How the row kernels are compiled, the same for rows/levels/ and its tests. TARNWELL_X86_LEVELS: some slice of this build
# is x86-64, so the levels beyond the baseline are compiled; in a universal build their flags reach that slice alone, and
# the sources are empty in the others.
set(TARNWELL_ROWS_FLAGS "")
set(TARNWELL_X86_LEVELS OFF)
if(NOT MSVC)
  # -fno-trapping-math lets both branches of a select be computed, which is what makes the loops vectorise.
  set(TARNWELL_ROWS_FLAGS -O3 -fno-trapping-math)
  set(slices ${CMAKE_SYSTEM_PROCESSOR})
  if(APPLE AND CMAKE_OSX_ARCHITECTURES)
    set(slices ${CMAKE_OSX_ARCHITECTURES})
  endif()
  if(slices MATCHES "(^|;)(x86_64|AMD64)(;|$)")
    set(TARNWELL_X86_LEVELS ON)
    set(TARNWELL_AVX2_FLAGS -march=x86-64-v3)
    set(TARNWELL_AVX512_FLAGS -march=x86-64-v4 -mprefer-vector-width=512)
    set(TARNWELL_FMA_FLAGS -mfma)
    if(APPLE)
      foreach(flags TARNWELL_AVX2_FLAGS TARNWELL_AVX512_FLAGS TARNWELL_FMA_FLAGS)
        list(TRANSFORM ${flags} PREPEND "-Xarch_x86_64;")
      endforeach()
    endif()
  endif()
endif()
