// Which parameters a camera has. These calls alone take a handle and no record.
#include <exception>

#include "api/param_checks.h"

using namespace zerix;
using namespace zerix::api;

namespace {

template <typename T>
uint32_t IsSupported(ExportedCall &call, ZerixHandle camera, uint32_t key)
{
    if (const auto error = call.Check(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
                                      Open(camera), Exclusive(camera)))
        return error;
    return FindSupport<T>(*CameraOf(camera), key);
}

} // namespace

uint32_t Zerix_IsParamSupported(ZerixHandle camera, uint32_t key)
try {
    ExportedCall call(__func__, Param32{key});
    return call.End(IsSupported<uint32_t>(call, camera, key));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_IsParamS32Supported(ZerixHandle camera, uint32_t key)
try {
    ExportedCall call(__func__, ParamS32{key});
    return call.End(IsSupported<int32_t>(call, camera, key));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_IsParam64Supported(ZerixHandle camera, uint32_t key)
try {
    ExportedCall call(__func__, Param64{key});
    return call.End(IsSupported<uint64_t>(call, camera, key));
} catch (const std::exception &) {
    return kExceptionError;
}
