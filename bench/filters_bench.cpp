// The Bayer filter against a memcpy of its output. A stream's frames come one after the other into
// buffers of their own, so both go round through more memory than the caches hold.
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "image/z_bayer_interpolation.h"

namespace zerix {

namespace {

constexpr size_t kBuffers = 8;

struct Size {
    explicit Size(const benchmark::State &state)
        : width(static_cast<uint32_t>(state.range(0))),
          height(static_cast<uint32_t>(state.range(1))), pixels(size_t{width} * height)
    {
    }
    uint32_t width;
    uint32_t height;
    size_t pixels;
};

std::vector<std::vector<uint8_t>> MakeBuffers(size_t bytes)
{
    std::vector<std::vector<uint8_t>> buffers(kBuffers, std::vector<uint8_t>(bytes));
    uint32_t state = 1;
    for (auto &buffer : buffers)
        for (uint8_t &byte : buffer) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<uint8_t>(state >> 24);
        }
    return buffers;
}

template <size_t kPixelBytes>
void CopyOfTheOutput(benchmark::State &state)
{
    const Size size(state);
    const auto from = MakeBuffers(size.pixels * kPixelBytes);
    auto to = from;
    size_t turn = 0;
    for (auto _ : state) {
        turn = (turn + 1) % kBuffers;
        std::memcpy(to[turn].data(), from[turn].data(), to[turn].size());
        benchmark::ClobberMemory();
    }
}

template <uint16_t kAlgorithm, uint32_t kFormat, size_t kPixelBytes>
void Bayer(benchmark::State &state)
{
    const Size size(state);
    const bool isWords = kFormat == ZX::kFormatRgb48;
    auto from = MakeBuffers(size.pixels * (isWords ? 2 : 1));
    auto to = MakeBuffers(size.pixels * kPixelBytes);
    ZX::ZBayerInterpolation filter(kAlgorithm, static_cast<uint16_t>(kFormat));
    filter.Init(size.width, size.height);
    size_t turn = 0;
    for (auto _ : state) {
        turn = (turn + 1) % kBuffers;
        ZX::ZInImageBufferStruct in{.pBuffer = from[turn].data(),
                                    .size = static_cast<uint32_t>(from[turn].size()),
                                    .width = size.width,
                                    .height = size.height,
                                    .bitDepth = isWords ? 16u : 8u,
                                    .colourPattern = ZX::kPatternGRBG,
                                    .imageFormat =
                                        isWords ? ZX::kFormatBayer16 : ZX::kFormatBayer8};
        ZX::ZOutImageBufferStruct out{.pBuffer = to[turn].data()};
        filter.Process(&in, &out);
        benchmark::ClobberMemory();
    }
}

void EverySize(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"width", "height"})->Args({1600, 1200})->Args({2048, 2048})->UseRealTime();
}

BENCHMARK(CopyOfTheOutput<3>)->Name("CopyOfRgb24")->Apply(EverySize);
BENCHMARK(CopyOfTheOutput<4>)->Name("CopyOfBgrx32")->Apply(EverySize);
BENCHMARK(CopyOfTheOutput<6>)->Name("CopyOfRgb48")->Apply(EverySize);
BENCHMARK(Bayer<2, ZX::kFormatRgb24, 3>)->Name("BayerNearestRgb24")->Apply(EverySize);
BENCHMARK(Bayer<2, ZX::kFormatBgr24, 3>)->Name("BayerNearestBgr24")->Apply(EverySize);
BENCHMARK(Bayer<2, ZX::kFormatRgb48, 6>)->Name("BayerNearestRgb48")->Apply(EverySize);
BENCHMARK(Bayer<1, ZX::kFormatRgb24, 3>)->Name("BayerLinearRgb24")->Apply(EverySize);
BENCHMARK(Bayer<1, ZX::kFormatBgrx32, 4>)->Name("BayerLinearBgrx32")->Apply(EverySize);
BENCHMARK(Bayer<1, ZX::kFormatRgb48, 6>)->Name("BayerLinearRgb48")->Apply(EverySize);
BENCHMARK(Bayer<4, ZX::kFormatRgb24, 3>)->Name("BayerCubicRgb24")->Apply(EverySize);
BENCHMARK(Bayer<4, ZX::kFormatRgb48, 6>)->Name("BayerCubicRgb48")->Apply(EverySize);

} // namespace

} // namespace zerix
