// Listing, opening and closing cameras.
#include <memory>
#include <utility>

#include "api/camera_list.h"
#include "api/context.h"
#include "api/entry.h"
#include "hal/kernel_driver.h"

using namespace zerix;
using namespace zerix::api;

namespace {

// The camera of a row of the last listing; none for a number that is too large.
struct OfRow {
    [[nodiscard]] ZerixHandle Handle() const { return ListedCamera(row); }
    uint32_t row;
};

// This thread is none of the camera's own, which a close waits for; 21.
struct OutsideItsCallbacks {
    uint32_t operator()(ExportedCall &, const CameraUse &use) const
    {
        return use.IsInCallback() ? ZERIX_ERROR_BUSY : ZERIX_SUCCESS;
    }
};

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
    VisitCameras([&](const ZX::ZCameraList &cameras) {
        const auto found = static_cast<uint32_t>(cameras.size());
        for (uint32_t index = 0; index < found && index < count; ++index)
            FillRow(index, *cameras[index], table[index]);
        count = found;
    });
}

uint32_t OpenListedCamera(ExportedCall &call, const CameraUse &use, ZerixHandle *handle)
{
    ZX::ZCamera &camera = use.Camera();
    const auto refuse = [&] {
        *handle = &camera;
        call.Message("Camera is already open");
        return ZERIX_ERROR_BAD_CAMERA_ID;
    };
    // Before a change begins, in which other threads would find the open camera closed.
    if (use.IsOpen())
        return refuse();
    const CameraChange opening(use);
    if (!opening.HasBegun() || camera.IsCameraOpen())
        return refuse();
    // What is asked of a closed camera takes no time.
    static_cast<void>(opening.AwaitCalls(kCallsEndMilliseconds));
    if (const uint32_t error = MapCameraStatus(camera.OpenCamera()))
        return error;
    call.Message("Opened %s camera", camera.GetModelString());
    BeginWatching(camera);
    auto context = MakeContext(camera);
    if (context == nullptr)
        return ZERIX_ERROR_OUT_OF_MEMORY;
    opening.Attach(std::move(context));
    *handle = &camera;
    return ZERIX_SUCCESS;
}

uint32_t CloseOpenCamera(ExportedCall &call, const CameraUse &use)
{
    ZX::ZCamera &camera = use.Camera();
    const CameraChange closing(use);
    if (!closing.HasBegun() || !camera.IsCameraOpen())
        return ZERIX_ERROR_BAD_HANDLE;
    EndWatching(camera);
    // Before the stream is stopped, which one of them may be starting.
    EndCalls(camera, [&](uint32_t milliseconds) { return closing.AwaitCalls(milliseconds); });
    EndHangingCalls(camera);
    camera.StopStreamingImages();
    camera.CloseCamera();
    if (camera.IsCameraOpen())
        BeginWatching(camera);
    if (const auto context = closing.Detach())
        DisconnectFilters(camera, *context);
    call.Message("Closed %s camera", camera.GetModelString());
    return ZERIX_SUCCESS;
}

} // namespace

uint32_t Zerix_ListCameras(ZerixCameraListItem *table, uint32_t *count)
{
    return Enter(Start(__func__), OfNoCamera{},
                 Checks(Loaded(), NotNull(table, ZERIX_ERROR_BAD_PARAMETER),
                        NotNull(count, ZERIX_ERROR_BAD_PARAMETER)),
                 [&](ExportedCall &call, const CameraUse &) {
                     const uint32_t error = MapCameraStatus(ListCamerasAgain());
                     FillTable(table, *count);
                     call.Message("Found %d cameras", *count);
                     return error;
                 });
}

uint32_t Zerix_ListBusNodes(ZerixBusNode *table, uint32_t *count)
{
    return Enter(Start(__func__), OfNoCamera{},
                 Checks(Loaded(), NotNull(table, ZERIX_ERROR_BAD_PARAMETER),
                        NotNull(count, ZERIX_ERROR_BAD_PARAMETER)),
                 [&](ExportedCall &call, const CameraUse &) -> uint32_t {
                     uint32_t found = 0;
                     const uint32_t error = kernel::Driver().DescribeNodes(table, *count, &found);
                     if (error == kernel::kErrorNotSupported)
                         return ZERIX_ERROR_NOT_SUPPORTED;
                     if (error != 0)
                         return ZERIX_ERROR_DRIVER_FAULT;
                     *count = found;
                     call.Message("Found %d nodes", found);
                     return ZERIX_SUCCESS;
                 });
}

uint32_t Zerix_OpenCamera(uint32_t cameraId, ZerixHandle *camera)
{
    return Enter(Start(__func__), OfRow{cameraId},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_PARAMETER),
                        Living(ZERIX_ERROR_BAD_CAMERA_ID)),
                 [&](ExportedCall &call, const CameraUse &use) {
                     return OpenListedCamera(call, use, camera);
                 });
}

uint32_t Zerix_CloseCamera(ZerixHandle camera)
{
    return Enter(Start(__func__), OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Exclusive(), Open(),
                        OutsideItsCallbacks()),
                 CloseOpenCamera);
}

// A service door: it tests as little as it can.
uint32_t _Zerix_factory_reserved0(ZerixHandle camera, uint32_t operation, uintptr_t buffer,
                                  uint32_t length, uint32_t checksum)
{
    return Enter(Start(__func__), OfCamera{camera},
                 Checks(Loaded(), NotNull(camera, ZERIX_ERROR_BAD_HANDLE), Settled()),
                 [&](ExportedCall &, const CameraUse &use) {
                     const uint16_t status = use.Camera().SetReserved0(
                         operation, reinterpret_cast<uint32_t *>(buffer), length, checksum);
                     return status != 0 ? ZERIX_ERROR_NOT_SUPPORTED : ZERIX_SUCCESS;
                 });
}
