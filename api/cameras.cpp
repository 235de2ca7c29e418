// Listing, opening and closing cameras.
#include <exception>

#include "api/camera_list.h"
#include "api/context.h"
#include "api/exported_call.h"

using namespace zerix;
using namespace zerix::api;

namespace {

void FillRow(uint32_t index, ZX::ZCamera &camera, ZerixCameraListItem &row)
{
    row.cameraId = index;
    row.cameraType = camera.GetModel();
    row.isOpen = camera.IsCameraOpen() ? 1 : 0;
    if (row.isOpen == 0)
        row.uniqueId = static_cast<uint32_t>(camera.GetUniqueID());
}

// Rows beyond the caller's are counted and not written.
void FillTable(ZerixCameraListItem *table, uint32_t &count)
{
    const ZX::ZCameraList &cameras = Cameras();
    const auto found = static_cast<uint32_t>(cameras.size());
    for (uint32_t index = 0; index < found && index < count; ++index)
        FillRow(index, *cameras[index], table[index]);
    count = found;
}

uint32_t OpenListedCamera(ExportedCall &call, ZX::ZCamera &camera, ZerixHandle *handle)
{
    if (camera.IsCameraOpen()) {
        *handle = &camera;
        call.Message("Camera is already open");
        return ZERIX_ERROR_BAD_CAMERA_ID;
    }
    if (const uint32_t error = MapCameraStatus(camera.OpenCamera()))
        return error;
    call.Message("Opened %s camera", camera.GetModelString());
    BeginWatching(camera);
    if (const uint32_t error = AttachContext(camera))
        return error;
    *handle = &camera;
    return ZERIX_SUCCESS;
}

void CloseOpenCamera(ZX::ZCamera &camera)
{
    EndWatching(camera);
    EndHangingCalls(camera);
    camera.StopStreamingImages();
    camera.CloseCamera();
    if (camera.IsCameraOpen())
        BeginWatching(camera);
    DestroyContext(camera);
}

} // namespace

uint32_t Zerix_ListCameras(ZerixCameraListItem *table, uint32_t *count)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(table, ZERIX_ERROR_BAD_PARAMETER),
                                      NotNull(count, ZERIX_ERROR_BAD_PARAMETER)))
        return call.End(error);
    const uint32_t error = MapCameraStatus(ListCamerasAgain());
    FillTable(table, *count);
    call.Message("Found %d cameras", *count);
    return call.End(error);
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_OpenCamera(uint32_t cameraId, ZerixHandle *camera)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_PARAMETER)))
        return call.End(error);
    if (cameraId >= Cameras().size())
        return call.End(ZERIX_ERROR_BAD_CAMERA_ID);
    return call.End(OpenListedCamera(call, *Cameras()[cameraId], camera));
} catch (const std::exception &) {
    return kExceptionError;
}

uint32_t Zerix_CloseCamera(ZerixHandle camera)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE),
                                      Exclusive(camera), Open(camera)))
        return call.End(error);
    CloseOpenCamera(*CameraOf(camera));
    call.Message("Closed %s camera", CameraOf(camera)->GetModelString());
    return call.End(ZERIX_SUCCESS);
} catch (const std::exception &) {
    return kExceptionError;
}

// A service door: it tests as little as it can.
uint32_t _Zerix_factory_reserved0(ZerixHandle camera, uint32_t operation, uintptr_t buffer,
                                  uint32_t length, uint32_t checksum)
try {
    ExportedCall call(__func__);
    if (const auto error = call.Check(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE)))
        return call.End(error);
    const uint16_t status = CameraOf(camera)->SetReserved0(
        operation, reinterpret_cast<uint32_t *>(buffer), length, checksum);
    return call.End(status != 0 ? ZERIX_ERROR_NOT_SUPPORTED : ZERIX_SUCCESS);
} catch (const std::exception &) {
    return kExceptionError;
}
