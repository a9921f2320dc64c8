# Configures the plug-in for a Mac and reads the build files that come of it: what is linked, and which flags reach which
# slice. Run with -DSOURCE=, -DWORK= and -DMAKE_PROGRAM=.

# configure(NAME ARCHITECTURES): build files for these slices; `ninja` gets the text of build.ninja.
function(configure name architectures)
  set(folder ${WORK}/${name})
  file(REMOVE_RECURSE ${folder})
  execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${folder} -G Ninja -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}
      -DCMAKE_TOOLCHAIN_FILE=${SOURCE}/tests/packaging/darwin_toolchain.cmake -DCMAKE_BUILD_TYPE=Release
      "-DCMAKE_OSX_ARCHITECTURES=${architectures}" -DTARNWELL_BUILD_HOST=OFF -DTARNWELL_BUILD_TESTS=OFF
      -DTARNWELL_LOOKGEN=${CMAKE_COMMAND}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${name} was not configured:\n${output}")
  endif()
  file(READ ${folder}/build.ninja text)
  set(ninja "${text}" PARENT_SCOPE)
  set(case ${name} PARENT_SCOPE)
endfunction()

# variable_of(OUTPUT VARIABLE RESULT): what ninja's VARIABLE is where OUTPUT is built; empty when it is not built.
function(variable_of output variable result)
  string(REGEX REPLACE "[.]" "[.]" output "${output}")
  string(REGEX MATCH "\nbuild [^\n]*${output}: [^\n]*((\n  [^\n]*)*)" rule "${ninja}")
  string(REGEX MATCH "\n  ${variable} = ([^\n]*)" line "${CMAKE_MATCH_1}")
  set(${result} "${CMAKE_MATCH_1}" PARENT_SCOPE)
  if(NOT line)
    set(${result} "" PARENT_SCOPE)
  endif()
endfunction()

# expect(WHAT FOUND has|lacks WANTED)
function(expect what found verb wanted)
  string(FIND " ${found} " " ${wanted} " at)
  if((verb STREQUAL has AND at EQUAL -1) OR (verb STREQUAL lacks AND NOT at EQUAL -1))
    message(SEND_ERROR "${case}, ${what}: it ${verb} '${wanted}' is expected, found '${found}'")
  endif()
endfunction()

function(expect_a_mac_bundle)
  variable_of(Contents/MacOS/Tarnwell.ofx LINK_LIBRARIES libraries)
  string(REGEX REPLACE " +" " " libraries "${libraries}")
  expect("libraries of the plug-in" "${libraries}" has "-framework Metal")
  expect("libraries of the plug-in" "${libraries}" has "-framework Foundation")
  variable_of(metal_device.mm.o FLAGS flags)
  expect("flags of metal_device.mm" "${flags}" has -fvisibility=hidden)
  expect("flags of metal_device.mm" "${flags}" has -fno-objc-arc)
  expect("flags of metal_device.mm" "${flags}" has -mmacosx-version-min=11.0)
  variable_of(rows/levels/baseline.cpp.o FLAGS flags)
  if(flags STREQUAL "" OR flags MATCHES "-march|-mavx|-mfma")
    message(SEND_ERROR "${case}, flags of levels/baseline.cpp: found '${flags}', expected none for a processor")
  endif()
endfunction()

# The levels of the x86-64 slice, with flags that reach no other.
function(expect_x86_levels)
  variable_of(rows/levels/avx2.cpp.o FLAGS flags)
  expect("flags of levels/avx2.cpp" "${flags}" has "-Xarch_x86_64 -march=x86-64-v3")
  variable_of(rows/levels/avx512.cpp.o FLAGS flags)
  expect("flags of levels/avx512.cpp" "${flags}" has "-Xarch_x86_64 -march=x86-64-v4")
  expect("flags of levels/avx512.cpp" "${flags}" has "-Xarch_x86_64 -mprefer-vector-width=512")
  variable_of(rows/kernels.cpp.o DEFINES defines)
  expect("definitions of rows/kernels.cpp" "${defines}" has -DTARNWELL_X86_LEVELS)
endfunction()

configure(arm64 arm64)
expect_a_mac_bundle()
variable_of(rows/levels/avx2.cpp.o FLAGS flags)
expect("flags of levels/avx2.cpp" "${flags}:" has ":")
variable_of(rows/kernels.cpp.o DEFINES defines)
expect("definitions of rows/kernels.cpp" "${defines}" lacks -DTARNWELL_X86_LEVELS)

configure(universal "arm64;x86_64")
expect_a_mac_bundle()
expect_x86_levels()

configure(x86_64_on_arm64 x86_64)
expect_a_mac_bundle()
expect_x86_levels()
