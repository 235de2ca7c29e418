// The trace lines of an exported call.
#include "api/exported_call.h"

namespace zerix::api {

ExportedCall::ExportedCall(const Start &start) : m_start(start)
{
    switch (start.m_kind) {
    case Start::Kind::kOpensLog:
        diag::ZLogOpen();
        diag::ZLogStart(Name());
        break;
    case Start::Kind::kPlain:
        diag::ZLogStart(Name());
        break;
    case Start::Kind::kParam32:
        diag::ZLogStartParam32(Name(), start.m_key);
        break;
    case Start::Kind::kParamS32:
        diag::ZLogStartParamS32(Name(), start.m_key);
        break;
    case Start::Kind::kParam64:
        diag::ZLogStartParam64(Name(), start.m_key);
        break;
    case Start::Kind::kInfo:
        diag::ZLogStartGetInfo(Name(), start.m_key);
        break;
    case Start::Kind::kFailuresOnly:
    case Start::Kind::kUnlogged:
        break;
    }
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
    if (m_start.m_kind == Start::Kind::kUnlogged)
        return code;
    if (m_start.m_kind != Start::Kind::kFailuresOnly)
        diag::ZLogEnd(name, narrow);
    else if (code != ZERIX_SUCCESS)
        diag::ZLogEndError(name, narrow);
    return code;
}

} // namespace zerix::api
