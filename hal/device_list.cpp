// The list of the cameras on the bus. Each device is connected for a moment, to read its model and
// to see whether somebody else has it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "hal/debug_text.h"
#include "hal/fw_camera_device.h"

namespace zerix::hal {

namespace {

// An entry that frees its device record unless the list takes it.
struct ListedCamera {
    ListedCamera() = default;
    ~ListedCamera() { HAL_CameraRelease(&camera); }
    ListedCamera(const ListedCamera &) = delete;
    ListedCamera &operator=(const ListedCamera &) = delete;

    HALCamera camera{};
};

// The paths up to the first that is too long for a record: that one ends the list.
uint32_t UsablePaths(const kernel::DevicePath *paths, uint32_t count)
{
    uint32_t usable = 0;
    while (usable < count &&
           std::memchr(paths[usable].text, '\0', kernel::kLongestDevicePath + 1) != nullptr)
        ++usable;
    return usable;
}

// A walk over the list that broke off found nothing, and says so; without a list there is nothing
// to say.
uint32_t EnumeratePaths(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count)
{
    constexpr uint32_t kNoList = 0xFFFFFFFFu;
    uint32_t found = kNoList;
    const uint32_t error = kernel::Driver().Enumerate(paths, maximumCount, &found);
    *count = error == 0 ? UsablePaths(paths, std::min(found, maximumCount)) : 0;
    if (error == 0 || found != kNoList)
        os::DebugOutput(Formatted("FWCameraGetList - got %d devices using setup API\n",
                                  static_cast<int>(*count)));
    if (error == 0)
        return HAL_NO_ERROR;
    os::SetLastError(error);
    return HAL_ERROR_NOT_CONNECTED;
}

bool MakeDevice(HALCamera &camera, const char *path)
{
    auto *device = new (std::nothrow) FWCameraDevice(path);
    if (device != nullptr && !device->IsWhole()) {
        delete device;
        device = nullptr;
    }
    camera.device = device;
    return device != nullptr;
}

uint32_t ReadModel(HALCamera &camera, uint32_t modelAddress, uint32_t modelAddressAlt)
{
    if (modelAddress == 0 || HAL_CameraReadData(camera, modelAddress, &camera.modelWord, 1) == 0)
        return HAL_NO_ERROR;
    return HAL_CameraReadData(camera, modelAddressAlt, &camera.modelWord, 1);
}

// Fills in what only the device itself can tell.
uint32_t Interview(HALCamera &camera, uint32_t modelAddress, uint32_t modelAddressAlt)
{
    const uint32_t error =
        HAL_CameraConnect(&camera, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (error == HAL_ERROR_CAMERA_IN_USE) {
        camera.isConnected = 1;
        return HAL_NO_ERROR;
    }
    if (error != HAL_NO_ERROR)
        return error;
    if (const uint32_t readError = ReadModel(camera, modelAddress, modelAddressAlt)) {
        HAL_CameraDisconnect(&camera);
        return readError;
    }
    return HAL_CameraDisconnect(&camera);
}

struct ListRequest {
    uint32_t modelAddress;
    uint32_t modelAddressAlt;
    uint32_t maximumCount;
};

// Fills `list`, which has room for every path. An entry without the memory for its record is left
// out, and the error told at the end; any other failure ends the list.
uint32_t ListDevices(const ListRequest &request, const kernel::DevicePath *paths,
                     uint32_t pathCount, ListedCamera *list, uint32_t *count)
{
    uint32_t memoryError = HAL_NO_ERROR;
    for (uint32_t i = 0; i < pathCount; ++i) {
        HALCamera &camera = list[*count].camera;
        camera.cameraIndex = i;
        camera.kind = kLiveTransport;
        if (!MakeDevice(camera, paths[i].text)) {
            memoryError = HAL_ERROR_ISOCH_RESOURCES_ALLOCATE;
            continue;
        }
        if (const uint32_t error = Interview(camera, request.modelAddress, request.modelAddressAlt))
            return error;
        ++*count;
    }
    return memoryError;
}

// The array that the caller frees with HAL_MemoryFree; it takes the device records over.
HALCamera *HandOver(ListedCamera *list, uint32_t count)
{
    auto *cameras = static_cast<HALCamera *>(std::calloc(count + 1, sizeof(HALCamera)));
    for (uint32_t i = 0; cameras != nullptr && i < count; ++i)
        cameras[i] = std::exchange(list[i].camera, HALCamera{});
    return cameras;
}

uint32_t FWCameraGetList(HALCamera **list, const ListRequest &request, uint32_t *count)
{
    if (uint64_t{request.maximumCount} * sizeof(kernel::DevicePath) > PTRDIFF_MAX)
        return HAL_ERROR_ISOCH_RESOURCES_ALLOCATE;
    const std::unique_ptr<kernel::DevicePath[]> paths(new (std::nothrow)
                                                          kernel::DevicePath[request.maximumCount]);
    if (!paths)
        return HAL_ERROR_ISOCH_RESOURCES_ALLOCATE;
    uint32_t pathCount = 0;
    if (const uint32_t error = EnumeratePaths(paths.get(), request.maximumCount, &pathCount))
        return error;
    const std::unique_ptr<ListedCamera[]> found(new (std::nothrow) ListedCamera[pathCount + 1]);
    if (!found)
        return HAL_ERROR_ISOCH_RESOURCES_ALLOCATE;
    uint32_t foundCount = 0;
    if (const uint32_t error =
            ListDevices(request, paths.get(), pathCount, found.get(), &foundCount))
        return error;
    HALCamera *cameras = HandOver(found.get(), foundCount);
    if (cameras == nullptr)
        return HAL_ERROR_ISOCH_RESOURCES_ALLOCATE;
    *list = cameras;
    *count = foundCount;
    return HAL_NO_ERROR;
}

} // namespace

} // namespace zerix::hal

using namespace zerix::hal;

// A bus that can't be listed is one error, whatever the cause.
uint32_t HAL_CameraGetList(HALCamera **list, uint32_t modelAddress, uint32_t modelAddressAlt,
                           uint32_t maximumCount, uint32_t *count)
{
    const ListRequest request{.modelAddress = modelAddress,
                              .modelAddressAlt = modelAddressAlt,
                              .maximumCount = maximumCount};
    if (FWCameraGetList(list, request, count) != HAL_NO_ERROR)
        return HAL_ERROR_NOT_CONNECTED;
    return HAL_NO_ERROR;
}
