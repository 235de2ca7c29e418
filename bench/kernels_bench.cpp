// The image primitives against a memcpy of their output. Copy and work take turns, from the same
// pixels freshly put back, and the medians of both give the counter `times_the_copy`: what else the
// machine does in between then hits both, or neither.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "image/kernels/primitives.h"

namespace zerix {

namespace {

struct BufferDeleter {
    void operator()(uint8_t *buffer) const { ::operator delete (buffer, std::align_val_t{64}); }
};
using Buffer = std::unique_ptr<uint8_t, BufferDeleter>;

Buffer MakeBuffer(size_t size)
{
    Buffer buffer(static_cast<uint8_t *>(::operator new (size, std::align_val_t{64})));
    std::memset(buffer.get(), 0, size);
    return buffer;
}

// Noise, of which words keep 12 bits.
Buffer MakeNoise(size_t size, size_t pixelBytes)
{
    Buffer buffer = MakeBuffer(size);
    std::mt19937 random(1);
    for (size_t i = 0; i < size; ++i)
        buffer.get()[i] =
            static_cast<uint8_t>(pixelBytes == 2 && i % 2 == 1 ? random() & 0x0F : random());
    return buffer;
}

struct Size {
    explicit Size(const benchmark::State &state)
        : width(static_cast<int32_t>(state.range(0))), height(static_cast<int32_t>(state.range(1))),
          pixels(static_cast<size_t>(state.range(0) * state.range(1)))
    {
    }
    int32_t width;
    int32_t height;
    size_t pixels;
};

template <typename Work>
double Seconds(Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> &times)
{
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

// `work` is given fresh pixels, and room for as many bytes of output.
template <typename Work>
void Run(benchmark::State &state, size_t bytes, size_t pixelBytes, Work work)
{
    const Buffer noise = MakeNoise(bytes, pixelBytes);
    const Buffer pixels = MakeBuffer(bytes);
    const Buffer out = MakeBuffer(bytes);
    std::vector<double> copies;
    std::vector<double> works;
    for (auto _ : state) {
        std::memcpy(pixels.get(), noise.get(), bytes);
        copies.push_back(Seconds([&] { std::memcpy(out.get(), pixels.get(), bytes); }));
        std::memcpy(pixels.get(), noise.get(), bytes);
        works.push_back(Seconds([&] { work(pixels.get(), out.get()); }));
        state.SetIterationTime(works.back());
    }
    state.counters["times_the_copy"] = Median(works) / Median(copies);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

// Tables of all levels for three channels: gains, as white balance has them, or any values.
class Tables {
public:
    Tables(int32_t levels, bool areGains) : m_levels(static_cast<size_t>(levels))
    {
        constexpr std::array<float, 3> kGains = {1.16f, 1.0f, 1.88f};
        std::iota(m_levels.begin(), m_levels.end(), 0);
        for (size_t channel = 0; channel < 3; ++channel) {
            m_values[channel].resize(m_levels.size());
            for (int32_t level = 0; level < levels; ++level)
                m_values[channel][static_cast<size_t>(level)] =
                    areGains ? static_cast<int32_t>(std::min(
                                   level * static_cast<double>(kGains[channel]), levels - 1.0))
                             : levels - 1 - level;
            values[channel] = m_values[channel].data();
            levelTables[channel] = m_levels.data();
            counts[channel] = levels;
        }
    }

    std::array<const int32_t *, 3> values;
    std::array<const int32_t *, 3> levelTables;
    std::array<int32_t, 3> counts;

private:
    std::vector<int32_t> m_levels;
    std::array<std::vector<int32_t>, 3> m_values;
};

void Lookup8(benchmark::State &state, bool areGains)
{
    const Size size(state);
    const Tables tables(256, areGains);
    Run(state, size.pixels * 3, 1, [&](uint8_t *pixels, uint8_t *) {
        ZPrimLookup8uInPlace3(pixels, size.width * 3, size.width, size.height, tables.values.data(),
                              tables.levelTables.data(), tables.counts.data());
    });
}

void Lookup16(benchmark::State &state, bool areGains)
{
    const Size size(state);
    const Tables tables(65536, areGains);
    Run(state, size.pixels * 6, 2, [&](uint8_t *pixels, uint8_t *) {
        ZPrimLookup16uInPlace3(pixels, size.width * 6, size.width, size.height,
                               tables.values.data(), tables.levelTables.data(),
                               tables.counts.data());
    });
}

void Gains8(benchmark::State &state) { Lookup8(state, true); }
void AnyTables8(benchmark::State &state) { Lookup8(state, false); }
void Gains16(benchmark::State &state) { Lookup16(state, true); }
void AnyTables16(benchmark::State &state) { Lookup16(state, false); }

void Pack3To8(benchmark::State &state)
{
    const Size size(state);
    Run(state, size.pixels * 3, 1, [&](const uint8_t *pixels, uint8_t *out) {
        const uint8_t *const planes[] = {pixels, pixels + size.pixels, pixels + 2 * size.pixels};
        ZPrimPack3To8u(planes, size.width, out, size.width * 3, size.width, size.height);
    });
}

// A quarter plane to a whole one.
template <int32_t kMethod>
void Enlarge8(benchmark::State &state)
{
    const Size size(state);
    const int32_t width = size.width / 2;
    const int32_t height = size.height / 2;
    Run(state, size.pixels, 1, [&](const uint8_t *pixels, uint8_t *out) {
        ZPrimResize8u(pixels, width, height, width, 0, 0, width, height, out, size.width,
                      size.width, size.height, 2.0, 2.0, kMethod);
    });
}

void EverySize(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"width", "height"})
        ->Args({1392, 1040})
        ->Args({2048, 2048})
        ->Args({2560, 1920})
        ->UseManualTime();
}

BENCHMARK(Gains8)->Apply(EverySize);
BENCHMARK(AnyTables8)->Apply(EverySize);
BENCHMARK(Gains16)->Apply(EverySize);
BENCHMARK(AnyTables16)->Apply(EverySize);
BENCHMARK(Pack3To8)->Apply(EverySize);
BENCHMARK(Enlarge8<kResizeNearest>)->Name("EnlargeNearest8")->Apply(EverySize);
BENCHMARK(Enlarge8<kResizeLinear>)->Name("EnlargeLinear8")->Apply(EverySize);
BENCHMARK(Enlarge8<kResizeCubic>)->Name("EnlargeCubic8")->Apply(EverySize);

} // namespace

} // namespace zerix
