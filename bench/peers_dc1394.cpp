// libdc1394's demosaicing, nearest and bilinear.
#include <dc1394/dc1394.h>

#include "bench/peers.h"

namespace zerix::peers {

namespace {

template <dc1394bayer_method_t kMethod>
void Demosaic8(benchmark::State &state)
{
    const Size size(state);
    const auto mosaic = Noise(size.pixels, 1);
    std::vector<uint8_t> out(size.pixels * 3);
    Run(state, [&] {
        dc1394_bayer_decoding_8bit(mosaic.data(), out.data(), static_cast<uint32_t>(size.width),
                                   static_cast<uint32_t>(size.height), DC1394_COLOR_FILTER_GRBG,
                                   kMethod);
    });
}

template <dc1394bayer_method_t kMethod>
void Demosaic16(benchmark::State &state)
{
    const Size size(state);
    const auto mosaic = Noise(size.pixels, 2);
    std::vector<uint16_t> out(size.pixels * 3);
    Run(state, [&] {
        dc1394_bayer_decoding_16bit(reinterpret_cast<const uint16_t *>(mosaic.data()), out.data(),
                                    static_cast<uint32_t>(size.width),
                                    static_cast<uint32_t>(size.height), DC1394_COLOR_FILTER_GRBG,
                                    kMethod, 12);
    });
}

BENCHMARK(Demosaic8<DC1394_BAYER_METHOD_NEAREST>)->Name("NearestRgb24/Dc1394")->Apply(EverySize);
BENCHMARK(Demosaic16<DC1394_BAYER_METHOD_NEAREST>)->Name("NearestRgb48/Dc1394")->Apply(EverySize);
BENCHMARK(Demosaic8<DC1394_BAYER_METHOD_BILINEAR>)->Name("LinearRgb24/Dc1394")->Apply(EverySize);
BENCHMARK(Demosaic16<DC1394_BAYER_METHOD_BILINEAR>)->Name("LinearRgb48/Dc1394")->Apply(EverySize);

} // namespace

} // namespace zerix::peers
