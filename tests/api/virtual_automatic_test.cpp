// Automatic exposure and white balance of virtual cameras through the C interface, as an
// application calls them, and the pictures that come of it.
#include <algorithm>
#include <array>
#include <cstring>

#include <gtest/gtest.h>

#include "tests/api/virtual_bus_session.h"

namespace zerix::api {
namespace {

using Means = std::array<double, 3>;

// Even light on small sensors: one behind a mosaic, one of few lines behind a filter wheel.
const char *const kMosaicRack = "[[camera]]\nmodel = 19\nsensor = 53\nscene = \"flat:60000\"\n"
                                "noise = false\nlight = [0.6, 0.4, 0.2]\n";
const char *const kWheelRack = "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:60000\"\n"
                               "noise = false\nlight = [0.6, 0.4, 0.2]\n";

class VirtualAutomatic : public VirtualBusSession {
protected:
    ~VirtualAutomatic() override { Zerix_ReleaseCameraSettingsStruct(&settings); }

    void OpenWith(const char *rack)
    {
        UseRack(rack);
        camera = LoadAndOpen(0);
        Zerix_CreateCameraSettingsStruct(&settings);
        ASSERT_EQ(Zerix_ReadDefaultSettings(camera, &settings), 0u);
    }

    void Set(uint32_t key, uint32_t value)
    {
        EXPECT_EQ(Zerix_SetParam(&settings, key, value), 0u) << key;
    }

    void Expose(uint64_t nanoseconds, uint32_t key = zprm64Exposure)
    {
        EXPECT_EQ(Zerix_SetParam64(&settings, key, nanoseconds), 0u);
    }

    uint64_t Exposure(uint32_t key = zprm64Exposure)
    {
        uint64_t nanoseconds = 0;
        EXPECT_EQ(Zerix_GetParam64(&settings, key, &nanoseconds), 0u);
        return nanoseconds;
    }

    void Send() { ASSERT_EQ(Zerix_SendSettingsToCam(camera, &settings), 0u); }

    // A part of the sensor does for even light.
    void TakeAPart()
    {
        Set(zprmRoiWidth, 320);
        Set(zprmRoiHeight, 240);
        Set(zprmDoPostProcessing, 1);
    }

    // A finished picture's samples, in the order of its bytes.
    std::vector<uint16_t> Take(uint32_t format)
    {
        std::vector<uint8_t> bytes(size_t{1024} * 240 * 6);
        Zerix_Frame frame = {};
        frame.pBuffer = bytes.data();
        frame.bufferSize = static_cast<uint32_t>(bytes.size());
        EXPECT_EQ(Zerix_GrabFrame(camera, &frame), 0u);
        EXPECT_EQ(frame.format, format);
        bytes.resize(frame.size);
        if (format != zfmtRgb48)
            return {bytes.begin(), bytes.end()};
        std::vector<uint16_t> words(bytes.size() / 2);
        std::memcpy(words.data(), bytes.data(), bytes.size());
        return words;
    }

    static Means MeansOf(const std::vector<uint16_t> &samples)
    {
        Means means{};
        for (size_t index = 0; index < samples.size(); ++index)
            means[index % 3] += samples[index] * 3.0 / static_cast<double>(samples.size());
        return means;
    }

    static void ExpectGrey(const Means &means)
    {
        EXPECT_GT(means[1], 50.0);
        EXPECT_NEAR(means[0] / means[1], 1.0, 0.01);
        EXPECT_NEAR(means[2] / means[1], 1.0, 0.01);
    }

    ZerixHandle camera = nullptr;
    Zerix_Settings settings = {};
};

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
    OpenWith(kWheelRack);
    Set(zprmImageFormat, zfmtRgb24);
    Set(zprmPostProcessImageFormat, zfmtRgb24);
    Send();
    EXPECT_EQ(Zerix_AutoExpose(&settings, 0, 0, 1024, 58), 0u);
    Expose(Exposure() / 2); // leaves room for red, which is brighter
    Expose(Exposure(), zprm64ExposureRed);
    Expose(Exposure(), zprm64ExposureBlue);
    Send();
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
