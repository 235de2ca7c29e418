// The root of the exported classes.
#pragma once

#include "zerix/zerix_export.h"

namespace ZX {

class ZERIX_API ZObject {
public:
    ZObject() = default;
    ZObject(const ZObject &) = delete;
    ZObject &operator=(const ZObject &) = delete;
    virtual ~ZObject() = default;
};

} // namespace ZX
