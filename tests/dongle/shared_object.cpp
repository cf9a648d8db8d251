// SPDX-License-Identifier: MIT
#include "shared_object.h"

#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/temp_dir.h"

namespace {

// The `index`-th record of `Record`s that start at `offset`.
template <typename Record>
Record record_at(const Bytes& file, std::size_t offset, std::size_t index = 0) {
    Record record{};
    const std::size_t at = offset + index * sizeof(Record);
    EXPECT_LE(at + sizeof(Record), file.size());
    if (at + sizeof(Record) <= file.size()) std::memcpy(&record, file.data() + at, sizeof(Record));
    return record;
}

std::string text_at(const Bytes& file, const Elf64_Shdr& strings, std::size_t offset) {
    const std::size_t at = strings.sh_offset + offset;
    EXPECT_LT(at, file.size());
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(std::min(at, file.size()));
    return std::string(begin, std::find(begin, file.end(), std::uint8_t{0}));
}

void read_dynamic(const Bytes& file, const Elf64_Shdr& section, const Elf64_Shdr& strings, SharedObject& object) {
    for (std::size_t i = 0; i < section.sh_size / sizeof(Elf64_Dyn); ++i) {
        const auto entry = record_at<Elf64_Dyn>(file, section.sh_offset, i);
        if (entry.d_tag == DT_NULL) return;
        if (entry.d_tag == DT_SONAME) object.soname = text_at(file, strings, entry.d_un.d_val);
        if (entry.d_tag == DT_NEEDED) object.needed.push_back(text_at(file, strings, entry.d_un.d_val));
    }
}

bool can_be_bound(const Elf64_Sym& symbol) {
    const unsigned visibility = ELF64_ST_VISIBILITY(symbol.st_other);
    return ELF64_ST_BIND(symbol.st_info) != STB_LOCAL && (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

void read_symbols(const Bytes& file, const Elf64_Shdr& section, const Elf64_Shdr& strings, SharedObject& object) {
    for (std::size_t i = 1; i < section.sh_size / sizeof(Elf64_Sym); ++i) {
        const auto symbol = record_at<Elf64_Sym>(file, section.sh_offset, i);
        const std::string name = text_at(file, strings, symbol.st_name);
        if (symbol.st_shndx == SHN_UNDEF)
            object.imported.push_back(name);
        else if (can_be_bound(symbol))
            object.exported.push_back(name);
    }
}

}  // namespace

SharedObject read_shared_object(const std::string& path) {
    SharedObject object;
    const Bytes file = read_file(path);
    const auto header = record_at<Elf64_Ehdr>(file, 0);
    EXPECT_EQ(std::memcmp(header.e_ident, ELFMAG, SELFMAG), 0) << path;
    EXPECT_EQ(header.e_ident[EI_CLASS], ELFCLASS64) << path;
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const auto section = record_at<Elf64_Shdr>(file, header.e_shoff, i);
        const auto strings = record_at<Elf64_Shdr>(file, header.e_shoff, section.sh_link);
        if (section.sh_type == SHT_DYNAMIC) read_dynamic(file, section, strings, object);
        if (section.sh_type == SHT_DYNSYM) read_symbols(file, section, strings, object);
        if (section.sh_type == SHT_GNU_verdef) object.defines_versions = true;
    }
    std::ranges::sort(object.exported);
    std::ranges::sort(object.imported);
    return object;
}
