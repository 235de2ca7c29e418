// Statuses of the camera layer as errors of the public interface, and a handle as its camera.
#pragma once

#include <cstdint>

#include "camera/z_camera.h"
#include "zerix/zerix.h"

namespace zerix::api {

// A feature that a model lacks (15) is no error to an application.
constexpr uint32_t MapCameraStatus(uint16_t status)
{
    switch (status) {
    case ZX::kStatusOk:
    case ZX::kStatusNotSupported:
        return ZERIX_SUCCESS;
    case ZX::kStatusNoBandwidth:
    case ZX::kStatusAlreadyInitialised:
        return ZERIX_ERROR_INITIALISATION;
    case ZX::kStatusThreadTimeout:
        return ZERIX_ERROR_CAMERA_FAULT;
    default:
        return ZERIX_ERROR_DRIVER_FAULT;
    }
}

// A handle is the camera object's address.
inline ZX::ZCamera *CameraOf(ZerixHandle handle) { return static_cast<ZX::ZCamera *>(handle); }

} // namespace zerix::api
