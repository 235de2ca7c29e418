// Virtual cameras for automatic exposure and white balance: even light on small sensors.
#pragma once

#include <array>
#include <cstring>
#include <vector>

#include "tests/api/virtual_bus_session.h"

namespace zerix::api {

using Means = std::array<double, 3>;

// One behind a mosaic, one of few lines behind a filter wheel.
inline const char *const kMosaicRack =
    "[[camera]]\nmodel = 19\nsensor = 53\nscene = \"flat:60000\"\n"
    "noise = false\nlight = [0.6, 0.4, 0.2]\n";
inline const char *const kWheelRack =
    "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:60000\"\n"
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

    // With the same exposure for all three colours.
    void OpenAWheelUnderWarmLight()
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

} // namespace zerix::api
