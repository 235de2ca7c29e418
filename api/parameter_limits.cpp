// The smallest and the largest value of a parameter on a record's camera.
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
uint32_t GetLimit(const Start &start, const Zerix_Settings *settings, uint32_t key, Side side,
                  T *value)
{
    return Enter(start, OfRecord{settings},
                 Checks(Loaded(), NotNull(settings, kIfNull), NotNull(value, kIfNull),
                        GoodSettings(settings), OpenRecord(), Supported<T>{settings, key},
                        Known<T>{key}),
                 [&](ExportedCall &, const CameraUse &use) {
                     const uint32_t error = FindLimit(Bind(use, settings), key, side, *value);
                     ParamFamily<T>::kDump(key, *value);
                     return error;
                 });
}

} // namespace

uint32_t Zerix_GetParamMin(const Zerix_Settings *settings, uint32_t key, uint32_t *value)
{
    return GetLimit(Start(__func__, Param32{key}), settings, key, Side::kMinimum, value);
}

uint32_t Zerix_GetParamMax(const Zerix_Settings *settings, uint32_t key, uint32_t *value)
{
    return GetLimit(Start(__func__, Param32{key}), settings, key, Side::kMaximum, value);
}

uint32_t Zerix_GetParamS32Min(const Zerix_Settings *settings, uint32_t key, int32_t *value)
{
    return GetLimit(Start(__func__, ParamS32{key}), settings, key, Side::kMinimum, value);
}

uint32_t Zerix_GetParamS32Max(const Zerix_Settings *settings, uint32_t key, int32_t *value)
{
    return GetLimit(Start(__func__, ParamS32{key}), settings, key, Side::kMaximum, value);
}

uint32_t Zerix_GetParam64Min(const Zerix_Settings *settings, uint32_t key, uint64_t *value)
{
    return GetLimit(Start(__func__, Param64{key}), settings, key, Side::kMinimum, value);
}

uint32_t Zerix_GetParam64Max(const Zerix_Settings *settings, uint32_t key, uint64_t *value)
{
    return GetLimit(Start(__func__, Param64{key}), settings, key, Side::kMaximum, value);
}
