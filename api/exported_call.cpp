// The frame of every exported call.
#include "api/exported_call.h"

#include "tables/settings_accessors.h"

namespace zerix::api {

static constexpr uint32_t kSuccess = ZERIX_SUCCESS;

ExportedCall::ExportedCall(const char *name) : m_name(name) { diag::ZLogStart(name); }

ExportedCall::ExportedCall(const char *name, Param32 param) : m_name(name)
{
    diag::ZLogStartParam32(name, param.key);
}

ExportedCall::ExportedCall(const char *name, ParamS32 param) : m_name(name)
{
    diag::ZLogStartParamS32(name, param.key);
}

ExportedCall::ExportedCall(const char *name, Param64 param) : m_name(name)
{
    diag::ZLogStartParam64(name, param.key);
}

ExportedCall::ExportedCall(const char *name, Info info) : m_name(name)
{
    diag::ZLogStartGetInfo(name, info.key);
}

ExportedCall::ExportedCall(const char *name, TracedIf condition)
    : m_name(name), m_isTraced(condition.isTraced)
{
    if (m_isTraced)
        diag::ZLogStart(name);
}

ExportedCall::~ExportedCall()
{
    if (!m_isEnded)
        End(kExceptionError);
}

uint32_t ExportedCall::EndAs(const char *name, uint32_t code)
{
    if (m_isEnded)
        return code;
    m_isEnded = true;
    const auto narrow = static_cast<uint16_t>(code);
    if (m_isTraced)
        diag::ZLogEnd(name, narrow);
    else if (code != ZERIX_SUCCESS)
        diag::ZLogEndError(name, narrow);
    return code;
}

uint32_t Loaded::operator()(ExportedCall &) const
{
    return ZX::ZCamera::IsInitalized() ? ZERIX_SUCCESS : ZERIX_ERROR_NOT_LOADED;
}

uint32_t NotNull::operator()(ExportedCall &) const { return pointer != nullptr ? kSuccess : code; }

uint32_t Open::operator()(ExportedCall &) const
{
    return handle != nullptr && CameraOf(handle)->IsCameraOpen() ? kSuccess : code;
}

uint32_t Exclusive::operator()(ExportedCall &call) const
{
    if (CameraOf(handle)->DoWeHaveExclusiveAccess())
        return ZERIX_SUCCESS;
    diag::ZLogMessage(call.Name(), "Another process has this camera open.");
    return ZERIX_ERROR_BAD_HANDLE;
}

uint32_t GoodSettings::operator()(ExportedCall &call) const
{
    if (settings == nullptr)
        return ZERIX_ERROR_BAD_SETTINGS;
    if (tables::HasMagic(settings))
        return ZERIX_SUCCESS;
    if (tables::IsCurrentLayout(settings))
        call.EndAs("CheckForBadSettingsEx", ZERIX_ERROR_BAD_SETTINGS);
    return ZERIX_ERROR_BAD_SETTINGS;
}

uint32_t OpenRecord::operator()(ExportedCall &call) const
{
    return Open(tables::GetCamera(settings), ZERIX_ERROR_BAD_SETTINGS)(call);
}

uint32_t HasContext::operator()(ExportedCall &) const
{
    return CameraOf(handle)->GetRefCon() != nullptr ? ZERIX_SUCCESS : ZERIX_ERROR_DRIVER_FAULT;
}

} // namespace zerix::api
