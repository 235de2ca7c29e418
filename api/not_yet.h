// The frame of an exported call whose work isn't written yet: 8 while the library isn't loaded, 1
// otherwise.
#pragma once

#include "api/exported_call.h"

namespace zerix::api {

inline uint32_t NotYet(ExportedCall &&call)
{
    if (const auto error = call.Check(Loaded()))
        return call.End(error);
    return call.End(ZERIX_ERROR_NOT_SUPPORTED);
}

} // namespace zerix::api
