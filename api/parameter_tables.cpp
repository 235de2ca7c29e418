// Which values a key may have: a range, or a list. The class of a key is the same on every camera
// that supports it; what a list holds depends on the camera.
#include <exception>

#include "api/param_questions.h"

using namespace zerix;
using namespace zerix::api;

namespace {

// A negative number of entries; 1.
struct NotNegative {
    const int32_t *size;
    uint32_t operator()(ExportedCall &) const
    {
        return *size >= 0 ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
    }
};

// The key is a sparse table; 1.
struct Sparse {
    uint32_t key;
    uint32_t operator()(ExportedCall &) const
    {
        return kParamRows[key].list != nullptr ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
    }
};

template <typename T>
uint32_t IsRangeOf(ExportedCall &call, const Zerix_Settings *settings, uint32_t key)
{
    if (const auto error = call.Check(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                                      Supported<T>{settings, key}, Known<T>{key}))
        return error;
    const ParamRow<T> &row = ParamFamily<T>::Rows()[key];
    const bool isRange = row.isRange && HasKey(row, tables::IsCurrentLayout(settings));
    return isRange ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
}

// The signed and the 64-bit keys have no lists.
uint32_t IsNeverSparse(ExportedCall &call)
{
    if (const auto error = call.Check(Loaded()))
        return error;
    return ZERIX_ERROR_NOT_SUPPORTED;
}

uint32_t HasNoList(ExportedCall &call, int32_t *size)
{
    if (const auto error = call.Check(Loaded()))
        return error;
    if (size != nullptr)
        *size = 0;
    return ZERIX_ERROR_NOT_SUPPORTED;
}

uint32_t FillTable(ExportedCall &call, const Zerix_Settings *settings, uint32_t key,
                   uint32_t *entries, int32_t *size)
{
    if (const auto error =
            call.Check(Loaded(), NotNull(settings, kIfNull), NotNull(entries, kIfNull),
                       NotNull(size, kIfNull), GoodSettings(settings), NotNegative{size}))
        return error;
    if (*size == 0)
        return ZERIX_SUCCESS;
    const ZerixHandle camera = tables::GetCamera(settings);
    if (const auto error = call.Check(Supported<uint32_t>{settings, key}, Known<uint32_t>{key},
                                      Sparse{key}, NotNull(camera, ZERIX_ERROR_BAD_SETTINGS)))
        return error;
    const uint32_t error = FindTable(Bind(settings), key, entries, *size);
    if (error == ZERIX_SUCCESS)
        diag::ZerixDebugOutputSparseTable(key, entries, *size);
    return error;
}

} // namespace

uint32_t Zerix_IsRangeTable(const Zerix_Settings *settings, uint32_t key)
try {
    ExportedCall call(__func__, Param32{key});
    return call.End(IsRangeOf<uint32_t>(call, settings, key));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_IsRangeTableS32(const Zerix_Settings *settings, uint32_t key)
try {
    ExportedCall call(__func__, ParamS32{key});
    return call.End(IsRangeOf<int32_t>(call, settings, key));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_IsRangeTable64(const Zerix_Settings *settings, uint32_t key)
try {
    ExportedCall call(__func__, Param64{key});
    return call.End(IsRangeOf<uint64_t>(call, settings, key));
} catch (const std::exception &) {
    return kExceptionError;
}

// Unlike the query for a range, it looks at the key before it asks for support.
uint32_t Zerix_IsSparseTable(const Zerix_Settings *settings, uint32_t key)
try {
    ExportedCall call(__func__, Param32{key});
    return call.End(call.Check(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                               Known<uint32_t>{key}, Supported<uint32_t>{settings, key},
                               Sparse{key}));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_IsSparseTableS32(const Zerix_Settings *, uint32_t key)
try {
    ExportedCall call(__func__, ParamS32{key});
    return call.End(IsNeverSparse(call));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_IsSparseTable64(const Zerix_Settings *, uint32_t key)
try {
    ExportedCall call(__func__, Param64{key});
    return call.End(IsNeverSparse(call));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParamSparseTable(const Zerix_Settings *settings, uint32_t key, uint32_t *table,
                                   int32_t *size)
try {
    ExportedCall call(__func__, Param32{key});
    return call.End(FillTable(call, settings, key, table, size));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParamSparseTableS32(const Zerix_Settings *, uint32_t key, int32_t *,
                                      int32_t *size)
try {
    ExportedCall call(__func__, ParamS32{key});
    return call.End(HasNoList(call, size));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_GetParamSparseTable64(const Zerix_Settings *, uint32_t key, uint64_t *,
                                     int32_t *size)
try {
    ExportedCall call(__func__, Param64{key});
    return call.End(HasNoList(call, size));
} catch (const std::exception &) {
    return kExceptionError;
}
