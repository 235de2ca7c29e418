// The rows of pixels under the primitives: one table of functions per pixel type. The plain ones
// are the truth; a processor level puts its own over those that it does better, with the same bits.
//
// This header stays without inline functions and other headers: it is compiled with wide
// instructions in the files of the levels, and the linker keeps one copy of what is inline.
//
// Counts are pixels. 16-bit pixels are bytes of any alignment, in host order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix {

// Where a linear row reads: output i lies between the pixels first[i] and first[i] + 1.
struct LinearWeight8 {
    int16_t first; // of 16384, together with
    int16_t second;
};
struct LinearTaps8 {
    const uint32_t *first;
    const LinearWeight8 *weights;
};
struct LinearTaps16 {
    const uint32_t *first;
    const float *fractions;
};

// A cubic row reads the four pixels from first[i] on. The weights are those of Newton's form at the
// fraction t, counted from the second pixel: 1 + t, t(1 + t)/2, (t - 1)(t(1 + t)/2)/3.
struct CubicTaps {
    const uint32_t *first;
    const float *linear;
    const float *square;
    const float *cube;
};
struct CubicWeights {
    float linear;
    float square;
    float cube;
};

// A table that multiplies: level times whole + fraction, rounded down, at most the top of the type;
// the top itself stays. The fraction is of 65536, of words in two steps of that.
struct Proportion8 {
    uint16_t whole; // below 128
    uint16_t fraction;
};
struct Proportion16 {
    uint16_t whole;
    uint16_t fraction;
    uint16_t fineFraction;
};

struct Kernels8 {
    void (*shiftRight)(uint8_t *pixels, size_t count, uint32_t bits); // 1 to 7
    void (*add)(const uint8_t *source, uint8_t *target, size_t count);
    void (*pack3)(const uint8_t *const *planes, uint8_t *out, size_t count);
    void (*pack4)(const uint8_t *const *planes, uint8_t *out, size_t count);
    // Maps of 256 bytes.
    void (*lookup1)(uint8_t *pixels, size_t count, const uint8_t *map);
    void (*lookup3)(uint8_t *pixels, size_t count, const uint8_t *const *maps);
    void (*lookup4)(uint8_t *pixels, size_t count, const uint8_t *const *maps);
    // Interleaved channels, 1, 3 or 4, each with its proportion.
    void (*scale)(uint8_t *pixels, size_t count, size_t channels, const Proportion8 *proportions);
    // Resizing along a row; `readable` is the number of pixels from `source` on that may be read.
    void (*nearestRow)(const uint8_t *source, size_t readable, const uint32_t *index, uint8_t *out,
                       size_t count);
    void (*linearRow)(const uint8_t *source, size_t readable, const LinearTaps8 &taps, int16_t *out,
                      size_t count); // 64 times the pixel
    void (*cubicRow)(const uint8_t *source, size_t readable, const CubicTaps &taps, float *out,
                     size_t count);
    // And across rows: two or four rows to one of pixels.
    void (*linearColumn)(const int16_t *upper, const int16_t *lower, LinearWeight8 weight,
                         uint8_t *out, size_t count);
    void (*cubicColumn)(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                        size_t count);
};

struct Kernels16 {
    void (*shiftRight)(uint8_t *pixels, size_t count, uint32_t bits); // 1 to 15
    void (*add)(const uint8_t *source, uint8_t *target, size_t count);
    void (*pack3)(const uint8_t *const *planes, uint8_t *out, size_t count);
    // Values clamped to words. True where the levels, as many, are 0, 1, 2 ...
    bool (*clampValues)(const int32_t *values, const int32_t *levels, size_t count, uint16_t *out);
    // Maps of 65536 words.
    void (*lookup1)(uint8_t *pixels, size_t count, const uint16_t *map);
    void (*lookup3)(uint8_t *pixels, size_t count, const uint16_t *const *maps);
    // Interleaved channels, 1 or 3.
    void (*scale)(uint8_t *pixels, size_t count, size_t channels, const Proportion16 *proportions);
    void (*nearestRow)(const uint8_t *source, size_t readable, const uint32_t *index, uint8_t *out,
                       size_t count);
    void (*linearRow)(const uint8_t *source, size_t readable, const LinearTaps16 &taps, float *out,
                      size_t count);
    void (*cubicRow)(const uint8_t *source, size_t readable, const CubicTaps &taps, float *out,
                     size_t count);
    void (*linearColumn)(const float *upper, const float *lower, float fraction, uint8_t *out,
                         size_t count);
    void (*cubicColumn)(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                        size_t count);
};

struct Kernels {
    Kernels8 bytes;
    Kernels16 words;
};

// The plain level, complete. The others need a processor that has them, and call the plain ones for
// what is left over by their wide steps.
extern const Kernels kScalarKernels;
void OverlayPixelsSse41(Kernels &kernels); // shift, add, pack
void OverlayLookupSse41(Kernels &kernels);
void OverlayScaleSse41(Kernels &kernels);
void OverlayResizeSse41(Kernels &kernels);
void OverlayPixelsAvx2(Kernels &kernels);
void OverlayLookupAvx2(Kernels &kernels);
void OverlayScaleAvx2(Kernels &kernels);
void OverlayResizeAvx2(Kernels &kernels);
void OverlayLookupAvx512(Kernels &kernels);

} // namespace zerix
