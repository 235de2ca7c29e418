// Getters and setters of the parameter keys that are special.
#include "api/param_setters.h"

#include <array>
#include <span>

#include "api/param_questions.h"
#include "api/table_checks.h"

namespace zerix::api {
namespace {

uint32_t CheckExposure(ZX::ZCamera &camera, uint64_t nanoseconds)
{
    const bool isAllowed =
        nanoseconds >= camera.GetMinExposure() && nanoseconds <= camera.GetMaxExposure();
    return isAllowed ? ZERIX_SUCCESS : ZERIX_ERROR_BAD_PARAMETER;
}

// Of the three gains, which each belong to a readout speed.
constexpr uint32_t EmGainKeyOf(uint32_t readoutIndex)
{
    switch (readoutIndex) {
    case 0:
        return zprmKeelEmGainValue20;
    case 1:
        return zprmKeelEmGainValue10;
    default:
        return zprmKeelEmGainValue40;
    }
}

} // namespace

uint32_t GetOffset(const ReadRecord &record, uint32_t &value)
{
    int32_t offset = 0;
    const uint32_t error = Zerix_GetParamS32(record.settings, zprmS32AbsoluteOffset, &offset);
    value = record.camera.ConvertAbsoluteOffsetToOffset(offset);
    return error == ZERIX_SUCCESS ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
}

uint32_t GetRoundedGaindB(const ReadRecord &record, int32_t &value)
{
    value = record.camera.RoundNormGaindB(ReadSlot<int32_t>(record, zprmS32NormalizedGaindB));
    return ZERIX_SUCCESS;
}

uint32_t CannotBeRead(const ReadRecord &, uint32_t &) { return ZERIX_ERROR_NOT_SUPPORTED; }

uint32_t SetMicroseconds(const WriteRecord &record, uint32_t key, uint32_t key64, uint32_t value)
{
    const uint64_t nanoseconds = uint64_t{value} * 1000;
    WriteSlot<uint32_t>(record, key, value);
    WriteSlot<uint64_t>(record, key64, nanoseconds);
    return CheckExposure(record.camera, nanoseconds);
}

uint32_t SetNanoseconds(const WriteRecord &record, uint32_t key, uint64_t value)
{
    WriteSlot<uint64_t>(record, key, value);
    return CheckExposure(record.camera, value);
}

uint32_t StoreListedFormat(const WriteRecord &record, uint32_t key, uint32_t value)
{
    std::array<uint32_t, 20> formats;
    int32_t count = formats.size();
    const uint32_t error = AskTable(AsRead(record), key, formats.data(), count);
    const auto end = formats.begin() + (error == ZERIX_SUCCESS ? count : 0);
    if (std::find(formats.begin(), end, value) == end)
        return ZERIX_ERROR_BAD_PARAMETER;
    return Store(record, key, value);
}

uint32_t StoreInRange(const WriteRecord &record, uint32_t key, uint32_t value)
{
    if (const uint32_t error = CheckRangeTableEntry(AsRead(record), key, value))
        return error;
    return Store(record, key, value);
}

uint32_t StoreByClass(const WriteRecord &record, uint32_t key, uint32_t value)
{
    if (IsSparse(record.settings, key)) {
        if (const uint32_t error = CheckSparseTableEntry(AsRead(record), key, value))
            return error;
        return Store(record, key, value);
    }
    if (IsRange(record.settings, key))
        return StoreInRange(record, key, value);
    return ZERIX_ERROR_NOT_SUPPORTED;
}

uint32_t SetCoolingTemperature(const WriteRecord &record, uint32_t key, int32_t value)
{
    if (value < record.camera.GetMinRegulatedCoolingTemp() ||
        value > record.camera.GetMaxRegulatedCoolingTemp())
        return ZERIX_ERROR_BAD_PARAMETER;
    return Store(record, key, value);
}

uint32_t SetKeelEmMode(const WriteRecord &record, uint32_t, uint32_t value)
{
    Store(record, zprmKeelEmMode, value);
    if (value != 0)
        TakeEmGainOfReadout(record.settings);
    return ZERIX_SUCCESS;
}

uint32_t SetLockedGainMode(const WriteRecord &record, uint32_t, uint32_t value)
{
    Store(record, zprmLockedGainMode, value);
    return SetKeelEmMode(record, zprmKeelEmMode, value);
}

void TakeEmGainOfReadout(Zerix_Settings *settings)
{
    const uint32_t readoutIndex = tables::GetSlot32(settings, zprmReadoutSpeed, true);
    const uint32_t gain = tables::GetSlot32(settings, EmGainKeyOf(readoutIndex), true);
    tables::SetSlot32(settings, zprmEMGain, gain, true);
}

} // namespace zerix::api
