// The smallest and the largest value of a parameter on a record's camera.
#include <exception>

#include "api/param_questions.h"

using namespace zerix;
using namespace zerix::api;

namespace {

// Signed and 64-bit keys have no lists, which would go before.
template <typename T>
uint32_t FindLimit(const ReadRecord &record, uint32_t key, Side side, T &value)
{
    return FindLimitInRow(record, key, side, value);
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
    const uint32_t error = FindLimit(Bind(settings), key, side, *value);
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
