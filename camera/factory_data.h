// What the factory writes to a camera's information block: its checksum, and the pieces it goes in.
// Pure; any thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zerix {

// The sum of the complements of all words.
[[nodiscard]] uint32_t FactoryChecksum(std::span<const uint32_t> words);

struct FactoryPiece {
    uint32_t firstWord; // in the buffer and in the block alike
    uint32_t words;
    bool operator==(const FactoryPiece &) const = default;
};

// Short data go in one piece. Longer data leave out the words between, which the camera keeps
// itself.
[[nodiscard]] std::vector<FactoryPiece> FactoryPieces(uint32_t words);

} // namespace zerix
