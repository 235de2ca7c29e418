// From a finished image to the application's frame record.
#pragma once

#include <cstdint>

#include "api/context.h"
#include "camera/z_camera.h"
#include "image/z_ex_image.h"
#include "zerix/zerix.h"

namespace zerix::api {

// Copies the image into the frame's buffer and fills every other field.
// 0; or ZERIX_ERROR_BUFFER_TOO_SMALL with the frame left as it was.
uint32_t FillFrame(const ZX::ZExImage &image, ZX::ZCamera &camera, const ZerixContext &context,
                   Zerix_Frame &frame);

// Runs the post-processing pipeline over the image, where the settings ask for it. What the
// pipeline answers is nobody's concern: the image stays as the last good filter left it.
void PostProcess(ZX::ZExImage &image, ZerixContext &context);

} // namespace zerix::api
