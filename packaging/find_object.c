/* The unwinder that newer compilers link statically asks the loader for _dl_find_object, which exists since glibc 2.35
 * only; a plug-in that needs it does not load on systems with 2.34. So the plug-in brings its own answer, built on
 * dl_iterate_phdr, which every glibc has. The version script keeps it inside. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <link.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 35)

struct search {
    uintptr_t address;
    struct dl_find_object* result;
};

static int matches(struct dl_phdr_info* info, size_t size, void* data) {
    struct search* search = (struct search*)data;
    uintptr_t start = UINTPTR_MAX;
    uintptr_t end = 0;
    void* eh_frame = NULL;
    int inside = 0;
    (void)size;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)* segment = &info->dlpi_phdr[i];
        const uintptr_t first = info->dlpi_addr + segment->p_vaddr;
        const uintptr_t last = first + segment->p_memsz;
        if (segment->p_type == PT_GNU_EH_FRAME) eh_frame = (void*)first;
        if (segment->p_type != PT_LOAD) continue;
        if (first < start) start = first;
        if (last > end) end = last;
        if (search->address >= first && search->address < last) inside = 1;
    }
    if (!inside) return 0;
    search->result->dlfo_flags = 0;
    search->result->dlfo_map_start = (void*)start;
    search->result->dlfo_map_end = (void*)end;
    search->result->dlfo_link_map = NULL;
    search->result->dlfo_eh_frame = eh_frame;
    return 1;
}

int _dl_find_object(void* address, struct dl_find_object* result) {
    struct search search = {(uintptr_t)address, result};
    if (!dl_iterate_phdr(matches, &search) || !result->dlfo_eh_frame) return -1;
    return 0;
}

#else
typedef int nothing_to_bring;
#endif
