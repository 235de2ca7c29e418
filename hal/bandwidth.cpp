// Bus speed, packet limits, and taking and giving back what a connection holds of the bus.
#include "hal/bandwidth.h"

#include "hal/camera_connection.h"
#include "hal/debug_text.h"
#include "hal/iso_stream.h"
#include "hal/receive_thread.h"

namespace zerix::hal {

namespace {

constexpr uint16_t kFastestPacketAt800 = 0x2354;
constexpr uint16_t kFastestPacketAt400 = 5000;

bool TakeBandwidth(FWCameraDevice &device)
{
    kernel::BandwidthRequest request{.slotBytes = device.packetSize,
                                     .speedFlag = kernel::kSpeedFlag800,
                                     .handle = 0,
                                     .unset = {}};
    const bool taken =
        device.Exchange(kernel::kControlAllocateBandwidth, request, kBeginPatienceMilliseconds);
    device.bandwidthHandle = taken ? request.handle : 0;
    device.holdings.bandwidth = taken;
    return taken;
}

bool TakeChannel(FWCameraDevice &device)
{
    device.channel = kNoChannel;
    kernel::ChannelRequest request{.request = kernel::kAnyChannel, .channel = 0, .unset = {}};
    if (!device.Exchange(kernel::kControlAllocateChannel, request, kBeginPatienceMilliseconds))
        return false;
    device.channel = request.channel;
    device.holdings.channel = true;
    return true;
}

bool TakeResourcesAt(FWCameraDevice &device, uint32_t speedFlag, uint16_t tag)
{
    device.speedFlag.store(speedFlag, std::memory_order_relaxed);
    kernel::ResourcesRequest request{
        .speedFlag = speedFlag,
        .flags = kernel::kResourceFlags,
        .channel = device.channel,
        .slotBytes = device.packetSize,
        .bufferCount = kernel::kAnnouncedBuffers,
        .bufferBytes = uint32_t{device.packetSize} * kernel::kSlotsPerBuffer,
        .stripQuadlets = 0,
        .tag = tag,
        .handle = 0,
    };
    const bool taken =
        device.Exchange(kernel::kControlAllocateResources, request, kBeginPatienceMilliseconds);
    device.resourcesHandle = taken ? request.handle : 0;
    device.holdings.resources = taken;
    device.heldSlotBytes.store(taken ? device.packetSize : 0, std::memory_order_relaxed);
    return taken;
}

// The driver refuses the fast speed on a bus that has a slower device in the way: the second try is
// how the bus speed is found.
bool TakeResources(FWCameraDevice &device, uint16_t tag)
{
    if (TakeResourcesAt(device, kernel::kSpeedFlag800, tag))
        return true;
    device.speedFlag.store(kernel::kSpeedFlag400, std::memory_order_relaxed);
    if (device.packetSize > kBiggestSlotAt400)
        return false;
    return TakeResourcesAt(device, kernel::kSpeedFlag400, tag);
}

bool IsFast(const HALCamera &camera)
{
    const FWCameraDevice *device = LiveDeviceOf(camera);
    return device != nullptr &&
           device->speedFlag.load(std::memory_order_relaxed) == kernel::kSpeedFlag800;
}

// Gives one booking back, if there is one. True if it is no longer held.
bool GiveBack(FWCameraDevice &device, uint32_t code, uint32_t booking, bool &isHeld)
{
    if (isHeld)
        isHeld = !device.Exchange(code, booking);
    return !isHeld;
}

} // namespace

void StorePacketSize(HALCamera &camera, uint16_t packetSize)
{
    camera.packetBufferSize = packetSize + kernel::kSlotOverheadBytes;
    if (FWCameraDevice *device = LiveDeviceOf(camera))
        device->packetSize = static_cast<uint16_t>(camera.packetBufferSize);
}

uint32_t TakeBusResources(FWCameraDevice &device, uint16_t tag)
{
    if (!TakeBandwidth(device)) {
        os::DebugOutput(Formatted("Allocating Resources Failed with error %d",
                                  HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE));
        return HAL_ERROR_ISOCH_BANDWIDTH_ALLOCATE;
    }
    if (!TakeChannel(device))
        return HAL_ERROR_ISOCH_CHANNEL_ALLOCATE;
    return TakeResources(device, tag) ? HAL_NO_ERROR : HAL_ERROR_ISOCH_RESOURCES_ALLOCATE;
}

uint32_t GiveBackBusResources(FWCameraDevice &device)
{
    BusHoldings &held = device.holdings;
    if (!GiveBack(device, kernel::kControlFreeResources, device.resourcesHandle, held.resources))
        return HAL_ERROR_ISOCH_RESOURCES_FREE;
    device.heldSlotBytes.store(0, std::memory_order_relaxed);
    if (!GiveBack(device, kernel::kControlFreeChannel, device.channel, held.channel))
        return HAL_ERROR_ISOCH_CHANNEL_FREE;
    if (!GiveBack(device, kernel::kControlFreeBandwidth, device.bandwidthHandle, held.bandwidth))
        return HAL_ERROR_ISOCH_BANDWIDTH_FREE;
    return HAL_NO_ERROR;
}

uint16_t HeldPacketBytes(const HALCamera &camera)
{
    const FWCameraDevice *device = LiveDeviceOf(camera);
    const uint32_t slot =
        device != nullptr ? device->heldSlotBytes.load(std::memory_order_relaxed) : 0;
    return static_cast<uint16_t>(
        slot > kernel::kSlotOverheadBytes ? slot - kernel::kSlotOverheadBytes : 0);
}

} // namespace zerix::hal

using namespace zerix; // NOLINT(google-build-using-namespace)
using namespace zerix::hal;

uint32_t HAL_CameraConnectionSpeed(HALCamera camera, uint16_t *speed)
{
    if (camera.kind == kLiveTransport)
        *speed = IsFast(camera) ? 800 : 400;
    if (camera.kind != kDormantTransport)
        return HAL_NO_ERROR;
    const uint32_t packet = camera.packetBufferSize;
    *speed = packet == kFastestPacketAt400 ? 400 : packet == kFastestPacketAt800 ? 800 : 0;
    return *speed == 0 ? HAL_ERROR_UNKNOWN_SPEED : HAL_NO_ERROR;
}

uint32_t HAL_CameraFastestPacketSizeSupported(HALCamera camera, uint16_t *size)
{
    if (camera.kind == kLiveTransport)
        *size = IsFast(camera) ? kFastestPacketAt800 : kFastestPacketAt400;
    if (camera.kind == kDormantTransport)
        *size = kFastestPacketAt400;
    return HAL_NO_ERROR;
}

uint32_t HAL_CameraReallocateBandwidth(HALCamera *camera, uint16_t packetSize, uint16_t tag)
{
    if (camera->kind == kLiveTransport)
        return FWCameraReallocateBandwidth(camera, packetSize, tag);
    if (camera->kind == kDormantTransport)
        StorePacketSize(*camera, packetSize);
    return HAL_NO_ERROR;
}

uint32_t FWCameraReallocateBandwidth(HALCamera *camera, uint16_t packetSize, uint16_t tag)
{
    FWCameraDevice *device = LiveDeviceOf(*camera);
    if (device == nullptr)
        return HAL_ERROR_ISOCH_RESOURCES_FREE;
    if (IsInFrameCallbackOf(*device))
        return FailBusy(HAL_ERROR_ISOCH_RESOURCES_FREE);
    const Turn turn(*device, Turn::Haste::kEndsAccesses);
    if (!turn)
        return FailBusy(HAL_ERROR_ISOCH_RESOURCES_FREE);
    if (!device->handleIsOpen.load(std::memory_order_acquire)) {
        os::SetLastError(kernel::kErrorInvalidHandle);
        return HAL_ERROR_ISOCH_RESOURCES_FREE;
    }
    // The buffers go with the resources, and a stream would take that for a loss.
    StopStreaming(*camera, *device, device->streamRegister);
    if (const uint32_t error = GiveBackBusResources(*device))
        return error;
    StorePacketSize(*camera, packetSize);
    return TakeBusResources(*device, tag);
}
