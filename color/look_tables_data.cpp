// Carries the look tables into the library as they lie in the files that lookgen wrote: nothing to the assembler, but
// 25 megabytes of text to a compiler. LOOK_DIR is the folder of those files. Compilers without file-scope assembly
// build the arrays that lookgen writes instead (cmake/TarnwellLooks.cmake chooses).

#if defined(__APPLE__)
#define LOOK_SECTION ".const_data\n"
#define LOOK_LABEL(NAME) ".private_extern _" NAME "\n.globl _" NAME "\n.p2align 6\n_" NAME ":\n"
#define LOOK_END ".text\n"
#elif defined(__ELF__)
#define LOOK_SECTION ".section .rodata\n"
#define LOOK_LABEL(NAME) ".hidden " NAME "\n.globl " NAME "\n.type " NAME ", STT_OBJECT\n.balign 64\n" NAME ":\n"
#define LOOK_END ".section .note.GNU-stack,\"\",%progbits\n.text\n"
#else
#error "no assembler syntax for this object format: configure with TARNWELL_LOOK_ARRAYS=ON"
#endif

// The size matters to tools that read the symbol table only; ELF wants it said.
#if defined(__ELF__)
#define LOOK_SIZE(NAME) ".size " NAME ", . - " NAME "\n"
#else
#define LOOK_SIZE(NAME)
#endif

#define LOOK_TABLE(NAME)                                                                                               \
    __asm__(LOOK_SECTION LOOK_LABEL(NAME) ".incbin \"" LOOK_DIR "/" NAME ".f32\"\n" LOOK_SIZE(NAME))

LOOK_TABLE("LOOK_KODAK2383_33");
LOOK_TABLE("LOOK_FUJI3513_33");
LOOK_TABLE("LOOK_FUJI3510_33");
LOOK_TABLE("LOOK_TEALORANGE_33");
LOOK_TABLE("LOOK_CROSSPROC_33");
LOOK_TABLE("LOOK_PUSH1_33");
LOOK_TABLE("LOOK_PULL1_33");
LOOK_TABLE("LOOK_KESTRA_P0_65");
__asm__(LOOK_END);
