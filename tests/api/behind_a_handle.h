// What a handle stands for, for tests that look behind the interface while no other thread opens or
// closes the camera.
#pragma once

#include "api/context.h"
#include "camera/z_camera.h"
#include "zerix/zerix.h"

namespace zerix::api {

// A handle is the camera object's address.
inline ZX::ZCamera *CameraOf(ZerixHandle handle) { return static_cast<ZX::ZCamera *>(handle); }

// Null if the camera has none.
inline ZerixContext *ContextOf(const ZX::ZCamera &camera)
{
    return static_cast<ZerixContext *>(camera.GetRefCon());
}

} // namespace zerix::api
