// The process's cameras. A camera object lives from the listing that finds it until a later listing
// erases it closed, or the library is released.
//
// Threads: a lock orders listings, openings and the monitor thread. The application doesn't list or
// release while other calls run; where it does, no camera is freed under a call. The monitor sees a
// camera from the end of its opening to the beginning of its closing, so that it never meets a
// connection in the making.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "camera/z_camera.h"

namespace zerix::api {

// The list, for tests.
ZX::ZCameraList &Cameras();

// The camera of a row of the list; null if there is no such row.
ZX::ZCamera *ListedCamera(uint32_t row);

// Looks at the list under its lock.
void VisitCameras(const std::function<void(const ZX::ZCameraList &cameras)> &visit);

// Erases the closed cameras, lists the bus and appends what it finds. The camera layer's status.
uint16_t ListCamerasAgain();

// Closes and frees every camera. One that a call on another thread still uses after five seconds is
// closed, and stays in memory.
void FreeCameras();

// Shows an open camera to the monitor, or takes it away again.
void BeginWatching(ZX::ZCamera &camera);
void EndWatching(ZX::ZCamera &camera);

// How long an opening, a closing and a release wait for other calls.
inline constexpr uint32_t kCallsEndMilliseconds = 5000;

// Ends the calls that are at work with a camera, as far as they wait for a frame or hang in a
// register access; the others go on to their end. `await` waits so long for all of them. False if
// some remain after kCallsEndMilliseconds.
bool EndCalls(ZX::ZCamera &camera, const std::function<bool(uint32_t milliseconds)> &await);

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
