// libswscale's cubic enlargement of three planes of a quarter; interleaving them is not asked of
// it.
#include <array>

extern "C" {
#include <libswscale/swscale.h>
}

#include "bench/peers.h"

namespace zerix::peers {

namespace {

template <AVPixelFormat kFormat, int kSampleBytes>
void CubicPlanes(benchmark::State &state)
{
    const Size size(state);
    const int width = size.width / 2;
    const int height = size.height / 2;
    const auto quarters = Noise(3 * size.pixels / 4, kSampleBytes);
    std::vector<uint8_t> planes(3 * size.pixels * kSampleBytes);
    SwsContext *const context = sws_getContext(width, height, kFormat, size.width, size.height,
                                               kFormat, SWS_BICUBIC, nullptr, nullptr, nullptr);
    if (context == nullptr) {
        state.SkipWithError("no context");
        return;
    }
    Run(state, [&] {
        for (size_t plane = 0; plane < 3; ++plane) {
            const uint8_t *const from[] = {quarters.data() + plane * (quarters.size() / 3), nullptr,
                                           nullptr, nullptr};
            uint8_t *const to[] = {planes.data() + plane * (planes.size() / 3), nullptr, nullptr,
                                   nullptr};
            const int fromStep[] = {width * kSampleBytes, 0, 0, 0};
            const int toStep[] = {size.width * kSampleBytes, 0, 0, 0};
            sws_scale(context, from, fromStep, 0, height, to, toStep);
        }
    });
    sws_freeContext(context);
}

BENCHMARK(CubicPlanes<AV_PIX_FMT_GRAY8, 1>)->Name("CubicRgb24/SwscalePlanes")->Apply(EverySize);
BENCHMARK(CubicPlanes<AV_PIX_FMT_GRAY16LE, 2>)->Name("CubicRgb48/SwscalePlanes")->Apply(EverySize);

} // namespace

} // namespace zerix::peers
