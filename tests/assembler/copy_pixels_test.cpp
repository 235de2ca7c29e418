// The copy of a packet's pixels, at every place in a cache line and with bytes around it that must
// stay.
#include <vector>

#include <gtest/gtest.h>

#include "camera/assembler/copy_pixels.h"

namespace zerix {
namespace {

constexpr uint8_t kGuard = 0xEE;
constexpr uint32_t kGuardBytes = 80;
constexpr uint32_t kLine = 64;

// Neighbouring bytes differ, and so do bytes that lie a line apart.
std::vector<uint8_t> Pixels(uint32_t count)
{
    std::vector<uint8_t> pixels;
    pixels.reserve(count);
    for (uint32_t i = 0; i < count; ++i)
        pixels.push_back(static_cast<uint8_t>(i % 223));
    return pixels;
}

void ExpectCopied(uint32_t count, uint32_t targetShift)
{
    // Of the exact size, so that a byte read too far is seen.
    const std::vector<uint8_t> source = Pixels(count);
    std::vector<uint8_t> target(kGuardBytes + targetShift + count + kGuardBytes, kGuard);
    CopyPixels(target.data() + kGuardBytes + targetShift, source.data(), count);
    std::vector<uint8_t> expected(kGuardBytes + targetShift, kGuard);
    for (const uint8_t pixel : source)
        expected.push_back(pixel);
    for (uint32_t i = 0; i < kGuardBytes; ++i)
        expected.push_back(kGuard);
    ASSERT_TRUE(target == expected) << count << " bytes, shifted by " << targetShift;
}

TEST(CopyPixels, CopiesEveryShortCountToEveryPlaceInALine)
{
    for (uint32_t count = 0; count <= 4 * kLine + 1; ++count)
        for (uint32_t shift = 0; shift < kLine; ++shift)
            ExpectCopied(count, shift);
}

TEST(CopyPixels, CopiesThePayloadsOfWholePackets)
{
    for (const uint32_t count : {1006u, 1020u, 4048u, 4056u, 4068u, 8964u, 8976u})
        for (uint32_t shift = 0; shift < kLine; ++shift)
            ExpectCopied(count, shift);
}

} // namespace
} // namespace zerix
