// What is special about getting and setting a parameter key. A setter that refuses a value leaves
// the record as it was, the exposures apart.
#pragma once

#include <algorithm>
#include <cstdint>

#include "api/param_family.h"
#include "api/param_rows.h"
#include "api/param_sources.h"

namespace zerix::api {

// Gain and offset have one store, the signed keys: the raw and the normalised keys are computed
// from it in both directions, and their own slots are never looked at.
template <auto kConvert>
uint32_t FromGaindB(const ReadRecord &record, uint32_t &value)
{
    value = (record.camera.*kConvert)(ReadSlot<int32_t>(record, zprmS32NormalizedGaindB));
    return ZERIX_SUCCESS;
}

uint32_t GetOffset(const ReadRecord &record, uint32_t &value);
// As fine as the camera's gain has steps.
uint32_t GetRoundedGaindB(const ReadRecord &record, int32_t &value);

template <uint32_t kKeyS32, auto kConvert>
uint32_t ThroughS32(const WriteRecord &record, uint32_t, uint32_t value)
{
    return Zerix_SetParamS32(record.settings, kKeyS32, (record.camera.*kConvert)(value));
}

template <uint32_t kKey64>
uint32_t GetMicroseconds(const ReadRecord &record, uint32_t &value)
{
    value = MicrosecondsOf(ReadSlot<uint64_t>(record, kKey64));
    return ZERIX_SUCCESS;
}

// Stored in both slots in any case: sending clamps it, and tells what it became.
uint32_t SetMicroseconds(const WriteRecord &record, uint32_t key, uint32_t key64, uint32_t value);

template <uint32_t kKey64>
uint32_t SetExposure(const WriteRecord &record, uint32_t key, uint32_t value)
{
    return SetMicroseconds(record, key, kKey64, value);
}

// The same in nanoseconds; the slot in microseconds stays behind.
uint32_t SetNanoseconds(const WriteRecord &record, uint32_t key, uint64_t value);

// There is nothing to read: the register takes commands.
uint32_t CannotBeRead(const ReadRecord &record, uint32_t &value);

// Unchecked.
template <typename T>
uint32_t Store(const WriteRecord &record, uint32_t key, T value)
{
    WriteSlot<T>(record, key, value);
    return ZERIX_SUCCESS;
}

// Stored if the camera's own list has it.
template <auto kGetModes, uint32_t kRefusal>
uint32_t StoreListed(const WriteRecord &record, uint32_t key, uint32_t value)
{
    const auto modes = ModesOf(record.camera, kGetModes);
    if (std::find(modes.begin(), modes.end(), value) == modes.end())
        return kRefusal;
    return Store(record, key, value);
}

// Stored if it stands in the first entries of the key's sparse table.
uint32_t StoreListedFormat(const WriteRecord &record, uint32_t key, uint32_t value);

// Stored if it lies in the key's range.
uint32_t StoreInRange(const WriteRecord &record, uint32_t key, uint32_t value);

// Stored if the key's class allows it; a key of no class is never stored.
uint32_t StoreByClass(const WriteRecord &record, uint32_t key, uint32_t value);

uint32_t SetCoolingTemperature(const WriteRecord &record, uint32_t key, int32_t value);

// With the mode on, the EM gain follows the readout speed.
uint32_t SetKeelEmMode(const WriteRecord &record, uint32_t key, uint32_t value);

// Locking the gain switches that mode with it.
uint32_t SetLockedGainMode(const WriteRecord &record, uint32_t key, uint32_t value);

// Puts the gain that belongs to the record's readout speed into its EM gain. For a current record.
void TakeEmGainOfReadout(Zerix_Settings *settings);

} // namespace zerix::api
