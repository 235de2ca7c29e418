// One axis of a resize: how many output pixels there are, and where each of them reads. All
// positions are in double; every output pixel's position follows from its number alone, so that an
// axis may be walked in pieces.
#pragma once

#include <cstdint>

#include "image/kernels/kernels.h"

namespace zerix {

class ResizeAxis {
public:
    // The region begins inside the source; it is cut at the source's end.
    ResizeAxis(int32_t sourceSize, int32_t regionOrigin, int32_t regionSize,
               int32_t destinationSize, double factor);

    [[nodiscard]] int32_t OutputSize() const { return m_outputSize; } // 0: nothing to do
    [[nodiscard]] int32_t SourceSize() const { return m_sourceSize; }
    [[nodiscard]] int32_t Origin() const { return m_origin; }
    [[nodiscard]] bool IsOnePixel() const { return m_size == 1; } // the region

    // The source pixel that is copied.
    [[nodiscard]] uint32_t Nearest(int32_t output) const;

    // The source pixel and how far it is from there to the next one, 0 to 1. A region of one pixel
    // has a fraction of 0 and no next one.
    struct LinearTap {
        uint32_t first;
        double fraction;
    };
    [[nodiscard]] LinearTap Linear(int32_t output) const;

    // The first of four source pixels, and the position counted from the second one, -1 to 2.
    struct CubicTap {
        uint32_t first;
        float fraction;
    };
    [[nodiscard]] CubicTap Cubic(int32_t output) const;

private:
    [[nodiscard]] int32_t IndexOf(double position) const;

    int32_t m_sourceSize;
    int32_t m_origin;
    int32_t m_size;
    int32_t m_outputSize;
    double m_pixelStep; // nearest neighbour: centres are kept
    double m_edgeStep;  // linear and cubic: the first and last pixels coincide
};

[[nodiscard]] LinearWeight8 LinearWeightOf(double fraction);
[[nodiscard]] CubicWeights CubicWeightsOf(float fraction);

} // namespace zerix
