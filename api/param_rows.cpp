// What each parameter key means in a camera.
#include "api/param_rows.h"

#include <algorithm>
#include <cstddef>

#include "api/unit_conversion.h"
#include "tables/param_keys.h"

namespace zerix::api {
namespace {

using Camera = ZX::ZCamera;
using Source = ParamSource;
using Value32 = std::optional<uint32_t>;
using ValueS32 = std::optional<int32_t>;
using Value64 = std::optional<uint64_t>;

constexpr uint16_t kMonochromeImage = 1;
constexpr uint16_t kBayerImage = 2;
constexpr uint16_t kWheelImage = 3;

// A fixed default.
template <uint32_t kValue>
Value32 Fixed(const Source &)
{
    return kValue;
}

template <uint64_t kValue>
Value64 Fixed64(const Source &)
{
    return kValue;
}

// A getter of the camera, as it is.
template <auto kGetter>
Value32 From(const Source &source)
{
    return static_cast<uint32_t>((source.camera.*kGetter)());
}

template <auto kGetter>
ValueS32 FromS32(const Source &source)
{
    return (source.camera.*kGetter)();
}

template <auto kGetter>
Value64 From64(const Source &source)
{
    return (source.camera.*kGetter)();
}

template <auto kGetter>
Value32 MicrosecondsFrom(const Source &source)
{
    return MicrosecondsOf((source.camera.*kGetter)());
}

template <auto kGetter>
Value32 ReadoutIndexFrom(const Source &source)
{
    return ReadoutIndexOf((source.camera.*kGetter)());
}

// Keys that only a current record has: 0 elsewhere.
template <auto kGetter>
Value32 CurrentOnly(const Source &source)
{
    return source.isCurrent ? From<kGetter>(source) : Value32(0);
}

template <uint32_t kReadoutIndex>
Value32 EmGainAt(const Source &source)
{
    return source.isCurrent ? source.camera.Get100XEmGain(kReadoutIndex) : 0;
}

template <uint32_t kReadoutIndex>
Value32 EmGainIfOn(const Source &source)
{
    return source.isCurrent && source.camera.GetKeelEmMode() ? EmGainAt<kReadoutIndex>(source)
                                                             : Value32(0);
}

Value32 RawGain(const Source &source)
{
    return source.camera.ConvertNormGaindBToGain(source.camera.GetNormalizedGaindB());
}

Value32 RawOffset(const Source &source)
{
    return source.camera.ConvertAbsoluteOffsetToOffset(source.camera.GetAbsoluteOffset());
}

Value32 FormatOfKind(Camera &camera, uint16_t kind)
{
    const bool is8Bit = camera.GetBitDepth() == 8;
    if (kind == kMonochromeImage)
        return is8Bit ? zfmtMono8 : zfmtMono16;
    if (kind == kBayerImage)
        return is8Bit ? zfmtBayer8 : zfmtBayer16;
    return std::nullopt;
}

Value32 DefaultFormat(const Source &source)
{
    return FormatOfKind(source.camera, source.camera.GetCCDImageFormat());
}

Value32 PresentFormat(const Source &source)
{
    const uint16_t kind = source.camera.GetImageFormat();
    if (kind == kWheelImage)
        return static_cast<uint32_t>(source.context.filterWheel->GetOutputFormat());
    return FormatOfKind(source.camera, kind);
}

// By the sensor's mosaic; nothing for a sensor that is neither.
template <uint32_t kMonochrome, uint32_t kBayer>
Value32 BySensor(const Source &source)
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

Value32 IntensifierMinimum(const Source &source)
{
    if (!source.camera.IsIntensifierAvailable())
        return std::nullopt;
    return source.camera.GetIntensifierGainMin();
}

// A default fill switches post-processing off, and not in the record alone.
Value32 PostProcessingOff(const Source &source)
{
    source.context.isPostProcessingOn.store(false);
    return 0;
}

Value32 PostProcessingNow(const Source &source)
{
    return source.context.isPostProcessingOn.load() ? 1 : 0;
}

template <auto kGetter>
Value32 GainKeyFrom(const Source &source)
{
    return GainKeyOf(((*source.context.whiteBalance).*kGetter)());
}

Value32 BayerAlgorithm(const Source &source)
{
    return static_cast<uint32_t>(source.context.bayerFilter->GetAlgorithm());
}

Value32 BayerOutput(const Source &source)
{
    return static_cast<uint32_t>(source.context.bayerFilter->GetOutputFormat());
}

ValueS32 UnitGaindB(const Source &source)
{
    constexpr uint32_t kUnitGain = 1'000'000;
    return source.camera.ConvertNormGainToNormGaindB(kUnitGain);
}

ValueS32 NoOffset(const Source &) { return 0; }

template <auto kGetter>
Value64 FromIntensifier(const Source &source)
{
    return source.camera.IsIntensifierAvailable() ? From64<kGetter>(source) : std::nullopt;
}

template <typename Rows>
constexpr bool AreInOrder(const Rows &rows)
{
    for (std::size_t index = 0; index < rows.size(); ++index) {
        if (rows[index].key != index)
            return false;
    }
    return true;
}

constexpr std::array<ParamRow<uint32_t>, 53> kRows = {{
    {zprmGain, From<&Camera::GetGainDefault>, RawGain},
    {zprmOffset, From<&Camera::GetOffsetDefault>, RawOffset},
    {zprmExposure, MicrosecondsFrom<&Camera::GetDefaultExposure>,
     MicrosecondsFrom<&Camera::GetExposure>},
    {zprmBinning, Fixed<1>, From<&Camera::GetSymmetricalBinningMode>},
    {zprmHorizontalBinning, Fixed<1>, From<&Camera::GetHorizontalBinningMode>},
    {zprmVerticalBinning, Fixed<1>, From<&Camera::GetVerticalBinningMode>},
    {zprmReadoutSpeed, ReadoutIndexFrom<&Camera::GetReadoutFrequencyDefault>,
     ReadoutIndexFrom<&Camera::GetReadoutFrequency>},
    {zprmTriggerType, Fixed<0>, From<&Camera::GetTriggerMode>},
    {zprmColorWheel, Fixed<0>, From<&Camera::GetRGBFilterStartColour>},
    {zprmCoolerActive, From<&Camera::IsCoolerAvailable>, From<&Camera::GetCoolerStatus>},
    {zprmExposureRed, Fixed<28'100>, MicrosecondsFrom<&Camera::GetRGBFilterRedExposure>},
    {zprmExposureBlue, Fixed<34'900>, MicrosecondsFrom<&Camera::GetRGBFilterBlueExposure>},
    {zprmImageFormat, DefaultFormat, PresentFormat},
    {zprmRoiX, Fixed<0>, From<&Camera::GetROIX>},
    {zprmRoiY, Fixed<0>, From<&Camera::GetROIY>},
    {zprmRoiWidth, From<&Camera::GetCCDWidth>, From<&Camera::GetROIWidth>},
    {zprmRoiHeight, From<&Camera::GetCCDHeight>, From<&Camera::GetROIHeight>},
    {zprmReserved17, nullptr, nullptr},
    {zprmShutterState, Fixed<0>, nullptr},
    {zprmDoubleShot, Fixed<0>, From<&Camera::GetDoubleShotMode>},
    {zprmSyncb, Fixed<1>, From<&Camera::GetSyncBMode>},
    {zprmMetrolShutterDelay, Fixed<1000>, From<&Camera::GetMetrolShutterDelay>},
    {zprmIntensifierGain, nullptr, From<&Camera::GetIntensifierGain>},
    {zprmTriggerDelay, Fixed<0>, From<&Camera::GetTriggerDelay>},
    {zprmCameraMode, Fixed<0>, From<&Camera::GetLVWMode>},
    {zprmNormalizedGain, Fixed<1'000'000>, From<&Camera::GetNormalizedGain>},
    {zprmNormIntensGaindB, IntensifierMinimum, From<&Camera::GetNormalizedIntensifierGaindB>},
    {zprmDoPostProcessing, PostProcessingOff, PostProcessingNow},
    {zprmPostProcessGainRed, Fixed<1160>, GainKeyFrom<&ZX::ZAutoWhiteBalance::GetRedScale>},
    {zprmPostProcessGainGreen, Fixed<1000>, GainKeyFrom<&ZX::ZAutoWhiteBalance::GetGreenScale>},
    {zprmPostProcessGainBlue, Fixed<1880>, GainKeyFrom<&ZX::ZAutoWhiteBalance::GetBlueScale>},
    {zprmPostProcessBayerAlgorithm, BySensor<1, 4>, BayerAlgorithm},
    {zprmPostProcessImageFormat, BySensor<zfmtMono8, zfmtRgb24>, BayerOutput},
    {zprmFan, Fixed<4>, From<&Camera::GetFanSpeed>},
    {zprmBlackoutMode, Fixed<0>, From<&Camera::GetBlackoutMode>},
    {zprmHighSensitivityMode, Fixed<0>, From<&Camera::GetHighSensitivityMode>},
    {zprmReadoutPort, Fixed<1>, From<&Camera::GetReadoutPort>},
    {zprmEMGain, From<&Camera::GetEMGainDefault>, From<&Camera::GetEMGain>},
    {zprmOpenDelay, nullptr, nullptr},
    {zprmCloseDelay, From<&Camera::GetShutterCloseDelayDefault>,
     From<&Camera::GetShutterCloseDelay>},
    {zprmCCDClearingMode, nullptr, nullptr},
    {zprmOverSample, nullptr, nullptr},
    {zprmDither, From<&Camera::GetDitherModeDefault>, From<&Camera::GetDitherMode>},
    {zprmHighGainMode, From<&Camera::GetHighGainModeDefault>, From<&Camera::GetHighGainMode>},
    {zprmVClockPeriod, From<&Camera::GetVClockPeriodDefault>, From<&Camera::GetVClockPeriod>},
    {zprmReserved45, nullptr, nullptr},
    {zprmTweekingRegister, nullptr, nullptr},
    {zprmKeelEmMode, CurrentOnly<&Camera::GetKeelEmMode>, CurrentOnly<&Camera::GetKeelEmMode>},
    {zprmLockedGainMode, CurrentOnly<&Camera::GetLockedGainMode>,
     CurrentOnly<&Camera::GetLockedGainMode>},
    {zprmKeelEmGainValue10, EmGainAt<1>, EmGainIfOn<1>},
    {zprmKeelEmGainValue20, EmGainAt<0>, EmGainIfOn<0>},
    {zprmKeelEmGainValue40, EmGainAt<7>, EmGainIfOn<7>},
    {zprmFrameBufferLength, CurrentOnly<&Camera::GetFrameBufferLengthDefault>,
     CurrentOnly<&Camera::GetFrameBufferLength>},
}};
static_assert(kRows.size() == tables::kParams.size() && AreInOrder(kRows));

constexpr std::array<ParamRow<int32_t>, 3> kRowsS32 = {{
    {zprmS32NormalizedGaindB, UnitGaindB, FromS32<&Camera::GetNormalizedGaindB>},
    {zprmS32AbsoluteOffset, NoOffset, FromS32<&Camera::GetAbsoluteOffset>},
    {zprmS32RegulatedCoolingTemp, FromS32<&Camera::GetMinRegulatedCoolingTemp>,
     FromS32<&Camera::GetRegulatedCoolingTemperature>},
}};
static_assert(kRowsS32.size() == tables::kParamsS32.size() && AreInOrder(kRowsS32));

constexpr std::array<ParamRow<uint64_t>, 4> kRows64 = {{
    {zprm64Exposure, From64<&Camera::GetDefaultExposure>, From64<&Camera::GetExposure>},
    {zprm64ExposureRed, Fixed64<28'100'000>, From64<&Camera::GetRGBFilterRedExposure>},
    {zprm64ExposureBlue, Fixed64<34'900'000>, From64<&Camera::GetRGBFilterBlueExposure>},
    {zprm64NormIntensGain, FromIntensifier<&Camera::GetNormalizedIntensifierGainMin>,
     FromIntensifier<&Camera::GetNormalizedIntensifierGain>},
}};
static_assert(kRows64.size() == tables::kParams64.size() && AreInOrder(kRows64));

} // namespace

constinit const std::array<ParamRow<uint32_t>, 53> kParamRows = kRows;
constinit const std::array<ParamRow<int32_t>, 3> kParamS32Rows = kRowsS32;
constinit const std::array<ParamRow<uint64_t>, 4> kParam64Rows = kRows64;

} // namespace zerix::api
