#include "elf/elf_file.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace nimb::test {

ElfFile::ElfFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(in), {});
    header_ = records<Elf64_Ehdr>(0, 1).front();
    if (std::memcmp(header_.e_ident, ELFMAG, SELFMAG) != 0 ||
        header_.e_ident[EI_CLASS] != ELFCLASS64) {
        throw std::runtime_error("not a 64-bit ELF file: " + path.string());
    }
    sections_ = records<Elf64_Shdr>(header_.e_shoff, header_.e_shnum);
    segments_ = records<Elf64_Phdr>(header_.e_phoff, header_.e_phnum);
}

template <typename Record>
std::vector<Record> ElfFile::records(std::size_t offset, std::size_t count) const {
    if (offset > bytes_.size() || count > (bytes_.size() - offset) / sizeof(Record)) {
        throw std::runtime_error("the ELF file is missing or cut short");
    }
    std::vector<Record> found(count);
    std::memcpy(found.data(), bytes_.data() + offset, count * sizeof(Record));
    return found;
}

std::optional<Elf64_Phdr> ElfFile::segment(Elf64_Word type) const {
    const auto at = std::ranges::find(segments_, type, &Elf64_Phdr::p_type);
    return at == segments_.end() ? std::nullopt : std::optional(*at);
}

std::optional<Elf64_Shdr> ElfFile::section(Elf64_Word type) const {
    const auto at = std::ranges::find(sections_, type, &Elf64_Shdr::sh_type);
    return at == sections_.end() ? std::nullopt : std::optional(*at);
}

std::optional<Elf64_Xword> ElfFile::dynamicValue(Elf64_Sxword tag) const {
    const auto dynamic = section(SHT_DYNAMIC).value();
    const auto entries = records<Elf64_Dyn>(dynamic.sh_offset, dynamic.sh_size / sizeof(Elf64_Dyn));
    const auto at = std::ranges::find(entries, tag, &Elf64_Dyn::d_tag);
    return at == entries.end() ? std::nullopt : std::optional(at->d_un.d_val);
}

std::set<std::string> ElfFile::lookedUpNames() const {
    const auto names = section(SHT_DYNSYM).value();
    const auto text = sections_.at(names.sh_link);
    const auto symbols = records<Elf64_Sym>(names.sh_offset, names.sh_size / sizeof(Elf64_Sym));
    const auto strings = records<char>(text.sh_offset, text.sh_size);
    std::set<std::string> found;
    for (const Elf64_Shdr& part : sections_) {
        if (part.sh_type != SHT_RELA) continue;
        for (const auto& entry :
             records<Elf64_Rela>(part.sh_offset, part.sh_size / sizeof(Elf64_Rela))) {
            found.emplace(&strings.at(symbols.at(ELF64_R_SYM(entry.r_info)).st_name));
        }
    }
    return found;
}

std::set<std::string> ElfFile::dynamicNames(bool defined) const {
    const auto symbols = section(SHT_DYNSYM).value();
    const auto strings = sections_.at(symbols.sh_link);
    const auto text = records<char>(strings.sh_offset, strings.sh_size);
    std::set<std::string> names;
    for (const auto& symbol :
         records<Elf64_Sym>(symbols.sh_offset, symbols.sh_size / sizeof(Elf64_Sym))) {
        const bool visible = ELF64_ST_BIND(symbol.st_info) != STB_LOCAL;
        if (visible && (symbol.st_shndx != SHN_UNDEF) == defined) {
            names.emplace(&text.at(symbol.st_name));
        }
    }
    return names;
}

}  // namespace nimb::test
