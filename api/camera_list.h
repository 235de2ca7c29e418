// The process's cameras. A camera object lives from the listing that finds it until a later listing
// erases it closed, or the library is released.
//
// Threads: the application doesn't list or release beside other calls; the lock in here stands
// between the list and the monitor thread alone. The monitor sees a camera from the end of its
// opening to the beginning of its closing, so that it never meets a connection in the making.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "camera/z_camera.h"

namespace zerix::api {

// For calls of the application.
ZX::ZCameraList &Cameras();

// Erases the closed cameras, lists the bus and appends what it finds. The camera layer's status.
uint16_t ListCamerasAgain();

// Closes and frees every camera, with the contexts of those that were still open.
void FreeCameras();

// Shows an open camera to the monitor, or takes it away again.
void BeginWatching(ZX::ZCamera &camera);
void EndWatching(ZX::ZCamera &camera);

// Before a camera is closed: ends the register accesses that other calls hang in, and shuts out
// further ones.
void EndHangingCalls(ZX::ZCamera &camera);

// For a call that waits for another one: ends the register accesses that the other one hangs in,
// and nothing else. Takes half a second at the most.
void EndHangingAccesses(ZX::ZCamera &camera);

// Puts a camera at the end of the list, as a listing would. The list owns it.
void AppendCameraForTest(ZX::ZCamera *camera);

// For the monitor: the serial strings of the watched cameras that the kernel driver has as open, in
// the list's order.
std::vector<std::string> SerialsOfOpenCameras();

} // namespace zerix::api
