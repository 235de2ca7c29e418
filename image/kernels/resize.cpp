// Resizing: along the rows first, then across them. The destination is made in upright strips, so
// that the tables of positions and the rows in between are of fixed size, on the stack and in the
// nearest cache.
#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "image/kernels/dispatch.h"
#include "image/kernels/primitives.h"
#include "image/kernels/rectangle.h"
#include "image/kernels/resize_axis.h"

namespace zerix {

namespace {

constexpr int32_t kStrip = 512;

struct Job {
    const uint8_t *source;
    int32_t sourceStep;
    uint8_t *destination;
    int32_t destinationStep;
    ResizeAxis x;
    ResizeAxis y;

    [[nodiscard]] const uint8_t *SourceRow(uint32_t number) const
    {
        return RowAt(source, sourceStep, number);
    }
    [[nodiscard]] size_t Readable() const { return static_cast<size_t>(x.SourceSize()); }
};

// Rows of intermediate values, made from source rows as they are asked for. The last kRows source
// rows are kept.
template <typename Value, size_t kRows, typename MakeRow>
class RowCache {
public:
    explicit RowCache(MakeRow make) : m_make(make) { m_present.fill(kNone); }

    const Value *Get(uint32_t number)
    {
        const size_t slot = number % kRows;
        if (m_present[slot] != number) {
            m_make(number, m_rows[slot]);
            m_present[slot] = number;
        }
        return m_rows[slot];
    }

private:
    static constexpr uint32_t kNone = ~0u;
    MakeRow m_make;
    std::array<uint32_t, kRows> m_present;
    Value m_rows[kRows][kStrip];
};

template <typename Value, size_t kRows, typename MakeRow>
RowCache<Value, kRows, MakeRow> MakeRowCache(MakeRow make)
{
    return RowCache<Value, kRows, MakeRow>(make);
}

template <typename Pixel, typename Table>
void NearestStrip(const Job &job, const Table &kernels, int32_t left, int32_t count)
{
    const auto width = static_cast<size_t>(count);
    uint32_t index[kStrip];
    for (int32_t i = 0; i < count; ++i)
        index[i] = job.x.Nearest(left + i);
    uint8_t *out = job.destination + static_cast<size_t>(left) * sizeof(Pixel);
    for (int32_t row = 0; row < job.y.OutputSize(); ++row)
        kernels.nearestRow(job.SourceRow(job.y.Nearest(row)), job.Readable(), index,
                           RowAt(out, job.destinationStep, static_cast<size_t>(row)), width);
}

// What differs between the linear forms of the two pixel types.
struct Linear8 {
    using Value = int16_t;
    using Weight = LinearWeight8;
    using Taps = LinearTaps8;
    static Weight WeightOf(double fraction) { return LinearWeightOf(fraction); }
};
struct Linear16 {
    using Value = float;
    using Weight = float;
    using Taps = LinearTaps16;
    static Weight WeightOf(double fraction) { return static_cast<float>(fraction); }
};

template <typename Pixel, typename Table>
void LinearStrip(const Job &job, const Table &kernels, int32_t left, int32_t count)
{
    using Form = std::conditional_t<sizeof(Pixel) == 1, Linear8, Linear16>;
    const auto width = static_cast<size_t>(count);
    uint32_t first[kStrip];
    typename Form::Weight weights[kStrip];
    for (int32_t i = 0; i < count; ++i) {
        const ResizeAxis::LinearTap tap = job.x.Linear(left + i);
        first[i] = job.x.IsOnePixel() ? 0 : tap.first;
        weights[i] = Form::WeightOf(tap.fraction);
    }
    auto rows = MakeRowCache<typename Form::Value, 2>([&](uint32_t number, auto *row) {
        const uint8_t *source = job.SourceRow(number);
        uint8_t doubled[2 * sizeof(Pixel)]; // the one pixel, and the same as its neighbour
        if (job.x.IsOnePixel()) {
            const uint8_t *pixel = source + static_cast<size_t>(job.x.Origin()) * sizeof(Pixel);
            std::memcpy(doubled, pixel, sizeof(Pixel));
            std::memcpy(doubled + sizeof(Pixel), pixel, sizeof(Pixel));
        }
        const typename Form::Taps taps{first, weights};
        if (job.x.IsOnePixel())
            kernels.linearRow(doubled, 2, taps, row, width);
        else
            kernels.linearRow(source, job.Readable(), taps, row, width);
    });
    uint8_t *out = job.destination + static_cast<size_t>(left) * sizeof(Pixel);
    for (int32_t row = 0; row < job.y.OutputSize(); ++row) {
        const ResizeAxis::LinearTap tap = job.y.Linear(row);
        const auto *upper = rows.Get(tap.first);
        const auto *lower = job.y.IsOnePixel() ? upper : rows.Get(tap.first + 1);
        kernels.linearColumn(upper, lower, Form::WeightOf(tap.fraction),
                             RowAt(out, job.destinationStep, static_cast<size_t>(row)), width);
    }
}

template <typename Pixel, typename Table>
void CubicStrip(const Job &job, const Table &kernels, int32_t left, int32_t count)
{
    const auto width = static_cast<size_t>(count);
    uint32_t first[kStrip];
    float linear[kStrip];
    float square[kStrip];
    float cube[kStrip];
    for (int32_t i = 0; i < count; ++i) {
        const ResizeAxis::CubicTap tap = job.x.Cubic(left + i);
        const CubicWeights weights = CubicWeightsOf(tap.fraction);
        first[i] = tap.first;
        linear[i] = weights.linear;
        square[i] = weights.square;
        cube[i] = weights.cube;
    }
    auto rows = MakeRowCache<float, 4>([&](uint32_t number, float *row) {
        kernels.cubicRow(job.SourceRow(number), job.Readable(), {first, linear, square, cube}, row,
                         width);
    });
    uint8_t *out = job.destination + static_cast<size_t>(left) * sizeof(Pixel);
    for (int32_t row = 0; row < job.y.OutputSize(); ++row) {
        const ResizeAxis::CubicTap tap = job.y.Cubic(row);
        const float *const four[] = {rows.Get(tap.first), rows.Get(tap.first + 1),
                                     rows.Get(tap.first + 2), rows.Get(tap.first + 3)};
        kernels.cubicColumn(four, CubicWeightsOf(tap.fraction),
                            RowAt(out, job.destinationStep, static_cast<size_t>(row)), width);
    }
}

// A method that needs more pixels than the source has gives way to the next simpler one.
int32_t MethodFor(int32_t method, int32_t sourceWidth, int32_t sourceHeight)
{
    const int32_t smaller = std::min(sourceWidth, sourceHeight);
    if (method == kResizeWindowedSinc && smaller < 8)
        method = kResizeCubic;
    if (method == kResizeCubic && smaller < 4)
        method = kResizeLinear;
    return smaller < 2 ? kResizeNearest : method;
}

template <typename Pixel, typename Table>
PrimStatus Resize(const Table &kernels, const uint8_t *source, int32_t sourceWidth,
                  int32_t sourceHeight, int32_t sourceStep, int32_t regionX, int32_t regionY,
                  int32_t regionWidth, int32_t regionHeight, uint8_t *destination,
                  int32_t destinationStep, int32_t destinationWidth, int32_t destinationHeight,
                  double xFactor, double yFactor, int32_t method)
{
    if (source == nullptr || destination == nullptr)
        return kPrimNullPointer;
    if (std::min({sourceWidth, sourceHeight, regionWidth, regionHeight, destinationWidth,
                  destinationHeight}) < 1 ||
        std::min(regionX, regionY) < 0)
        return kPrimSizeError;
    if (regionX >= sourceWidth || regionY >= sourceHeight)
        return kPrimRegionOutside;
    if (!(xFactor > 0) || !(yFactor > 0))
        return kPrimFactorError;
    if (method != kResizeNearest && method != kResizeLinear && method != kResizeCubic &&
        method != kResizeWindowedSinc)
        return kPrimMethodError;
    method = MethodFor(method, sourceWidth, sourceHeight);
    if (method == kResizeWindowedSinc)
        return kPrimMethodError;

    const Job job = {source,
                     sourceStep,
                     destination,
                     destinationStep,
                     {sourceWidth, regionX, regionWidth, destinationWidth, xFactor},
                     {sourceHeight, regionY, regionHeight, destinationHeight, yFactor}};
    const int32_t width = job.x.OutputSize();
    if (width < 1 || job.y.OutputSize() < 1)
        return kPrimNothingToDo;
    const auto strip = method == kResizeNearest  ? NearestStrip<Pixel, Table>
                       : method == kResizeLinear ? LinearStrip<Pixel, Table>
                                                 : CubicStrip<Pixel, Table>;
    for (int32_t left = 0; left < width; left += std::min(kStrip, width - left))
        strip(job, kernels, left, std::min(kStrip, width - left));
    return kPrimOk;
}

} // namespace

PrimStatus ZPrimResize8u(const uint8_t *source, int32_t sourceWidth, int32_t sourceHeight,
                         int32_t sourceStep, int32_t regionX, int32_t regionY, int32_t regionWidth,
                         int32_t regionHeight, uint8_t *destination, int32_t destinationStep,
                         int32_t destinationWidth, int32_t destinationHeight, double xFactor,
                         double yFactor, int32_t method)
{
    return Resize<uint8_t>(ChosenKernels().bytes, source, sourceWidth, sourceHeight, sourceStep,
                           regionX, regionY, regionWidth, regionHeight, destination,
                           destinationStep, destinationWidth, destinationHeight, xFactor, yFactor,
                           method);
}

PrimStatus ZPrimResize16u(const uint8_t *source, int32_t sourceWidth, int32_t sourceHeight,
                          int32_t sourceStep, int32_t regionX, int32_t regionY, int32_t regionWidth,
                          int32_t regionHeight, uint8_t *destination, int32_t destinationStep,
                          int32_t destinationWidth, int32_t destinationHeight, double xFactor,
                          double yFactor, int32_t method)
{
    return Resize<uint16_t>(ChosenKernels().words, source, sourceWidth, sourceHeight, sourceStep,
                            regionX, regionY, regionWidth, regionHeight, destination,
                            destinationStep, destinationWidth, destinationHeight, xFactor, yFactor,
                            method);
}

} // namespace zerix
