// What the benchmarks of the colour paths share with those of other libraries at the same work:
// every benchmark has buffers of its own, the same ones in every turn. Names are Path/Who;
// bench_ratios.py puts the programs of one path beside each other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

namespace zerix::peers {

struct Size {
    explicit Size(const benchmark::State &state)
        : width(static_cast<int>(state.range(0))), height(static_cast<int>(state.range(1))),
          pixels(static_cast<size_t>(width) * static_cast<size_t>(height))
    {
    }
    int width;
    int height;
    size_t pixels;
};

// Noise, of which words keep 12 bits.
inline std::vector<uint8_t> Noise(size_t samples, size_t sampleBytes)
{
    std::vector<uint8_t> bytes(samples * sampleBytes);
    uint32_t state = 1;
    for (size_t i = 0; i < bytes.size(); ++i) {
        state = state * 1664525 + 1013904223;
        bytes[i] = static_cast<uint8_t>(sampleBytes == 2 && i % 2 == 1 ? state >> 28 : state >> 24);
    }
    return bytes;
}

template <typename Work>
void Run(benchmark::State &state, Work work)
{
    work(); // warm
    for (auto _ : state) {
        work();
        benchmark::ClobberMemory();
    }
}

inline void EverySize(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"width", "height"})
        ->Args({1392, 1040})
        ->Args({2048, 2048})
        ->Args({2560, 1920})
        ->MinTime(0.05);
}

} // namespace zerix::peers
