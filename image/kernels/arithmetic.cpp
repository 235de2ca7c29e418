// The shift and the add.
#include <algorithm>
#include <cstring>

#include "image/kernels/dispatch.h"
#include "image/kernels/primitives.h"
#include "image/kernels/rectangle.h"

namespace zerix {

namespace {

PrimStatus Shift(uint32_t value, uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                 size_t pixelBytes, void (*shift)(uint8_t *, size_t, uint32_t))
{
    if (pixels == nullptr)
        return kPrimNullPointer;
    if (step < 1)
        return kPrimStepError;
    if (width < 1 || height < 1)
        return kPrimSizeError;
    if (value == 0)
        return kPrimOk;
    const RowWalk walk = WalkRows(width, height, IsTight(step, width, pixelBytes));
    for (size_t row = 0; row < walk.height; ++row) {
        uint8_t *line = RowAt(pixels, step, row);
        if (value >= pixelBytes * 8)
            std::memset(line, 0, walk.width * pixelBytes);
        else
            shift(line, walk.width, value);
    }
    return kPrimOk;
}

// The sum at a scale other than 0, which no caller asks for. From the limit on nothing is left of
// any sum; a negative scale multiplies.
template <typename Pixel>
Pixel ScaledSum(Pixel source, Pixel target, int32_t scaleFactor)
{
    constexpr uint64_t kTop = static_cast<Pixel>(~Pixel{0});
    constexpr int32_t kClearingScale = sizeof(Pixel) == 1 ? 10 : 18;
    const uint64_t sum = uint64_t{source} + target;
    if (scaleFactor >= kClearingScale)
        return 0;
    if (scaleFactor >= 0)
        return static_cast<Pixel>(std::min(sum >> scaleFactor, kTop));
    return static_cast<Pixel>(std::min(sum << std::min(-int64_t{scaleFactor}, int64_t{16}), kTop));
}

template <typename Pixel>
void AddScaled(const uint8_t *source, uint8_t *target, size_t count, int32_t scaleFactor)
{
    for (size_t i = 0; i < count; ++i, source += sizeof(Pixel), target += sizeof(Pixel)) {
        Pixel first;
        Pixel second;
        std::memcpy(&first, source, sizeof first);
        std::memcpy(&second, target, sizeof second);
        const Pixel sum = ScaledSum(first, second, scaleFactor);
        std::memcpy(target, &sum, sizeof sum);
    }
}

template <typename Pixel>
PrimStatus Add(const uint8_t *source, int32_t sourceStep, uint8_t *target, int32_t targetStep,
               int32_t width, int32_t height, int32_t scaleFactor,
               void (*add)(const uint8_t *, uint8_t *, size_t))
{
    if (source == nullptr || target == nullptr)
        return kPrimNullPointer;
    if (width < 1 || height < 1)
        return kPrimSizeError;
    const RowWalk walk = WalkRows(
        width, height, IsTight(sourceStep, width, sizeof(Pixel)) && sourceStep == targetStep);
    for (size_t row = 0; row < walk.height; ++row) {
        const uint8_t *from = RowAt(source, sourceStep, row);
        uint8_t *to = RowAt(target, targetStep, row);
        if (scaleFactor == 0)
            add(from, to, walk.width);
        else
            AddScaled<Pixel>(from, to, walk.width, scaleFactor);
    }
    return kPrimOk;
}

} // namespace

PrimStatus ZPrimShiftRight8uInPlace(uint32_t value, uint8_t *pixels, int32_t step, int32_t width,
                                    int32_t height)
{
    return Shift(value, pixels, step, width, height, 1, ChosenKernels().bytes.shiftRight);
}

PrimStatus ZPrimShiftRight16uInPlace(uint32_t value, uint8_t *pixels, int32_t step, int32_t width,
                                     int32_t height)
{
    return Shift(value, pixels, step, width, height, 2, ChosenKernels().words.shiftRight);
}

PrimStatus ZPrimAdd8uInPlace(const uint8_t *source, int32_t sourceStep, uint8_t *target,
                             int32_t targetStep, int32_t width, int32_t height, int32_t scaleFactor)
{
    return Add<uint8_t>(source, sourceStep, target, targetStep, width, height, scaleFactor,
                        ChosenKernels().bytes.add);
}

PrimStatus ZPrimAdd16uInPlace(const uint8_t *source, int32_t sourceStep, uint8_t *target,
                              int32_t targetStep, int32_t width, int32_t height,
                              int32_t scaleFactor)
{
    return Add<uint16_t>(source, sourceStep, target, targetStep, width, height, scaleFactor,
                         ChosenKernels().words.add);
}

} // namespace zerix
