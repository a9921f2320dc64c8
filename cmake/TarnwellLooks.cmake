# The look tables of the library: computed by lookgen during the build, carried in by the assembler.
#
# Cross-compiling: lookgen must run on the building machine. Build it there (target `lookgen` of a native build) and name
# it with -DTARNWELL_LOOKGEN=PATH.
include(CheckCXXSourceCompiles)

set(TARNWELL_LOOKGEN "" CACHE FILEPATH "A lookgen that runs on this machine (needed when cross-compiling)")
check_cxx_source_compiles([[__asm__(".text"); int main() { return 0; }]] TARNWELL_HAS_FILE_SCOPE_ASM)
if(MSVC OR NOT TARNWELL_HAS_FILE_SCOPE_ASM OR CMAKE_CXX_BYTE_ORDER STREQUAL "BIG_ENDIAN")
  set(TARNWELL_NEEDS_LOOK_ARRAYS ON)
else()
  set(TARNWELL_NEEDS_LOOK_ARRAYS OFF)
endif()
option(TARNWELL_LOOK_ARRAYS "Carry the look tables as C++ arrays instead of through the assembler"
  ${TARNWELL_NEEDS_LOOK_ARRAYS})

# tarnwell_look_tables(TARGET): adds the eight tables of color/look_tables.h to TARGET, in the folder that TARGET is of.
function(tarnwell_look_tables target)
  if(TARNWELL_LOOKGEN)
    set(lookgen ${TARNWELL_LOOKGEN})
  elseif(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    message(FATAL_ERROR "cross-compiling: name a lookgen of this machine with -DTARNWELL_LOOKGEN=PATH")
  else()
    set(lookgen lookgen)
  endif()
  set(folder ${PROJECT_BINARY_DIR}/looks)
  file(MAKE_DIRECTORY ${folder})

  if(TARNWELL_LOOK_ARRAYS)
    add_custom_command(OUTPUT ${folder}/look_tables_arrays.cpp
      COMMAND ${lookgen} arrays ${folder}/look_tables_arrays.cpp DEPENDS ${lookgen} VERBATIM COMMENT "Look tables")
    target_sources(${target} PRIVATE ${folder}/look_tables_arrays.cpp)
    return()
  endif()

  set(tables KODAK2383_33 FUJI3513_33 FUJI3510_33 TEALORANGE_33 CROSSPROC_33 PUSH1_33 PULL1_33 KESTRA_P0_65)
  list(TRANSFORM tables REPLACE "(.+)" "${folder}/LOOK_\\1.f32")
  add_custom_command(OUTPUT ${tables} COMMAND ${lookgen} files ${folder} DEPENDS ${lookgen} VERBATIM
    COMMENT "Look tables")
  set(source ${PROJECT_SOURCE_DIR}/color/look_tables_data.cpp)
  target_sources(${target} PRIVATE ${source})
  set_source_files_properties(${source} TARGET_DIRECTORY ${target} PROPERTIES
    OBJECT_DEPENDS "${tables}" COMPILE_DEFINITIONS "LOOK_DIR=\"${folder}\"")
endfunction()
