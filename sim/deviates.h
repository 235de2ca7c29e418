// Random deviates of the distributions that a sensor's noise has, from uniform bits through tables
// that are computed once, by exact arithmetic. The tables are constant: safe from any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sim/random.h"

namespace zerix::sim {

// A piece of an inverse distribution function; `step` is for one unit of the bits below the index.
struct QuantileCell {
    float start;
    float step;
};

// Normal deviates. The outermost two cells of the first table are resolved by a second one, so that
// the tails reach beyond five sigma.
class NormalTable {
public:
    static const NormalTable &Get();

    [[nodiscard]] float Deviate(uint32_t bits) const
    {
        const uint32_t index = bits >> 21U;
        if (index - 1U >= kCells - 2U) [[unlikely]]
            return Tail(bits);
        return m_cells[index].start +
               m_cells[index].step * static_cast<float>(static_cast<int32_t>(bits & 0x1FFFFFU));
    }

private:
    static constexpr uint32_t kCells = 2048;

    NormalTable();
    [[nodiscard]] float Tail(uint32_t bits) const;

    std::array<QuantileCell, kCells> m_cells;
    std::array<QuantileCell, kCells> m_tail; // of the upper end
};

// Exponential deviates of mean 1.
class ExponentialTable {
public:
    static const ExponentialTable &Get();

    [[nodiscard]] float Deviate(uint64_t bits) const;

private:
    static constexpr uint32_t kCells = 1024;

    ExponentialTable();

    std::array<QuantileCell, kCells> m_cells;
};

// Poisson deviates of small means, exactly distributed (to 2 to the power -32): the part of the
// mean that is on a grid comes from a table of the distribution, the rest by inversion, and the sum
// of two Poisson deviates is one.
class PoissonTable {
public:
    static const PoissonTable &Get();

    // Means from here on are left to the normal approximation.
    static constexpr float kLimit = 24.0F;

    // No deviate is above this.
    static constexpr uint32_t kMostCounts = 74;

    // Of a mean from 0 to below kLimit.
    [[nodiscard]] uint32_t Deviate(float mean, uint64_t bits) const
    {
        const auto step = static_cast<uint32_t>(static_cast<int32_t>(mean * kStepsPerUnit));
        const uint32_t count = CountOf(m_distributions[step], static_cast<uint32_t>(bits));
        const auto left = static_cast<uint32_t>(bits >> 32U);
        if (left < kNoneOfAnyRest)
            return count;
        return count +
               DeviateOfRest(mean - static_cast<float>(static_cast<int32_t>(step)) / kStepsPerUnit,
                             left);
    }

private:
    static constexpr uint32_t kSteps = 192;
    static constexpr float kStepsPerUnit = 8.0F;
    static constexpr uint32_t kCounts = 64;     // 0 to 63 of the part on the grid
    static constexpr uint32_t kMostOfRest = 11; // of the part beside it
    static_assert(kCounts - 1 + kMostOfRest == kMostCounts);

    struct Distribution {
        std::array<uint32_t, kCounts>
            upTo;                       // probability of at most so many, times 2 to the power 32
        std::array<uint8_t, 256> first; // the least count for bits that begin with this byte
    };

    // No rest of a mean beyond the grid's step has a smaller probability of no event: e to the
    // power -0.125 is 0.88249..., here times 2 to the power 32.
    static constexpr uint32_t kNoneOfAnyRest = 3789898700;

    // The first two steps, which most searches end with, are without branches: nobody could foresee
    // them. They end within the counts, as `first` leaves 1/256 of the distribution. The highest
    // bits of all go to the count before them, since a table's probabilities end there.
    static uint32_t CountOf(const Distribution &distribution, uint32_t bits)
    {
        const uint32_t word = bits < 0xFFFFFFFFU ? bits : 0xFFFFFFFEU;
        uint32_t count = distribution.first[word >> 24U];
        count += word >= distribution.upTo[count] ? 1U : 0U;
        count += word >= distribution.upTo[count] ? 1U : 0U;
        while (word >= distribution.upTo[count])
            [[unlikely]]++ count;
        return count;
    }

    PoissonTable();
    static uint32_t DeviateOfRest(float mean, uint32_t left);
    static void Fill(double mean, Distribution *distribution);

    std::array<Distribution, kSteps> m_distributions;
};

} // namespace zerix::sim
