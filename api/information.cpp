// What a camera is and can do, its serial and its name.
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "api/context.h"
#include "api/entry.h"
#include "api/info_rows.h"
#include "diag/dumps.h"

using namespace zerix;
using namespace zerix::api;

namespace {

uint32_t ValueOf(const InfoSource &source, uint32_t key, uint32_t &value)
{
    if (const InfoValue tell = FindInfoValue(key))
        return tell(source, value);
    value = 0;
    std::printf("Zerix_GetInfo not implemented for key %d\n", static_cast<int>(key));
    return ZERIX_ERROR_NOT_SUPPORTED;
}

// A camera's texts stand in buffers that each call fills anew, and the monitor asks for them too.
std::string TextOf(ZX::ZCamera &camera, const char *(ZX::ZCamera::*getter)())
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const char *const text = (camera.*getter)();
    return text != nullptr ? text : "";
}

uint32_t GiveText(const Start &start, ZerixHandle handle, char *text, uint32_t size,
                  const char *(ZX::ZCamera::*getter)(), const char *message)
{
    return Enter(start, OfCamera{handle},
                 Checks(Loaded(), NotNull(handle, ZERIX_ERROR_BAD_HANDLE),
                        NotNull(text, ZERIX_ERROR_BAD_PARAMETER), Exclusive(), Open()),
                 [&](ExportedCall &call, const CameraUse &use) {
                     const std::string whole = TextOf(use.Camera(), getter);
                     if (size < whole.size() + 1)
                         return ZERIX_ERROR_BAD_PARAMETER;
                     std::memcpy(text, whole.c_str(), whole.size() + 1);
                     call.Message(message, whole);
                     return ZERIX_SUCCESS;
                 });
}

} // namespace

uint32_t Zerix_GetInfo(ZerixHandle camera, uint32_t key, uint32_t *value)
{
    return Enter(Start(__func__, Info{key}), OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
                        NotNull(value, ZERIX_ERROR_BAD_PARAMETER), Open(), Exclusive(),
                        HasContext()),
                 [&](ExportedCall &, const CameraUse &use) {
                     const uint32_t error = ValueOf({use.Camera(), use.Context()}, key, *value);
                     if (error == ZERIX_SUCCESS)
                         diag::ZerixDebugOutputGetInfo(key, *value);
                     return error;
                 });
}

uint32_t Zerix_GetSerialString(ZerixHandle camera, char *text, uint32_t size)
{
    return GiveText(Start(__func__), camera, text, size, &ZX::ZCamera::GetSerialNumberString,
                    "Serial: %s");
}

uint32_t Zerix_GetCameraModelString(ZerixHandle camera, char *text, uint32_t size)
{
    return GiveText(Start(__func__), camera, text, size, &ZX::ZCamera::GetModelString,
                    "Camera model: %s");
}
