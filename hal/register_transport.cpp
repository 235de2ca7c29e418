// Reads and writes of camera registers: quadlets at a 32-bit address, big-endian on the wire, each
// transfer one request. There is no time limit: a request waits for the driver, until somebody
// cancels it.
//
// Writes of a device are strictly ordered by its mutex. Reads take no lock and may overlap them.
#include "hal/register_transport.h"

#include <atomic>
#include <cstring>
#include <mutex>

#include "hal/debug_text.h"
#include "hal/transfer_trace.h"

namespace zerix::hal {

namespace {

// The two switches of the trace. Relaxed: they order nothing, a call sees them sooner or later.
std::atomic<uint8_t> g_shouldOutputReads{0};
std::atomic<uint8_t> g_shouldOutputWrites{0};

constexpr uint32_t kQuadletBytes = 4;
constexpr uint32_t kBetweenLooksMilliseconds = 100;
// More quadlets than that have no length in 32 bits.
constexpr uint32_t kMostQuadlets = (0xFFFFFFFFu - kernel::kAsyncRequestBytes) / kQuadletBytes;

constexpr uint32_t Swapped(uint32_t word)
{
    return word << 24 | (word & 0xFF00u) << 8 | (word >> 8 & 0xFF00u) | word >> 24;
}
static_assert(Swapped(0x11223344) == 0x44332211);

kernel::AsyncRequest RequestFor(uint32_t address, uint32_t count)
{
    kernel::AsyncRequest request{};
    request.one = 1;
    request.destination = kernel::kDestination;
    request.offsetHigh = kernel::kOffsetHigh;
    request.offsetLow = address;
    request.lengthBytes = count * kQuadletBytes;
    return request;
}

using RequestPointer = DriverPointer<DeviceRequest>;

// A write's request: the record, and the quadlets over its last word and behind it. Its length is
// the data's and the whole record's, so that four unused bytes follow the data. Null without the
// memory.
RequestPointer WriteRequest(const FWCameraDevice &device, uint32_t address, const uint32_t *data,
                            uint32_t count)
{
    auto request = DeviceRequest::Make(device.deviceHandle.load(std::memory_order_relaxed),
                                       count * kQuadletBytes + kernel::kAsyncRequestBytes, 0);
    if (!request)
        return nullptr;
    const auto header = RequestFor(address, count);
    std::memcpy(request->In(), &header, sizeof header);
    for (uint32_t i = 0; data != nullptr && i < count; ++i) {
        const uint32_t bigEndian = Swapped(data[i]);
        std::memcpy(request->In() + kernel::kAsyncDataOffset + size_t{i} * kQuadletBytes,
                    &bigEndian, sizeof bigEndian);
    }
    return request;
}

// The quadlets come to memory of the request's own: the caller may be gone when they do.
RequestPointer ReadRequest(const FWCameraDevice &device, uint32_t address, uint32_t count)
{
    const auto header = RequestFor(address, count);
    auto request = DeviceRequest::Make(device.deviceHandle.load(std::memory_order_relaxed),
                                       sizeof header, count * kQuadletBytes);
    if (request)
        std::memcpy(request->In(), &header, sizeof header);
    return request;
}

// Another thread is closing the connection, or has given the access up.
uint32_t FailShutOut(uint32_t halError)
{
    os::SetLastError(kernel::kErrorOperationAborted);
    return halError;
}

uint32_t FailWithoutMemory(uint32_t halError)
{
    os::SetLastError(kernel::kErrorNoSystemResources);
    return halError;
}

// How long an access waits for the driver: for as long as nobody gives it up, or for a limited
// time.
enum class Limit { kNone, kPatience };

// An access that is given up was cancelled long ago, and is cancelled again: it may have been sent
// only then.
kernel::ControlResult Await(DeviceRequest &request, const AccessGate::Pass &pass, Limit limit)
{
    if (limit == Limit::kPatience)
        return request.WaitOrCancel(kAccessPatienceMilliseconds);
    for (;;) {
        const auto result = request.WaitFor(kBetweenLooksMilliseconds);
        if (result.completion != kernel::Completion::kPending)
            return result;
        if (!pass.IsGivenUp())
            continue;
        request.Cancel();
        request.GiveUp();
        os::SetLastError(kernel::kErrorOperationAborted);
        return {kernel::Completion::kFailed, kernel::kErrorOperationAborted, 0};
    }
}

void TellFailedWrite(const FWCameraDevice &device, const kernel::ControlResult &result)
{
    os::DebugOutput(Formatted(
        "In FWCameraWriteData(), GetOverlappedResult failed with error %d: "
        "%s\ndeviceHandle(%08llx), bytesReturned(%d)",
        static_cast<int>(result.systemError), os::ErrorText(result.systemError).c_str(),
        static_cast<unsigned long long>(device.deviceHandle.load(std::memory_order_relaxed)),
        static_cast<int>(result.bytesReturned)));
    // What was written in between may have failed too; the caller asks for this one.
    os::SetLastError(result.systemError);
}

uint32_t SendWrite(FWCameraDevice &device, DeviceRequest &request, const AccessGate::Pass &pass,
                   Limit limit)
{
    auto result = device.Send(kernel::kControlAsyncWrite, request);
    const bool wasPending = result.completion == kernel::Completion::kPending;
    if (wasPending)
        result = Await(request, pass, limit);
    if (result.completion == kernel::Completion::kDone)
        return HAL_NO_ERROR;
    TellFailedWrite(device, result);
    // Only a request that is refused at once tells of lacking resources.
    if (!wasPending && result.systemError == kernel::kErrorNoSystemResources)
        return HAL_ERROR_NO_SYSTEM_RESOURCES;
    return HAL_ERROR_ASYNC_WRITE;
}

// Writes that wait for the mutex are at the gate already: whoever ends one that hangs ends them
// too.
uint32_t FWCameraWriteData(FWCameraDevice &device, uint32_t address, const uint32_t *data,
                           uint32_t count, Limit limit)
{
    if (device.deviceHandle.load(std::memory_order_relaxed) == 0)
        return HAL_ERROR_NOT_CONNECTED;
    if (count > kMostQuadlets)
        return HAL_ERROR_ASYNC_WRITE;
    const auto request = WriteRequest(device, address, data, count);
    if (!request)
        return FailWithoutMemory(HAL_ERROR_ASYNC_WRITE);
    const AccessGate::Pass pass(device.gate, *request, AccessGate::Kind::kWrite);
    if (!pass)
        return FailShutOut(HAL_ERROR_ASYNC_WRITE);
    const std::lock_guard lock(*device.deviceMutex);
    if (pass.IsGivenUp())
        return FailShutOut(HAL_ERROR_ASYNC_WRITE);
    if (count == 0)
        os::DebugOutput("FWCameraWriteData:NumberOfBytesToWrite is ZERO!");
    if (data == nullptr)
        return HAL_ERROR_NO_BUFFER;
    return SendWrite(device, *request, pass, limit);
}

// What pended came as it is on the bus; what was done at once is in host order.
void CopyRead(DeviceRequest &request, bool hasPended, uint32_t *data, uint32_t count)
{
    if (count != 0)
        std::memcpy(data, request.Out(), size_t{count} * kQuadletBytes);
    for (uint32_t i = 0; hasPended && i < count; ++i)
        data[i] = Swapped(data[i]);
}

uint32_t FWCameraReadData(FWCameraDevice &device, uint32_t address, uint32_t *data, uint32_t count)
{
    if (device.deviceHandle.load(std::memory_order_relaxed) == 0)
        return HAL_ERROR_NOT_CONNECTED;
    if (data == nullptr)
        return HAL_ERROR_NO_BUFFER;
    if (count > kMostQuadlets)
        return HAL_ERROR_ASYNC_READ;
    const auto request = ReadRequest(device, address, count);
    if (!request)
        return FailWithoutMemory(HAL_ERROR_ASYNC_READ);
    const AccessGate::Pass pass(device.gate, *request, AccessGate::Kind::kRead);
    if (!pass)
        return FailShutOut(HAL_ERROR_ASYNC_READ);
    auto result = device.Send(kernel::kControlAsyncRead, *request);
    const bool hasPended = result.completion == kernel::Completion::kPending;
    if (hasPended)
        result = Await(*request, pass, Limit::kNone);
    if (result.completion != kernel::Completion::kDone)
        return HAL_ERROR_ASYNC_READ;
    CopyRead(*request, hasPended, data, count);
    return HAL_NO_ERROR;
}

uint32_t Read(const HALCamera &camera, uint32_t address, uint32_t *data, uint32_t count)
{
    if (camera.kind == kDormantTransport)
        return count == 0 ? HAL_NO_ERROR : HAL_ERROR_INVALID_HANDLE;
    if (camera.kind != kLiveTransport)
        return HAL_NO_ERROR;
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return HAL_ERROR_NOT_CONNECTED;
    return FWCameraReadData(*device, address, data, count);
}

uint32_t Write(const HALCamera &camera, uint32_t address, const uint32_t *data, uint32_t count,
               Limit limit)
{
    if (camera.kind != kLiveTransport)
        return HAL_NO_ERROR;
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return HAL_ERROR_NOT_CONNECTED;
    return FWCameraWriteData(*device, address, data, count, limit);
}

uint32_t TracedWrite(const HALCamera &camera, uint32_t address, const uint32_t *data,
                     uint32_t count, Limit limit)
{
    if (g_shouldOutputWrites.load(std::memory_order_relaxed) == 1)
        TraceTransfer(kTransferWrite, address, data, count);
    return Write(camera, address, data, count, limit);
}

} // namespace

uint32_t WriteWithPatience(const HALCamera &camera, uint32_t address, uint32_t value)
{
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return HAL_ERROR_NOT_CONNECTED;
    const AccessGate::NextWrite next(device->gate);
    device->gate.EndPresent();
    return TracedWrite(camera, address, &value, 1, Limit::kPatience);
}

} // namespace zerix::hal

using namespace zerix::hal;

uint32_t HAL_CameraReadData(HALCamera camera, uint32_t address, uint32_t *data, uint32_t count)
{
    const uint32_t error = Read(camera, address, data, count);
    if (g_shouldOutputReads.load(std::memory_order_relaxed) == 1)
        TraceTransfer(kTransferRead, address, data, count);
    return error;
}

uint32_t HAL_CameraWriteData(HALCamera camera, uint32_t address, const uint32_t *data,
                             uint32_t count)
{
    return TracedWrite(camera, address, data, count, Limit::kNone);
}

uint32_t HAL_CameraSetShouldOutputReads(uint32_t, uint8_t on)
{
    g_shouldOutputReads.store(on, std::memory_order_relaxed);
    return HAL_NO_ERROR;
}

uint32_t HAL_CameraSetShouldOutputWrites(uint32_t, uint8_t on)
{
    g_shouldOutputWrites.store(on, std::memory_order_relaxed);
    return HAL_NO_ERROR;
}

uint32_t HAL_CameraRegisterAsyncWriteCallback(HALCamera *, uint32_t, uint32_t,
                                              HAL_AsyncWriteCallback)
{
    return HAL_NO_ERROR;
}

uint32_t HAL_CameraGetTimeout(HALCamera camera)
{
    return camera.kind == kDormantTransport ? HAL_ERROR_INVALID_HANDLE : HAL_NO_ERROR;
}

uint32_t HAL_CameraSetTimeout(HALCamera camera, uint32_t)
{
    if (camera.kind == kLiveTransport)
        return HAL_ERROR_NOT_IMPLEMENTED;
    return camera.kind == kDormantTransport ? HAL_ERROR_INVALID_HANDLE : HAL_NO_ERROR;
}
