// The cooler and its regulation. Temperatures are whole degrees Celsius; the registers count from
// -55 degrees in steps of about a fortieth. On the caller's thread, without a lock.
#include "camera/tolvane_fw_camera.h"
#include "camera/truncated.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

namespace {

constexpr int32_t kColdest = -55;
constexpr int32_t kWarmest = 50;
constexpr double kDegreesPerCount = 0.025634766;
constexpr double kCountsPerDegree = 39.009525299072266;
constexpr uint32_t kLocked = 3;

// Cut towards 0: what is set above freezing point reads back up to a degree colder.
int32_t CelsiusOf(uint32_t counts)
{
    const auto celsius = static_cast<int32_t>(counts * kDegreesPerCount + kColdest);
    return celsius < kColdest || celsius > kWarmest ? 0 : celsius;
}

uint32_t CountsOf(int32_t celsius)
{
    const auto degrees = static_cast<float>(celsius - kColdest);
    return zerix::Truncated<uint32_t>(static_cast<double>(degrees) * kCountsPerDegree - 0.5);
}

} // namespace

bool TolvaneFWCamera::GetCoolerStatus() { return Control(control::kCoolerOn) != 0; }

uint16_t TolvaneFWCamera::SetCoolerStatus(bool on) { return UpdateField(control::kCoolerOn, on); }

int32_t TolvaneFWCamera::GetRegulatedCoolingTemperature()
{
    return IsRegulatedCoolingAvailable() ? CelsiusOf(Control(control::kRegulatedTemperature)) : 0;
}

int32_t TolvaneFWCamera::GetMinRegulatedCoolingTemp()
{
    return IsRegulatedCoolingAvailable() ? CelsiusOf(Information(information::kCoolingMin)) : 0;
}

int32_t TolvaneFWCamera::GetMaxRegulatedCoolingTemp()
{
    return IsRegulatedCoolingAvailable() ? CelsiusOf(Information(information::kCoolingMax)) : 0;
}

uint16_t TolvaneFWCamera::SetRegulatedCoolingTemp(int32_t celsius)
{
    const bool isChange = celsius != GetRegulatedCoolingTemperature();
    if (!IsRegulatedCoolingAvailable())
        return isChange ? kStatusNotSupported : kStatusOk;
    if (!isChange && IsKnown(control::kRegulatedTemperature))
        return kStatusOk;
    if (celsius < kColdest || celsius >= kWarmest)
        return kStatusBadValue;
    return WriteField(control::kRegulatedTemperature, CountsOf(celsius));
}

// The status block is read anew. If that fails, the last answer stands.
bool TolvaneFWCamera::GetRegulatedCoolingTemperatureLock()
{
    if (!IsRegulatedCoolingAvailable())
        return false;
    ReadRegisterSet(statusBlock);
    return statusBlock.Read(zerix::registers::kStatusTemperatureLock) == kLocked;
}

} // namespace ZX
