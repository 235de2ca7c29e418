// Automatic exposure and white balance as exported calls: their checks, their lines, and what they
// leave in the record. What is measured, image/ tests.
#include <cstring>
#include <memory>

#include "api/unit_conversion.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_ex_image.h"
#include "image/z_image_pipeline.h"
#include "tests/api/settings_fixture.h"

namespace zerix::api {
namespace {

class Automatic : public SettingsTest {
protected:
    void SetUp() override
    {
        SettingsTest::SetUp();
        camera->getMinExposure = 1'000;
        camera->getMaxExposure = 1'000'000'000;
        camera->getExposure = 123'456'000;
        camera->getRGBFilterRedExposure = 20'000;
        camera->getRGBFilterBlueExposure = 30'000;
        camera->getCCDWidth = 1000;
        camera->getCCDHeight = 800;
        camera->getROIMaxWidthForBinningMode = 1000;
        camera->getROIMaxHeightForBinningMode = 800;
        camera->getImageWidth = 1000;
        camera->getImageHeight = 800;
        camera->getImageFormat = 2;
        camera->isRGBFilterSupported = true;
        camera->GetBayerPipeline()->Setup(8, 8);
        camera->GetBayerPipeline()->AddFilter(camera->GetBenchmateRatioCorrectionFilter());
        FillBoth(Zerix_ReadDefaultSettings);
        Take();
        camera->calls.clear();
    }

    // The next image of the camera: 4 x 4 of one colour.
    void GiveImage(uint8_t red, uint8_t green, uint8_t blue)
    {
        const uint8_t colour[] = {red, green, blue};
        uint8_t *const pixels = ZX::ZExImage::AllocateBuffer(48);
        for (std::size_t index = 0; index < 48; ++index)
            pixels[index] = colour[index % 3];
        camera->nextImage = new ZX::ZExImage(
            pixels, 48, 4, 4, uint16_t{8}, 0, 1.0, zfmtRgb24, uint16_t{2}, uint16_t{5}, uint16_t{0},
            false, uint16_t{0}, uint16_t{0}, uint16_t{1}, false, uint16_t{0}, uint16_t{0},
            static_cast<ZX::ZCamera *>(camera), true, 0);
    }

    uint32_t Balance() { return Zerix_WhiteBalance(&current, 0, 0, 100, 100); }
};

using Call = uint32_t (*)(Zerix_Settings *, uint32_t, uint32_t, uint32_t, uint32_t);
constexpr Call kCalls[] = {Zerix_AutoExpose, Zerix_WhiteBalance};

TEST_F(Automatic, RegionsMustNotBeTiny)
{
    tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtMono8); // ends the balance early
    for (const Call call : kCalls) {
        EXPECT_EQ(call(&current, 1, 2, 15, 15), 32u);
        EXPECT_EQ(call(&current, 1, 2, 0, 100), 32u);
        EXPECT_EQ(call(&current, 1, 2, 100, 0), 32u);
        EXPECT_EQ(call(&current, 1, 2, 0, 0), 32u);
        EXPECT_EQ(call(&current, 1, 2, 15, 16), 0u);
        EXPECT_EQ(call(&current, 1, 2, 16, 1), 0u);
        EXPECT_EQ(call(Legacy(), 1, 2, 15, 15), 32u);
    }
}

// Before the first image: nothing is asked of the camera.
TEST_F(Automatic, RegionsMustBeginWithinTheMeasuredPicture)
{
    tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtMono8); // ends the balance early
    const auto expectEdges = [this](uint32_t width, uint32_t height) {
        for (const Call call : kCalls) {
            camera->calls.clear();
            EXPECT_EQ(call(&current, width, 0, 16, 16), 32u);
            EXPECT_EQ(call(&current, 0, height, 16, 16), 32u);
            EXPECT_EQ(call(&current, 0xFFFFFFFF, 0xFFFFFFFF, 16, 16), 32u);
            EXPECT_TRUE(camera->calls.empty());
            EXPECT_EQ(call(&current, width - 1, height - 1, 16, 16), 0u);
        }
    };
    camera->getOneImageStatus = 21;
    expectEdges(1000, 800);
    camera->getModel = 8; // a Benchmate
    expectEdges(1000, 800);
    camera->getSymmetricalBinningMode = 3;
    expectEdges(332, 800); // (1000 - 4) / 3
    camera->getCCDWidth = 2560;
    camera->getLVWMode = true;
    expectEdges(250, 1600);
}

TEST_F(Automatic, ChecksComeInTheirOrder)
{
    Zerix_Settings empty = {};
    for (const Call call : kCalls) {
        EXPECT_EQ(call(nullptr, 0, 0, 0, 0), 2u);
        EXPECT_EQ(call(&empty, 0, 0, 0, 0), 3u);
    }
    camera->CloseCamera();
    for (const Call call : kCalls)
        EXPECT_EQ(call(&current, 0, 0, 0, 0), 3u);
    camera->OpenCamera();
    for (const Call call : kCalls)
        EXPECT_EQ(call(&current, 0, 0, 0, 0), 32u);
    Zerix_ReleaseDriver();
    for (const Call call : kCalls)
        EXPECT_EQ(call(nullptr, 0, 0, 0, 0), 8u);
}

TEST_F(Automatic, TellsItsRegionFirst)
{
    EXPECT_EQ(Zerix_AutoExpose(&current, 1, 2, 3, 4), 32u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_AutoExpose start", "Zerix_AutoExpose - X:1 Y:2 Width:3 Height:4",
                     EndingLine("Zerix_AutoExpose", "the ROI used is too small.", 32)}));
    tables::SetSlot32(&current, zprmPostProcessImageFormat, 12);
    EXPECT_EQ(Zerix_WhiteBalance(&current, 1, 2, 3, 4), 32u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_WhiteBalance start", "Zerix_WhiteBalance - X:1 Y:2 Width:3 Height:4",
                     "Zerix_WhiteBalance - Output image format:12",
                     EndingLine("Zerix_WhiteBalance", "the ROI used is too small.", 32)}));
    EXPECT_EQ(Zerix_WhiteBalance(nullptr, 1, 2, 3, 4), 2u);
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], "Zerix_WhiteBalance - X:1 Y:2 Width:3 Height:4");
}

// The search fails at once; the camera's exposures count all the same.
TEST_F(Automatic, ExposureStoresWhatTheCameraHas)
{
    camera->getOneImageStatus = 21;
    EXPECT_EQ(Zerix_AutoExpose(&current, 0, 0, 100, 100), 0u);
    const Lines lines = Take();
    uint64_t value = 0;
    EXPECT_EQ(Zerix_GetParam64(&current, zprm64Exposure, &value), 0u);
    EXPECT_EQ(value, 123'456'000u);
    EXPECT_EQ(Zerix_GetParam64(&current, zprm64ExposureRed, &value), 0u);
    EXPECT_EQ(value, 20'000u);
    EXPECT_EQ(Zerix_GetParam64(&current, zprm64ExposureBlue, &value), 0u);
    EXPECT_EQ(value, 30'000u);
    const std::vector<std::string> &calls = camera->calls;
    EXPECT_NE(std::find(calls.begin(), calls.end(), "SetExposure 123456000"), calls.end());
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(
        Lines(lines.end() - 4, lines.end()),
        (Lines{"Zerix_AutoExpose - New red exposure: 20000 ns",
               "Zerix_AutoExpose - New green exposure: 123456000 ns",
               "Zerix_AutoExpose - New blue exposure: 30000 ns", EndLine("Zerix_AutoExpose")}));
}

// Green's decides; of the others nobody asks.
TEST_F(Automatic, AnExposureOutsideTheLimitsEndsTheCallUnsent)
{
    camera->getOneImageStatus = 21;
    camera->getRGBFilterRedExposure = 999;
    camera->getRGBFilterBlueExposure = 1'000'000'001;
    EXPECT_EQ(Zerix_AutoExpose(&current, 0, 0, 100, 100), 0u);
    for (const uint64_t exposure : {uint64_t{999}, uint64_t{1'000'000'001}}) {
        camera->getExposure = exposure;
        camera->calls.clear();
        Take();
        EXPECT_EQ(Zerix_AutoExpose(&current, 0, 0, 100, 100), 2u);
        EXPECT_EQ(camera->calls,
                  (std::vector<std::string>{"SetBitDepth 8", "UpdateSettingsOnCamera"}));
        EXPECT_EQ(Take().back(),
                  EndingLine("Zerix_AutoExpose", "one of the parameters used is not valid.", 2));
    }
}

// The search comes first, the send last.
TEST_F(Automatic, ExposureIsSearchedThenSentAndAFailedSendIsNotTold)
{
    camera->getOneImageStatus = 21;
    camera->statusOf["SetExposure"] = 9;
    EXPECT_EQ(Zerix_AutoExpose(&current, 0, 0, 100, 100), 0u);
    ASSERT_GT(camera->calls.size(), 2u);
    EXPECT_EQ(camera->calls[0], "SetBitDepth 8");
    EXPECT_EQ(camera->calls[1], "UpdateSettingsOnCamera");
    EXPECT_EQ(std::count(camera->calls.begin(), camera->calls.end(), "SetExposure 123456000"), 1);
}

TEST_F(Automatic, BalanceOfAPictureWithoutColourDoesNothing)
{
    for (const uint32_t format : {0u, 1u, 2u, 3u, 13u, 14u}) {
        tables::SetSlot32(&current, zprmPostProcessImageFormat, format);
        EXPECT_EQ(Balance(), 0u) << format;
        EXPECT_TRUE(camera->calls.empty());
        const Lines lines = Take();
        ASSERT_EQ(lines.size(), 6u);
        EXPECT_EQ(lines[3], "Zerix_isColor - Is colour = 0");
        EXPECT_EQ(lines[4], "Zerix_WhiteBalance - Post processing image format is not colour so "
                            "returning success without white balancing");
    }
}

TEST_F(Automatic, BalanceStoresTheGainsInThousandths)
{
    tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtRgb24);
    GiveImage(80, 120, 160);
    camera->isRGBFilterSupported = false;
    tables::SetSlot64(&current, zprm64Exposure, 5);
    EXPECT_EQ(Balance(), 0u);
    const Lines lines = Take();
    uint32_t value = 0;
    EXPECT_EQ(Zerix_GetParam(&current, zprmPostProcessGainRed, &value), 0u);
    EXPECT_EQ(value, 1500u);
    EXPECT_EQ(Zerix_GetParam(&current, zprmPostProcessGainGreen, &value), 0u);
    EXPECT_EQ(value, 1000u);
    EXPECT_EQ(Zerix_GetParam(&current, zprmPostProcessGainBlue, &value), 0u);
    EXPECT_EQ(value, 750u);
    EXPECT_FALSE(camera->calls.empty()); // sent
    const auto at =
        std::find(lines.begin(), lines.end(), "Zerix_WhiteBalance - New red gain: 1500");
    ASSERT_GE(lines.end() - at, 4);
    EXPECT_EQ(Lines(at, at + 3), (Lines{"Zerix_WhiteBalance - New red gain: 1500",
                                        "Zerix_WhiteBalance - New green gain: 1000",
                                        "Zerix_WhiteBalance - New blue gain: 750"}));
    EXPECT_EQ(lines.back(), EndLine("Zerix_WhiteBalance"));
    for (const std::string &line : lines)
        EXPECT_EQ(line.find("New red exposure"), std::string::npos);
}

TEST_F(Automatic, BalanceStoresAWheelsExposures)
{
    tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtRgb24);
    GiveImage(80, 120, 160);
    EXPECT_EQ(Balance(), 0u);
    const Lines lines = Take();
    uint64_t value = 0;
    EXPECT_EQ(Zerix_GetParam64(&current, zprm64ExposureRed, &value), 0u);
    EXPECT_EQ(value, 20'000u);
    EXPECT_EQ(Zerix_GetParam64(&current, zprm64Exposure, &value), 0u);
    EXPECT_EQ(value, 123'456'000u);
    EXPECT_EQ(Zerix_GetParam64(&current, zprm64ExposureBlue, &value), 0u);
    EXPECT_EQ(value, 30'000u);
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "Zerix_WhiteBalance - New green exposure: 123456000 ns"),
              lines.end());
}

// Red, green, blue: the first that can't be stored ends the call, before anything is sent.
TEST_F(Automatic, BalanceEndsWithAWheelsExposureOutsideTheLimits)
{
    tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtRgb24);
    uint64_t *const exposures[] = {&camera->getRGBFilterRedExposure, &camera->getExposure,
                                   &camera->getRGBFilterBlueExposure};
    for (uint64_t *const exposure : exposures) {
        const uint64_t before = *exposure;
        *exposure = 999;
        GiveImage(80, 120, 160);
        camera->calls.clear();
        Take();
        EXPECT_EQ(Balance(), 2u);
        EXPECT_TRUE(camera->calls.empty());
        const Lines lines = Take();
        EXPECT_EQ(lines.back(),
                  EndingLine("Zerix_WhiteBalance", "one of the parameters used is not valid.", 2));
        EXPECT_NE(std::find(lines.begin(), lines.end(), "Zerix_WhiteBalance - New blue gain: 750"),
                  lines.end());
        *exposure = before;
    }
}

TEST_F(Automatic, BalanceDoesNotTellOfAFailedSend)
{
    tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtRgb24);
    GiveImage(80, 120, 160);
    camera->statusOf["SetExposure"] = 9;
    EXPECT_EQ(Balance(), 0u);
    EXPECT_EQ(std::count(camera->calls.begin(), camera->calls.end(), "SetExposure 123456000"), 1);
}

TEST_F(Automatic, LegacyRecordsHoldTheResultsToo)
{
    camera->getOneImageStatus = 21;
    EXPECT_EQ(Zerix_AutoExpose(Legacy(), 0, 0, 100, 100), 0u);
    uint64_t exposure = 0;
    EXPECT_EQ(Zerix_GetParam64(Legacy(), zprm64Exposure, &exposure), 0u);
    EXPECT_EQ(exposure, 123'456'000u);
    EXPECT_EQ(Zerix_GetParam64(Legacy(), zprm64ExposureBlue, &exposure), 0u);
    EXPECT_EQ(exposure, 30'000u);
    camera->getOneImageStatus = 0;
    tables::SetSlot32(Legacy(), zprmPostProcessImageFormat, zfmtRgb24);
    GiveImage(80, 120, 160);
    EXPECT_EQ(Zerix_WhiteBalance(Legacy(), 0, 0, 100, 100), 0u);
    uint32_t gain = 0;
    EXPECT_EQ(Zerix_GetParam(Legacy(), zprmPostProcessGainRed, &gain), 0u);
    EXPECT_EQ(gain, 1500u);
}

// A factor is cut to thousandths; a channel without light has the largest.
TEST_F(Automatic, FactorsAsKeys)
{
    EXPECT_EQ(GainKeyOf(1.16f), 1160u);
    EXPECT_EQ(GainKeyOf(1.5429f), 1542u);
    EXPECT_EQ(GainKeyOf(0.0f), 0u);
    EXPECT_EQ(GainKeyOf(65535.0f), 65'535'000u);
}

TEST_F(Automatic, BalanceTellsOfAFailedMeasurement)
{
    tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtRgb24);
    camera->getOneImageStatus = 21;
    EXPECT_EQ(Balance(), 16u);
    camera->getOneImageStatus = 7; // no bandwidth
    EXPECT_EQ(Balance(), 30u);
    uint32_t value = 0;
    EXPECT_EQ(Zerix_GetParam(&current, zprmPostProcessGainRed, &value), 0u);
    EXPECT_EQ(value, 1160u);
}

} // namespace
} // namespace zerix::api
