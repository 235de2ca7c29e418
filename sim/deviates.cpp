// Tables of the normal, exponential and Poisson distributions, and how deviates come from them.
#include "sim/deviates.h"

#include <vector>

#include "sim/exact_math.h"

namespace zerix::sim {
namespace {

constexpr double kLn2 = 0.69314718055994530942;
constexpr double kInverseRootOfTwoPi = 0.39894228040143267794;

// The upper tail of the normal distribution on a fine grid, and its inverse.
class UpperTail {
public:
    UpperTail() : m_area(kPoints + 1, 0.0)
    {
        for (size_t i = kPoints; i-- > 0;) {
            const double x = static_cast<double>(i) * kStep;
            const double simpson = Density(x) + 4.0 * Density(x + kStep / 2) + Density(x + kStep);
            m_area[i] = m_area[i + 1] + simpson * (kStep / 6.0);
        }
    }

    // The deviate that is exceeded with this probability, from above 0 to 0.5. Probabilities fall
    // from call to call while a table is filled from the middle outwards; the walk goes on where it
    // was.
    double Inverse(double probability)
    {
        while (m_at + 1 < kPoints && m_area[m_at + 1] > probability)
            ++m_at;
        const double part = (m_area[m_at] - probability) / (m_area[m_at] - m_area[m_at + 1]);
        return (static_cast<double>(m_at) + part) * kStep;
    }

private:
    static constexpr size_t kPoints = 8 * 256;
    static constexpr double kStep = 1.0 / 256.0;

    static double Density(double x) { return kInverseRootOfTwoPi * Exp(-0.5 * x * x); }

    std::vector<double> m_area;
    size_t m_at = 0;
};

// e to the power -x for x up to 0.125.
double NoneOf(double x)
{
    constexpr double kThird = 1.0 / 3;
    constexpr double kFifth = 1.0 / 5;
    constexpr double kSixth = 1.0 / 6;
    double sum = 1.0 - x * kFifth * (1.0 - x * kSixth);
    sum = 1.0 - x * 0.25 * sum;
    sum = 1.0 - x * kThird * sum;
    sum = 1.0 - x * 0.5 * sum;
    return 1.0 - x * sum;
}

QuantileCell Cell(double start, double end, double units)
{
    return {.start = static_cast<float>(start), .step = static_cast<float>((end - start) / units)};
}

} // namespace

const NormalTable &NormalTable::Get()
{
    static const NormalTable table;
    return table;
}

NormalTable::NormalTable() : m_cells(), m_tail()
{
    constexpr double kUnits = 2097152.0; // 21 bits below the index
    UpperTail tail;
    double start = 0.0;
    for (uint32_t i = kCells / 2; i + 1 < kCells; ++i) {
        const double end = tail.Inverse(static_cast<double>(kCells - 1 - i) / kCells);
        m_cells[i] = Cell(start, end, kUnits);
        m_cells[kCells - 1 - i] = Cell(-end, -start, kUnits);
        start = end;
    }
    // The outermost cell holds a probability of 1/2048, and is cut into 2048 again.
    constexpr double kTailUnits = 1024.0;
    for (uint32_t i = 0; i < kCells; ++i) {
        const double left = static_cast<double>(kCells - 1 - i) + (i + 1 == kCells ? 0.25 : 0.0);
        const double end = tail.Inverse(left / kCells / kCells);
        m_tail[i] = Cell(start, end, kTailUnits);
        start = end;
    }
}

float NormalTable::Tail(uint32_t bits) const
{
    const bool upper = (bits >> 21U) != 0;
    const QuantileCell &cell = m_tail[(bits >> 10U) & 0x7FFU];
    const float magnitude =
        cell.start + cell.step * static_cast<float>(static_cast<int32_t>(bits & 0x3FFU));
    return upper ? magnitude : -magnitude;
}

const ExponentialTable &ExponentialTable::Get()
{
    static const ExponentialTable table;
    return table;
}

ExponentialTable::ExponentialTable() : m_cells()
{
    constexpr double kUnits = 4194304.0; // 22 bits below the index
    double start = 0.0;
    for (uint32_t i = 0; i < kCells; ++i) {
        const double end = i + 1 == kCells ? start : -kLn2 * Log2(1.0 - (i + 1.0) / kCells);
        m_cells[i] = Cell(start, end, kUnits);
        start = end;
    }
}

float ExponentialTable::Deviate(uint64_t bits) const
{
    // What lies beyond the last cell is distributed as the whole is: begin again from there.
    float beyond = 0.0F;
    auto word = static_cast<uint32_t>(bits);
    for (int round = 0; round < 3 && (word >> 22U) == kCells - 1; ++round) {
        beyond += m_cells[kCells - 1].start;
        bits = Scramble(bits + 0x9E3779B97F4A7C15ULL);
        word = static_cast<uint32_t>(bits);
    }
    const QuantileCell &cell = m_cells[word >> 22U];
    return beyond + cell.start +
           cell.step * static_cast<float>(static_cast<int32_t>(word & 0x3FFFFFU));
}

const PoissonTable &PoissonTable::Get()
{
    static const PoissonTable table;
    return table;
}

PoissonTable::PoissonTable() : m_distributions()
{
    for (uint32_t step = 0; step < kSteps; ++step)
        Fill(static_cast<double>(step) / static_cast<double>(kStepsPerUnit),
             &m_distributions[step]);
}

void PoissonTable::Fill(double mean, Distribution *distribution)
{
    constexpr double kWhole = 4294967296.0;
    double probability = Exp(-mean);
    double sum = 0.0;
    for (uint32_t count = 0; count < kCounts; ++count) {
        sum += probability;
        probability = probability * mean / (count + 1.0);
        const double scaled = sum * kWhole;
        distribution->upTo[count] =
            scaled >= kWhole - 1.0 ? 0xFFFFFFFFU : static_cast<uint32_t>(scaled);
    }
    distribution->upTo[kCounts - 1] = 0xFFFFFFFFU;
    uint8_t count = 0;
    for (uint32_t byte = 0; byte < 256; ++byte) {
        while (count + 1U < kCounts && (byte << 24U) >= distribution->upTo[count])
            ++count;
        distribution->first[byte] = count;
    }
}

// By inversion of a mean up to 0.125, where a short series is exact enough and the search ends at
// once. No event is likelier than 1 less the mean, which is known sooner.
uint32_t PoissonTable::DeviateOfRest(float mean, uint32_t left)
{
    const auto exactMean = static_cast<double>(mean);
    double rest = static_cast<double>(left) * (1.0 / 4294967296.0);
    if (rest < 1.0 - exactMean)
        return 0;
    uint32_t count = 0;
    double probability = NoneOf(exactMean);
    for (; rest >= probability && count < kMostOfRest; ++count) {
        rest -= probability;
        probability = probability * exactMean / (count + 1.0);
    }
    return count;
}

} // namespace zerix::sim
