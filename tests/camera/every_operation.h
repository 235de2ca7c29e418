// Every getter and every setter of a camera, by type, for tests that try them all.
#pragma once

#include <cstdint>
#include <vector>

#include "camera/tolvane_fw_camera.h"

namespace zerix::test {

using AnyCamera = ZX::TolvaneFWCamera;

template <typename Value>
using Getter = Value (AnyCamera::*)();
template <typename Value>
using Setter = uint16_t (AnyCamera::*)(Value);
template <typename Mode>
using Lister = void (AnyCamera::*)(std::vector<Mode> &);

inline constexpr Getter<bool> kBoolGetters[] = {
    &AnyCamera::IsCameraOpen,
    &AnyCamera::GetCoolerStatus,
    &AnyCamera::GetRGBFilterCycleMode,
    &AnyCamera::GetBigEndian,
    &AnyCamera::GetLVWMode,
    &AnyCamera::GetBlackoutMode,
    &AnyCamera::GetHighSensitivityMode,
    &AnyCamera::GetRegulatedCoolingTemperatureLock,
    &AnyCamera::GetDoubleShotMode,
    &AnyCamera::GetDitherMode,
    &AnyCamera::GetHighGainMode,
    &AnyCamera::GetDitherModeDefault,
    &AnyCamera::GetHighGainModeDefault,
    &AnyCamera::GetKeelEmMode,
    &AnyCamera::GetLockedGainMode,
    &AnyCamera::IsCoolerAvailable,
    &AnyCamera::IsRegulatedCoolingAvailable,
    &AnyCamera::IsRGBFilterSupported,
    &AnyCamera::IsLVWModeSupported,
    &AnyCamera::IsFanControlAvailable,
    &AnyCamera::IsHighSensitivityModeAvailable,
    &AnyCamera::IsBlackoutModeAvailable,
    &AnyCamera::IsSymmetricalBinningSupported,
    &AnyCamera::IsHorizontalBinningSupported,
    &AnyCamera::IsVerticalBinningSupported,
    &AnyCamera::IsIntensifierAvailable,
    &AnyCamera::IsShutterCloseDelayAvailable,
    &AnyCamera::IsTriggerDelayAvialable,
    &AnyCamera::IsEMGainAvailable,
    &AnyCamera::IsDitherControlAvailable,
    &AnyCamera::IsHighGainModeAvailable,
    &AnyCamera::IsVClockControlAvailable,
    &AnyCamera::IsDualChannelSupported,
    &AnyCamera::IsSyncBSupported,
    &AnyCamera::IsDoubleShotSupported,
    &AnyCamera::IsTweekingRegisterSupported,
    &AnyCamera::IsMetrolShutterDelaySupported,
    &AnyCamera::IsReadoutPortSupported,
    &AnyCamera::IsKeelEmModeSupported,
    &AnyCamera::IsLockedGainModeSupported,
    &AnyCamera::IsCameraStreaming,
    &AnyCamera::DoesSupportExternalBuffers,
    &AnyCamera::IsInterlaced,
};

inline constexpr Getter<uint8_t> kByteGetters[] = {
    &AnyCamera::GetPSN,
    &AnyCamera::GetCompression,
    &AnyCamera::GetFrameBufferLength,
    &AnyCamera::GetFrameBufferLengthMax,
    &AnyCamera::GetFrameBufferLengthMin,
    &AnyCamera::GetFrameBufferLengthDefault,
};

inline constexpr Getter<uint16_t> kHalfGetters[] = {
    &AnyCamera::GetModel,
    &AnyCamera::GetBitDepth,
    &AnyCamera::GetImageFormat,
    &AnyCamera::GetFirmwareVersion,
    &AnyCamera::GetSymmetricalBinningMode,
    &AnyCamera::GetHorizontalBinningMode,
    &AnyCamera::GetVerticalBinningMode,
    &AnyCamera::GetHardwareVersion,
    &AnyCamera::GetFirmwareBuildNumber,
    &AnyCamera::GetStreamingVersion,
    &AnyCamera::GetMaxBitDepth,
    &AnyCamera::GetCCDModel,
    &AnyCamera::GetCCDImageFormat,
    &AnyCamera::GetRGBFilterStartColour,
    &AnyCamera::GetIntensifierModel,
    &AnyCamera::ReturnMasqueradedModel,
    &AnyCamera::GetTagCode,
    &AnyCamera::GetHardwareProfile,
};

inline constexpr Getter<uint32_t> kWordGetters[] = {
    &AnyCamera::GetROIX,
    &AnyCamera::GetROIY,
    &AnyCamera::GetROIWidth,
    &AnyCamera::GetROIHeight,
    &AnyCamera::GetGain,
    &AnyCamera::GetGainDefault,
    &AnyCamera::GetGainMin,
    &AnyCamera::GetGainMax,
    &AnyCamera::GetNormalizedGain,
    &AnyCamera::GetNormalizedGainDefault,
    &AnyCamera::GetNormalizedGaindBResolution,
    &AnyCamera::GetNormalizedGainSignificantFigures,
    &AnyCamera::GetCCDWidth,
    &AnyCamera::GetCCDHeight,
    &AnyCamera::GetImageWidth,
    &AnyCamera::GetImageHeight,
    &AnyCamera::GetImageSize,
    &AnyCamera::GetOffset,
    &AnyCamera::GetOffsetDefault,
    &AnyCamera::GetOffsetMin,
    &AnyCamera::GetOffsetMax,
    &AnyCamera::GetTriggerMode,
    &AnyCamera::GetSyncBMode,
    &AnyCamera::GetIntensifierGain,
    &AnyCamera::GetIntensifierGainMin,
    &AnyCamera::GetIntensifierGainMax,
    &AnyCamera::GetNormalizedIntensifierGaindB,
    &AnyCamera::GetNormalizedIntensifierGaindBMin,
    &AnyCamera::GetNormalizedIntensifierGaindBMax,
    &AnyCamera::GetNormalizedIntensifierGaindBResolution,
    &AnyCamera::GetNormalizedIntensifierGainSignificantFigures,
    &AnyCamera::GetTriggerDelay,
    &AnyCamera::GetTriggerDelayMin,
    &AnyCamera::GetTriggerDelayMax,
    &AnyCamera::GetFanSpeed,
    &AnyCamera::GetExposureResolution,
    &AnyCamera::GetTriggerDelayResolution,
    &AnyCamera::GetEMGain,
    &AnyCamera::GetEMGainDefault,
    &AnyCamera::GetEMGainMin,
    &AnyCamera::GetEMGainMax,
    &AnyCamera::GetEMGainDefaultWithFlip,
    &AnyCamera::GetChan1CalibrationGainDefault,
    &AnyCamera::GetVClockPeriodDefault,
    &AnyCamera::GetVClockPeriodMin,
    &AnyCamera::GetVClockPeriodMax,
    &AnyCamera::GetChan1CalibrationGain,
    &AnyCamera::GetVClockPeriod,
    &AnyCamera::GetShutterCloseDelay,
    &AnyCamera::GetShutterCloseDelayDefault,
    &AnyCamera::GetShutterCloseDelayMin,
    &AnyCamera::GetShutterCloseDelayMax,
    &AnyCamera::GetROIMaxWidthForLVWMode,
    &AnyCamera::GetROIMaxHeightForLVWMode,
    &AnyCamera::GetPixelSize,
    &AnyCamera::GetDistanceBetweenPixels,
    &AnyCamera::GetFullWellCapacity,
    &AnyCamera::GetSubCpDefAd,
    &AnyCamera::GetSubDefAd,
    &AnyCamera::GetResetVhDefAd,
    &AnyCamera::GetV1VmDefAd,
    &AnyCamera::GetV2VmDefAd,
    &AnyCamera::GetV3VmDefAd,
    &AnyCamera::GetV4VmDefAd,
    &AnyCamera::GetMiscCtrlDefAd,
    &AnyCamera::GetMetrolShutterDelay,
    &AnyCamera::GetReadoutPort,
    &AnyCamera::GetMaxPacketSize,
    &AnyCamera::GetRGBFilterDefaultDelays,
    &AnyCamera::GetVClockFrequencyResolution,
    &AnyCamera::GetAnalogBoardType,
    &AnyCamera::GetGainDACRange,
    &AnyCamera::GetNormalizedGaindBRes,
    &AnyCamera::GetGainOffsetDefault,
};

inline constexpr Getter<int32_t> kSignedGetters[] = {
    &AnyCamera::GetNormalizedGaindB,        &AnyCamera::GetNormalizedGaindBMin,
    &AnyCamera::GetNormalizedGaindBMax,     &AnyCamera::GetAbsoluteOffset,
    &AnyCamera::GetAbsoluteOffsetDefault,   &AnyCamera::GetAbsoluteOffsetMin,
    &AnyCamera::GetAbsoluteOffsetMax,       &AnyCamera::GetMinRegulatedCoolingTemp,
    &AnyCamera::GetMaxRegulatedCoolingTemp, &AnyCamera::GetRegulatedCoolingTemperature,
};

inline constexpr Getter<uint64_t> kLongGetters[] = {
    &AnyCamera::GetExposure,
    &AnyCamera::GetMinExposure,
    &AnyCamera::GetMaxExposure,
    &AnyCamera::GetDefaultExposure,
    &AnyCamera::GetRGBFilterRedExposure,
    &AnyCamera::GetRGBFilterBlueExposure,
    &AnyCamera::GetNormalizedIntensifierGain,
    &AnyCamera::GetNormalizedIntensifierGainMin,
    &AnyCamera::GetNormalizedIntensifierGainMax,
    &AnyCamera::GetUniqueID,
};

inline constexpr Getter<float> kFloatGetters[] = {
    &AnyCamera::GetReadoutFrequencyDefault,
    &AnyCamera::GetReadoutFrequency,
    &AnyCamera::GetReadoutFrequencyMin,
    &AnyCamera::GetReadoutFrequencyMax,
};

inline constexpr Getter<double> kDoubleGetters[] = {
    &AnyCamera::GetNormalizedGainMin,
    &AnyCamera::GetNormalizedGainMax,
    &AnyCamera::GetNormalizedGaindBDR,
};

inline constexpr Getter<const char *> kTextGetters[] = {
    &AnyCamera::GetModelString,
    &AnyCamera::GetCCDModelString,
    &AnyCamera::GetSerialNumberString,
};

inline constexpr Lister<uint16_t> kHalfListers[] = {
    &AnyCamera::GetSymmetricalBinningModes,
    &AnyCamera::GetHorizontalBinningModes,
    &AnyCamera::GetVerticalBinningModes,
};

inline constexpr Lister<uint32_t> kWordListers[] = {
    &AnyCamera::GetSyncBModes,
    &AnyCamera::GetTriggerModes,
};

inline constexpr Lister<float> kFloatListers[] = {&AnyCamera::GetReadoutFrequencyModes};

inline constexpr Setter<bool> kBoolSetters[] = {
    &AnyCamera::SetBigEndian,
    &AnyCamera::SetCoolerStatus,
    &AnyCamera::SetLVWMode,
    &AnyCamera::SetRGBFilterCycle,
    &AnyCamera::SetRGBFilterActive,
    &AnyCamera::SetBlackoutMode,
    &AnyCamera::SetHighSensitivityMode,
    &AnyCamera::SetDoubleShotMode,
    &AnyCamera::SetDither,
    &AnyCamera::SetHighGainMode,
    &AnyCamera::SetKeelEmMode,
    &AnyCamera::SetLockedGainMode,
};

inline constexpr Setter<uint8_t> kByteSetters[] = {
    &AnyCamera::SetCompression,
    &AnyCamera::SetFrameBufferLength,
    &AnyCamera::SetPSN,
};

inline constexpr Setter<uint16_t> kHalfSetters[] = {
    &AnyCamera::SetBitDepth,
    &AnyCamera::SetSymmetricalBinning,
    &AnyCamera::SetHorizontalBinning,
    &AnyCamera::SetVerticalBinning,
    &AnyCamera::SetRGBFilterStartColour,
};

inline constexpr Setter<uint32_t> kWordSetters[] = {
    &AnyCamera::SetGain,
    &AnyCamera::SetNormalizedGain,
    &AnyCamera::SetOffset,
    &AnyCamera::SetTriggerMode,
    &AnyCamera::SetSyncBMode,
    &AnyCamera::SetFanSpeed,
    &AnyCamera::SetShutterCloseDelay,
    &AnyCamera::SetChan1CalibrationGain,
    &AnyCamera::SetVClockPeriod,
    &AnyCamera::SetEMGain,
    &AnyCamera::SetSubCpAd,
    &AnyCamera::SetSubAd,
    &AnyCamera::SetResetVhAd,
    &AnyCamera::SetV1VmAd,
    &AnyCamera::SetV2VmAd,
    &AnyCamera::SetV3VmAd,
    &AnyCamera::SetV4VmAd,
    &AnyCamera::SetMiscCtrlAd,
    &AnyCamera::SetMetrolShutterDelay,
    &AnyCamera::SetReadoutPort,
    &AnyCamera::SetROIX,
    &AnyCamera::SetROIY,
    &AnyCamera::SetROIWidth,
    &AnyCamera::SetROIHeight,
    &AnyCamera::SetMaxPacketSize,
    &AnyCamera::SetRGBFilterDelays,
};

inline constexpr Setter<int32_t> kSignedSetters[] = {
    &AnyCamera::SetNormalizedGaindB,
    &AnyCamera::SetAbsoluteOffset,
    &AnyCamera::SetRegulatedCoolingTemp,
};

inline constexpr Setter<uint64_t> kLongSetters[] = {
    &AnyCamera::SetExposure,
    &AnyCamera::SetNormalizedIntensifierGain,
    &AnyCamera::SetRGBFilterRedExposure,
    &AnyCamera::SetRGBFilterBlueExposure,
};

inline constexpr Setter<float> kFloatSetters[] = {&AnyCamera::SetReadoutFrequency};

} // namespace zerix::test
