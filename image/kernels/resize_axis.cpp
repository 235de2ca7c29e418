#include "image/kernels/resize_axis.h"

#include <algorithm>

namespace zerix {

namespace {

// Lifts a sum that fell short of a whole number by rounding.
constexpr double kLift = 0.0000001;

int32_t OutputSizeOf(int32_t regionSize, double factor, int32_t destinationSize)
{
    const double size = regionSize * factor + kLift;
    if (size < 1.0)
        return size >= 0.5 ? 1 : 0;
    return static_cast<int32_t>(std::min(size, static_cast<double>(destinationSize)));
}

double EdgeStepOf(int32_t regionSize, double factor)
{
    const double size = regionSize * factor;
    return size <= 1.0 ? 0.0 : (regionSize - 1) / (size - 1.0);
}

} // namespace

ResizeAxis::ResizeAxis(int32_t sourceSize, int32_t regionOrigin, int32_t regionSize,
                       int32_t destinationSize, double factor)
    : m_sourceSize(sourceSize), m_origin(regionOrigin),
      m_size(std::min(regionSize, sourceSize - regionOrigin)),
      m_outputSize(OutputSizeOf(m_size, factor, destinationSize)), m_pixelStep(1.0 / factor),
      m_edgeStep(EdgeStepOf(m_size, factor))
{
}

// The position of a last pixel may come out a hair beyond the region.
int32_t ResizeAxis::IndexOf(double position) const
{
    return static_cast<int32_t>(std::min(position + kLift, m_size - 1.0));
}

uint32_t ResizeAxis::Nearest(int32_t output) const
{
    return static_cast<uint32_t>(m_origin + IndexOf(m_pixelStep / 2 + output * m_pixelStep));
}

ResizeAxis::LinearTap ResizeAxis::Linear(int32_t output) const
{
    const double position = output * m_edgeStep;
    const int32_t index = IndexOf(position);
    const auto first = static_cast<uint32_t>(m_origin + index);
    if (m_size == 1)
        return {first, 0.0};
    if (index == m_size - 1)
        return {first - 1, 1.0};
    return {first, position - index};
}

ResizeAxis::CubicTap ResizeAxis::Cubic(int32_t output) const
{
    const double position = output * m_edgeStep;
    const int32_t index = IndexOf(position);
    const int32_t source = m_origin + index;
    if (source == m_sourceSize - 1)
        return {static_cast<uint32_t>(source - 3), 2.0f};
    const int32_t shift = source == 0 ? 1 : source == m_sourceSize - 2 ? -1 : 0;
    return {static_cast<uint32_t>(source + shift - 1),
            static_cast<float>(position - (index + shift))};
}

LinearWeight8 LinearWeightOf(double fraction)
{
    const auto second = static_cast<int16_t>(fraction * 16384 + kLift);
    return {static_cast<int16_t>(16384 - second), second};
}

CubicWeights CubicWeightsOf(float fraction)
{
    const float linear = 1 + fraction;
    const float square = fraction * linear / 2;
    return {linear, square, (fraction - 1) * square / 3};
}

} // namespace zerix
