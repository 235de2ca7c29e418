// Reading and writing single values of a settings record, their limits, and what a camera supports.
// The work of these calls isn't written yet.
#include "api/not_yet.h"

using namespace zerix::api;

uint32_t Zerix_GetParam(const Zerix_Settings *, uint32_t key, uint32_t *)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_SetParam(Zerix_Settings *, uint32_t key, uint32_t)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_GetParamS32(const Zerix_Settings *, uint32_t key, int32_t *)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_SetParamS32(Zerix_Settings *, uint32_t key, int32_t)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_GetParam64(const Zerix_Settings *, uint32_t key, uint64_t *)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}

uint32_t Zerix_SetParam64(Zerix_Settings *, uint32_t key, uint64_t)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}

uint32_t Zerix_GetParamMin(const Zerix_Settings *, uint32_t key, uint32_t *)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_GetParamMax(const Zerix_Settings *, uint32_t key, uint32_t *)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_GetParamS32Min(const Zerix_Settings *, uint32_t key, int32_t *)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_GetParamS32Max(const Zerix_Settings *, uint32_t key, int32_t *)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_GetParam64Min(const Zerix_Settings *, uint32_t key, uint64_t *)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}

uint32_t Zerix_GetParam64Max(const Zerix_Settings *, uint32_t key, uint64_t *)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}

uint32_t Zerix_IsParamSupported(ZerixHandle, uint32_t key)
{
    return NotYet(ExportedCall(__func__, Param32{key}));
}

uint32_t Zerix_IsParamS32Supported(ZerixHandle, uint32_t key)
{
    return NotYet(ExportedCall(__func__, ParamS32{key}));
}

uint32_t Zerix_IsParam64Supported(ZerixHandle, uint32_t key)
{
    return NotYet(ExportedCall(__func__, Param64{key}));
}
