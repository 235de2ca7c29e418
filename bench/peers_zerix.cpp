// The colour paths of the library, and for each a memcpy of as many bytes as it writes.
#include <cstring>
#include <memory>

#include "bench/peers.h"
#include "image/kernels/primitives.h"
#include "image/z_auto_white_balance.h"
#include "image/z_bayer_interpolation.h"

namespace zerix::peers {

namespace {

template <size_t kPixelBytes>
void Copy(benchmark::State &state)
{
    const Size size(state);
    const auto from = Noise(size.pixels * kPixelBytes, 1);
    auto to = Noise(size.pixels * kPixelBytes, 1);
    Run(state, [&] { std::memcpy(to.data(), from.data(), to.size()); });
}

template <uint16_t kAlgorithm, uint32_t kFormat, size_t kPixelBytes>
void Bayer(benchmark::State &state)
{
    const Size size(state);
    const bool isWords = kFormat == ZX::kFormatRgb48;
    auto from = Noise(size.pixels, isWords ? 2 : 1);
    auto to = Noise(size.pixels * kPixelBytes, 1);
    const auto width = static_cast<uint32_t>(size.width);
    const auto height = static_cast<uint32_t>(size.height);
    ZX::ZBayerInterpolation filter(kAlgorithm, static_cast<uint16_t>(kFormat));
    filter.Init(width, height);
    Run(state, [&] {
        ZX::ZInImageBufferStruct in{.pBuffer = from.data(),
                                    .size = static_cast<uint32_t>(from.size()),
                                    .width = width,
                                    .height = height,
                                    .bitDepth = isWords ? 12u : 8u,
                                    .colourPattern = ZX::kPatternGRBG,
                                    .imageFormat =
                                        isWords ? ZX::kFormatBayer16 : ZX::kFormatBayer8};
        ZX::ZOutImageBufferStruct out{.pBuffer = to.data()};
        filter.Process(&in, &out);
    });
}

// With the gains that a camera begins with.
void Gains8(benchmark::State &state)
{
    const Size size(state);
    auto image = Noise(size.pixels * 3, 1);
    const auto filter = std::make_unique<ZX::ZAutoWhiteBalance>(false);
    Run(state, [&] {
        filter->GreyWorld(image.data(), image.data(), image.data() + 1, image.data() + 2,
                          static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height), 0,
                          3, ZX::kFormatRgb24);
    });
}

void Gains16(benchmark::State &state)
{
    const Size size(state);
    auto image = Noise(size.pixels * 3, 2);
    auto *const words = reinterpret_cast<uint16_t *>(image.data());
    const auto filter = std::make_unique<ZX::ZAutoWhiteBalance>(false);
    Run(state, [&] {
        filter->GreyWorld_16Bit(words, words, words + 1, words + 2,
                                static_cast<uint32_t>(size.width),
                                static_cast<uint32_t>(size.height), 0, 3, ZX::kFormatRgb48);
    });
}

void ThreePlanes(benchmark::State &state)
{
    const Size size(state);
    const auto from = Noise(size.pixels * 3, 1);
    auto to = Noise(size.pixels * 3, 1);
    const uint8_t *const planes[] = {from.data(), from.data() + size.pixels,
                                     from.data() + 2 * size.pixels};
    Run(state, [&] {
        ZPrimPack3To8u(planes, size.width, to.data(), size.width * 3, size.width, size.height);
    });
}

void Register(const char *path, void (*copy)(benchmark::State &), void (*work)(benchmark::State &))
{
    const std::string name = path;
    benchmark::RegisterBenchmark((name + "/Copy").c_str(), copy)->Apply(EverySize);
    benchmark::RegisterBenchmark((name + "/Zerix").c_str(), work)->Apply(EverySize);
}

const bool kAreRegistered = [] {
    Register("NearestRgb24", Copy<3>, Bayer<2, ZX::kFormatRgb24, 3>);
    Register("NearestRgb48", Copy<6>, Bayer<2, ZX::kFormatRgb48, 6>);
    Register("LinearRgb24", Copy<3>, Bayer<1, ZX::kFormatRgb24, 3>);
    Register("LinearBgrx32", Copy<4>, Bayer<1, ZX::kFormatBgrx32, 4>);
    Register("LinearRgb48", Copy<6>, Bayer<1, ZX::kFormatRgb48, 6>);
    Register("CubicRgb24", Copy<3>, Bayer<4, ZX::kFormatRgb24, 3>);
    Register("CubicRgb48", Copy<6>, Bayer<4, ZX::kFormatRgb48, 6>);
    Register("Gains8", Copy<3>, Gains8);
    Register("Gains16", Copy<6>, Gains16);
    Register("ThreePlanes", Copy<3>, ThreePlanes);
    return true;
}();

} // namespace

} // namespace zerix::peers
