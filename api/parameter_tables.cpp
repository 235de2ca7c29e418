// Which values a key may have: a range, or a list. The class of a key is the same on every camera
// that supports it; what a list holds depends on the camera.
#include "api/not_supported.h"
#include "api/param_questions.h"

using namespace zerix;
using namespace zerix::api;

namespace {

// A negative number of entries; 1.
struct NotNegative {
    const int32_t *size;
    uint32_t operator()(ExportedCall &, const CameraUse &) const
    {
        return *size >= 0 ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
    }
};

// The key is a sparse table; 1.
struct Sparse {
    uint32_t key;
    uint32_t operator()(ExportedCall &, const CameraUse &) const
    {
        return kParamRows[key].list != nullptr ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
    }
};

template <typename T>
uint32_t IsRangeOf(const Start &start, const Zerix_Settings *settings, uint32_t key)
{
    return Enter(start, OfRecord{settings},
                 Checks(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                        Supported<T>{settings, key}, Known<T>{key}),
                 [&](ExportedCall &, const CameraUse &) {
                     const ParamRow<T> &row = ParamFamily<T>::Rows()[key];
                     const bool isRange =
                         row.isRange && HasKey(row, tables::IsCurrentLayout(settings));
                     return isRange ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_SUPPORTED;
                 });
}

// The signed and the 64-bit keys have no lists.
uint32_t HasNoList(const Start &start, int32_t *size)
{
    return Enter(start, OfNoCamera{}, Checks(Loaded()), [&](ExportedCall &, const CameraUse &) {
        if (size != nullptr)
            *size = 0;
        return ZERIX_ERROR_NOT_SUPPORTED;
    });
}

uint32_t FillTable(ExportedCall &call, const CameraUse &use, const Zerix_Settings *settings,
                   uint32_t key, uint32_t *entries, int32_t &size)
{
    if (size == 0)
        return ZERIX_SUCCESS;
    const Checks ofTheKey(Supported<uint32_t>{settings, key}, Known<uint32_t>{key}, Sparse{key},
                          Living(ZERIX_ERROR_BAD_SETTINGS));
    if (const uint32_t error = ofTheKey(call, use))
        return error;
    const uint32_t error = FindTable(Bind(use, settings), key, entries, size);
    if (error == ZERIX_SUCCESS)
        diag::ZerixDebugOutputSparseTable(key, entries, size);
    return error;
}

} // namespace

uint32_t Zerix_IsRangeTable(const Zerix_Settings *settings, uint32_t key)
{
    return IsRangeOf<uint32_t>(Start(__func__, Param32{key}), settings, key);
}

uint32_t Zerix_IsRangeTableS32(const Zerix_Settings *settings, uint32_t key)
{
    return IsRangeOf<int32_t>(Start(__func__, ParamS32{key}), settings, key);
}

uint32_t Zerix_IsRangeTable64(const Zerix_Settings *settings, uint32_t key)
{
    return IsRangeOf<uint64_t>(Start(__func__, Param64{key}), settings, key);
}

// Unlike the query for a range, it looks at the key before it asks for support.
uint32_t Zerix_IsSparseTable(const Zerix_Settings *settings, uint32_t key)
{
    return Enter(Start(__func__, Param32{key}), OfRecord{settings},
                 Checks(Loaded(), NotNull(settings, kIfNull), GoodSettings(settings),
                        Known<uint32_t>{key}, Supported<uint32_t>{settings, key}, Sparse{key}),
                 [](ExportedCall &, const CameraUse &) { return ZERIX_SUCCESS; });
}

uint32_t Zerix_IsSparseTableS32(const Zerix_Settings *, uint32_t key)
{
    return NotSupported(Start(__func__, ParamS32{key}));
}

uint32_t Zerix_IsSparseTable64(const Zerix_Settings *, uint32_t key)
{
    return NotSupported(Start(__func__, Param64{key}));
}

uint32_t Zerix_GetParamSparseTable(const Zerix_Settings *settings, uint32_t key, uint32_t *table,
                                   int32_t *size)
{
    return Enter(Start(__func__, Param32{key}), OfRecord{settings},
                 Checks(Loaded(), NotNull(settings, kIfNull), NotNull(table, kIfNull),
                        NotNull(size, kIfNull), GoodSettings(settings), NotNegative{size}),
                 [&](ExportedCall &call, const CameraUse &use) {
                     return FillTable(call, use, settings, key, table, *size);
                 });
}

uint32_t Zerix_GetParamSparseTableS32(const Zerix_Settings *, uint32_t key, int32_t *,
                                      int32_t *size)
{
    return HasNoList(Start(__func__, ParamS32{key}), size);
}

uint32_t Zerix_GetParamSparseTable64(const Zerix_Settings *, uint32_t key, uint64_t *,
                                     int32_t *size)
{
    return HasNoList(Start(__func__, Param64{key}), size);
}
