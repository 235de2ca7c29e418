// Interleaving of planes.
#include <algorithm>
#include <array>

#include "image/kernels/dispatch.h"
#include "image/kernels/primitives.h"
#include "image/kernels/rectangle.h"

namespace zerix {

namespace {

template <size_t kPlanes>
PrimStatus Pack(const uint8_t *const *planes, int32_t sourceStep, uint8_t *destination,
                int32_t destinationStep, int32_t width, int32_t height, size_t pixelBytes,
                void (*pack)(const uint8_t *const *, uint8_t *, size_t))
{
    if (planes == nullptr || destination == nullptr ||
        std::find(planes, planes + kPlanes, nullptr) != planes + kPlanes)
        return kPrimNullPointer;
    if (width < 1 || height < 1)
        return kPrimSizeError;
    const bool isTight = IsTight(sourceStep, width, pixelBytes) &&
                         IsTight(destinationStep, width, pixelBytes * kPlanes);
    const RowWalk walk = WalkRows(width, height, isTight);
    for (size_t row = 0; row < walk.height; ++row) {
        std::array<const uint8_t *, kPlanes> lines;
        for (size_t plane = 0; plane < kPlanes; ++plane)
            lines[plane] = RowAt(planes[plane], sourceStep, row);
        pack(lines.data(), RowAt(destination, destinationStep, row), walk.width);
    }
    return kPrimOk;
}

} // namespace

PrimStatus ZPrimPack3To8u(const uint8_t *const *planes, int32_t sourceStep, uint8_t *destination,
                          int32_t destinationStep, int32_t width, int32_t height)
{
    return Pack<3>(planes, sourceStep, destination, destinationStep, width, height, 1,
                   ChosenKernels().bytes.pack3);
}

PrimStatus ZPrimPack3To16u(const uint8_t *const *planes, int32_t sourceStep, uint8_t *destination,
                           int32_t destinationStep, int32_t width, int32_t height)
{
    return Pack<3>(planes, sourceStep, destination, destinationStep, width, height, 2,
                   ChosenKernels().words.pack3);
}

PrimStatus ZPrimPack4To8u(const uint8_t *const *planes, int32_t sourceStep, uint8_t *destination,
                          int32_t destinationStep, int32_t width, int32_t height)
{
    return Pack<4>(planes, sourceStep, destination, destinationStep, width, height, 1,
                   ChosenKernels().bytes.pack4);
}

} // namespace zerix
