// Statuses of the camera layer as errors of the public interface.
#pragma once

#include <cstdint>

#include "camera/z_camera.h"
#include "zerix/zerix.h"

namespace zerix::api {

// What an exported function answers when the memory gives out under it; no exception leaves the
// library.
inline constexpr uint32_t kExceptionError = ZERIX_ERROR_OUT_OF_MEMORY;

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
    case ZX::kStatusNoPixels:
        return ZERIX_ERROR_ROI_TOO_SMALL;
    case ZX::kStatusBusy:
        return ZERIX_ERROR_BUSY;
    default:
        return ZERIX_ERROR_DRIVER_FAULT;
    }
}

} // namespace zerix::api
