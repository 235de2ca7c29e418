// A filter of the application's own in a pipeline of the library's: it takes the black level off a
// mosaic before the library makes colours of it. Try it without a camera:
//     ZERIX_BUS=simulated ./own_filter
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <vector>

#include "image/z_bayer_interpolation.h"
#include "image/z_image_filter.h"
#include "image/z_image_pipeline.h"
#include "zerix/zerix.h"

namespace {

constexpr uint32_t kColourCamera = 1;

class BlackLevel final : public ZX::ZImageFilter {
public:
    explicit BlackLevel(uint8_t level) : m_level(level) {}

    int16_t Process(ZX::ZInImageBufferStruct *in, ZX::ZOutImageBufferStruct *out) override
    {
        if (in->imageFormat != ZX::kFormatBayer8)
            return ZX::kFilterNothingToDo; // the next filter gets the image as it is
        for (uint32_t i = 0; i < in->size; ++i)
            out->pBuffer[i] = static_cast<uint8_t>(std::max(in->pBuffer[i] - m_level, 0));
        out->size = in->size;
        out->width = in->width;
        out->height = in->height;
        out->imageFormat = in->imageFormat;
        return ZX::kFilterOk;
    }

    int16_t Init(uint32_t, uint32_t) override { return ZX::kFilterOk; }
    int16_t SetOutputFormat(uint32_t) override { return ZX::kFilterOk; }

private:
    uint8_t m_level;
};

unsigned MeanOf(const std::vector<uint8_t> &bytes)
{
    const auto sum = std::accumulate(bytes.begin(), bytes.end(), uint64_t{0});
    return static_cast<unsigned>(sum / std::max<size_t>(bytes.size(), 1));
}

// The mosaic of one picture, as it comes from the camera.
uint32_t AskForMosaic(ZerixHandle camera)
{
    Zerix_Settings settings;
    Zerix_CreateCameraSettingsStruct(&settings);
    uint32_t error = Zerix_ReadDefaultSettings(camera, &settings);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetParam(&settings, zprmImageFormat, zfmtBayer8);
    if (error == ZERIX_SUCCESS)
        error = Zerix_SendSettingsToCam(camera, &settings);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    return error;
}

uint32_t GrabMosaic(ZerixHandle camera, std::vector<uint8_t> &pixels, Zerix_Frame &frame)
{
    uint32_t size = 0;
    uint32_t error = AskForMosaic(camera);
    if (error == ZERIX_SUCCESS)
        error = Zerix_GetInfo(camera, zinfImageSize, &size);
    if (error != ZERIX_SUCCESS)
        return error;
    pixels.resize(size);
    frame.pBuffer = pixels.data();
    frame.bufferSize = size;
    return Zerix_GrabFrame(camera, &frame);
}

// The pipeline keeps pointers to the filters, which must live as long as it does.
int16_t MakeColours(std::vector<uint8_t> &mosaic, const Zerix_Frame &frame,
                    std::vector<uint8_t> &colours)
{
    BlackLevel blackLevel(2);
    ZX::ZBayerInterpolation interpolation(4, ZX::kFormatRgb24);
    ZX::ZImagePipeline pipeline;
    pipeline.Setup(frame.width, frame.height);
    pipeline.AddFilter(&blackLevel);
    pipeline.AddFilter(&interpolation);

    ZX::ZInImageBufferStruct in{.pBuffer = mosaic.data(),
                                .size = frame.size,
                                .width = frame.width,
                                .height = frame.height,
                                .bitDepth = frame.bitDepth,
                                .colourPattern = frame.bayerPattern,
                                .imageFormat = frame.format,
                                .filterColour = frame.bayerPattern,
                                .symmetricalBinningMode = 1};
    colours.resize(pipeline.GetNeededOutputBufferSize(&in));
    ZX::ZOutImageBufferStruct out{.pBuffer = colours.data()};
    bool isDone = false;
    const int16_t status = pipeline.ProcessImage(&in, &out, &isDone);
    if (status == ZX::kFilterOk && isDone)
        std::printf("%u x %u in format %u\n", static_cast<unsigned>(out.width),
                    static_cast<unsigned>(out.height), static_cast<unsigned>(out.imageFormat));
    return status;
}

uint32_t WorkWith(ZerixHandle camera)
{
    std::vector<uint8_t> mosaic;
    std::vector<uint8_t> colours;
    Zerix_Frame frame = {};
    const uint32_t error = GrabMosaic(camera, mosaic, frame);
    if (error != ZERIX_SUCCESS)
        return error;
    if (MakeColours(mosaic, frame, colours) != ZX::kFilterOk)
        return ZERIX_ERROR_NOT_SUPPORTED;
    std::printf("mean of the mosaic: %u, of the colours without black level: %u\n", MeanOf(mosaic),
                MeanOf(colours));
    return ZERIX_SUCCESS;
}

} // namespace

int main()
{
    ZerixCameraListItem table[10];
    uint32_t count = 10;
    ZerixHandle camera = nullptr;
    uint32_t error = Zerix_LoadDriver();
    if (error == ZERIX_SUCCESS)
        error = Zerix_ListCameras(table, &count);
    if (error == ZERIX_SUCCESS)
        error = Zerix_OpenCamera(kColourCamera, &camera);
    if (error == ZERIX_SUCCESS) {
        error = WorkWith(camera);
        Zerix_CloseCamera(camera);
    }
    Zerix_ReleaseDriver();
    if (error != ZERIX_SUCCESS)
        std::fprintf(stderr, "error %u\n", static_cast<unsigned>(error));
    return error == ZERIX_SUCCESS ? 0 : 1;
}
