// What a camera's streaming threads call for the application's queue.
#pragma once

#include "camera/z_camera.h"

namespace zerix::api {

// For each finished image: gives it to the oldest queued frame and calls the application, and sends
// the settings that stand directly behind. The user data is the camera.
void ImageReceived(ZX::ZImageReceivedCallbackStruct *record);

// When an exposure has ended. The user data is the camera.
void ExposeDone(void *camera);

// True on the thread that is inside ImageReceived for this context, which then holds its callback
// semaphore.
struct ZerixContext;
bool IsReceivingFor(const ZerixContext &context);

} // namespace zerix::api
