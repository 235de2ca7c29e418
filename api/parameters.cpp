// Reading and writing single values of a settings record. The camera itself is only asked what it
// allows: a value reaches it when the record is sent.
#include <exception>

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
uint32_t GetValue(const Zerix_Settings *settings, uint32_t key, T *value)
{
    const uint32_t error = Read(Bind(settings), key, *value);
    ParamFamily<T>::kDump(key, *value);
    return error;
}

template <typename T>
uint32_t SetValue(Zerix_Settings *settings, uint32_t key, T value, ParamSetter<T> setByDefault)
{
    ParamFamily<T>::kDump(key, value);
    const ParamRow<T> &row = ParamFamily<T>::Rows()[key];
    const WriteRecord record = Bind(settings);
    if (!HasKey(row, record.isCurrent))
        return ZERIX_ERROR_NOT_SUPPORTED;
    return (row.set != nullptr ? row.set : setByDefault)(record, key, value);
}

} // namespace

uint32_t Zerix_GetParam(const Zerix_Settings *settings, uint32_t key, uint32_t *value)
try {
    ExportedCall call(__func__, Param32{key});
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
                                      GoodSettings(settings), OpenRecord(settings),
                                      Supported<uint32_t>{settings, key}, Known<uint32_t>{key}))
        return call.End(error);
    return call.End(GetValue(settings, key, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_SetParam(Zerix_Settings *settings, uint32_t key, uint32_t value)
try {
    ExportedCall call(__func__, Param32{key});
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                                      Known<uint32_t>{key}, OpenRecord(settings),
                                      Supported<uint32_t>{settings, key}))
        return call.End(error);
    return call.End(SetValue<uint32_t>(settings, key, value, StoreByClass));
} catch (const std::exception &) {
    return kExceptionError;
}

// The one getter that looks at the key before it asks for support.
uint32_t Zerix_GetParamS32(const Zerix_Settings *settings, uint32_t key, int32_t *value)
try {
    ExportedCall call(__func__, ParamS32{key});
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
                                      GoodSettings(settings), OpenRecord(settings),
                                      Known<int32_t>{key}, Supported<int32_t>{settings, key}))
        return call.End(error);
    return call.End(GetValue(settings, key, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_SetParamS32(Zerix_Settings *settings, uint32_t key, int32_t value)
try {
    ExportedCall call(__func__, ParamS32{key});
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                                      Known<int32_t>{key}, OpenRecord(settings),
                                      Supported<int32_t>{settings, key}))
        return call.End(error);
    return call.End(SetValue<int32_t>(settings, key, value, Store));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParam64(const Zerix_Settings *settings, uint32_t key, uint64_t *value)
try {
    ExportedCall call(__func__, Param64{key});
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
                                      GoodSettings(settings), OpenRecord(settings),
                                      Supported<uint64_t>{settings, key}, Known<uint64_t>{key}))
        return call.End(error);
    return call.End(GetValue(settings, key, value));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_SetParam64(Zerix_Settings *settings, uint32_t key, uint64_t value)
try {
    ExportedCall call(__func__, Param64{key});
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                                      Known<uint64_t>{key}, OpenRecord(settings),
                                      Supported<uint64_t>{settings, key}))
        return call.End(error);
    return call.End(SetValue<uint64_t>(settings, key, value, Store));
} catch (const std::exception &) {
    return kExceptionError;
}
