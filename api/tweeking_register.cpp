// The factory's word that changes one of the sensor's voltages.
#include "api/tweeking_register.h"

#include <array>

namespace zerix::api {
namespace {

using Camera = ZX::ZCamera;

struct TweekingRow {
    uint16_t (Camera::*setter)(uint32_t value);
    uint32_t factor;
};

// By number, from 1.
constexpr std::array<TweekingRow, 8> kRows = {{
    {&Camera::SetSubCpAd, 1000},
    {&Camera::SetSubAd, 1},
    {&Camera::SetResetVhAd, 1},
    {&Camera::SetV1VmAd, 1},
    {&Camera::SetV2VmAd, 1},
    {&Camera::SetV3VmAd, 1},
    {&Camera::SetV4VmAd, 1},
    {&Camera::SetMiscCtrlAd, 1},
}};

} // namespace

void ApplyTweekingRegister(ZX::ZCamera &camera, uint32_t word)
{
    const uint32_t number = word >> 28;
    if (!camera.IsTweekingRegisterSupported() || number == 0 || number > kRows.size())
        return;
    const TweekingRow &row = kRows[number - 1];
    static_cast<void>((camera.*row.setter)((word & 0xFFFFu) * row.factor));
}

} // namespace zerix::api
