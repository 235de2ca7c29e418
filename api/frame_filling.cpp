// From a finished image to the application's frame record.
#include "api/frame_filling.h"

#include <cstring>

#include "api/cached_settings.h"

namespace zerix::api {
namespace {

bool IsRaw(uint32_t format) { return format == zfmtRaw8 || format == zfmtRaw16; }

// The mosaics count from 5 in the image layer, from 0 in the frame. A wheel colour is no mosaic.
uint32_t BayerPatternOf(uint16_t colourPattern)
{
    constexpr uint16_t kFirstMosaic = 5;
    constexpr uint16_t kLastMosaic = 8;
    return colourPattern >= kFirstMosaic && colourPattern <= kLastMosaic
               ? uint32_t{colourPattern} - kFirstMosaic
               : 0;
}

uint32_t FrameErrorOf(uint16_t imageError)
{
    switch (imageError) {
    case 18:
        return ZERIX_ERROR_DATA_MISSING;
    case 19:
        return ZERIX_ERROR_OUT_OF_SYNC;
    case 20:
        return ZERIX_ERROR_BUFFER_TOO_SMALL;
    case 21:
        return ZERIX_ERROR_FRAME_TOO_LONG;
    default:
        return ZERIX_SUCCESS;
    }
}

bool CopyPixels(const ZX::ZExImage &image, Zerix_Frame &frame)
{
    const uint32_t size = image.GetImageSize();
    if (size == 0)
        return true;
    if (frame.pBuffer == nullptr || image.GetImageData() == nullptr || size > frame.bufferSize)
        return false;
    std::memcpy(frame.pBuffer, image.GetImageData(), size);
    return true;
}

} // namespace

uint32_t FillFrame(const ZX::ZExImage &image, ZX::ZCamera &camera, const ZerixContext &context,
                   Zerix_Frame &frame)
{
    if (!CopyPixels(image, frame))
        return ZERIX_ERROR_BUFFER_TOO_SMALL;
    const uint32_t format = CachedImageFormat(context);
    frame.format = IsRaw(format) ? format : image.GetImageFormat();
    frame.width = image.GetWidth();
    frame.height = image.GetHeight();
    frame.size = image.GetImageSize();
    frame.bitDepth = image.GetBitDepth();
    frame.frameNumber = image.GetRollingFrameNumber();
    frame.bayerPattern = BayerPatternOf(image.GetColourPattern());
    frame.errorCode = FrameErrorOf(image.GetErrorCode());
    frame.timeStamp = image.GetTimeStamp();
    frame.camera = &camera;
    frame.binning = image.GetSymmetricalBinningMode();
    frame.isLvw = image.IsLVW() ? 1 : 0;
    frame.colourPattern = image.GetColourPattern();
    frame.filled = 1;
    return ZERIX_SUCCESS;
}

void PostProcess(ZX::ZExImage &image, ZerixContext &context)
{
    if (!context.isPostProcessingOn.load() || IsRaw(CachedImageFormat(context)))
        return;
    bool isDone = false;
    const std::lock_guard lock(context.processingMutex);
    context.postProcessingPipeline->ProcessImage(&image, &isDone);
}

} // namespace zerix::api
