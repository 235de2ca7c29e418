// Which parameters a camera has. These calls alone take a handle and no record.
#include "api/param_checks.h"

using namespace zerix;
using namespace zerix::api;

namespace {

template <typename T>
uint32_t IsSupported(const Start &start, ZerixHandle camera, uint32_t key)
{
    return Enter(
        start, OfCamera{camera},
        Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Open(), Exclusive()),
        [&](ExportedCall &, const CameraUse &use) { return FindSupport<T>(use.Camera(), key); });
}

} // namespace

uint32_t Zerix_IsParamSupported(ZerixHandle camera, uint32_t key)
{
    return IsSupported<uint32_t>(Start(__func__, Param32{key}), camera, key);
}

uint32_t Zerix_IsParamS32Supported(ZerixHandle camera, uint32_t key)
{
    return IsSupported<int32_t>(Start(__func__, ParamS32{key}), camera, key);
}

uint32_t Zerix_IsParam64Supported(ZerixHandle camera, uint32_t key)
{
    return IsSupported<uint64_t>(Start(__func__, Param64{key}), camera, key);
}
