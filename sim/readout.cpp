// The analogue chain and the converter, a piece of a row at a time so that the pieces stay in the
// nearest cache and the plain loops are vectorised. Pure functions; safe from any thread.
#include "sim/readout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "sim/deviates.h"
#include "sim/exact_math.h"
#include "sim/random.h"

namespace zerix::sim {
namespace {

constexpr uint64_t kGoldenRatio = 0x9E3779B97F4A7C15ULL;

struct Rate {
    float megahertz;
    double electrons;
};
constexpr Rate kReadNoise[] = {{2.5F, 5.0},  {5.0F, 6.0},   {10.0F, 7.0},
                               {20.0F, 9.0}, {30.0F, 12.0}, {40.0F, 16.0}};

uint64_t PixelCounter(uint32_t column, uint32_t row)
{
    return (static_cast<uint64_t>(row) << 32U) | column;
}

// Two normal deviates for each pixel: one for the shot noise, one for the read noise.
void DrawNormals(const ReadoutChain &chain, const ReadoutPiece &piece, float *shot, float *read)
{
    const NormalTable &normal = NormalTable::Get();
    uint64_t state = chain.shotKey + PixelCounter(piece.column, piece.row) * kGoldenRatio;
    for (uint32_t i = 0; i < piece.count; ++i) {
        const uint64_t bits = Scramble(state);
        state += kGoldenRatio;
        shot[i] = normal.Deviate(static_cast<uint32_t>(bits));
        read[i] = normal.Deviate(static_cast<uint32_t>(bits >> 32U));
    }
}

// The same without the first, for a piece that counts all its electrons.
void DrawReadNormals(const ReadoutChain &chain, const ReadoutPiece &piece, float *read)
{
    const NormalTable &normal = NormalTable::Get();
    uint64_t state = chain.shotKey + PixelCounter(piece.column, piece.row) * kGoldenRatio;
    for (uint32_t i = 0; i < piece.count; ++i) {
        read[i] = normal.Deviate(static_cast<uint32_t>(Scramble(state) >> 32U));
        state += kGoldenRatio;
    }
}

// The normal deviate, bent by the skewness of a Poisson distribution. Good from
// PoissonTable::kLimit on.
void AddShotNoise(const ReadoutPiece &piece, const float *shot, float *electrons)
{
    for (uint32_t i = 0; i < piece.count; ++i)
        electrons[i] =
            piece.mean[i] + piece.sigma[i] * shot[i] + (shot[i] * shot[i] - 1.0F) * (1.0F / 6.0F);
}

uint32_t CountOfSmallMeans(const ReadoutPiece &piece)
{
    uint32_t small = 0;
    for (uint32_t i = 0; i < piece.count; ++i)
        small += piece.mean[i] < PoissonTable::kLimit ? 1U : 0U;
    return small;
}

void CountElectrons(const ReadoutChain &chain, const ReadoutPiece &piece, float *electrons)
{
    const PoissonTable &poisson = PoissonTable::Get();
    const uint64_t first = PixelCounter(piece.column, piece.row);
    for (uint32_t i = 0; i < piece.count; ++i) {
        if (piece.mean[i] < PoissonTable::kLimit) {
            const uint32_t count =
                poisson.Deviate(piece.mean[i], RandomBits(chain.smallKey, first + i));
            electrons[i] = static_cast<float>(static_cast<int32_t>(count));
        }
    }
}

// Electrons with their shot noise, and the deviates of the read noise. `spare` is a normal deviate
// of each pixel whose electrons were counted, for those that multiply; null if there is no use.
void Draw(const ReadoutChain &chain, const ReadoutPiece &piece, float *electrons, float *read,
          float *spare)
{
    const uint32_t small = CountOfSmallMeans(piece);
    if (small == piece.count && spare == nullptr) {
        DrawReadNormals(chain, piece, read);
    } else {
        float own[kReadoutPiece];
        float *shot = spare != nullptr ? spare : own;
        DrawNormals(chain, piece, shot, read);
        AddShotNoise(piece, shot, electrons);
    }
    if (small != 0)
        CountElectrons(chain, piece, electrons);
}

// What n electrons become is a sum of n exponential deviates: gamma distributed, whose cube root is
// nearly normal with a mean of 1 - 1/(9n) and a variance of 1/(9n) in units of n. From two
// electrons on that is good to a few thousandths of the probability, and in mean and variance much
// better.
struct CubeRoot {
    float mean;
    float deviation;
};

CubeRoot CubeRootOfSum(float electrons)
{
    const float variance = (1.0F / 9.0F) / (electrons > 1.0F ? electrons : 1.0F);
    return {.mean = 1.0F - variance, .deviation = std::sqrt(variance)};
}

// The same of counted electrons, from a table.
class CubeRootTable {
public:
    static const CubeRootTable &Get()
    {
        static const CubeRootTable table;
        return table;
    }

    [[nodiscard]] const CubeRoot &Of(float electrons) const
    {
        return m_roots[static_cast<size_t>(static_cast<int32_t>(electrons))];
    }

private:
    CubeRootTable() : m_roots()
    {
        for (size_t count = 0; count < m_roots.size(); ++count)
            m_roots[count] = CubeRootOfSum(static_cast<float>(static_cast<int32_t>(count)));
    }

    std::array<CubeRoot, PoissonTable::kMostCounts + 1> m_roots;
};

// Where the shot noise has used its normal deviate, the multiplication draws another.
void DrawCubeRoots(const ReadoutChain &chain, const ReadoutPiece &piece, const float *electrons,
                   const float *spare, float *roots)
{
    const CubeRootTable &table = CubeRootTable::Get();
    const NormalTable &normal = NormalTable::Get();
    const uint64_t first = PixelCounter(piece.column, piece.row);
    for (uint32_t i = 0; i < piece.count; ++i) {
        if (piece.mean[i] < PoissonTable::kLimit) {
            const CubeRoot &root = table.Of(electrons[i]);
            roots[i] = root.mean + root.deviation * spare[i];
        } else {
            const CubeRoot root = CubeRootOfSum(electrons[i]);
            const uint64_t bits = RandomBits(chain.multiplyKey, first + i);
            roots[i] = root.mean + root.deviation * normal.Deviate(static_cast<uint32_t>(bits));
        }
    }
}

// The number, or 0 below it. Bits instead of a comparison keep compilers from making a branch,
// which would keep loops out of wide registers.
float NoneBelowZero(float value)
{
    const auto bits = std::bit_cast<int32_t>(value);
    return std::bit_cast<float>(bits & ~(bits >> 31));
}

void ExcessOfSums(uint32_t pixels, const float *electrons, const float *roots, float *excess)
{
    for (uint32_t i = 0; i < pixels; ++i) {
        const float root = NoneBelowZero(roots[i]);
        const float count = NoneBelowZero(electrons[i]);
        excess[i] = count * (root * root * root - 1.0F);
    }
}

// A single electron becomes one exponential deviate. The list keeps a branch that no processor can
// foresee out of the loop.
void ExcessOfSingles(const ReadoutChain &chain, const ReadoutPiece &piece, const float *electrons,
                     float *excess)
{
    constexpr auto kOneElectron = std::bit_cast<uint32_t>(1.0F);
    uint32_t singles[kReadoutPiece];
    uint32_t count = 0;
    for (uint32_t i = 0; i < piece.count; ++i) {
        singles[count] = i;
        count += std::bit_cast<uint32_t>(electrons[i]) == kOneElectron ? 1U : 0U;
    }
    const ExponentialTable &exponential = ExponentialTable::Get();
    const uint64_t first = PixelCounter(piece.column, piece.row);
    for (uint32_t k = 0; k < count; ++k) {
        const uint32_t i = singles[k];
        excess[i] = exponential.Deviate(RandomBits(chain.multiplyKey, first + i)) - 1.0F;
    }
}

void Multiply(const ReadoutChain &chain, uint32_t count, const float *excess, float *electrons)
{
    for (uint32_t i = 0; i < count; ++i) {
        const float charge =
            chain.multiplication * electrons[i] + chain.multiplicationRoot * excess[i];
        electrons[i] = charge > 0.0F ? charge : 0.0F;
    }
}

// The whole of a piece's noise on a sensor that multiplies. `excess` is what the electrons of a
// pixel become, in units of one multiplied electron, beyond their number.
void DrawMultiplied(const ReadoutChain &chain, const ReadoutPiece &piece, float *electrons,
                    float *read)
{
    float spare[kReadoutPiece];
    float roots[kReadoutPiece];
    float excess[kReadoutPiece];
    Draw(chain, piece, electrons, read, spare);
    DrawCubeRoots(chain, piece, electrons, spare, roots);
    ExcessOfSums(piece.count, electrons, roots, excess);
    ExcessOfSingles(chain, piece, electrons, excess);
    Multiply(chain, piece.count, excess, electrons);
}

void DrawNothing(const ReadoutChain &chain, const ReadoutPiece &piece, float *electrons,
                 float *read)
{
    for (uint32_t i = 0; i < piece.count; ++i)
        electrons[i] = chain.multiplication * piece.mean[i];
    std::fill_n(read, piece.count, 0.0F);
}

// Dark charges come behind the intensifier.
void AddDark(const ReadoutChain &chain, const ReadoutPiece &dark, float *electrons)
{
    float added[kReadoutPiece];
    float unused[kReadoutPiece];
    ReadoutChain own = chain;
    own.shotKey = DeriveKey(chain.darkKey, 1);
    own.smallKey = DeriveKey(chain.darkKey, 2);
    if (chain.noise)
        Draw(own, dark, added, unused, nullptr);
    else
        std::copy_n(dark.mean, dark.count, added);
    for (uint32_t i = 0; i < dark.count; ++i)
        electrons[i] += added[i];
}

// A uniform deviate around none.
void Dither(const ReadoutChain &chain, const ReadoutPiece &piece, float *read)
{
    const uint64_t first = PixelCounter(piece.column, piece.row);
    const float inElectrons = chain.dither / chain.countsPerElectron;
    for (uint32_t i = 0; i < piece.count; ++i) {
        const auto bits = static_cast<int32_t>(RandomBits(chain.ditherKey, first + i) >> 40U);
        const float unit = static_cast<float>(bits) / 16777216.0F - 0.5F;
        read[i] += unit * inElectrons / chain.readNoise;
    }
}

void ScaleSecondChannel(const ReadoutChain &chain, const ReadoutPiece &piece, float *electrons,
                        float *read)
{
    for (uint32_t i = 0; i < piece.count; ++i) {
        const uint32_t column = piece.column + i;
        if (column < chain.secondFrom || column >= chain.secondTo)
            continue;
        electrons[i] *= chain.secondGain;
        read[i] *= chain.secondGain;
    }
}

void Convert(const ReadoutChain &chain, uint32_t count, const float *electrons, const float *read,
             int32_t *counts)
{
    for (uint32_t i = 0; i < count; ++i) {
        const float charge = electrons[i] < chain.fullWell ? electrons[i] : chain.fullWell;
        float value = (charge + chain.readNoise * read[i]) * chain.countsPerElectron + chain.offset;
        value = value > 0.0F ? value : 0.0F;
        value = value < chain.highestCount ? value : chain.highestCount;
        counts[i] = static_cast<int32_t>(value);
    }
}

template <typename Order>
void WriteWords(const int32_t *counts, uint32_t count, uint8_t *pixels, Order inOrder)
{
    for (size_t i = 0; i < count; ++i) {
        const auto word = static_cast<uint16_t>(inOrder(static_cast<uint32_t>(counts[i])));
        std::memcpy(pixels + 2 * i, &word, sizeof word);
    }
}

float ClampedFloat(double value, double lowest, double highest)
{
    if (!(value > lowest))
        return static_cast<float>(lowest);
    return static_cast<float>(value < highest ? value : highest);
}

} // namespace

double ReadNoiseElectrons(float megahertz)
{
    const Rate *previous = &kReadNoise[0];
    for (const Rate &rate : kReadNoise) {
        if (megahertz <= rate.megahertz) {
            const double span =
                static_cast<double>(rate.megahertz) - static_cast<double>(previous->megahertz);
            if (!(span > 0.0) || !(megahertz > previous->megahertz))
                return rate.electrons;
            const double part =
                (static_cast<double>(megahertz) - static_cast<double>(previous->megahertz)) / span;
            return previous->electrons + part * (rate.electrons - previous->electrons);
        }
        previous = &rate;
    }
    return previous->electrons;
}

namespace {

struct Columns {
    uint32_t from;
    uint32_t to;
};

// The right half of the sensor, in bins of the readout, which may begin at either side. A bin
// belongs to the channel of its first column.
Columns SecondChannel(const SensorType &type, const ExposureSettings &settings)
{
    const uint32_t binning = std::max(settings.horizontalBinning, 1U);
    const uint32_t half = type.columns / 2;
    if (!settings.fromFarCorner)
        return {.from = (half + binning - 1) / binning, .to = type.columns};
    return {.from = 0, .to = (type.columns - half + binning - 1) / binning};
}

} // namespace

ReadoutChain MakeReadoutChain(const SensorType &type, const ExposureSettings &settings,
                              uint64_t key)
{
    const uint32_t bits = std::clamp<uint32_t>(settings.converterBits, 1, 16);
    const double range = static_cast<double>(1U << bits);
    const double electronsPerCount = settings.electronsPerCount > 0.0
                                         ? settings.electronsPerCount
                                         : type.fullWellElectrons / range;
    // An intensifier multiplies before the read noise, as an electron-multiplying register does.
    const double factor = settings.intensification *
                          (type.electronMultiplying ? settings.electronMultiplication : 1.0);
    const auto multiplication = static_cast<double>(ClampedFloat(factor, 1.0, 1e5));
    const auto spread = static_cast<float>(multiplication * (multiplication - 1.0));
    const bool eightBits = settings.outputBits <= 8;
    const Columns second = SecondChannel(type, settings);
    return {.shotKey = DeriveKey(key, 1),
            .smallKey = DeriveKey(key, 2),
            .multiplyKey = DeriveKey(key, 3),
            .darkKey = DeriveKey(key, 4),
            .ditherKey = DeriveKey(key, 5),
            .noise = settings.noise,
            .multiplication = static_cast<float>(multiplication),
            .multiplicationRoot = std::sqrt(spread),
            .fullWell = static_cast<float>(type.fullWellElectrons * settings.fullWell),
            .readNoise = static_cast<float>(ReadNoiseElectrons(settings.megahertz)),
            .countsPerElectron =
                ClampedFloat(FactorFromDecibels(settings.gaindB) / electronsPerCount, 0.0, 1e12),
            .offset = static_cast<float>(settings.offsetCounts) + 0.5F,
            .highestCount = static_cast<float>(static_cast<int32_t>((1U << bits) - 1U)),
            .dither = settings.isDithered ? 1.0F : 0.0F,
            .secondGain = static_cast<float>(settings.secondChannelGain),
            .secondFrom = second.from,
            .secondTo = second.to,
            .keptBits = ~0U << std::min(settings.droppedBits, 15U),
            .shift = eightBits && bits > 8 ? bits - 8 : 0,
            .eightBits = eightBits,
            .bigEndian = settings.bigEndian};
}

void ReadOut(const ReadoutChain &chain, const ReadoutPiece &piece, const ReadoutPiece *dark,
             uint8_t *pixels)
{
    float electrons[kReadoutPiece];
    float read[kReadoutPiece];
    int32_t counts[kReadoutPiece];
    if (!chain.noise)
        DrawNothing(chain, piece, electrons, read);
    else if (chain.multiplication > 1.0F)
        DrawMultiplied(chain, piece, electrons, read);
    else
        Draw(chain, piece, electrons, read, nullptr);
    if (dark != nullptr)
        AddDark(chain, *dark, electrons);
    if (chain.secondGain != 1.0F)
        ScaleSecondChannel(chain, piece, electrons, read);
    if (chain.dither > 0.0F)
        Dither(chain, piece, read);
    Convert(chain, piece.count, electrons, read, counts);
    WriteCounts(chain, counts, piece.count, pixels);
}

void WriteCounts(const ReadoutChain &chain, const int32_t *counts, uint32_t count, uint8_t *pixels)
{
    if (chain.eightBits) {
        for (uint32_t i = 0; i < count; ++i)
            pixels[i] = static_cast<uint8_t>(static_cast<uint32_t>(counts[i]) >> chain.shift &
                                             chain.keptBits);
        return;
    }
    const uint32_t kept = chain.keptBits;
    if (chain.bigEndian == (std::endian::native == std::endian::big))
        WriteWords(counts, count, pixels, [kept](uint32_t word) { return word & kept; });
    else
        WriteWords(counts, count, pixels,
                   [kept](uint32_t word) { return ((word & kept) >> 8U) | ((word & kept) << 8U); });
}

} // namespace zerix::sim
