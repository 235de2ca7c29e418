// A call that no camera supports: 8 while the library isn't loaded, 1 otherwise.
#pragma once

#include "api/entry.h"

namespace zerix::api {

inline uint32_t NotSupported(const Start &start)
{
    return Enter(start, OfNoCamera{}, Checks(Loaded()),
                 [](ExportedCall &, const CameraUse &) { return ZERIX_ERROR_NOT_SUPPORTED; });
}

} // namespace zerix::api
