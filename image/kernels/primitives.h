// The fourteen operations on rectangles of pixels that the Bayer filter and white balance stand on.
// They have no state and allocate nothing: any thread, several at a time.
//
// A rectangle is its first pixel, its step (bytes from one row to the next), width and height in
// pixels. Pixels of the 16-bit forms are in host order and need not be aligned, so that they are
// given as bytes, too. A failed check leaves all pixels as they are.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix {

enum PrimStatus : int32_t {
    kPrimOk = 0,
    kPrimSizeError = -6,     // width or height below 1
    kPrimNullPointer = -8,   // a pointer is null
    kPrimNoMemory = -9,      // no memory for position tables; there is none that could lack it
    kPrimStepError = -14,    // a step below 1 (lookups and shifts)
    kPrimMethodError = -22,  // unknown resizing method
    kPrimFactorError = -23,  // a resize factor of 0 or less
    kPrimLevelsError = -106, // fewer than 2 levels in a lookup
    kPrimNothingToDo = -201, // the resized region has no pixels
    kPrimRegionOutside = 29, // the region lies outside the source; nothing is done
};

enum ResizeMethod : int32_t {
    kResizeNearest = 1,
    kResizeLinear = 2,
    kResizeCubic = 4,
    kResizeWindowedSinc = 16, // works where the source is so small that another takes its place
};

// Each pixel is shifted right. More than the pixel's bits clears it.
PrimStatus ZPrimShiftRight8uInPlace(uint32_t value, uint8_t *pixels, int32_t step, int32_t width,
                                    int32_t height);
PrimStatus ZPrimShiftRight16uInPlace(uint32_t value, uint8_t *pixels, int32_t step, int32_t width,
                                     int32_t height);

// target = (source + target) / 2^scaleFactor, rounded down, at most the top of the type.
PrimStatus ZPrimAdd8uInPlace(const uint8_t *source, int32_t sourceStep, uint8_t *target,
                             int32_t targetStep, int32_t width, int32_t height,
                             int32_t scaleFactor);
PrimStatus ZPrimAdd16uInPlace(const uint8_t *source, int32_t sourceStep, uint8_t *target,
                              int32_t targetStep, int32_t width, int32_t height,
                              int32_t scaleFactor);

// Maps the region of the source onto the destination. Linear and cubic make the first and last
// pixels of both coincide, nearest neighbour keeps pixel centres.
PrimStatus ZPrimResize8u(const uint8_t *source, int32_t sourceWidth, int32_t sourceHeight,
                         int32_t sourceStep, int32_t regionX, int32_t regionY, int32_t regionWidth,
                         int32_t regionHeight, uint8_t *destination, int32_t destinationStep,
                         int32_t destinationWidth, int32_t destinationHeight, double xFactor,
                         double yFactor, int32_t method);
PrimStatus ZPrimResize16u(const uint8_t *source, int32_t sourceWidth, int32_t sourceHeight,
                          int32_t sourceStep, int32_t regionX, int32_t regionY, int32_t regionWidth,
                          int32_t regionHeight, uint8_t *destination, int32_t destinationStep,
                          int32_t destinationWidth, int32_t destinationHeight, double xFactor,
                          double yFactor, int32_t method);

// Interleaves 3 or 4 planes, pixel by pixel in their order.
PrimStatus ZPrimPack3To8u(const uint8_t *const *planes, int32_t sourceStep, uint8_t *destination,
                          int32_t destinationStep, int32_t width, int32_t height);
PrimStatus ZPrimPack3To16u(const uint8_t *const *planes, int32_t sourceStep, uint8_t *destination,
                           int32_t destinationStep, int32_t width, int32_t height);
PrimStatus ZPrimPack4To8u(const uint8_t *const *planes, int32_t sourceStep, uint8_t *destination,
                          int32_t destinationStep, int32_t width, int32_t height);

// Maps each pixel through a table of `count` levels: what lies from levels[k] up to below
// levels[k + 1] becomes values[k], clamped to the type; the rest stays. The last value has no
// range, so that the top level of a table 0, 1, ... N - 1 is never changed.
PrimStatus ZPrimLookup8uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                const int32_t *values, const int32_t *levels, int32_t count);
PrimStatus ZPrimLookup16uInPlace(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *values, const int32_t *levels, int32_t count);
// The same on interleaved channels, each with tables of its own. The 16-bit form keeps its maps,
// 384 KB, on the stack.
PrimStatus ZPrimLookup8uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts);
PrimStatus ZPrimLookup8uInPlace4(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                 const int32_t *const *values, const int32_t *const *levels,
                                 const int32_t *counts);
PrimStatus ZPrimLookup16uInPlace3(uint8_t *pixels, int32_t step, int32_t width, int32_t height,
                                  const int32_t *const *values, const int32_t *const *levels,
                                  const int32_t *counts);

} // namespace zerix
