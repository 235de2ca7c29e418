// The checks of an exported call.
#include "api/checks.h"

#include "tables/settings_accessors.h"

namespace zerix::api {

static constexpr uint32_t kSuccess = ZERIX_SUCCESS;

uint32_t Loaded::operator()(ExportedCall &, const CameraUse &) const
{
    return ZX::ZCamera::IsInitalized() ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_LOADED;
}

uint32_t NotNull::operator()(ExportedCall &, const CameraUse &) const
{
    return pointer != nullptr ? kSuccess : code;
}

uint32_t Living::operator()(ExportedCall &, const CameraUse &use) const
{
    return use.IsLiving() ? kSuccess : code;
}

uint32_t Open::operator()(ExportedCall &, const CameraUse &use) const
{
    return use.IsOpen() ? kSuccess : code;
}

uint32_t Exclusive::operator()(ExportedCall &call, const CameraUse &use) const
{
    if (!use.IsLiving() || use.IsChanging())
        return ZERIX_ERROR_BAD_HANDLE;
    if (use.Camera().DoWeHaveExclusiveAccess())
        return ZERIX_SUCCESS;
    diag::ZLogMessage(call.Name(), "Another process has this camera open.");
    return ZERIX_ERROR_BAD_HANDLE;
}

uint32_t Settled::operator()(ExportedCall &, const CameraUse &use) const
{
    return use.IsLiving() && !use.IsChanging() ? ZERIX_SUCCESS : ZERIX_ERROR_BAD_HANDLE;
}

uint32_t HasContext::operator()(ExportedCall &, const CameraUse &use) const
{
    return use.ContextOrNull() != nullptr ? ZERIX_SUCCESS : ZERIX_ERROR_DRIVER_FAULT;
}

uint32_t GoodSettings::operator()(ExportedCall &call, const CameraUse &) const
{
    if (settings == nullptr)
        return ZERIX_ERROR_BAD_SETTINGS;
    if (tables::HasMagic(settings))
        return ZERIX_SUCCESS;
    if (tables::IsCurrentLayout(settings))
        call.EndAs("CheckForBadSettingsEx", ZERIX_ERROR_BAD_SETTINGS);
    return ZERIX_ERROR_BAD_SETTINGS;
}

} // namespace zerix::api
