// The processing of frames that the application kept: through the camera's post-processing, through
// its Bayer filter alone, and the vertical zoom of live-mode frames.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "api/context.h"
#include "api/entry.h"
#include "api/result_buffer.h"
#include "diag/dumps.h"
#include "image/mosaic_rows.h"

using namespace zerix;
using namespace zerix::api;

namespace {

constexpr uint8_t kZoomAlgorithm = 2;
constexpr int16_t kBayerNotDone = 1;

// Frames count their mosaics from 0, images from 5.
uint32_t ColourPatternOf(uint32_t bayerPattern)
{
    return bayerPattern <= 3 ? ZX::kPatternRGGB + bayerPattern : uint32_t{ZX::kPatternRGGB};
}

ZX::ZInImageBufferStruct InputOf(const Zerix_Frame &frame, ZX::ZCamera &camera)
{
    return {.pBuffer = static_cast<uint8_t *>(frame.pBuffer),
            .size = frame.size,
            .width = frame.width,
            .height = frame.height,
            .bitDepth = frame.bitDepth,
            .colourPattern = ColourPatternOf(frame.bayerPattern),
            .imageFormat = frame.format,
            .symmetricalBinningMode = frame.binning,
            .lvwFlag = frame.isLvw != 0,
            .camera = &camera};
}

ZX::ZOutImageBufferStruct OutputOf(const Zerix_Frame &frame, const ResultBuffer &buffer,
                                   uint32_t format)
{
    constexpr uint32_t kStoredBits = 0xFFFF;
    return {.pBuffer = buffer.Data(),
            .size = 0,
            .width = frame.width,
            .height = frame.height,
            .imageFormat = format & kStoredBits};
}

// Room for the picture: an application's buffer that is too small is taken over and replaced. One
// that can't be had isn't told of.
void MakeRoom(Zerix_Frame &frame, uint32_t size)
{
    if (frame.pBuffer != nullptr && frame.bufferSize >= size)
        return;
    void *const buffer =
        frame.pBuffer == nullptr ? std::malloc(size) : std::realloc(frame.pBuffer, size);
    if (buffer == nullptr)
        return;
    frame.pBuffer = buffer;
    frame.bufferSize = size;
}

// A picture without colour is finished as it is.
uint32_t CopyFrame(const Zerix_Frame &from, Zerix_Frame &to)
{
    // In a shared buffer the picture is there already, and must not move away from its first owner.
    if (to.pBuffer == nullptr || to.pBuffer != from.pBuffer) {
        MakeRoom(to, from.size);
        const uint32_t size = to.pBuffer != nullptr ? std::min(from.size, to.bufferSize) : 0;
        if (size > 0 && from.pBuffer != nullptr)
            std::memmove(to.pBuffer, from.pBuffer, size);
    }
    to.format = from.format;
    to.width = from.width;
    to.height = from.height;
    to.size = from.size;
    to.bitDepth = from.bitDepth;
    to.frameNumber = from.frameNumber;
    to.bayerPattern = from.bayerPattern;
    to.errorCode = from.errorCode;
    to.timeStamp = from.timeStamp;
    return ZERIX_SUCCESS;
}

// The two bicubic algorithms of the settings are one here. False for an unknown number, which
// leaves the filter's own.
bool SelectAlgorithm(ZX::ZBayerInterpolation &filter, uint32_t algorithm)
{
    if (algorithm < 1 || algorithm > 4)
        return false;
    filter.SetAlgorithm(static_cast<uint16_t>(algorithm < 3 ? algorithm : 4));
    return true;
}

void DescribeResult(const Zerix_Frame &in, const ZX::ZOutImageBufferStruct &result, uint32_t format,
                    Zerix_Frame &out)
{
    out.bitDepth = in.bitDepth;
    out.width = result.width;
    out.height = result.height;
    out.size = Zerix_CalcImageSize(format, result.width, result.height);
}

// The stream and other calls share the filters: from the format to the last pixel nobody may set
// another, whose pixels the frame's buffer has no room for.
uint32_t RunPipeline(const CameraUse &use, uint32_t format, uint32_t algorithm,
                     const Zerix_Frame &in, ZX::ZOutImageBufferStruct &output)
{
    ZerixContext &context = use.Context();
    const std::lock_guard lock(context.processingMutex);
    const int16_t status = context.postProcessingPipeline->SetOutputFormat(format);
    if (algorithm == 0)
        return ZERIX_ERROR_BAD_PARAMETER;
    static_cast<void>(SelectAlgorithm(*context.bayerFilter, algorithm));
    if (const uint32_t error = MapCameraStatus(static_cast<uint16_t>(status)))
        return error;
    ZX::ZInImageBufferStruct input = InputOf(in, use.Camera());
    bool isDone = false;
    context.postProcessingPipeline->ProcessImage(&input, &output, &isDone);
    return ZERIX_SUCCESS;
}

bool HaveBuffers(const Zerix_Frame &in, const Zerix_Frame &out)
{
    return in.pBuffer != nullptr && out.pBuffer != nullptr;
}

// With the camera that the frame comes from.
uint32_t ProcessWith(const CameraUse &use, const Zerix_Settings *settings, uint32_t format,
                     const Zerix_Frame &in, Zerix_Frame &out)
{
    if (!use.IsLiving())
        return ZERIX_ERROR_BAD_HANDLE;
    if (use.ContextOrNull() == nullptr)
        return ZERIX_ERROR_DRIVER_FAULT;
    if (!HaveBuffers(in, out))
        return ZERIX_ERROR_BUFFER_TOO_SMALL;
    uint32_t algorithm = 0;
    Zerix_GetParam(settings, zprmPostProcessBayerAlgorithm, &algorithm);
    const ResultBuffer buffer(in, out, format);
    ZX::ZOutImageBufferStruct output = OutputOf(out, buffer, format);
    const uint32_t error = RunPipeline(use, format, algorithm, in, output);
    if (algorithm == 0)
        return error;
    DescribeResult(in, output, format, out);
    buffer.Deliver(output.size, out.size);
    out.format = format;
    diag::ZerixDebugOutputFrame(&out);
    return error;
}

// The camera is the one that the frame comes from, whichever the call names.
uint32_t ProcessFrame(const Zerix_Settings *settings, const Zerix_Frame &in, Zerix_Frame &out)
{
    uint32_t format = 0;
    if (const uint32_t error = Zerix_GetParam(settings, zprmPostProcessImageFormat, &format))
        return error;
    if (Zerix_CalcImageSize(format, in.width, in.height) == 0)
        return ZERIX_ERROR_BAD_PARAMETER;
    return AlsoHold(OfFrame{&in}, [&](const CameraUse &use) {
        return ProcessWith(use, settings, format, in, out);
    });
}

// Under the same lock. The filter's status; 1 for an algorithm that nobody knows.
int16_t RunBayerFilter(const CameraUse &use, uint32_t algorithm, const Zerix_Frame &in,
                       ZX::ZOutImageBufferStruct &output, uint32_t format)
{
    ZerixContext &context = use.Context();
    const std::lock_guard lock(context.processingMutex);
    context.bayerFilter->SetOutputFormat(format);
    if (!SelectAlgorithm(*context.bayerFilter, algorithm))
        return kBayerNotDone;
    ZX::ZInImageBufferStruct input = InputOf(in, use.Camera());
    return context.bayerFilter->Process(&input, &output);
}

void MakeColour(const CameraUse &use, uint32_t algorithm, const Zerix_Frame &in, Zerix_Frame &out)
{
    if (!HaveBuffers(in, out))
        return;
    const ResultBuffer buffer(in, out, out.format);
    ZX::ZOutImageBufferStruct output = OutputOf(out, buffer, out.format);
    if (RunBayerFilter(use, algorithm, in, output, out.format) == kBayerNotDone)
        return;
    DescribeResult(in, output, out.format, out);
    buffer.Deliver(output.size, output.size);
}

// The rows that a buffer of this size holds; 0 is a size that isn't told.
uint32_t RowsWithin(uint32_t height, uint32_t bytes, uint64_t rowBytes)
{
    if (bytes == 0 || rowBytes == 0)
        return height;
    return static_cast<uint32_t>(std::min<uint64_t>(height, bytes / rowBytes));
}

void ZoomVertically(const Zerix_Frame &in, Zerix_Frame &out)
{
    out.bitDepth = in.bitDepth;
    out.width = in.width;
    const bool isBytes = in.format == zfmtBayer8;
    if ((!isBytes && in.format != zfmtBayer16) || in.pBuffer == nullptr || out.pBuffer == nullptr)
        return;
    const uint32_t pixelBytes = isBytes ? 1 : 2;
    const uint64_t rowBytes = uint64_t{in.width} * pixelBytes;
    StretchMosaic(static_cast<const uint8_t *>(in.pBuffer), in.width,
                  RowsWithin(in.height, in.size, rowBytes), pixelBytes,
                  static_cast<uint8_t *>(out.pBuffer),
                  RowsWithin(out.height, out.bufferSize, rowBytes));
}

} // namespace

uint32_t Zerix_PostProcessSingleFrame(ZerixHandle camera, const Zerix_Settings *settings,
                                      const Zerix_Frame *frameIn, Zerix_Frame *frameOut)
{
    return Enter(
        Start(__func__), OfCamera{camera},
        Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_PARAMETER),
               NotNull(frameIn, ZERIX_ERROR_BAD_PARAMETER),
               NotNull(frameOut, ZERIX_ERROR_BAD_PARAMETER), GoodSettings(settings), Exclusive()),
        [&](ExportedCall &, const CameraUse &) {
            return frameIn->format <= zfmtMono16 ? CopyFrame(*frameIn, *frameOut)
                                                 : ProcessFrame(settings, *frameIn, *frameOut);
        });
}

// These two need no loaded library.
void Zerix_BayerToRgb(uint32_t algorithm, const Zerix_Frame *frameIn, Zerix_Frame *frameOut)
{
    Enter(Start(__func__), OfFrame{frameIn}, Checks(), [&](ExportedCall &, const CameraUse &use) {
        if (frameOut != nullptr && use.ContextOrNull() != nullptr)
            MakeColour(use, algorithm, *frameIn, *frameOut);
        return ZERIX_SUCCESS;
    });
}

uint32_t Zerix_BayerZoomVert(uint8_t algorithm, const Zerix_Frame *frameIn, Zerix_Frame *frameOut)
{
    return Enter(Start(__func__), OfNoCamera{},
                 Checks(NotNull(frameIn, ZERIX_ERROR_NOT_SUPPORTED),
                        NotNull(frameOut, ZERIX_ERROR_NOT_SUPPORTED)),
                 [&](ExportedCall &, const CameraUse &) {
                     if (algorithm != kZoomAlgorithm)
                         return ZERIX_ERROR_NOT_SUPPORTED;
                     ZoomVertically(*frameIn, *frameOut);
                     return ZERIX_SUCCESS;
                 });
}
