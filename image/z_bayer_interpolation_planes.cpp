// The work of the Bayer filter by way of whole planes, for calls outside of a pipeline.
#include <algorithm>
#include <array>
#include <cstring>

#include "image/bayer_method.h"
#include "image/kernels/primitives.h"
#include "image/mosaic_pattern.h"
#include "image/z_bayer_interpolation.h"

namespace ZX {

namespace {

constexpr uint8_t kOpaque = 255;

// One mosaic, with pixels of kBytes. A last odd column or row belongs to no cell.
template <uint32_t kBytes>
struct PlaneWork {
    uint32_t width;
    uint32_t height;
    uint8_t *const *full;
    uint8_t *const *quarter;

    [[nodiscard]] uint32_t QuarterWidth() const { return width / 2; }
    [[nodiscard]] uint32_t QuarterHeight() const { return height / 2; }
    [[nodiscard]] size_t PlaneBytes() const { return size_t{width} * height * kBytes; }
    [[nodiscard]] size_t RowBytes() const { return size_t{width} * kBytes; }

    void Split(const uint8_t *image, uint32_t pattern) const
    {
        const zerix::CellPlanes planes = zerix::PlanesOfCell(pattern);
        size_t target = 0;
        for (uint32_t row = 0; row < QuarterHeight(); ++row) {
            const uint8_t *upper = image + size_t{row} * 2 * RowBytes();
            const uint8_t *lower = upper + RowBytes();
            for (uint32_t column = 0; column < QuarterWidth(); ++column, target += kBytes) {
                const size_t even = size_t{column} * 2 * kBytes;
                std::memcpy(quarter[planes[0]] + target, upper + even, kBytes);
                std::memcpy(quarter[planes[1]] + target, upper + even + kBytes, kBytes);
                std::memcpy(quarter[planes[2]] + target, lower + even, kBytes);
                std::memcpy(quarter[planes[3]] + target, lower + even + kBytes, kBytes);
            }
        }
    }

    // Each is halved on its own, so that two odd greens lose 1.
    void MixGreens() const
    {
        const auto w = static_cast<int32_t>(QuarterWidth());
        const auto h = static_cast<int32_t>(QuarterHeight());
        const auto step = static_cast<int32_t>(QuarterWidth() * kBytes);
        constexpr auto shift =
            kBytes == 1 ? zerix::ZPrimShiftRight8uInPlace : zerix::ZPrimShiftRight16uInPlace;
        constexpr auto add = kBytes == 1 ? zerix::ZPrimAdd8uInPlace : zerix::ZPrimAdd16uInPlace;
        shift(1, quarter[1], step, w, h);
        shift(1, quarter[2], step, w, h);
        add(quarter[2], step, quarter[1], step, w, h, 0);
    }

    void Enlarge(uint32_t from, uint32_t to, int32_t method) const
    {
        const auto w = static_cast<int32_t>(QuarterWidth());
        const auto h = static_cast<int32_t>(QuarterHeight());
        constexpr auto resize = kBytes == 1 ? zerix::ZPrimResize8u : zerix::ZPrimResize16u;
        if (resize(quarter[from], w, h, w * static_cast<int32_t>(kBytes), 0, 0, w, h, full[to],
                   static_cast<int32_t>(RowBytes()), static_cast<int32_t>(width),
                   static_cast<int32_t>(height), 2.0, 2.0, method) != zerix::kPrimOk) {
            std::memset(full[to], 0, PlaneBytes()); // less than one cell
            return;
        }
        RepeatEdges(full[to]);
    }

    void RepeatEdges(uint8_t *plane) const
    {
        if (width % 2 != 0)
            for (uint32_t row = 0; row < height - height % 2; ++row) {
                uint8_t *last = plane + (row + size_t{1}) * RowBytes() - kBytes;
                std::memcpy(last, last - kBytes, kBytes);
            }
        if (height % 2 != 0)
            std::memcpy(plane + (height - size_t{1}) * RowBytes(),
                        plane + (height - size_t{2}) * RowBytes(), RowBytes());
    }

    void Make(const uint8_t *image, uint32_t pattern, int32_t method) const
    {
        Split(image, pattern);
        MixGreens();
        Enlarge(0, 0, method);
        Enlarge(1, 1, method);
        Enlarge(3, 2, method);
    }

    void CopyPlanes(uint8_t *output) const
    {
        for (uint32_t plane = 0; plane < 3; ++plane)
            std::memcpy(output + plane * PlaneBytes(), full[plane], PlaneBytes());
    }

    void Pack3(uint32_t first, uint32_t second, uint32_t third, uint8_t *output) const
    {
        const uint8_t *const planes[] = {full[first], full[second], full[third]};
        constexpr auto pack = kBytes == 1 ? zerix::ZPrimPack3To8u : zerix::ZPrimPack3To16u;
        const auto step = static_cast<int32_t>(RowBytes());
        pack(planes, step, output, step * 3, static_cast<int32_t>(width),
             static_cast<int32_t>(height));
    }
};

enum class Alpha { kFirst, kLast };

// The plane of alpha is the same everywhere, so a piece of it does.
void Pack4(const PlaneWork<1> &work, std::array<uint32_t, 3> colours, Alpha alpha, uint8_t *output)
{
    static constexpr auto kAlpha = [] {
        std::array<uint8_t, 1024> piece{};
        piece.fill(kOpaque);
        return piece;
    }();
    const size_t count = work.PlaneBytes();
    for (size_t at = 0; at < count; at += kAlpha.size()) {
        const auto length = static_cast<int32_t>(std::min(kAlpha.size(), count - at));
        const uint8_t *const c[] = {work.full[colours[0]] + at, work.full[colours[1]] + at,
                                    work.full[colours[2]] + at};
        const uint8_t *const alphaFirst[] = {kAlpha.data(), c[0], c[1], c[2]};
        const uint8_t *const alphaLast[] = {c[0], c[1], c[2], kAlpha.data()};
        zerix::ZPrimPack4To8u(alpha == Alpha::kFirst ? alphaFirst : alphaLast, length,
                              output + at * 4, length * 4, length, 1);
    }
}

} // namespace

int16_t ZBayerInterpolation::BayerUsingSSE(const uint8_t *image, uint32_t width, uint32_t height,
                                           uint32_t pattern, uint8_t *output, uint32_t outputFormat,
                                           uint32_t *size, uint8_t *const *fullPlanes,
                                           uint8_t *const *quarterPlanes, uint16_t algorithm)
{
    const int32_t method = zerix::MethodOfAlgorithm(algorithm);
    switch (zerix::SampleBytesOf(outputFormat)) {
    case 1:
        return Private_Bayer8BitUsingSSE(image, width, height, pattern, output, outputFormat, size,
                                         fullPlanes, quarterPlanes, method);
    case 2:
        return Private_Bayer16BitUsingSSE(image, width, height, pattern, output, outputFormat, size,
                                          fullPlanes, quarterPlanes, method);
    default:
        return kFilterBadFormat;
    }
}

int16_t ZBayerInterpolation::Private_Bayer8BitUsingSSE(const uint8_t *image, uint32_t width,
                                                       uint32_t height, uint32_t pattern,
                                                       uint8_t *output, uint32_t outputFormat,
                                                       uint32_t *size, uint8_t *const *fullPlanes,
                                                       uint8_t *const *quarterPlanes,
                                                       int32_t method)
{
    const PlaneWork<1> work{width, height, fullPlanes, quarterPlanes};
    work.Make(image, pattern, method);
    uint32_t channels = 3;
    switch (outputFormat) {
    case kFormatRgbPlane8:
        work.CopyPlanes(output);
        break;
    case kFormatBgr24:
        work.Pack3(2, 1, 0, output);
        break;
    case kFormatRgb24:
        work.Pack3(0, 1, 2, output);
        break;
    case kFormatXrgb32:
        Pack4(work, {0, 1, 2}, Alpha::kFirst, output);
        channels = 4;
        break;
    case kFormatBgrx32:
        Pack4(work, {2, 1, 0}, Alpha::kLast, output);
        channels = 4;
        break;
    case kFormatRgbx32:
        Pack4(work, {0, 1, 2}, Alpha::kLast, output);
        channels = 4;
        break;
    default:
        return kFilterBadOutputFormat;
    }
    *size = width * height * channels;
    return kFilterOk;
}

// There is no form of four channels. The range of values stays: 12 bits come out as 12 bits.
int16_t ZBayerInterpolation::Private_Bayer16BitUsingSSE(const uint8_t *image, uint32_t width,
                                                        uint32_t height, uint32_t pattern,
                                                        uint8_t *output, uint32_t outputFormat,
                                                        uint32_t *size, uint8_t *const *fullPlanes,
                                                        uint8_t *const *quarterPlanes,
                                                        int32_t method)
{
    const PlaneWork<2> work{width, height, fullPlanes, quarterPlanes};
    work.Make(image, pattern, method);
    switch (outputFormat) {
    case kFormatRgbPlane16:
        work.CopyPlanes(output);
        break;
    case kFormatRgb48:
        work.Pack3(0, 1, 2, output);
        break;
    default:
        return kFilterBadOutputFormat;
    }
    *size = width * height * 6;
    return kFilterOk;
}

} // namespace ZX
