// What the exposure's tests share: a camera within limits, single steps, and images whose light
// grows with the exposure.
#pragma once

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "image/z_auto_exposure.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_image_pipeline.h"
#include "tests/image/filter_camera.h"

namespace ZX {

using Bytes = std::vector<uint8_t>;
using Calls = std::vector<std::string>;

class Exposure : public testing::Test {
protected:
    Exposure()
    {
        camera.getExposure = 1'000'000;
        camera.getMinExposure = 1'000;
        camera.getMaxExposure = 1'000'000'000;
        camera.getBitDepth = 14;
        camera.GetBayerPipeline()->Setup(8, 8);
        camera.GetBayerPipeline()->AddFilter(camera.GetBenchmateRatioCorrectionFilter());
    }

    uint64_t MonoStep(uint64_t exposure, uint32_t maximum, uint32_t depth = 8)
    {
        camera.getExposure = exposure;
        EXPECT_EQ(filter.AutoExposeMono(&camera, depth, maximum), 0);
        EXPECT_EQ(camera.getRGBFilterRedExposure, camera.getExposure);
        EXPECT_EQ(camera.getRGBFilterBlueExposure, camera.getExposure);
        return camera.getExposure;
    }

    uint64_t ColourStep(uint64_t exposure, uint32_t red, uint32_t green, uint32_t blue,
                        uint32_t depth = 8)
    {
        camera.getExposure = exposure;
        camera.getRGBFilterRedExposure = 7;
        camera.getRGBFilterBlueExposure = 8;
        EXPECT_EQ(filter.AutoExposeRGB(&camera, depth, red, green, blue), 0);
        EXPECT_EQ(camera.getRGBFilterRedExposure, 7u);
        EXPECT_EQ(camera.getRGBFilterBlueExposure, 8u);
        return camera.getExposure;
    }

    int16_t Process(const Bytes &bytes, uint32_t width, uint32_t height, uint32_t format,
                    uint32_t depth = 8)
    {
        const ExactBuffer input(bytes);
        ZInImageBufferStruct in{.pBuffer = input.Data(),
                                .size = input.Size(),
                                .width = width,
                                .height = height,
                                .bitDepth = depth,
                                .imageFormat = format,
                                .camera = &camera};
        const int16_t status = filter.Process(&in, nullptr);
        EXPECT_EQ(input.Bytes(), bytes);
        return status;
    }

    // Images of 8 x 8 whose light grows with the exposure.
    void LightUp(double levelsPerNanosecond)
    {
        camera.makeImage = [this, levelsPerNanosecond] {
            const double level = static_cast<double>(camera.getExposure) * levelsPerNanosecond;
            return MakeImage(Bytes(64, static_cast<uint8_t>(std::min(level, 255.0))), 8, 8, 2, 0,
                             static_cast<ZCamera *>(&camera));
        };
    }

    Calls TakeCalls()
    {
        Calls taken;
        taken.swap(camera.calls);
        return taken;
    }

    FilterCamera camera;
    ZAutoExposure filter{true};
};

} // namespace ZX
