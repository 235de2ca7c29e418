// From the devices on the bus to camera objects: one of the class that fits the model for each,
// read, brought to its default state and closed again. Not beside other calls on the same list.
#include <memory>
#include <vector>

#include "camera/hal_error.h"
#include "camera/models/model_table.h"
#include "camera/tolvane_fw_camera.h"
#include "image/z_bayer_interpolation.h"
#include "image/z_benchmate_ratio_correction.h"
#include "image/z_image_pipeline.h"
#include "zerix/zerix_hal.h"

namespace ZX {

namespace {

constexpr uint32_t kMostDevices = 10;
constexpr uint32_t kModelShift = 16;

// Closes a camera and ends it, whatever state it is in.
void EndCamera(ZCamera *camera)
{
    camera->CloseCamera();
    // After a failed close, its threads must be gone before its class is.
    if (auto *fireWireCamera = dynamic_cast<TolvaneFWCamera *>(camera))
        fireWireCamera->EndThreads();
    delete camera;
}

struct CameraEnder {
    void operator()(ZCamera *camera) const { EndCamera(camera); }
};
using OwnedCamera = std::unique_ptr<TolvaneFWCamera, CameraEnder>;

// The devices of a listing. Whatever no camera object has taken is released at the end, whichever
// way the listing ends.
class DeviceArray {
public:
    DeviceArray() = default;
    DeviceArray(const DeviceArray &) = delete;
    DeviceArray &operator=(const DeviceArray &) = delete;
    ~DeviceArray()
    {
        for (uint32_t index = 0; index < m_count; ++index)
            if (m_devices[index].device != nullptr)
                HAL_CameraRelease(&m_devices[index]);
        if (m_devices != nullptr)
            HAL_MemoryFree(m_devices);
    }

    [[nodiscard]] uint32_t List()
    {
        return HAL_CameraGetList(&m_devices, zerix::registers::kModelAddress,
                                 zerix::registers::kModelAddressAlt, kMostDevices, &m_count);
    }
    HALCamera *begin() { return m_devices; }
    HALCamera *end() { return m_devices + m_count; }

private:
    HALCamera *m_devices = nullptr;
    uint32_t m_count = 0;
};

// Opens the camera and tells which model it wants to be treated as.
uint16_t ReadMasqueradedModel(ZCamera &camera, uint16_t *model)
{
    if (const uint16_t status = camera.OpenCamera())
        return status;
    if (const uint16_t status = camera.ReadCameraInfo())
        return status;
    *model = camera.ReturnMasqueradedModel();
    return kStatusOk;
}

// Builds the object of the class that settles: a camera that is to be treated as another model is
// built once more, from the same device.
uint16_t BuildCamera(HALCamera &device, OwnedCamera *built)
{
    for (;;) {
        if (device.kind > 1)
            return kStatusUnknownKind;
        OwnedCamera camera(
            zerix::models::MakeCamera(device, device.modelWord >> kModelShift).release());
        void *const record = device.device;
        device.device = nullptr; // the object's, from here on
        if (camera->IsCameraOpen()) {
            *built = std::move(camera);
            return kStatusOk;
        }
        uint16_t masqueradedModel = 0;
        if (const uint16_t status = ReadMasqueradedModel(*camera, &masqueradedModel))
            return status;
        const bool isSettled = masqueradedModel == camera->GetModel();
        if (const uint16_t status = camera->CloseCamera())
            return status;
        if (isSettled) {
            *built = std::move(camera);
            return kStatusOk;
        }
        device.modelWord = uint32_t{masqueradedModel} << kModelShift;
        camera->SetShouldDeleteHALCamera(false);
        camera.reset();
        device.device = record;
    }
}

// The default state, written to the camera, and the pipeline that turns its mosaic to colour.
uint16_t PrepareCamera(ZCamera &camera)
{
    if (camera.IsCameraOpen())
        return kStatusOk;
    if (const uint16_t status = camera.OpenCamera())
        return status;
    if (const uint16_t status = camera.SetupCamera())
        return status;
    ZImagePipeline *const pipeline = camera.GetBayerPipeline();
    pipeline->Setup(camera.GetCCDWidth(), camera.GetCCDHeight());
    pipeline->AddFilter(camera.GetBenchmateRatioCorrectionFilter());
    pipeline->AddFilter(camera.GetBayerFilter());
    return camera.CloseCamera();
}

} // namespace

uint16_t ZCamera::GetCameraList(ZCameraList &list)
{
    DeviceArray devices;
    if (const uint32_t error = devices.List())
        return zerix::ReportHalError(error);
    for (HALCamera &device : devices) {
        if (device.isConnected != 0)
            continue;
        OwnedCamera camera;
        if (const uint16_t status = BuildCamera(device, &camera))
            return status;
        if (const uint16_t status = PrepareCamera(*camera))
            return status;
        list.push_back(camera.release());
    }
    return kStatusOk;
}

uint16_t ZCamera::FreeCameraList(ZCameraList &list)
{
    while (!list.empty()) {
        EndCamera(list.front());
        list.erase(list.begin());
    }
    return kStatusOk;
}

uint16_t ZCamera::EraseCameraList(ZCameraList &list)
{
    list.clear();
    return kStatusOk;
}

uint16_t ZCamera::EraseClosedCamerasFromList(ZCameraList &list)
{
    for (auto camera = list.begin(); camera != list.end();) {
        if ((*camera)->IsCameraOpen()) {
            ++camera;
            continue;
        }
        EndCamera(*camera);
        camera = list.erase(camera);
    }
    return kStatusOk;
}

} // namespace ZX
