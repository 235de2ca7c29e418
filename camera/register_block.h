// One register block of a camera: where it is, which version, and its words in host order.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "camera/register_map.h"

namespace zerix {

struct RegisterBlock {
    explicit RegisterBlock(std::span<const registers::regVersionEntry> lengthTable)
        : table(lengthTable)
    {
    }

    // 0 for a word that this version of the block lacks.
    [[nodiscard]] uint32_t Word(uint32_t offset) const
    {
        return offset / 4 < words.size() ? words[offset / 4] : 0;
    }
    [[nodiscard]] uint32_t Read(registers::Field field) const
    {
        return registers::Extract(Word(field.offset), field);
    }
    [[nodiscard]] bool Has(registers::Field field) const { return field.offset / 4 < words.size(); }
    [[nodiscard]] bool IsAtLeast(uint16_t needMajor, uint16_t needMinor) const
    {
        return major > needMajor || (major == needMajor && minor >= needMinor);
    }

    std::span<const registers::regVersionEntry> table;
    uint32_t address = 0;
    uint32_t version = 0;
    uint16_t major = 0;
    uint16_t minor = 0;
    std::vector<uint32_t> words;
};

} // namespace zerix
