// Reading and writing single values of a settings record. The camera itself is only asked what it
// allows: a value reaches it when the record is sent.
#include "api/param_checks.h"
#include "api/param_setters.h"

using namespace zerix;
using namespace zerix::api;

namespace {

template <typename T>
uint32_t Read(const ReadRecord &record, uint32_t key, T &value)
{
    const ParamRow<T> &row = ParamFamily<T>::Rows()[key];
    if (!HasKey(row, record.isCurrent))
        return ZERIX_ERROR_NOT_SUPPORTED;
    if (row.get != nullptr)
        return row.get(record, value);
    value = ReadSlot<T>(record, key);
    return ZERIX_SUCCESS;
}

// The log shows what the caller's variable holds then, also where it couldn't be read.
template <typename T>
uint32_t GetValue(const CameraUse &use, const Zerix_Settings *settings, uint32_t key, T *value)
{
    const uint32_t error = Read(Bind(use, settings), key, *value);
    ParamFamily<T>::kDump(key, *value);
    return error;
}

template <typename T>
uint32_t SetValue(const CameraUse &use, Zerix_Settings *settings, uint32_t key, T value,
                  ParamSetter<T> setByDefault)
{
    ParamFamily<T>::kDump(key, value);
    const ParamRow<T> &row = ParamFamily<T>::Rows()[key];
    const WriteRecord record = Bind(use, settings);
    if (!HasKey(row, record.isCurrent))
        return ZERIX_ERROR_NOT_SUPPORTED;
    return (row.set != nullptr ? row.set : setByDefault)(record, key, value);
}

} // namespace

uint32_t Zerix_GetParam(const Zerix_Settings *settings, uint32_t key, uint32_t *value)
{
    return Enter(
        Start(__func__, Param32{key}), OfRecord{settings},
        Checks(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
               GoodSettings(settings), OpenRecord(), Supported<uint32_t>{settings, key},
               Known<uint32_t>{key}),
        [&](ExportedCall &, const CameraUse &use) { return GetValue(use, settings, key, value); });
}

uint32_t Zerix_SetParam(Zerix_Settings *settings, uint32_t key, uint32_t value)
{
    return Enter(Start(__func__, Param32{key}), OfRecord{settings},
                 Checks(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                        Known<uint32_t>{key}, OpenRecord(), Supported<uint32_t>{settings, key}),
                 [&](ExportedCall &, const CameraUse &use) {
                     return SetValue<uint32_t>(use, settings, key, value, StoreByClass);
                 });
}

// The one getter that looks at the key before it asks for support.
uint32_t Zerix_GetParamS32(const Zerix_Settings *settings, uint32_t key, int32_t *value)
{
    return Enter(
        Start(__func__, ParamS32{key}), OfRecord{settings},
        Checks(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
               GoodSettings(settings), OpenRecord(), Known<int32_t>{key},
               Supported<int32_t>{settings, key}),
        [&](ExportedCall &, const CameraUse &use) { return GetValue(use, settings, key, value); });
}

uint32_t Zerix_SetParamS32(Zerix_Settings *settings, uint32_t key, int32_t value)
{
    return Enter(Start(__func__, ParamS32{key}), OfRecord{settings},
                 Checks(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                        Known<int32_t>{key}, OpenRecord(), Supported<int32_t>{settings, key}),
                 [&](ExportedCall &, const CameraUse &use) {
                     return SetValue<int32_t>(use, settings, key, value, Store);
                 });
}

uint32_t Zerix_GetParam64(const Zerix_Settings *settings, uint32_t key, uint64_t *value)
{
    return Enter(
        Start(__func__, Param64{key}), OfRecord{settings},
        Checks(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
               GoodSettings(settings), OpenRecord(), Supported<uint64_t>{settings, key},
               Known<uint64_t>{key}),
        [&](ExportedCall &, const CameraUse &use) { return GetValue(use, settings, key, value); });
}

uint32_t Zerix_SetParam64(Zerix_Settings *settings, uint32_t key, uint64_t value)
{
    return Enter(Start(__func__, Param64{key}), OfRecord{settings},
                 Checks(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                        Known<uint64_t>{key}, OpenRecord(), Supported<uint64_t>{settings, key}),
                 [&](ExportedCall &, const CameraUse &use) {
                     return SetValue<uint64_t>(use, settings, key, value, Store);
                 });
}
