// The turn by 180 degrees: every processor level against the plain one, at every alignment.
#include <algorithm>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "camera/assembler/turn_image.h"

namespace zerix::test {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(TurnImage, ExchangesPixelsFromBothEnds)
{
    Bytes narrow = {1, 2, 3, 4, 5};
    TurnImage(narrow.data(), 5, 1);
    EXPECT_EQ(narrow, (Bytes{5, 4, 3, 2, 1}));
    Bytes wide = {1, 2, 3, 4, 5, 6};
    TurnImage(wide.data(), 3, 2);
    EXPECT_EQ(wide, (Bytes{5, 6, 3, 4, 1, 2}));
    Bytes one = {1, 2};
    TurnImage(one.data(), 1, 2);
    EXPECT_EQ(one, (Bytes{1, 2}));
    TurnImage(nullptr, 0, 1);
    TurnImage(nullptr, 0, 2);
}

TEST(TurnImage, HasThePlainLevelFirst)
{
    ASSERT_FALSE(TurnLevels().empty());
    EXPECT_EQ(TurnLevels()[0].level, SimdLevel::kScalar);
}

// Turned by the standard library, between guard bytes.
TEST(TurnImage, GivesTheSameBytesAtEveryLevel)
{
    constexpr size_t kGuard = 64;
    std::mt19937 random(1);
    for (const TurnLevel &level : TurnLevels()) {
        if (!IsSimdLevelSupported(level.level))
            continue;
        for (uint32_t count = 0; count < 700; ++count) {
            const size_t offset = kGuard + random() % 32;
            for (uint32_t pixelBytes : {1u, 2u}) {
                Bytes bytes(offset + size_t{count} * pixelBytes + kGuard);
                std::generate(bytes.begin(), bytes.end(),
                              [&] { return static_cast<uint8_t>(random()); });
                Bytes expected = bytes;
                const auto first = expected.begin() + static_cast<std::ptrdiff_t>(offset);
                const auto last = first + static_cast<std::ptrdiff_t>(size_t{count} * pixelBytes);
                std::reverse(first, last);
                if (pixelBytes == 2)
                    for (auto word = first; word != last; word += 2)
                        std::iter_swap(word, word + 1);
                (pixelBytes == 1 ? level.turnBytes : level.turnWords)(bytes.data() + offset, count);
                ASSERT_EQ(bytes, expected)
                    << SimdLevelName(level.level) << " " << count << " " << pixelBytes;
            }
        }
    }
}

} // namespace
} // namespace zerix::test
