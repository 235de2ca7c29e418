// Reads and writes of camera registers: quadlets at a 32-bit address, big-endian on the wire, each
// transfer one request. There is no time limit: a request waits for the driver, until somebody
// cancels it.
//
// Writes of a device are strictly ordered by its mutex. Reads take no lock and may overlap them.
#include "hal/register_transport.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>

#include "hal/debug_text.h"
#include "hal/transfer_trace.h"

namespace zerix::hal {

namespace {

// The two switches of the trace. Relaxed: they order nothing, a call sees them sooner or later.
std::atomic<uint8_t> g_shouldOutputReads{0};
std::atomic<uint8_t> g_shouldOutputWrites{0};

constexpr uint32_t kQuadletBytes = 4;
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

// A write's request: the record, and the quadlets over its last word and behind it. Its length is
// the data's and the whole record's, so that four unused bytes follow the data.
class WriteRequest {
public:
    WriteRequest(uint32_t address, const uint32_t *data, uint32_t count)
        : m_size(count * kQuadletBytes + kernel::kAsyncRequestBytes),
          m_bytes(new (std::nothrow) uint8_t[m_size]())
    {
        if (!m_bytes)
            return;
        const auto header = RequestFor(address, count);
        std::memcpy(m_bytes.get(), &header, sizeof header);
        for (uint32_t i = 0; data != nullptr && i < count; ++i) {
            const uint32_t bigEndian = Swapped(data[i]);
            std::memcpy(m_bytes.get() + kernel::kAsyncDataOffset + size_t{i} * kQuadletBytes,
                        &bigEndian, sizeof bigEndian);
        }
    }

    bool IsAllocated() const { return m_bytes != nullptr; }
    const uint8_t *Bytes() const { return m_bytes.get(); }
    uint32_t Size() const { return m_size; }

private:
    uint32_t m_size;
    std::unique_ptr<uint8_t[]> m_bytes;
};

// Another thread is closing the connection.
uint32_t FailShutOut(uint32_t halError)
{
    os::SetLastError(kernel::kErrorOperationAborted);
    return halError;
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

// Cancels what the device has pending, unless it ends in time. Without a thread for it, it waits
// like any other request.
class Patience {
public:
    explicit Patience(FWCameraDevice &device)
        : m_device(device), m_isOver(os::Event::Create(os::ResetMode::kManual))
    {
        if (m_isOver)
            m_thread = os::Thread::Start(Watch, this);
    }
    ~Patience()
    {
        if (!m_thread)
            return;
        m_isOver->Signal();
        static_cast<void>(m_thread->Join(os::kWaitForever));
    }
    Patience(const Patience &) = delete;
    Patience &operator=(const Patience &) = delete;

private:
    static void Watch(void *self)
    {
        auto &patience = *static_cast<Patience *>(self);
        if (patience.m_isOver->Wait(kAccessPatienceMilliseconds) == os::WaitResult::kTimedOut)
            patience.m_device.CancelPending();
    }
    FWCameraDevice &m_device;
    std::unique_ptr<os::Event> m_isOver;
    std::unique_ptr<os::Thread> m_thread;
};

kernel::ControlResult WaitFor(FWCameraDevice &device, kernel::Overlapped &overlapped,
                              bool waitsForEver)
{
    std::optional<Patience> patience;
    if (!waitsForEver)
        patience.emplace(device);
    return device.Wait(&overlapped);
}

uint32_t SendWrite(FWCameraDevice &device, const WriteRequest &request,
                   kernel::Overlapped &overlapped, bool waitsForEver)
{
    auto result = device.Send(kernel::kControlAsyncWrite, request.Bytes(), request.Size(), nullptr,
                              0, &overlapped);
    const bool wasPending = result.completion == kernel::Completion::kPending;
    if (wasPending)
        result = WaitFor(device, overlapped, waitsForEver);
    if (result.completion == kernel::Completion::kDone)
        return HAL_NO_ERROR;
    TellFailedWrite(device, result);
    // Only a request that is refused at once tells of lacking resources.
    if (!wasPending && result.systemError == kernel::kErrorNoSystemResources)
        return HAL_ERROR_NO_SYSTEM_RESOURCES;
    return HAL_ERROR_ASYNC_WRITE;
}

uint32_t FWCameraWriteData(FWCameraDevice &device, uint32_t address, const uint32_t *data,
                           uint32_t count, bool waitsForEver)
{
    if (device.deviceHandle.load(std::memory_order_relaxed) == 0)
        return HAL_ERROR_NOT_CONNECTED;
    const std::lock_guard lock(*device.deviceMutex);
    kernel::Overlapped overlapped;
    const AccessGate::Pass pass(device.gate, overlapped);
    if (!pass)
        return FailShutOut(HAL_ERROR_ASYNC_WRITE);
    if (count > kMostQuadlets)
        return HAL_ERROR_ASYNC_WRITE;
    const WriteRequest request(address, data, count);
    if (!request.IsAllocated())
        return HAL_ERROR_ASYNC_WRITE;
    if (count == 0)
        os::DebugOutput("FWCameraWriteData:NumberOfBytesToWrite is ZERO!");
    if (data == nullptr)
        return HAL_ERROR_NO_BUFFER;
    return SendWrite(device, request, overlapped, waitsForEver);
}

// A read that completes at once brings host order; one that pends brings what came over the bus.
uint32_t FWCameraReadData(FWCameraDevice &device, uint32_t address, uint32_t *data, uint32_t count)
{
    if (device.deviceHandle.load(std::memory_order_relaxed) == 0)
        return HAL_ERROR_NOT_CONNECTED;
    if (data == nullptr)
        return HAL_ERROR_NO_BUFFER;
    if (count > kMostQuadlets)
        return HAL_ERROR_ASYNC_READ;
    kernel::Overlapped overlapped;
    const AccessGate::Pass pass(device.gate, overlapped);
    if (!pass)
        return FailShutOut(HAL_ERROR_ASYNC_READ);
    const auto request = RequestFor(address, count);
    const auto result = device.Send(kernel::kControlAsyncRead, &request, sizeof request, data,
                                    count * kQuadletBytes, &overlapped);
    if (result.completion == kernel::Completion::kDone)
        return HAL_NO_ERROR;
    if (result.completion == kernel::Completion::kFailed ||
        device.Wait(&overlapped).completion != kernel::Completion::kDone)
        return HAL_ERROR_ASYNC_READ;
    for (uint32_t i = 0; i < count; ++i)
        data[i] = Swapped(data[i]);
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
               bool waitsForEver)
{
    if (camera.kind != kLiveTransport)
        return HAL_NO_ERROR;
    FWCameraDevice *device = LiveDeviceOf(camera);
    if (device == nullptr)
        return HAL_ERROR_NOT_CONNECTED;
    return FWCameraWriteData(*device, address, data, count, waitsForEver);
}

uint32_t TracedWrite(const HALCamera &camera, uint32_t address, const uint32_t *data,
                     uint32_t count, bool waitsForEver)
{
    if (g_shouldOutputWrites.load(std::memory_order_relaxed) == 1)
        TraceTransfer(kTransferWrite, address, data, count);
    return Write(camera, address, data, count, waitsForEver);
}

} // namespace

void EndHangingAccesses(FWCameraDevice &device)
{
    if (!device.gate.AwaitPresent(kAccessPatienceMilliseconds))
        device.CancelPending();
}

uint32_t WriteWithPatience(const HALCamera &camera, uint32_t address, uint32_t value)
{
    return TracedWrite(camera, address, &value, 1, false);
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
    return TracedWrite(camera, address, data, count, true);
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
