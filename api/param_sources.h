// Where the defaults, the read-backs and the limits of the parameter keys come from. The width of
// a value follows from the row that a function stands in.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "api/param_rows.h"
#include "api/unit_conversion.h"

namespace zerix::api {

// The same value on every camera.
template <auto kValue, typename T>
std::optional<T> Fixed(const ParamSource &)
{
    return kValue;
}

template <auto kValue, typename T>
std::optional<T> Fixed(ZX::ZCamera &)
{
    return kValue;
}

// A getter of the camera, as it is.
template <auto kGetter, typename T>
std::optional<T> From(ZX::ZCamera &camera)
{
    return static_cast<T>((camera.*kGetter)());
}

template <auto kGetter, typename T>
std::optional<T> From(const ParamSource &source)
{
    return From<kGetter, T>(source.camera);
}

// An exposure of the camera for a key in microseconds.
template <auto kGetter>
std::optional<uint32_t> MicrosecondsFrom(ZX::ZCamera &camera)
{
    return MicrosecondsOf((camera.*kGetter)());
}

template <auto kGetter>
std::optional<uint32_t> MicrosecondsFrom(const ParamSource &source)
{
    return MicrosecondsFrom<kGetter>(source.camera);
}

// A factor of the camera in millionths. Rounded: the factor is itself a quotient of millionths, and
// cutting would lose one now and then.
template <auto kGetter>
std::optional<uint32_t> MillionthsFrom(ZX::ZCamera &camera)
{
    return static_cast<uint32_t>(std::llround((camera.*kGetter)() * 1'000'000.0));
}

// The pixel farthest from the origin.
template <auto kGetter>
std::optional<uint32_t> LastPixelOf(ZX::ZCamera &camera)
{
    return (camera.*kGetter)() - 1;
}

// The camera's list of a setting.
template <typename Mode>
std::vector<Mode> ModesOf(ZX::ZCamera &camera, void (ZX::ZCamera::*getModes)(std::vector<Mode> &))
{
    std::vector<Mode> modes;
    (camera.*getModes)(modes);
    return modes;
}

template <auto kGetModes>
std::optional<uint32_t> FirstOf(ZX::ZCamera &camera)
{
    const auto modes = ModesOf(camera, kGetModes);
    return modes.empty() ? std::nullopt : std::optional<uint32_t>(modes.front());
}

template <auto kGetModes>
std::optional<uint32_t> LastOf(ZX::ZCamera &camera)
{
    const auto modes = ModesOf(camera, kGetModes);
    return modes.empty() ? std::nullopt : std::optional<uint32_t>(modes.back());
}

// Without an intensifier its slots aren't written.
template <auto kGetter, typename T>
std::optional<T> FromIntensifier(const ParamSource &source)
{
    return source.camera.IsIntensifierAvailable() ? From<kGetter, T>(source) : std::nullopt;
}

// Keys that only a current record has: 0 elsewhere.
template <auto kGetter>
std::optional<uint32_t> CurrentOnly(const ParamSource &source)
{
    return source.isCurrent ? From<kGetter, uint32_t>(source) : 0;
}

template <uint32_t kReadoutIndex>
std::optional<uint32_t> EmGainAt(const ParamSource &source)
{
    return source.isCurrent ? source.camera.Get100XEmGain(kReadoutIndex) : 0;
}

template <uint32_t kReadoutIndex>
std::optional<uint32_t> EmGainIfOn(const ParamSource &source)
{
    return source.isCurrent && source.camera.GetKeelEmMode() ? EmGainAt<kReadoutIndex>(source) : 0;
}

// A scale of the white balance.
template <auto kGetter>
std::optional<uint32_t> GainKeyFrom(const ParamSource &source)
{
    return GainKeyOf(((*source.context.whiteBalance).*kGetter)());
}

// By the sensor's mosaic; nothing for a sensor that is neither.
template <uint32_t kMonochrome, uint32_t kBayer>
std::optional<uint32_t> BySensor(const ParamSource &source)
{
    switch (source.camera.GetCCDImageFormat()) {
    case kMonochromeImage:
        return kMonochrome;
    case kBayerImage:
        return kBayer;
    default:
        return std::nullopt;
    }
}

// Nine where the frequency has no index.
template <auto kGetter>
std::optional<uint32_t> ReadoutIndexFrom(const ParamSource &source)
{
    return ReadoutIndexOf((source.camera.*kGetter)());
}
std::optional<uint32_t> IndexOfTheFirstReadout(ZX::ZCamera &camera);

std::optional<uint32_t> RawGain(const ParamSource &source);
std::optional<uint32_t> RawOffset(const ParamSource &source);
std::optional<int32_t> UnitGaindB(const ParamSource &source);
std::optional<uint32_t> DefaultFormat(const ParamSource &source);
std::optional<uint32_t> PresentFormat(const ParamSource &source);
// A default fill switches post-processing off, and not in the record alone.
std::optional<uint32_t> PostProcessingOff(const ParamSource &source);
std::optional<uint32_t> PostProcessingNow(const ParamSource &source);
std::optional<uint32_t> BayerAlgorithm(const ParamSource &source);
std::optional<uint32_t> BayerOutput(const ParamSource &source);

} // namespace zerix::api
