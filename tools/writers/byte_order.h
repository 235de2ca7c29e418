// Bytes of numbers, the lowest first or the highest first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zerix::tool {

inline void PutLittle(std::vector<uint8_t> &bytes, uint64_t value, size_t size)
{
    for (size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

inline void PutBig(std::vector<uint8_t> &bytes, uint64_t value, size_t size)
{
    for (size_t i = size; i-- > 0;)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

inline std::vector<uint8_t> Little(uint64_t value, size_t size)
{
    std::vector<uint8_t> bytes;
    PutLittle(bytes, value, size);
    return bytes;
}

} // namespace zerix::tool
