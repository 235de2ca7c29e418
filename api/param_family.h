// The three families of parameter keys by the width of their values: slots, rows, support test and
// dump, so that what is alike in all of them is written once.
#pragma once

#include <cstdint>

#include "api/param_rows.h"
#include "diag/dumps.h"
#include "tables/settings_accessors.h"

namespace zerix::api {

template <typename T>
struct ParamFamily;

template <>
struct ParamFamily<uint32_t> {
    static const auto &Rows() { return kParamRows; }
    static constexpr auto kIsSupported = Zerix_IsParamSupported;
    static constexpr auto kDump = diag::ZerixDebugOutputSetting32;
    static uint32_t Read(const Zerix_Settings *settings, uint32_t key, bool isCurrent)
    {
        return tables::GetSlot32(settings, key, isCurrent);
    }
    static void Write(Zerix_Settings *settings, uint32_t key, uint32_t value, bool isCurrent)
    {
        tables::SetSlot32(settings, key, value, isCurrent);
    }
};

template <>
struct ParamFamily<int32_t> {
    static const auto &Rows() { return kParamS32Rows; }
    static constexpr auto kIsSupported = Zerix_IsParamS32Supported;
    static constexpr auto kDump = diag::ZerixDebugOutputSettingS32;
    static int32_t Read(const Zerix_Settings *settings, uint32_t key, bool isCurrent)
    {
        return tables::GetSlotS32(settings, key, isCurrent);
    }
    static void Write(Zerix_Settings *settings, uint32_t key, int32_t value, bool isCurrent)
    {
        tables::SetSlotS32(settings, key, value, isCurrent);
    }
};

template <>
struct ParamFamily<uint64_t> {
    static const auto &Rows() { return kParam64Rows; }
    static constexpr auto kIsSupported = Zerix_IsParam64Supported;
    static constexpr auto kDump = diag::ZerixDebugOutputSetting64;
    static uint64_t Read(const Zerix_Settings *settings, uint32_t key, bool isCurrent)
    {
        return tables::GetSlot64(settings, key, isCurrent);
    }
    static void Write(Zerix_Settings *settings, uint32_t key, uint64_t value, bool isCurrent)
    {
        tables::SetSlot64(settings, key, value, isCurrent);
    }
};

// The slot of a key in a checked record.
template <typename T, typename Settings>
T ReadSlot(const BoundRecord<Settings> &record, uint32_t key)
{
    return ParamFamily<T>::Read(record.settings, key, record.isCurrent);
}

template <typename T>
void WriteSlot(const WriteRecord &record, uint32_t key, T value)
{
    ParamFamily<T>::Write(record.settings, key, value, record.isCurrent);
}

} // namespace zerix::api
