#pragma once

#include <elf.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace nimb::test {

/// A 64-bit ELF file of this machine's byte order, read whole: enough of it to tell what a shared
/// library exports, imports and asks of the loader. Throws std::runtime_error on anything else.
class ElfFile {
  public:
    explicit ElfFile(const std::filesystem::path& path);

    /// Names other modules can bind to.
    std::set<std::string> exportedNames() const { return dynamicNames(true); }

    /// Names the library expects from others.
    std::set<std::string> importedNames() const { return dynamicNames(false); }

    /// Names that the loader looks up in all modules, when it fills in the library's addresses.
    std::set<std::string> lookedUpNames() const;

    /// The program header of that type (PT_...), if there is one.
    std::optional<Elf64_Phdr> segment(Elf64_Word type) const;

    /// The value of a dynamic tag (DT_...), if there is one.
    std::optional<Elf64_Xword> dynamicValue(Elf64_Sxword tag) const;

  private:
    template <typename Record>
    std::vector<Record> records(std::size_t offset, std::size_t count) const;
    std::optional<Elf64_Shdr> section(Elf64_Word type) const;
    std::set<std::string> dynamicNames(bool defined) const;

    std::string bytes_;
    Elf64_Ehdr header_{};
    std::vector<Elf64_Shdr> sections_;
    std::vector<Elf64_Phdr> segments_;
};

}  // namespace nimb::test
