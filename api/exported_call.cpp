// The frame of every exported call.
#include "api/exported_call.h"

#include "tables/settings_accessors.h"

namespace zerix::api {

static constexpr uint32_t kSuccess = ZERIX_SUCCESS;

namespace {

// Frames of this thread that are open.
thread_local uint32_t t_openFrames = 0;

} // namespace

// Calls inside a call are many where a value is checked. While nothing is traced they aren't
// counted in the log's depth: it would take longer than the work that they do.
ExportedCall::ExportedCall(const char *name, bool isTraced)
    : m_name(name), m_isTraced(isTraced),
      m_isCounted(isTraced && (t_openFrames == 0 || diag::Switches().outputEnabled.IsOn()))
{
    ++t_openFrames;
}

ExportedCall::ExportedCall(const char *name) : ExportedCall(name, true)
{
    if (m_isCounted)
        diag::ZLogStart(name);
}

ExportedCall::ExportedCall(const char *name, Param32 param) : ExportedCall(name, true)
{
    if (m_isCounted)
        diag::ZLogStartParam32(name, param.key);
}

ExportedCall::ExportedCall(const char *name, ParamS32 param) : ExportedCall(name, true)
{
    if (m_isCounted)
        diag::ZLogStartParamS32(name, param.key);
}

ExportedCall::ExportedCall(const char *name, Param64 param) : ExportedCall(name, true)
{
    if (m_isCounted)
        diag::ZLogStartParam64(name, param.key);
}

ExportedCall::ExportedCall(const char *name, Info info) : ExportedCall(name, true)
{
    if (m_isCounted)
        diag::ZLogStartGetInfo(name, info.key);
}

ExportedCall::ExportedCall(const char *name, TracedIf condition)
    : ExportedCall(name, condition.isTraced)
{
    if (m_isCounted)
        diag::ZLogStart(name);
}

ExportedCall::~ExportedCall()
{
    if (!m_isEnded)
        End(kExceptionError);
    --t_openFrames;
}

uint32_t ExportedCall::EndAs(const char *name, uint32_t code)
{
    if (m_isEnded)
        return code;
    m_isEnded = true;
    const auto narrow = static_cast<uint16_t>(code);
    if (m_isCounted)
        diag::ZLogEnd(name, narrow);
    else if (!m_isTraced && code != ZERIX_SUCCESS)
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
