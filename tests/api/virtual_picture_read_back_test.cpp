// What is set and sent of the picture, on every camera of the family: exposures, regions, formats
// and post-processing, in the camera's own registers and in a fresh record.
#include <set>

#include "tests/api/virtual_read_back_session.h"

namespace zerix::api {
namespace {

class VirtualPictureReadBack : public VirtualReadBackSession {};

// Nanoseconds in two words; the oldest registers hold microseconds in one.
TEST_F(VirtualPictureReadBack, OfExposures)
{
    uint32_t turning = 0;
    OnEachCameraOfTheFamily([&] {
        const bool isFirst = Word(0) >> 16 == 1;
        const auto exposure = [&](uint32_t upper, uint32_t lower) {
            return isFirst ? uint64_t{Word(upper)} * 1000
                           : uint64_t{Word(upper)} << 32 | Word(lower);
        };
        for (const uint64_t nanoseconds :
             {uint64_t{10'000}, uint64_t{5'000'000'000}, uint64_t{1'073'741'823'000}}) {
            SCOPED_TRACE(nanoseconds);
            EXPECT_EQ(Zerix_SetParam64(&settings, zprm64Exposure, nanoseconds), 0u);
            Send();
            EXPECT_EQ(exposure(0x18, 0x3C), nanoseconds);
            EXPECT_EQ(exposure(0x1C, 0x40), nanoseconds); // the wheel stands
            EXPECT_EQ(exposure(0x20, 0x44), nanoseconds);
            EXPECT_EQ(ReadBack<uint64_t>(zprm64Exposure, Zerix_GetParam64), nanoseconds);
            EXPECT_EQ(ReadBack(zprmExposure), nanoseconds / 1000);
        }
        Set(zprmExposure, 20'001);
        Send();
        EXPECT_EQ(exposure(0x18, 0x3C), 20'001'000u);
        if (!HasWheel())
            return;
        ++turning;
        Set(zprmImageFormat, 6);
        Set(zprmExposureRed, 30'002);
        EXPECT_EQ(Zerix_SetParam64(&settings, zprm64ExposureBlue, 40'003'000), 0u);
        Send();
        EXPECT_EQ(exposure(0x18, 0x3C), 20'001'000u);
        EXPECT_EQ(exposure(0x1C, 0x40), 30'002'000u);
        EXPECT_EQ(exposure(0x20, 0x44), 40'003'000u);
        EXPECT_EQ(ReadBack(zprmExposureRed), 30'002u);
        EXPECT_EQ(ReadBack<uint64_t>(zprm64ExposureRed, Zerix_GetParam64), 30'002'000u);
        EXPECT_EQ(ReadBack(zprmExposureBlue), 40'003u);
    });
    EXPECT_GT(turning, 10u);
}

// An exposure beyond its limit is told, kept, and put right by the send.
TEST_F(VirtualPictureReadBack, OfAnExposureThatIsTooLong)
{
    OnEachCamera("default", [&] {
        EXPECT_EQ(Zerix_SetParam(&settings, zprmExposure, 1'073'741'824), 2u);
        EXPECT_EQ(Value(zprmExposure), 1'073'741'824u);
        Send();
        EXPECT_EQ(Value(zprmExposure), 1'073'741'823u);
        EXPECT_EQ(ReadBack(zprmExposure), 1'073'741'823u);
        EXPECT_EQ(Zerix_SetParam64(&settings, zprm64Exposure, 9'999), 2u);
        Send();
        EXPECT_EQ(Value(zprmExposure), 10u);
    });
}

// Cells of a mosaic are 2 x 2, so the numbers are even. One camera counts from the far corner.
TEST_F(VirtualPictureReadBack, OfRegions)
{
    OnEachCameraOfTheFamily([&] {
        const uint32_t width = Value(zprmRoiWidth);
        const uint32_t height = Value(zprmRoiHeight);
        const bool isTurned = Model() == 15;
        const struct {
            uint32_t x, y, width, height;
        } kRegions[] = {{10, 6, 40, 20}, {width - 64, height - 48, 64, 48}, {0, 0, 32, 16}};
        for (const auto &region : kRegions) {
            SCOPED_TRACE(region.x);
            Set(zprmRoiX, region.x);
            Set(zprmRoiY, region.y);
            Set(zprmRoiWidth, region.width);
            Set(zprmRoiHeight, region.height);
            Send();
            EXPECT_EQ(Word(0x0C), region.width << 16 | region.height);
            const uint32_t x = isTurned ? width - region.x - region.width : region.x;
            const uint32_t y = isTurned ? height - region.y - region.height : region.y;
            EXPECT_EQ(Word(0x10), x << 16 | y);
            EXPECT_EQ(ReadBack(zprmRoiX), region.x);
            EXPECT_EQ(ReadBack(zprmRoiY), region.y);
            EXPECT_EQ(ReadBack(zprmRoiWidth), region.width);
            EXPECT_EQ(ReadBack(zprmRoiHeight), region.height);
        }
    });
}

// The depth's code and the wheel's bit. A depth of 14 has a code of its own; others that are deep
// are the most that there is. The MT1 has words always, and its code stays.
TEST_F(VirtualPictureReadBack, OfImageFormats)
{
    OnEachCameraOfTheFamily([&] {
        uint32_t depth = 0;
        EXPECT_EQ(Zerix_GetInfo(handle, zinfBitDepth, &depth), 0u);
        const uint32_t deepCode = Model() == 1002 ? 0 : depth == 14 ? 3 : 1;
        const std::set<uint32_t> kDeep = {1, 3, 5, 7, 10};
        for (const uint32_t format : ListOf(zprmImageFormat)) {
            SCOPED_TRACE(format);
            Set(zprmImageFormat, format);
            Send();
            EXPECT_EQ(Read({0x04, 3, 2}), kDeep.count(format) != 0 ? deepCode : 0);
            EXPECT_EQ(Read({0x30, 0, 1}), format >= 6 ? 1u : 0u);
        }
    });
}

// A mosaic's picture comes back in the mosaic's own formats, a wheel's in the one that was asked.
TEST_F(VirtualPictureReadBack, OfImageFormatsByTheSensor)
{
    OnEachCameraOfTheFamily([&] {
        if (Model() == 1002)
            return; // words always: 3 whatever is asked
        uint32_t isBayer = 0;
        EXPECT_EQ(Zerix_GetInfo(handle, zinfCcdType, &isBayer), 0u);
        for (const auto &[format, told] : {std::pair{zfmtMono8, isBayer != 0 ? 4u : 2u},
                                           {zfmtRaw8, isBayer != 0 ? 4u : 2u},
                                           {zfmtMono16, isBayer != 0 ? 5u : 3u},
                                           {zfmtBgr24, 8u},
                                           {zfmtRgb48, 10u}}) {
            SCOPED_TRACE(format);
            if (format >= 6 && (!HasWheel() || isBayer != 0))
                continue;
            Set(zprmImageFormat, format);
            Send();
            EXPECT_EQ(ReadBack(zprmImageFormat), told);
        }
    });
}

// The filters keep what was sent; the slower bicubic becomes the faster one.
TEST_F(VirtualPictureReadBack, OfPostProcessing)
{
    OnEachCamera("default", [&] {
        for (const auto &[algorithm, told] : {std::pair{1u, 1u}, {2u, 2u}, {3u, 4u}, {4u, 4u}}) {
            Set(zprmDoPostProcessing, algorithm % 2);
            Set(zprmPostProcessGainRed, 1000 * algorithm);
            Set(zprmPostProcessGainGreen, 500 * algorithm);
            Set(zprmPostProcessGainBlue, 250 * algorithm);
            Set(zprmPostProcessBayerAlgorithm, algorithm);
            Set(zprmPostProcessImageFormat, ListOf(zprmPostProcessImageFormat)[algorithm - 1]);
            Send();
            EXPECT_EQ(ReadBack(zprmDoPostProcessing), algorithm % 2);
            EXPECT_EQ(ReadBack(zprmPostProcessGainRed), 1000 * algorithm);
            EXPECT_EQ(ReadBack(zprmPostProcessGainGreen), 500 * algorithm);
            EXPECT_EQ(ReadBack(zprmPostProcessGainBlue), 250 * algorithm);
            EXPECT_EQ(ReadBack(zprmPostProcessBayerAlgorithm), told);
            EXPECT_EQ(ReadBack(zprmPostProcessImageFormat),
                      ListOf(zprmPostProcessImageFormat)[algorithm - 1]);
        }
    });
}

} // namespace
} // namespace zerix::api
