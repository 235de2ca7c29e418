// What each information key tells of a camera.
#include "api/info_rows.h"

#include <array>
#include <cstddef>

#include "image/z_ex_image.h"
#include "tables/info_keys.h"

namespace zerix::api {
namespace {

using Camera = ZX::ZCamera;

template <uint32_t kValue>
uint32_t Always(const InfoSource &, uint32_t &value)
{
    value = kValue;
    return ZERIX_SUCCESS;
}

template <auto kGetter>
uint32_t From(const InfoSource &source, uint32_t &value)
{
    value = static_cast<uint32_t>((source.camera.*kGetter)());
    return ZERIX_SUCCESS;
}

template <auto kGetter>
uint32_t FromIntensifier(const InfoSource &source, uint32_t &value)
{
    if (!source.camera.IsIntensifierAvailable())
        return ZERIX_ERROR_NOT_SUPPORTED;
    return From<kGetter>(source, value);
}

// Told in every case, and yet an error where there is no trigger delay.
uint32_t TriggerDelayResolution(const InfoSource &source, uint32_t &value)
{
    value = source.camera.GetTriggerDelayResolution();
    return source.camera.IsTriggerDelayAvialable() ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
}

uint32_t BytesOfAPixel(const InfoSource &source)
{
    if (source.camera.GetRGBFilterCycleMode())
        return ZX::ZExImage::ImageFormatByteSize(source.context.filterWheel->GetOutputFormat());
    return (source.camera.GetBitDepth() + 7u) / 8u;
}

uint32_t ImageSize(const InfoSource &source, uint32_t &value)
{
    value = source.camera.GetImageWidth() * source.camera.GetImageHeight() * BytesOfAPixel(source);
    return ZERIX_SUCCESS;
}

// A wheel picture comes from a monochrome sensor. An unknown kind leaves the value alone.
uint32_t CcdType(const InfoSource &source, uint32_t &value)
{
    switch (source.camera.GetImageFormat()) {
    case 1:
    case 3:
        value = 0;
        break;
    case 2:
        value = 1;
        break;
    default:
        break;
    }
    return ZERIX_SUCCESS;
}

uint32_t PostProcessImageSize(const InfoSource &source, uint32_t &value)
{
    value = Zerix_CalcImageSize(source.context.bayerFilter->GetOutputFormat(),
                                source.camera.GetROIWidth(), source.camera.GetROIHeight());
    return ZERIX_SUCCESS;
}

uint32_t AsymmetricalBinning(const InfoSource &source, uint32_t &value)
{
    value =
        source.camera.IsHorizontalBinningSupported() && source.camera.IsVerticalBinningSupported()
            ? 1
            : 0;
    return ZERIX_SUCCESS;
}

struct InfoRow {
    uint32_t key;
    InfoValue value;
};

constexpr std::array<InfoRow, 40> kRows = {{
    {zinfCameraType, From<&Camera::GetModel>},
    {zinfSerialNumber, Always<0>}, // Zerix_GetSerialString tells it
    {zinfHardwareVersion, From<&Camera::GetHardwareVersion>},
    {zinfFirmwareVersion, From<&Camera::GetFirmwareVersion>},
    {zinfCcd, From<&Camera::GetCCDModel>},
    {zinfBitDepth, From<&Camera::GetMaxBitDepth>},
    {zinfCooled, From<&Camera::IsCoolerAvailable>},
    {zinfReserved7, Always<0>},
    {zinfImageWidth, From<&Camera::GetROIWidth>},
    {zinfImageHeight, From<&Camera::GetROIHeight>},
    {zinfImageSize, ImageSize},
    {zinfCcdType, CcdType},
    {zinfCcdWidth, From<&Camera::GetCCDWidth>},
    {zinfCcdHeight, From<&Camera::GetCCDHeight>},
    {zinfFirmwareBuild, From<&Camera::GetFirmwareBuildNumber>},
    {zinfUniqueId, From<&Camera::GetUniqueID>}, // its lower half
    {zinfIsModelB, Always<1>},
    {zinfIntensifierModel, FromIntensifier<&Camera::GetIntensifierModel>},
    {zinfExposureRes, From<&Camera::GetExposureResolution>},
    {zinfTriggerDelayRes, TriggerDelayResolution},
    {zinfStreamVersion, From<&Camera::GetStreamingVersion>},
    {zinfNormGainSigFigs, From<&Camera::GetNormalizedGainSignificantFigures>},
    {zinfNormGaindBRes, From<&Camera::GetNormalizedGaindBResolution>},
    {zinfNormITGainSigFigs,
     FromIntensifier<&Camera::GetNormalizedIntensifierGainSignificantFigures>},
    {zinfNormITGaindBRes, FromIntensifier<&Camera::GetNormalizedIntensifierGaindBResolution>},
    {zinfRegulatedCooling, From<&Camera::IsRegulatedCoolingAvailable>},
    {zinfRegulatedCoolingLock, From<&Camera::GetRegulatedCoolingTemperatureLock>},
    {zinfFanControl, From<&Camera::IsFanControlAvailable>},
    {zinfHighSensitivityMode, From<&Camera::IsHighSensitivityModeAvailable>},
    {zinfBlackoutMode, From<&Camera::IsBlackoutModeAvailable>},
    {zinfPostProcessImageSize, PostProcessImageSize},
    {zinfAsymmetricalBinning, AsymmetricalBinning},
    {zinfEMGain, From<&Camera::IsEMGainAvailable>},
    {zinfCloseDelay, From<&Camera::IsShutterCloseDelayAvailable>},
    {zinfColorWheelSupported, From<&Camera::IsRGBFilterSupported>},
    {zinfReserved2, From<&Camera::IsDitherControlAvailable>},
    {zinfReserved3, From<&Camera::IsHighGainModeAvailable>},
    {zinfReserved4, From<&Camera::IsVClockControlAvailable>},
    {zinfKeelEmMode, From<&Camera::IsKeelEmModeSupported>},
    {zinfLockedGainMode, From<&Camera::IsLockedGainModeSupported>},
}};

constexpr bool HaveTheKeysOfTheTables()
{
    for (std::size_t index = 0; index < kRows.size(); ++index) {
        if (kRows[index].key != tables::kInfos[index].key)
            return false;
    }
    return kRows.size() == tables::kInfos.size();
}
static_assert(HaveTheKeysOfTheTables());

} // namespace

InfoValue FindInfoValue(uint32_t key)
{
    for (const InfoRow &row : kRows) {
        if (row.key == key)
            return row.value;
    }
    return nullptr;
}

} // namespace zerix::api
