// The registers of the sensor's voltages, which the factory adjusts, and MiscCtrl, which decides
// how much of the sensor is read. On the caller's thread, without a lock.
#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;
using zerix::registers::Field;

namespace {

// What these setters alone return where others say that the feature is missing.
constexpr uint16_t kNoTweaking = 1;

constexpr Field kTweakValue{0, 0, 16};

} // namespace

uint16_t TolvaneFWCamera::WriteTweak(Field field, uint32_t value)
{
    return IsTweekingRegisterSupported()
               ? WriteField(field, zerix::registers::Fitted(kTweakValue, value))
               : kNoTweaking;
}

uint32_t TolvaneFWCamera::TweakDefault(Field field)
{
    return IsTweekingRegisterSupported() ? Information(field) : 0;
}

uint16_t TolvaneFWCamera::SetSubCpAd(uint32_t value) { return WriteTweak(control::kSubCp, value); }

uint16_t TolvaneFWCamera::SetSubAd(uint32_t value) { return WriteTweak(control::kSub, value); }

uint16_t TolvaneFWCamera::SetResetVhAd(uint32_t value)
{
    return WriteTweak(control::kResetVh, value);
}

uint16_t TolvaneFWCamera::SetV1VmAd(uint32_t value) { return WriteTweak(control::kV1Vm, value); }

uint16_t TolvaneFWCamera::SetV2VmAd(uint32_t value) { return WriteTweak(control::kV2Vm, value); }

uint16_t TolvaneFWCamera::SetV3VmAd(uint32_t value) { return WriteTweak(control::kV3Vm, value); }

uint16_t TolvaneFWCamera::SetV4VmAd(uint32_t value) { return WriteTweak(control::kV4Vm, value); }

// A change makes the next commit read the information block again.
uint16_t TolvaneFWCamera::SetMiscCtrlAd(uint32_t value)
{
    if (IsTweekingRegisterSupported())
        miscCtrlChanged = !Holds(control::kMiscCtrl, value);
    return WriteTweak(control::kMiscCtrl, value);
}

uint32_t TolvaneFWCamera::GetSubCpDefAd() { return TweakDefault(information::kSubCpDefault); }

uint32_t TolvaneFWCamera::GetResetVhDefAd() { return TweakDefault(information::kResetVhDefault); }

uint32_t TolvaneFWCamera::GetV1VmDefAd() { return TweakDefault(information::kV1VmDefault); }

uint32_t TolvaneFWCamera::GetV2VmDefAd() { return TweakDefault(information::kV2VmDefault); }

uint32_t TolvaneFWCamera::GetV3VmDefAd() { return TweakDefault(information::kV3VmDefault); }

uint32_t TolvaneFWCamera::GetV4VmDefAd() { return TweakDefault(information::kV4VmDefault); }

uint32_t TolvaneFWCamera::GetMiscCtrlDefAd() { return TweakDefault(information::kMiscCtrlDefault); }

// Thousandths of a volt; older cameras than the others' tell it too.
uint32_t TolvaneFWCamera::GetSubDefAd() { return Information(information::kSubDefault); }

} // namespace ZX
