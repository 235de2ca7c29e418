// What most models leave alone: features that only single models have. Constants, any thread.
#include "camera/tolvane_fw_camera.h"

namespace ZX {

// Absent features --------------------------------------------------------------------------------

bool TolvaneFWCamera::IsLVWModeSupported() { return false; }
bool TolvaneFWCamera::IsHorizontalBinningSupported() { return false; }
bool TolvaneFWCamera::IsVerticalBinningSupported() { return false; }
bool TolvaneFWCamera::IsIntensifierAvailable() { return false; }
bool TolvaneFWCamera::IsTriggerDelayAvialable() { return false; }
bool TolvaneFWCamera::IsMetrolShutterDelaySupported() { return false; }
bool TolvaneFWCamera::IsReadoutPortSupported() { return false; }
bool TolvaneFWCamera::DoesSupportExternalBuffers() { return false; }
bool TolvaneFWCamera::IsInterlaced() { return false; }

// Live mode, and one direction of binning alone.
bool TolvaneFWCamera::GetLVWMode() { return false; }
uint16_t TolvaneFWCamera::SetLVWMode(bool) { return kStatusNotSupported; }
uint32_t TolvaneFWCamera::GetROIMaxWidthForLVWMode() { return 1; }
uint32_t TolvaneFWCamera::GetROIMaxHeightForLVWMode() { return 1; }
uint16_t TolvaneFWCamera::SetHorizontalBinning(uint16_t) { return kStatusNotSupported; }
uint16_t TolvaneFWCamera::SetVerticalBinning(uint16_t) { return kStatusNotSupported; }

uint32_t TolvaneFWCamera::GetReadoutPort() { return 0; }
uint16_t TolvaneFWCamera::SetReadoutPort(uint32_t) { return kStatusNotSupported; }

uint32_t TolvaneFWCamera::GetMetrolShutterDelay() { return 0; }
uint16_t TolvaneFWCamera::SetMetrolShutterDelay(uint32_t) { return kStatusNotSupported; }

// The intensifier.
uint64_t TolvaneFWCamera::GetNormalizedIntensifierGain() { return 0; }
uint64_t TolvaneFWCamera::GetNormalizedIntensifierGainMin() { return 0; }
uint64_t TolvaneFWCamera::GetNormalizedIntensifierGainMax() { return 0; }
uint32_t TolvaneFWCamera::GetIntensifierGain() { return 0; }
uint32_t TolvaneFWCamera::GetIntensifierGainMin() { return 0; }
uint32_t TolvaneFWCamera::GetIntensifierGainMax() { return 0; }
uint32_t TolvaneFWCamera::GetNormalizedIntensifierGaindB() { return 0; }
uint32_t TolvaneFWCamera::GetNormalizedIntensifierGaindBMin() { return 0; }
uint32_t TolvaneFWCamera::GetNormalizedIntensifierGaindBMax() { return 0; }
uint32_t TolvaneFWCamera::GetNormalizedIntensifierGaindBResolution() { return 0; }
uint32_t TolvaneFWCamera::GetNormalizedIntensifierGainSignificantFigures() { return 0; }
uint16_t TolvaneFWCamera::SetNormalizedIntensifierGain(uint64_t) { return kStatusNotSupported; }
uint16_t TolvaneFWCamera::SetupNormalizedIntensifiedGain() { return kStatusOk; }

// Present in nearly all ---------------------------------------------------------------------------

bool TolvaneFWCamera::IsSymmetricalBinningSupported() { return true; }
bool TolvaneFWCamera::IsSyncBSupported() { return true; }
int32_t TolvaneFWCamera::GetAbsoluteOffsetDefault() { return 0; }
uint32_t TolvaneFWCamera::GetNormalizedGainDefault() { return 1; }
uint16_t TolvaneFWCamera::GetTagCode() { return 1; }

} // namespace ZX
