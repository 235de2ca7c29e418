// A counter-based random generator: every number is a function of a key and a counter, so that no
// number depends on how many were drawn before it, or by which thread. Integer arithmetic only.
#pragma once

#include <cstdint>
#include <string_view>

namespace zerix::sim {

// A bijection of 64 bits whose outputs for neighbouring inputs have nothing in common.
constexpr uint64_t Scramble(uint64_t value)
{
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31U);
}

// Steps of the counter are spread by the golden ratio, so that small counters are as good as large.
constexpr uint64_t RandomBits(uint64_t key, uint64_t counter)
{
    return Scramble(key + counter * 0x9E3779B97F4A7C15ULL);
}

// A key from a key and one more thing it depends on.
constexpr uint64_t DeriveKey(uint64_t key, uint64_t with)
{
    return Scramble(Scramble(key ^ 0x2545F4914F6CDD1DULL) + with * 0xD1342543DE82EF95ULL);
}

constexpr uint64_t DeriveKey(uint64_t key, std::string_view with)
{
    for (const char letter : with)
        key = DeriveKey(key, static_cast<uint64_t>(static_cast<unsigned char>(letter)));
    return DeriveKey(key, with.size());
}

// Uniform in [0, 1), a multiple of 2 to the power -24.
constexpr float UnitFloat(uint64_t bits)
{
    return static_cast<float>(static_cast<uint32_t>(bits >> 40U)) * (1.0F / 16777216.0F);
}

// Draws in a row, for what is made once (the objects of a scene).
class RandomSequence {
public:
    explicit RandomSequence(uint64_t key) : m_key(key) {}

    uint64_t Bits() { return RandomBits(m_key, m_counter++); }
    float Unit() { return UnitFloat(Bits()); }
    float Between(float low, float high) { return low + (high - low) * Unit(); }

private:
    uint64_t m_key;
    uint64_t m_counter = 0;
};

} // namespace zerix::sim
