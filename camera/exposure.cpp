// Exposure times, in nanoseconds throughout. Version 1 of the blocks counts microseconds in one
// word; later versions hold 64 bits, the upper half where the microseconds were.
#include <algorithm>
#include <limits>

#include "camera/tolvane_fw_camera.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;
using zerix::registers::Field;

namespace {

constexpr uint64_t kNanosecondsPerMicrosecond = 1000;
constexpr uint64_t kDefaultExposure = 16'384'000;
constexpr uint32_t kResolutionOfMicroseconds = 1000;

// No exposure is shorter than a microsecond, and what is too long for the word is the longest.
uint32_t MicrosecondsOf(uint64_t nanoseconds)
{
    const uint64_t microseconds = nanoseconds / kNanosecondsPerMicrosecond;
    return static_cast<uint32_t>(
        std::clamp<uint64_t>(microseconds, 1, std::numeric_limits<uint32_t>::max()));
}

} // namespace

uint64_t TolvaneFWCamera::ReadExposure(Field high, Field low) const
{
    if (controlBlock.major == 1)
        return Control(high) * kNanosecondsPerMicrosecond;
    return Control64(high, low);
}

bool TolvaneFWCamera::IsExposureKnown(Field high, Field low) const
{
    return IsKnown(high) && (controlBlock.major == 1 || IsKnown(low));
}

uint16_t TolvaneFWCamera::UpdateExposure(Field high, Field low, uint64_t nanoseconds)
{
    if (nanoseconds == ReadExposure(high, low) && IsExposureKnown(high, low))
        return kStatusOk;
    if (controlBlock.major == 1)
        return WriteField(high, MicrosecondsOf(nanoseconds));
    return WriteField64(high, low, nanoseconds);
}

uint64_t TolvaneFWCamera::GetExposure()
{
    return ReadExposure(control::kExposure, control::kExposureLow);
}

uint16_t TolvaneFWCamera::SetExposure(uint64_t nanoseconds)
{
    return UpdateExposure(control::kExposure, control::kExposureLow, nanoseconds);
}

uint64_t TolvaneFWCamera::GetMinExposure()
{
    if (informationBlock.major == 1)
        return Information(information::kMinExposure) * kNanosecondsPerMicrosecond;
    return Information64(information::kMinExposure, information::kMinExposureLow);
}

uint64_t TolvaneFWCamera::GetMaxExposure()
{
    if (informationBlock.major == 1)
        return Information(information::kMaxExposure) * kNanosecondsPerMicrosecond;
    return Information64(information::kMaxExposure, information::kMaxExposureLow);
}

uint32_t TolvaneFWCamera::GetExposureResolution()
{
    return CheckConfigRegVersion(2, 0) ? Information(information::kExposureResolution)
                                       : kResolutionOfMicroseconds;
}

uint64_t TolvaneFWCamera::GetDefaultExposure() { return kDefaultExposure; }

} // namespace ZX
