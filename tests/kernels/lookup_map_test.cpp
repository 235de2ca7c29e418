// Pixels become what their channels' maps say, whether these multiply, look up, or are of both
// kinds beside one another.
#include "image/kernels/lookup_map.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kernels/canvas.h"

namespace zerix::test {
namespace {

// A channel's gain; the top level stays.
template <typename Map>
std::unique_ptr<Map> GainOf(float gain)
{
    auto map = std::make_unique<Map>();
    const size_t top = std::size(map->results) - 1;
    for (size_t level = 0; level < top; ++level)
        map->results[level] = static_cast<std::remove_extent_t<decltype(map->results)>>(std::min(
            static_cast<double>(level) * static_cast<double>(gain), static_cast<double>(top)));
    std::memset(&map->results[top], 0xFF, sizeof map->results[top]);
    FindProportionOf(*map);
    return map;
}

template <typename Map>
std::unique_ptr<Map> Falling()
{
    auto map = std::make_unique<Map>();
    for (size_t level = 0; level < std::size(map->results); ++level)
        map->results[level] = static_cast<std::remove_extent_t<decltype(map->results)>>(
            std::size(map->results) - 1 - level);
    FindProportionOf(*map);
    return map;
}

template <typename Map>
void ExpectMapped(const std::vector<const Map *> &channels)
{
    using Pixel = std::remove_extent_t<decltype(Map::results)>;
    Random random(1);
    for (const size_t count : {size_t{1}, size_t{31}, size_t{1000}}) {
        std::vector<Pixel> pixels(count * channels.size());
        for (Pixel &pixel : pixels)
            pixel = static_cast<Pixel>(random());
        std::vector<Pixel> expected = pixels;
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] = channels[i % channels.size()]->results[expected[i]];
        MapPixels(reinterpret_cast<uint8_t *>(pixels.data()), count,
                  std::span<const Map *const>(channels));
        EXPECT_EQ(pixels, expected) << count << " x " << channels.size();
    }
}

template <typename Map>
void ExpectEveryKindMapped(std::initializer_list<size_t> channelCounts)
{
    const auto darker = GainOf<Map>(0.73f);
    const auto brighter = GainOf<Map>(1.88f);
    const auto falling = Falling<Map>();
    EXPECT_TRUE(darker->proportion.has_value());
    EXPECT_TRUE(brighter->proportion.has_value());
    EXPECT_FALSE(falling->proportion.has_value());
    for (const size_t count : channelCounts) {
        std::vector<const Map *> channels(count, darker.get());
        channels.back() = brighter.get();
        ExpectMapped(channels);
        for (size_t other = 0; other < count; ++other) {
            std::vector<const Map *> mixed = channels;
            mixed[other] = falling.get();
            ExpectMapped(mixed);
        }
    }
}

TEST(LookupMap, MapsBytesOfEveryKindOfChannel) { ExpectEveryKindMapped<LookupMap8>({1, 3, 4}); }

TEST(LookupMap, MapsWordsOfEveryKindOfChannel) { ExpectEveryKindMapped<LookupMap16>({1, 3}); }

// Byte proportions are below 128.
TEST(LookupMap, AGreatGainIsLookedUp)
{
    const auto great = GainOf<LookupMap8>(200.0f);
    EXPECT_FALSE(great->proportion.has_value());
    ExpectMapped<LookupMap8>({great.get(), great.get(), great.get()});
}

} // namespace
} // namespace zerix::test
