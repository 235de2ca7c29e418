// A frame that the application kept, of two by two pixels, and a picture to be made of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/api/settings_fixture.h"

namespace zerix::api {

using Bytes = std::vector<uint8_t>;

class PostProcessing : public SettingsTest {
protected:
    void SetUp() override
    {
        SettingsTest::SetUp();
        camera->getImageFormat = 2;
        FillBoth(Zerix_ReadDefaultSettings);
        Use(zfmtRgb24, 2);
        // Gains of one: the bytes are those of the Bayer filter.
        ContextOf(*camera)->whiteBalance->SetRedScale(1.0f);
        ContextOf(*camera)->whiteBalance->SetBlueScale(1.0f);
        in.pBuffer = mosaic.data();
        in.bufferSize = in.size = 4;
        in.format = zfmtBayer8;
        in.width = in.height = 2;
        in.bitDepth = 8;
        in.frameNumber = 77;
        in.errorCode = 20;
        in.timeStamp = 12345;
        in.camera = HandleOf(*camera);
        in.binning = 1;
        out.pBuffer = pixels.data();
        out.bufferSize = static_cast<uint32_t>(pixels.size());
        Take();
    }

    void Use(uint32_t format, uint32_t algorithm)
    {
        tables::SetSlot32(&current, zprmPostProcessImageFormat, format);
        tables::SetSlot32(&current, zprmPostProcessBayerAlgorithm, algorithm);
    }

    uint32_t Process()
    {
        return Zerix_PostProcessSingleFrame(HandleOf(*camera), &current, &in, &out);
    }

    Bytes Pixels(std::size_t count) const
    {
        return {pixels.begin(), pixels.begin() + static_cast<std::ptrdiff_t>(count)};
    }

    Bytes mosaic{10, 21, 31, 40}; // R G / G B: 10, 10 + 15, 40
    Bytes pixels = Bytes(64, 0xEE);
    Zerix_Frame in = {};
    Zerix_Frame out = {};
};

} // namespace zerix::api
