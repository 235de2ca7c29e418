// Which values a key may have: a range, or a list.
// The work of these calls isn't written yet.
#include "api/not_yet.h"

using namespace zerix::api;

uint32_t Zerix_IsRangeTable(const Zerix_Settings *, uint32_t key)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_IsRangeTableS32(const Zerix_Settings *, uint32_t key)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_IsRangeTable64(const Zerix_Settings *, uint32_t key)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}

uint32_t Zerix_IsSparseTable(const Zerix_Settings *, uint32_t key)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_IsSparseTableS32(const Zerix_Settings *, uint32_t key)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_IsSparseTable64(const Zerix_Settings *, uint32_t key)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}

uint32_t Zerix_GetParamSparseTable(const Zerix_Settings *, uint32_t key, uint32_t *, int32_t *)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_GetParamSparseTableS32(const Zerix_Settings *, uint32_t key, int32_t *, int32_t *)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_GetParamSparseTable64(const Zerix_Settings *, uint32_t key, uint64_t *, int32_t *)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}
