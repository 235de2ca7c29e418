// From a model number to a camera object of its class.
#pragma once

#include <cstdint>
#include <memory>

#include "camera/models/model_camera.h"
#include "tables/camera_models.h"

namespace zerix::models {

// An object of the class that the row's number selects: a class of its own, where it has one, else
// ModelCamera itself. It has the device's record, but hasn't opened it. The row must outlive it.
std::unique_ptr<ZX::TolvaneFWCamera> MakeCamera(HALCamera camera,
                                                const tables::CameraModelRow &row);

// The same for the row of a model number; an Unknown for a number without one.
std::unique_ptr<ZX::TolvaneFWCamera> MakeCamera(HALCamera camera, uint32_t model);

} // namespace zerix::models
