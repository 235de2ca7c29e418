// The ratio correction of the Benchmate, whose sensor is binned in rows alone and whose live mode
// leaves rows out.
#include "image/z_benchmate_ratio_correction.h"

#include <algorithm>
#include <cstring>

#include "camera/z_camera.h"
#include "image/mosaic_rows.h"

namespace ZX {

namespace {

constexpr uint16_t kBenchmate = 8;

constexpr uint32_t BytesOfPixel(uint32_t bitDepth) { return bitDepth == 8 ? 1 : 2; }

// How many columns of a colour become one, by the sensor that the camera has.
uint32_t LiveModeFactor(ZCamera &camera)
{
    switch (camera.GetCCDWidth()) {
    case 2048:
        return 3;
    case 2560:
        return 4;
    default:
        return 1;
    }
}

// An application's frame may have any binning at all.
uint32_t ReducedWidth(uint32_t width, uint32_t factor)
{
    return factor == 0 ? width
                       : static_cast<uint32_t>((width - width % (uint64_t{2} * factor)) / factor);
}

constexpr bool IsListedBinning(uint32_t binning) { return binning >= 2 && binning <= 4; }

// Each group of 2 * factor pixels gives two, one for the even and one for the odd, so that the
// colours of the row keep their order. The target may be the row itself, or lie before it.
template <typename Pixel>
void ReduceRow(const uint8_t *row, uint32_t reducedWidth, uint32_t factor, uint8_t *target)
{
    const auto load = [](const uint8_t *from) {
        Pixel value;
        std::memcpy(&value, from, sizeof value);
        return uint32_t{value};
    };
    constexpr size_t kPair = 2 * sizeof(Pixel);
    for (uint32_t pair = 0; pair < reducedWidth / 2; ++pair, target += kPair) {
        uint32_t even = 0;
        uint32_t odd = 0;
        for (uint32_t cell = 0; cell < factor; ++cell, row += kPair) {
            even += load(row);
            odd += load(row + sizeof(Pixel));
        }
        const Pixel means[] = {static_cast<Pixel>(even / factor), static_cast<Pixel>(odd / factor)};
        std::memcpy(target, means, sizeof means);
    }
}

// Into `output`, which may be the image itself.
void ReduceRows(const uint8_t *image, uint32_t width, uint32_t height, uint32_t bitDepth,
                uint32_t factor, uint8_t *output)
{
    const uint32_t pixelBytes = BytesOfPixel(bitDepth);
    const uint32_t reducedWidth = ReducedWidth(width, factor);
    const auto reduce = pixelBytes == 1 ? ReduceRow<uint8_t> : ReduceRow<uint16_t>;
    for (uint32_t row = 0; row < height; ++row)
        reduce(image + size_t{row} * width * pixelBytes, reducedWidth, factor,
               output + size_t{row} * reducedWidth * pixelBytes);
}

// The rows that the input's bytes hold, where its size is known.
uint32_t RowsOf(const ZInImageBufferStruct &in)
{
    const uint64_t rowBytes = uint64_t{in.width} * BytesOfPixel(in.bitDepth);
    if (in.size == 0 || rowBytes == 0)
        return in.height;
    return static_cast<uint32_t>(std::min<uint64_t>(in.height, in.size / rowBytes));
}

} // namespace

ZBenchmateRatioCorrection::ZBenchmateRatioCorrection(uint16_t outputFormat)
    : m_outputFormat(outputFormat)
{
}

int16_t ZBenchmateRatioCorrection::Init(uint32_t, uint32_t) { return kFilterOk; }

int16_t ZBenchmateRatioCorrection::SetOutputFormat(uint32_t format)
{
    m_outputFormat = format;
    return kFilterOk;
}

int16_t ZBenchmateRatioCorrection::Process(ZInImageBufferStruct *in, ZOutImageBufferStruct *out)
{
    if (in->camera == nullptr || in->camera->GetModel() != kBenchmate)
        return kFilterNothingToDo;
    if (in->symmetricalBinningMode <= 1 && !in->lvwFlag)
        return kFilterNothingToDo;
    const uint32_t rows = RowsOf(*in);
    const uint32_t binning = in->symmetricalBinningMode;
    if (in->lvwFlag) {
        CorrectLVW(in->pBuffer, in->width, rows, in->bitDepth, binning, in->colourPattern,
                   in->camera, out->pBuffer, &out->width, &out->height, &out->size);
    } else {
        CorrectHorizontalRatio(in->pBuffer, in->width, rows, in->bitDepth, binning, out->pBuffer,
                               &out->width, &out->height, &out->size);
        // Eightfold, or whatever an application's frame says: the result must have pixels.
        if (!IsListedBinning(binning))
            ReduceRows(in->pBuffer, in->width, rows, in->bitDepth, binning, out->pBuffer);
    }
    out->imageFormat = in->imageFormat;
    return kFilterOk;
}

void ZBenchmateRatioCorrection::CorrectSize(ZCamera &camera, uint32_t &width, uint32_t &height)
{
    if (camera.GetModel() != kBenchmate)
        return;
    if (camera.GetLVWMode()) {
        width = ReducedWidth(width, LiveModeFactor(camera));
        height *= 2;
    } else if (const uint16_t binning = camera.GetSymmetricalBinningMode(); binning > 1) {
        width = ReducedWidth(width, binning);
    }
}

void ZBenchmateRatioCorrection::CorrectHorizontalRatio(const uint8_t *image, uint32_t width,
                                                       uint32_t height, uint32_t bitDepth,
                                                       uint32_t binning, uint8_t *output,
                                                       uint32_t *outWidth, uint32_t *outHeight,
                                                       uint32_t *outSize)
{
    if (IsListedBinning(binning))
        ReduceRows(image, width, height, bitDepth, binning, output);
    *outWidth = ReducedWidth(width, binning);
    *outHeight = height;
    *outSize = *outWidth * height * BytesOfPixel(bitDepth);
}

// The rows between are made of exposed rows alone, so the order of the mosaic's colours doesn't
// matter to them.
void ZBenchmateRatioCorrection::CorrectLVW(uint8_t *image, uint32_t width, uint32_t height,
                                           uint32_t bitDepth, uint32_t, uint32_t, ZCamera *camera,
                                           uint8_t *output, uint32_t *outWidth, uint32_t *outHeight,
                                           uint32_t *outSize)
{
    const uint32_t factor = LiveModeFactor(*camera);
    const uint32_t pixelBytes = BytesOfPixel(bitDepth);
    ReduceRows(image, width, height, bitDepth, factor, image);
    const uint32_t reducedWidth = ReducedWidth(width, factor);
    const size_t rowBytes = size_t{reducedWidth} * pixelBytes;
    for (size_t row = 0; row < height && rowBytes > 0; ++row) {
        std::memcpy(output + 2 * row * rowBytes, image + row * rowBytes, rowBytes);
        std::memcpy(output + (2 * row + 1) * rowBytes, image + row * rowBytes, rowBytes);
    }
    if (zerix::IsInterpolatedVertically(reducedWidth, height * 2))
        zerix::FillRowsBetween(output, reducedWidth, height * 2, pixelBytes);
    *outWidth = reducedWidth;
    *outHeight = height * 2;
    *outSize = reducedWidth * height * 2 * pixelBytes;
}

} // namespace ZX
