// The analogue chain and the converter, a piece of a row at a time so that the pieces stay in the
// nearest cache and the plain loops are vectorised. Pure functions; safe from any thread.
#include "sim/readout.h"

#include <algorithm>
#include <cmath>

#include "sim/deviates.h"
#include "sim/exact_math.h"
#include "sim/random.h"

namespace zerix::sim {
namespace {

constexpr uint64_t kGoldenRatio = 0x9E3779B97F4A7C15ULL;

// Electrons above this number multiply as a sum that is nearly normal; below they do so one by one.
constexpr float kFewElectrons = 16.0F;

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

// Electrons with their shot noise, and the deviates of the read noise.
void Draw(const ReadoutChain &chain, const ReadoutPiece &piece, float *electrons, float *read)
{
    const uint32_t small = CountOfSmallMeans(piece);
    if (small == piece.count) {
        DrawReadNormals(chain, piece, read);
    } else {
        float shot[kReadoutPiece];
        DrawNormals(chain, piece, shot, read);
        AddShotNoise(piece, shot, electrons);
    }
    if (small != 0)
        CountElectrons(chain, piece, electrons);
}

// What the electrons of one pixel become, in units of one multiplied electron, beyond their number.
float ExcessOfMultiplication(float electrons, uint64_t bits)
{
    if (electrons >= kFewElectrons) {
        const float z = NormalTable::Get().Deviate(static_cast<uint32_t>(bits));
        return std::sqrt(electrons) * z + (z * z - 1.0F) * (1.0F / 3.0F);
    }
    const ExponentialTable &exponential = ExponentialTable::Get();
    float excess = 0.0F;
    const auto count = static_cast<int32_t>(electrons + 0.5F);
    for (int32_t i = 0; i < count; ++i)
        excess += exponential.Deviate(RandomBits(bits, static_cast<uint64_t>(i))) - 1.0F;
    return excess;
}

void Multiply(const ReadoutChain &chain, const ReadoutPiece &piece, float *electrons)
{
    const uint64_t first = PixelCounter(piece.column, piece.row);
    for (uint32_t i = 0; i < piece.count; ++i) {
        float excess = 0.0F;
        if (chain.noise)
            excess = ExcessOfMultiplication(electrons[i], RandomBits(chain.multiplyKey, first + i));
        const float charge =
            chain.multiplication * electrons[i] + chain.multiplicationRoot * excess;
        electrons[i] = charge > 0.0F ? charge : 0.0F;
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

ReadoutChain MakeReadoutChain(const SensorType &type, const ExposureSettings &settings,
                              uint64_t key)
{
    const uint32_t bits = std::clamp<uint32_t>(settings.converterBits, 1, 16);
    const double range = static_cast<double>(1U << bits);
    const double electronsPerCount = settings.electronsPerCount > 0.0
                                         ? settings.electronsPerCount
                                         : type.fullWellElectrons / range;
    const double multiplication =
        type.electronMultiplying
            ? static_cast<double>(ClampedFloat(settings.electronMultiplication, 1.0, 1e5))
            : 1.0;
    const auto spread = static_cast<float>(multiplication * (multiplication - 1.0));
    const bool eightBits = settings.outputBits <= 8;
    return {.shotKey = DeriveKey(key, 1),
            .smallKey = DeriveKey(key, 2),
            .multiplyKey = DeriveKey(key, 3),
            .noise = settings.noise,
            .multiplication = static_cast<float>(multiplication),
            .multiplicationRoot = std::sqrt(spread),
            .fullWell = static_cast<float>(type.fullWellElectrons),
            .readNoise = static_cast<float>(ReadNoiseElectrons(settings.megahertz)),
            .countsPerElectron =
                ClampedFloat(FactorFromDecibels(settings.gaindB) / electronsPerCount, 0.0, 1e12),
            .offset = static_cast<float>(settings.offsetCounts) + 0.5F,
            .highestCount = static_cast<float>(static_cast<int32_t>((1U << bits) - 1U)),
            .shift = eightBits && bits > 8 ? bits - 8 : 0,
            .eightBits = eightBits,
            .bigEndian = settings.bigEndian};
}

void ReadOut(const ReadoutChain &chain, const ReadoutPiece &piece, uint8_t *pixels)
{
    float electrons[kReadoutPiece];
    float read[kReadoutPiece];
    int32_t counts[kReadoutPiece];
    if (chain.noise) {
        Draw(chain, piece, electrons, read);
    } else {
        std::copy_n(piece.mean, piece.count, electrons);
        std::fill_n(read, piece.count, 0.0F);
    }
    if (chain.multiplication > 1.0F)
        Multiply(chain, piece, electrons);
    Convert(chain, piece.count, electrons, read, counts);
    WriteCounts(chain, counts, piece.count, pixels);
}

void WriteCounts(const ReadoutChain &chain, const int32_t *counts, uint32_t count, uint8_t *pixels)
{
    if (chain.eightBits) {
        for (uint32_t i = 0; i < count; ++i)
            pixels[i] = static_cast<uint8_t>(static_cast<uint32_t>(counts[i]) >> chain.shift);
        return;
    }
    const size_t low = chain.bigEndian ? 1 : 0;
    for (size_t i = 0; i < count; ++i) {
        pixels[2 * i + low] = static_cast<uint8_t>(static_cast<uint32_t>(counts[i]) & 0xFFU);
        pixels[2 * i + 1 - low] = static_cast<uint8_t>(static_cast<uint32_t>(counts[i]) >> 8U);
    }
}

} // namespace zerix::sim
