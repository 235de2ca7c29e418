// A factor of 2^-bits reproduces a table where it lies between t/i and (t + 1)/i for each level i
// of result t. All lower bounds hold for the least such factor, so that it is the greatest of them.
#include "image/kernels/proportion.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>

namespace zerix {

namespace {

template <typename Pixel>
struct Form;

template <>
struct Form<uint8_t> {
    static constexpr int kBits = 16;
    static constexpr uint64_t kEnd = uint64_t{128} << kBits;
    static Proportion8 ProportionOf(uint64_t factor)
    {
        return {static_cast<uint16_t>(factor >> 16), static_cast<uint16_t>(factor)};
    }
};

template <>
struct Form<uint16_t> {
    static constexpr int kBits = 32;
    static constexpr uint64_t kEnd = uint64_t{1} << 48;
    static Proportion16 ProportionOf(uint64_t factor)
    {
        return {static_cast<uint16_t>(factor >> 32), static_cast<uint16_t>(factor >> 16),
                static_cast<uint16_t>(factor)};
    }
};

template <typename Pixel>
uint64_t LowerBound(const Pixel *map, size_t level)
{
    return ((uint64_t{map[level]} << Form<Pixel>::kBits) + level - 1) / level;
}

template <typename Pixel>
constexpr size_t kLevels = size_t{std::numeric_limits<Pixel>::max()} + 1;
template <typename Pixel>
constexpr size_t kBlock = std::min<size_t>(kLevels<Pixel>, 2048); // levels tried at a time

template <typename Pixel, typename Table>
bool Reproduces(const Pixel *map, size_t begin, const Table &kernels, uint64_t factor)
{
    const auto proportion = Form<Pixel>::ProportionOf(factor);
    Pixel block[kBlock<Pixel>];
    std::iota(block, block + kBlock<Pixel>, static_cast<Pixel>(begin));
    kernels.scale(reinterpret_cast<uint8_t *>(block), kBlock<Pixel>, 1, &proportion);
    return std::memcmp(block, map + begin, sizeof block) == 0;
}

// The greatest of the bounds of one block and the factor so far.
template <typename Pixel>
uint64_t RaisedBy(const Pixel *map, size_t begin, uint64_t factor)
{
    for (size_t level = begin; level < begin + kBlock<Pixel>; ++level)
        if (level > 0 && level < kLevels<Pixel> - 1 &&
            level * factor < uint64_t{map[level]} << Form<Pixel>::kBits)
            factor = LowerBound(map, level);
    return factor;
}

// The bounds of the highest levels below saturation are the sharpest: from them on the factor is
// seldom raised.
template <typename Pixel>
uint64_t FirstGuess(const Pixel *map)
{
    constexpr Pixel kTop = std::numeric_limits<Pixel>::max();
    constexpr size_t kSharpest = 256;
    const auto saturated = static_cast<size_t>(
        std::partition_point(map + 1, map + kTop, [](Pixel result) { return result < kTop; }) -
        map);
    uint64_t factor = saturated < kTop ? LowerBound(map, saturated) : 0;
    for (size_t level = saturated - 1; level > 0 && level + kSharpest >= saturated; --level)
        factor = std::max(factor, LowerBound(map, level));
    return factor;
}

// Blocks that are passed hold unless the factor is raised behind them; then all are tried again.
template <typename Pixel, typename Table>
auto Find(const Pixel *map, const Table &kernels)
    -> std::optional<decltype(Form<Pixel>::ProportionOf(0))>
{
    uint64_t factor = FirstGuess(map);
    for (uint64_t tried = ~factor; tried != factor;) {
        tried = factor;
        for (size_t begin = 0; begin < kLevels<Pixel>; begin += kBlock<Pixel>) {
            if (factor >= Form<Pixel>::kEnd)
                return std::nullopt;
            if (Reproduces(map, begin, kernels, factor))
                continue;
            const uint64_t raised = RaisedBy(map, begin, factor);
            if (raised == factor || !Reproduces(map, begin, kernels, raised))
                return std::nullopt;
            factor = raised;
        }
    }
    return Form<Pixel>::ProportionOf(factor);
}

} // namespace

std::optional<Proportion8> FindProportion(const uint8_t *map, const Kernels8 &kernels)
{
    return Find(map, kernels);
}

std::optional<Proportion16> FindProportion(const uint16_t *map, const Kernels16 &kernels)
{
    return Find(map, kernels);
}

} // namespace zerix
