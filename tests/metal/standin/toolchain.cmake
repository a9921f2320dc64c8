# Objective-C++ without an Apple machine: clang with GCC's Objective-C runtime, GNUstep's Foundation and a blocks runtime.
# Sets TARNWELL_STANDIN_METAL where all of them are there, TARNWELL_STANDIN_LIBRARIES to link, and makes the object
# library metal_standin: metal_device.mm and the stand-in framework.
set(TARNWELL_STANDIN_METAL OFF)
if(APPLE)
  return()
endif()

find_program(TARNWELL_OBJCXX NAMES clang++ clang++-18 clang++-17 clang++-16 clang++-15 clang++-14)
find_path(TARNWELL_FOUNDATION_INCLUDE Foundation/Foundation.h PATHS /usr/include/GNUstep)
find_path(TARNWELL_BLOCKS_INCLUDE Block.h)
file(GLOB objc_headers /usr/lib/gcc/*/*/include/objc/objc.h)
if(objc_headers)
  list(SORT objc_headers COMPARE NATURAL ORDER DESCENDING)
  list(GET objc_headers 0 objc_header)
  get_filename_component(objc_include ${objc_header}/../.. ABSOLUTE)
endif()
find_library(TARNWELL_FOUNDATION_LIBRARY gnustep-base)
find_library(TARNWELL_BLOCKS_LIBRARY BlocksRuntime)
# The Objective-C runtime has no development link outside its compiler's folder.
file(GLOB objc_library /usr/lib/*/libobjc.so.4)
if(NOT TARNWELL_OBJCXX OR NOT TARNWELL_FOUNDATION_INCLUDE OR NOT TARNWELL_BLOCKS_INCLUDE OR NOT objc_headers
    OR NOT TARNWELL_FOUNDATION_LIBRARY OR NOT TARNWELL_BLOCKS_LIBRARY OR NOT objc_library)
  message(STATUS "No Objective-C++ here: metal_device_tests are left out")
  return()
endif()

if(NOT CMAKE_OBJCXX_COMPILER)
  set(CMAKE_OBJCXX_COMPILER ${TARNWELL_OBJCXX})
endif()
enable_language(OBJCXX)
set(TARNWELL_STANDIN_METAL ON)
# The blocks runtime first: GNUstep brings functions of the same names that copy nothing.
set(TARNWELL_STANDIN_LIBRARIES ${TARNWELL_BLOCKS_LIBRARY} ${TARNWELL_FOUNDATION_LIBRARY} ${objc_library})

add_library(metal_standin OBJECT
  ${PROJECT_SOURCE_DIR}/metal/devices/metal_device.mm
  ${CMAKE_CURRENT_SOURCE_DIR}/standin/standin_metal.mm
)
tarnwell_target(metal_standin)
set_target_properties(metal_standin PROPERTIES OBJCXX_STANDARD 20 OBJCXX_STANDARD_REQUIRED ON OBJCXX_EXTENSIONS OFF)
# The stand-in for the framework; what it needs of the system is not ours to warn about.
target_include_directories(metal_standin PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/standin)
target_include_directories(metal_standin SYSTEM PRIVATE ${TARNWELL_FOUNDATION_INCLUDE} ${TARNWELL_BLOCKS_INCLUDE})
target_compile_options(metal_standin PRIVATE
  -fobjc-runtime=gcc -fblocks -fexceptions -fconstant-string-class=NSConstantString -idirafter ${objc_include})
