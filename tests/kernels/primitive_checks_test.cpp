// What the primitives refuse, in which order; and that a refusal writes nothing.
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "image/kernels/primitives.h"

namespace zerix::test {
namespace {

constexpr int32_t kSide = 8;

class PrimitiveChecks : public ::testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_EQ(pixels, std::vector<uint8_t>(kSide * kSide * 8, 0xA5)) << "a refusal wrote";
    }

    const std::vector<uint8_t> source = std::vector<uint8_t>(kSide * kSide * 8, 0x11);
    std::vector<uint8_t> pixels = std::vector<uint8_t>(kSide * kSide * 8, 0xA5);
    uint8_t *target = pixels.data();
};

TEST_F(PrimitiveChecks, ShiftsCheckPointersThenStepsThenSizes)
{
    for (const auto shift : {ZPrimShiftRight8uInPlace, ZPrimShiftRight16uInPlace}) {
        EXPECT_EQ(shift(1, nullptr, 0, 0, 0), kPrimNullPointer);
        EXPECT_EQ(shift(1, target, 0, 0, 0), kPrimStepError);
        EXPECT_EQ(shift(1, target, -1, 1, 1), kPrimStepError);
        EXPECT_EQ(shift(1, target, 1, 0, 1), kPrimSizeError);
        EXPECT_EQ(shift(1, target, 1, 1, 0), kPrimSizeError);
        EXPECT_EQ(shift(1, target, 1, -1, 1), kPrimSizeError);
        EXPECT_EQ(shift(0, target, 1, 1, 0), kPrimSizeError);
    }
}

TEST_F(PrimitiveChecks, AddsCheckPointersThenSizes)
{
    for (const auto add : {ZPrimAdd8uInPlace, ZPrimAdd16uInPlace}) {
        EXPECT_EQ(add(nullptr, 8, target, 8, 0, 0, 0), kPrimNullPointer);
        EXPECT_EQ(add(source.data(), 8, nullptr, 8, 0, 0, 0), kPrimNullPointer);
        EXPECT_EQ(add(source.data(), 8, target, 8, 0, 1, 0), kPrimSizeError);
        EXPECT_EQ(add(source.data(), 8, target, 8, 1, 0, 0), kPrimSizeError);
        EXPECT_EQ(add(source.data(), 8, target, 8, 1, -3, 30), kPrimSizeError);
    }
}

TEST_F(PrimitiveChecks, PacksCheckEveryPlaneThenSizes)
{
    const auto check = [&](auto pack, size_t planeCount) {
        std::vector<const uint8_t *> planes(planeCount, source.data());
        EXPECT_EQ(pack(nullptr, 8, target, 24, 1, 1), kPrimNullPointer);
        EXPECT_EQ(pack(planes.data(), 8, nullptr, 24, 0, 1), kPrimNullPointer);
        EXPECT_EQ(pack(planes.data(), 8, target, 24, 0, 1), kPrimSizeError);
        EXPECT_EQ(pack(planes.data(), 8, target, 24, 1, 0), kPrimSizeError);
        for (size_t plane = 0; plane < planeCount; ++plane) {
            planes.assign(planeCount, source.data());
            planes[plane] = nullptr;
            EXPECT_EQ(pack(planes.data(), 8, target, 24, 1, 1), kPrimNullPointer) << plane;
        }
    };
    check(ZPrimPack3To8u, 3);
    check(ZPrimPack3To16u, 3);
    check(ZPrimPack4To8u, 4);
}

TEST_F(PrimitiveChecks, LookupsCheckPointersThenSizesThenStepsThenLevels)
{
    const int32_t table[] = {0, 1, 2};
    for (const auto lookup : {ZPrimLookup8uInPlace, ZPrimLookup16uInPlace}) {
        EXPECT_EQ(lookup(nullptr, 0, 0, 0, table, table, 0), kPrimNullPointer);
        EXPECT_EQ(lookup(target, 0, 0, 0, nullptr, table, 0), kPrimNullPointer);
        EXPECT_EQ(lookup(target, 0, 0, 0, table, nullptr, 0), kPrimNullPointer);
        EXPECT_EQ(lookup(target, 0, 0, 1, table, table, 0), kPrimSizeError);
        EXPECT_EQ(lookup(target, 0, 1, 0, table, table, 0), kPrimSizeError);
        EXPECT_EQ(lookup(target, 0, 1, 1, table, table, 0), kPrimStepError);
        EXPECT_EQ(lookup(target, 1, 1, 1, table, table, 1), kPrimLevelsError);
        EXPECT_EQ(lookup(target, 1, 1, 1, table, table, -2), kPrimLevelsError);
    }
}

TEST_F(PrimitiveChecks, LookupsOfChannelsCheckEveryTable)
{
    const int32_t table[] = {0, 1, 2};
    const auto check = [&](auto lookup, size_t channels) {
        std::vector<const int32_t *> tables(channels, table);
        std::vector<const int32_t *> broken = tables;
        std::vector<int32_t> counts(channels, 3);
        EXPECT_EQ(lookup(nullptr, 8, 1, 1, tables.data(), tables.data(), counts.data()),
                  kPrimNullPointer);
        EXPECT_EQ(lookup(target, 8, 1, 1, nullptr, tables.data(), counts.data()), kPrimNullPointer);
        EXPECT_EQ(lookup(target, 8, 1, 1, tables.data(), nullptr, counts.data()), kPrimNullPointer);
        EXPECT_EQ(lookup(target, 8, 1, 1, tables.data(), tables.data(), nullptr), kPrimNullPointer);
        EXPECT_EQ(lookup(target, 8, 0, 1, tables.data(), tables.data(), counts.data()),
                  kPrimSizeError);
        EXPECT_EQ(lookup(target, 0, 1, 1, tables.data(), tables.data(), counts.data()),
                  kPrimStepError);
        for (size_t channel = 0; channel < channels; ++channel) {
            broken = tables;
            broken[channel] = nullptr;
            EXPECT_EQ(lookup(target, 8, 1, 1, broken.data(), tables.data(), counts.data()),
                      kPrimNullPointer);
            EXPECT_EQ(lookup(target, 8, 1, 1, tables.data(), broken.data(), counts.data()),
                      kPrimNullPointer);
            counts.assign(channels, 3);
            counts[channel] = 1;
            EXPECT_EQ(lookup(target, 8, 1, 1, tables.data(), tables.data(), counts.data()),
                      kPrimLevelsError);
        }
    };
    check(ZPrimLookup8uInPlace3, 3);
    check(ZPrimLookup8uInPlace4, 4);
    check(ZPrimLookup16uInPlace3, 3);
}

struct Resizing {
    int32_t sourceWidth = kSide, sourceHeight = kSide;
    int32_t x = 0, y = 0, width = kSide, height = kSide;
    int32_t outWidth = 2, outHeight = 2;
    double xFactor = 2, yFactor = 2;
    int32_t method = 2;
};

class ResizeChecks : public PrimitiveChecks {
protected:
    void Expect(const Resizing &r, PrimStatus status)
    {
        for (const auto resize : {ZPrimResize8u, ZPrimResize16u})
            EXPECT_EQ(resize(source.data(), r.sourceWidth, r.sourceHeight, 2 * kSide, r.x, r.y,
                             r.width, r.height, target, 4, r.outWidth, r.outHeight, r.xFactor,
                             r.yFactor, r.method),
                      status);
    }
};

TEST_F(ResizeChecks, CheckPointersFirst)
{
    for (const auto resize : {ZPrimResize8u, ZPrimResize16u}) {
        EXPECT_EQ(resize(nullptr, 0, 0, 0, 0, 0, 0, 0, target, 0, 0, 0, 0, 0, 0), kPrimNullPointer);
        EXPECT_EQ(resize(source.data(), 0, 0, 0, 0, 0, 0, 0, nullptr, 0, 0, 0, 0, 0, 0),
                  kPrimNullPointer);
    }
}

TEST_F(ResizeChecks, CheckSizesThenRegionThenFactorsThenMethod)
{
    Expect({.sourceWidth = 0, .x = 9}, kPrimSizeError);
    Expect({.sourceHeight = 0}, kPrimSizeError);
    Expect({.width = 0, .xFactor = 0}, kPrimSizeError);
    Expect({.height = -1}, kPrimSizeError);
    Expect({.outWidth = 0}, kPrimSizeError);
    Expect({.outHeight = 0, .method = 3}, kPrimSizeError);
    Expect({.x = -1}, kPrimSizeError);
    Expect({.x = 99, .y = -1}, kPrimSizeError);
    Expect({.x = kSide, .xFactor = 0}, kPrimRegionOutside);
    Expect({.y = kSide + 5, .method = 3}, kPrimRegionOutside);
    Expect({.xFactor = 0, .method = 3}, kPrimFactorError);
    Expect({.yFactor = -1.0, .method = 3}, kPrimFactorError);
    Expect({.yFactor = std::numeric_limits<double>::quiet_NaN()}, kPrimFactorError);
    for (int32_t method : {0, 3, 5, 8, 15, 16, 17, 32, -1})
        Expect({.method = method}, kPrimMethodError);
}

// 8 pixels times 0.06 are 0.48 of a pixel.
TEST_F(ResizeChecks, SayWhereNoPixelIsLeft)
{
    Expect({.xFactor = 0.06}, kPrimNothingToDo);
    Expect({.yFactor = 0.06, .method = 4}, kPrimNothingToDo);
    Expect({.x = 7, .xFactor = 0.49, .method = 1}, kPrimNothingToDo);
}

} // namespace
} // namespace zerix::test
