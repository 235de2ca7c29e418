// The sources that more than one getter has a part in.
#include "api/param_sources.h"

namespace zerix::api {
namespace {

std::optional<uint32_t> FormatOfKind(ZX::ZCamera &camera, uint16_t kind)
{
    const bool is8Bit = camera.GetBitDepth() == 8;
    if (kind == kMonochromeImage)
        return is8Bit ? zfmtMono8 : zfmtMono16;
    if (kind == kBayerImage)
        return is8Bit ? zfmtBayer8 : zfmtBayer16;
    return std::nullopt;
}

} // namespace

std::optional<uint32_t> IndexOfTheFirstReadout(ZX::ZCamera &camera)
{
    const auto modes = ModesOf(camera, &ZX::ZCamera::GetReadoutFrequencyModes);
    return modes.empty() ? std::nullopt : std::optional(ReadoutIndexOf(modes.front()));
}

std::optional<uint32_t> RawGain(const ParamSource &source)
{
    return source.camera.ConvertNormGaindBToGain(source.camera.GetNormalizedGaindB());
}

std::optional<uint32_t> RawOffset(const ParamSource &source)
{
    return source.camera.ConvertAbsoluteOffsetToOffset(source.camera.GetAbsoluteOffset());
}

std::optional<int32_t> UnitGaindB(const ParamSource &source)
{
    constexpr uint32_t kUnitGain = 1'000'000;
    return source.camera.ConvertNormGainToNormGaindB(kUnitGain);
}

std::optional<uint32_t> DefaultFormat(const ParamSource &source)
{
    return FormatOfKind(source.camera, source.camera.GetCCDImageFormat());
}

std::optional<uint32_t> PresentFormat(const ParamSource &source)
{
    const uint16_t kind = source.camera.GetImageFormat();
    if (kind == kWheelImage)
        return static_cast<uint32_t>(source.context.filterWheel->GetOutputFormat());
    return FormatOfKind(source.camera, kind);
}

std::optional<uint32_t> PostProcessingOff(const ParamSource &source)
{
    source.context.isPostProcessingOn.store(false);
    return 0;
}

std::optional<uint32_t> PostProcessingNow(const ParamSource &source)
{
    return source.context.isPostProcessingOn.load() ? 1 : 0;
}

std::optional<uint32_t> BayerAlgorithm(const ParamSource &source)
{
    return static_cast<uint32_t>(source.context.bayerFilter->GetAlgorithm());
}

std::optional<uint32_t> BayerOutput(const ParamSource &source)
{
    return static_cast<uint32_t>(source.context.bayerFilter->GetOutputFormat());
}

} // namespace zerix::api
