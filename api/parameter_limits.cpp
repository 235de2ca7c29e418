// The smallest and the largest value of a parameter on a record's camera.
#include <array>
#include <exception>

#include "api/param_checks.h"

using namespace zerix;
using namespace zerix::api;

namespace {

enum class Side { kMinimum, kMaximum };

template <typename T>
uint32_t FromRow(const ReadRecord &record, uint32_t key, Side side, T &value)
{
    const ParamRow<T> &row = ParamFamily<T>::Rows()[key];
    const ParamLimit<T> limit = side == Side::kMinimum ? row.minimum : row.maximum;
    if (limit == nullptr || !HasKey(row, record.isCurrent))
        return ZERIX_ERROR_NOT_SUPPORTED;
    const auto found = limit(record.camera);
    if (!found.has_value())
        return ZERIX_ERROR_NOT_SUPPORTED;
    value = *found;
    return ZERIX_SUCCESS;
}

// The first or the last entry; an empty table has neither.
uint32_t FromSparseTable(const Zerix_Settings *settings, uint32_t key, Side side, uint32_t &value)
{
    std::array<uint32_t, 100> entries;
    int32_t count = entries.size();
    if (const auto error = Zerix_GetParamSparseTable(settings, key, entries.data(), &count))
        return error;
    if (count == 0)
        return ZERIX_ERROR_NOT_SUPPORTED;
    value = entries[side == Side::kMinimum ? 0 : static_cast<std::size_t>(count) - 1];
    return ZERIX_SUCCESS;
}

bool IsSparseAlone(const Zerix_Settings *settings, uint32_t key)
{
    return Zerix_IsSparseTable(settings, key) == ZERIX_SUCCESS &&
           Zerix_IsRangeTable(settings, key) != ZERIX_SUCCESS;
}

template <typename T>
uint32_t Limit(const Zerix_Settings *settings, uint32_t key, Side side, T &value)
{
    return FromRow(Bind(settings), key, side, value);
}

template <>
uint32_t Limit(const Zerix_Settings *settings, uint32_t key, Side side, uint32_t &value)
{
    if (IsSparseAlone(settings, key))
        return FromSparseTable(settings, key, side, value);
    return FromRow(Bind(settings), key, side, value);
}

// As with the values themselves, the log shows what the caller's variable holds then.
template <typename T>
uint32_t GetLimit(ExportedCall &call, const Zerix_Settings *settings, uint32_t key, Side side,
                  T *value)
{
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
                                      GoodSettings(settings), OpenRecord(settings),
                                      Supported<T>{settings, key}, Known<T>{key}))
        return error;
    const uint32_t error = Limit(settings, key, side, *value);
    ParamFamily<T>::kDump(key, *value);
    return error;
}

} // namespace

uint32_t Zerix_GetParamMin(const Zerix_Settings *settings, uint32_t key, uint32_t *value)
try {
    ExportedCall call(__func__, Param32{key});
    return call.End(GetLimit(call, settings, key, Side::kMinimum, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParamMax(const Zerix_Settings *settings, uint32_t key, uint32_t *value)
try {
    ExportedCall call(__func__, Param32{key});
    return call.End(GetLimit(call, settings, key, Side::kMaximum, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParamS32Min(const Zerix_Settings *settings, uint32_t key, int32_t *value)
try {
    ExportedCall call(__func__, ParamS32{key});
    return call.End(GetLimit(call, settings, key, Side::kMinimum, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParamS32Max(const Zerix_Settings *settings, uint32_t key, int32_t *value)
try {
    ExportedCall call(__func__, ParamS32{key});
    return call.End(GetLimit(call, settings, key, Side::kMaximum, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParam64Min(const Zerix_Settings *settings, uint32_t key, uint64_t *value)
try {
    ExportedCall call(__func__, Param64{key});
    return call.End(GetLimit(call, settings, key, Side::kMinimum, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParam64Max(const Zerix_Settings *settings, uint32_t key, uint64_t *value)
try {
    ExportedCall call(__func__, Param64{key});
    return call.End(GetLimit(call, settings, key, Side::kMaximum, value));
} catch (const std::exception &) {
    return kExceptionError;
}
