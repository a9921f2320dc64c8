// For the inspection alone: says why a library does not load where the loader's own words are too few.
#include "host/elf_file.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

#if defined(__linux__)
#include <elf.h>
#endif

namespace tarnwell {

namespace {

std::vector<int> numbersOf(const std::string& version) {
    std::vector<int> numbers;
    std::istringstream stream(version);
    for (std::string part; std::getline(stream, part, '.');)
        numbers.push_back(std::atoi(part.c_str()));
    return numbers;
}

} // namespace

std::string higherVersion(const std::string& a, const std::string& b) {
    return numbersOf(a) < numbersOf(b) ? b : a;
}

#if defined(__linux__)

namespace {

#if defined(__x86_64__)
constexpr unsigned THIS_MACHINE = EM_X86_64;
#elif defined(__aarch64__)
constexpr unsigned THIS_MACHINE = EM_AARCH64;
#else
constexpr unsigned THIS_MACHINE = EM_386;
#endif

std::string machineName(unsigned machine) {
    switch (machine) {
    case EM_X86_64:
        return "x86-64";
    case EM_AARCH64:
        return "aarch64";
    case EM_386:
        return "x86";
    case EM_ARM:
        return "arm";
    default:
        return "machine " + std::to_string(machine);
    }
}

// The bytes of the file; every read is checked, since the file may be cut short or lie.
class Bytes {
public:
    explicit Bytes(const std::filesystem::path& path) {
        std::ifstream stream(path, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(stream), {});
    }

    template <class Record>
    std::optional<Record> at(std::uint64_t offset) const {
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof(Record)) return std::nullopt;
        Record record;
        std::memcpy(&record, bytes_.data() + offset, sizeof record);
        return record;
    }

    std::string text(std::uint64_t offset) const {
        if (offset >= bytes_.size()) return "";
        const std::size_t end = bytes_.find('\0', offset);
        return bytes_.substr(offset, end == std::string::npos ? end : end - offset);
    }

private:
    std::string bytes_;
};

class Reader {
public:
    Reader(const Bytes& bytes, const Elf64_Ehdr& header, ElfFile& file) : bytes_(bytes), header_(header), file_(file) {}

    void read() {
        for (unsigned i = 0; i < header_.e_shnum; ++i) {
            const auto part = section(i);
            if (!part) return;
            if (part->sh_type == SHT_DYNSYM) readSymbols(*part);
            if (part->sh_type == SHT_DYNAMIC) readDynamic(*part);
            if (part->sh_type == SHT_GNU_verneed) readVersions(*part);
        }
    }

private:
    std::optional<Elf64_Shdr> section(std::uint64_t index) const {
        return bytes_.at<Elf64_Shdr>(header_.e_shoff + index * sizeof(Elf64_Shdr));
    }

    std::string linkedText(const Elf64_Shdr& part, std::uint64_t offset) const {
        const auto texts = section(part.sh_link);
        return texts ? bytes_.text(texts->sh_offset + offset) : "";
    }

    void readSymbols(const Elf64_Shdr& part) {
        for (std::uint64_t at = 0; at + sizeof(Elf64_Sym) <= part.sh_size; at += sizeof(Elf64_Sym)) {
            const auto symbol = bytes_.at<Elf64_Sym>(part.sh_offset + at);
            if (!symbol) return;
            const std::string name = linkedText(part, symbol->st_name);
            if (name.empty()) continue;
            if (symbol->st_shndx != SHN_UNDEF)
                file_.definedSymbols.push_back(name);
            else if (ELF64_ST_BIND(symbol->st_info) != STB_WEAK)
                file_.undefinedSymbols.push_back(name);
        }
    }

    void readDynamic(const Elf64_Shdr& part) {
        for (std::uint64_t at = 0; at + sizeof(Elf64_Dyn) <= part.sh_size; at += sizeof(Elf64_Dyn)) {
            const auto entry = bytes_.at<Elf64_Dyn>(part.sh_offset + at);
            if (!entry || entry->d_tag == DT_NULL) return;
            if (entry->d_tag == DT_NEEDED) file_.neededLibraries.push_back(linkedText(part, entry->d_un.d_val));
        }
    }

    // A list of files, each with a list of versions; both are chained by byte distances.
    void readVersions(const Elf64_Shdr& part) {
        std::uint64_t at = part.sh_offset;
        for (unsigned i = 0; i < part.sh_info; ++i) {
            const auto need = bytes_.at<Elf64_Verneed>(at);
            if (!need) return;
            std::uint64_t version = at + need->vn_aux;
            for (unsigned j = 0; j < need->vn_cnt; ++j) {
                const auto entry = bytes_.at<Elf64_Vernaux>(version);
                if (!entry) return;
                noteVersion(linkedText(part, entry->vna_name));
                version += entry->vna_next;
            }
            at += need->vn_next;
        }
    }

    void noteVersion(const std::string& name) {
        const auto note = [&](const std::string& prefix, std::string& highest) {
            if (name.compare(0, prefix.size(), prefix) == 0)
                highest = higherVersion(highest, name.substr(prefix.size()));
        };
        note("GLIBC_", file_.neededGlibc);
        note("GLIBCXX_", file_.neededGlibcxx);
    }

    const Bytes& bytes_;
    const Elf64_Ehdr& header_;
    ElfFile& file_;
};

} // namespace

std::optional<ElfFile> readElf(const std::filesystem::path& path) {
    const Bytes bytes(path);
    // Type and machine lie at the same place in 32-bit files.
    const auto header = bytes.at<Elf64_Ehdr>(0);
    if (!header || std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0) return std::nullopt;
    ElfFile file;
    file.isShared = header->e_type == ET_DYN;
    file.is64Bit = header->e_ident[EI_CLASS] == ELFCLASS64;
    file.machine = machineName(header->e_machine);
    file.isForThisMachine = header->e_machine == THIS_MACHINE && file.is64Bit == (sizeof(void*) == 8);
    if (file.is64Bit && header->e_ident[EI_DATA] == ELFDATA2LSB) Reader(bytes, *header, file).read();
    return file;
}

#else

std::optional<ElfFile> readElf(const std::filesystem::path&) {
    return std::nullopt;
}

#endif

} // namespace tarnwell
