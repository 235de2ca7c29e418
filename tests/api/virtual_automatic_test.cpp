// Automatic exposure and white balance of virtual cameras through the C interface, as an
// application calls them, and the pictures that come of it.
#include <gtest/gtest.h>

#include "tests/api/virtual_automatic_fixture.h"

namespace zerix::api {
namespace {

// Pictures of bytes and pictures of words alike, from exposures a thousand times too short and too
// long. The gains are 1, so that the picture's range is the camera's.
TEST_F(VirtualAutomatic, AnExposureIsFoundForPicturesOfEveryDepth)
{
    OpenWith(kMosaicRack);
    TakeAPart();
    for (const uint32_t gain :
         {zprmPostProcessGainRed, zprmPostProcessGainGreen, zprmPostProcessGainBlue})
        Set(gain, 1000);
    uint64_t found = 0;
    for (const bool isWide : {false, true}) {
        Set(zprmImageFormat, isWide ? zfmtBayer16 : zfmtBayer8);
        Set(zprmPostProcessImageFormat, isWide ? zfmtRgb48 : zfmtRgb24);
        for (const uint64_t start : {uint64_t{20'000}, uint64_t{20'000'000'000}}) {
            SCOPED_TRACE(start);
            Expose(start);
            Send();
            EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 320, 240), 0u);
            if (found == 0)
                found = Exposure();
            EXPECT_NEAR(static_cast<double>(Exposure()), static_cast<double>(found),
                        static_cast<double>(found) * 0.1);
            uint32_t value = 0;
            EXPECT_EQ(Zerix_GetParam(&settings, zprmPostProcessImageFormat, &value), 0u);
            EXPECT_EQ(value, isWide ? zfmtRgb48 : zfmtRgb24);
            const auto samples = Take(isWide ? zfmtRgb48 : zfmtRgb24);
            const uint32_t top = isWide ? 4095 : 255;
            const uint16_t brightest = *std::max_element(samples.begin(), samples.end());
            EXPECT_GT(brightest, top * 85 / 100);
            EXPECT_LT(MeansOf(samples)[0], top);
        }
    }
}

TEST_F(VirtualAutomatic, AMosaicUnderWarmLightBecomesGrey)
{
    OpenWith(kMosaicRack);
    TakeAPart();
    for (const bool isWide : {false, true}) {
        SCOPED_TRACE(isWide);
        const uint32_t format = isWide ? zfmtRgb48 : zfmtRgb24;
        Set(zprmImageFormat, isWide ? zfmtBayer16 : zfmtBayer8);
        Set(zprmPostProcessImageFormat, format);
        Send();
        EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 320, 240), 0u);
        const uint64_t exposure = Exposure() * 3 / 4;
        Expose(exposure);
        for (const uint32_t gain : {zprmPostProcessGainRed, zprmPostProcessGainBlue})
            Set(gain, 1000);
        Send();
        const Means before = MeansOf(Take(format));
        EXPECT_GT(before[0], before[1] * 1.1);
        EXPECT_LT(before[2], before[1] * 0.8);
        EXPECT_EQ(Zerix_WhiteBalance(&settings, 100, 100, 200, 100), 0u);
        EXPECT_EQ(Exposure(), exposure);
        ExpectGrey(MeansOf(Take(format)));
    }
}

// The search looks through green alone, so that it is green that comes near the top.
TEST_F(VirtualAutomatic, AWheelsExposureIsFoundBehindItsGreen)
{
    OpenWith(kWheelRack);
    Set(zprmImageFormat, zfmtRgb24);
    Set(zprmPostProcessImageFormat, zfmtRgb24);
    Send();
    EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 1024, 58), 0u);
    const double green = MeansOf(Take(zfmtRgb24))[1];
    EXPECT_GT(green, 220.0);
    EXPECT_LT(green, 255.0);
}

// Its balance lies in the exposures, with the gains at 1.
TEST_F(VirtualAutomatic, AWheelsExposuresMakeWarmLightGrey)
{
    OpenAWheelUnderWarmLight();
    const Means before = MeansOf(Take(zfmtRgb24));
    EXPECT_GT(before[0], before[1] * 1.2);
    EXPECT_LT(before[2], before[1] * 0.8);
    EXPECT_EQ(Zerix_WhiteBalance(&settings, 0, 0, 1024, 58), 0u);
    EXPECT_LT(Exposure(zprm64ExposureRed), Exposure());
    EXPECT_GT(Exposure(zprm64ExposureBlue), Exposure());
    ExpectGrey(MeansOf(Take(zfmtRgb24)));
}

} // namespace
} // namespace zerix::api
