// One control request with its records.
#include "hal/device_request.h"

#include <new>

#include "platform/os.h"

namespace zerix::hal {

using kernel::Completion;
using kernel::ControlResult;

namespace {

// A failure becomes the thread's last system error.
ControlResult Told(const ControlResult &result)
{
    if (result.completion == Completion::kFailed)
        os::SetLastError(result.systemError);
    return result;
}

} // namespace

DriverPointer<DeviceRequest> DeviceRequest::Make(kernel::DeviceHandle device, uint32_t inSize,
                                                 uint32_t outSize)
{
    const size_t size = size_t{inSize} + (outSize != kSameRecord ? outSize : 0);
    Bytes bytes(static_cast<uint8_t *>(std::calloc(size, 1)));
    if (!bytes)
        return nullptr;
    return DriverPointer<DeviceRequest>(
        new (std::nothrow) DeviceRequest(device, std::move(bytes), inSize, outSize));
}

uint8_t *DeviceRequest::Out()
{
    if (m_outSize == kSameRecord)
        return m_bytes.get();
    return m_outSize != 0 ? m_bytes.get() + m_inSize : nullptr;
}

ControlResult DeviceRequest::Send(uint32_t code)
{
    // Before it is sent: a thread may be ended against its will as soon as it pends.
    m_isPending = true;
    const ControlResult result =
        kernel::Driver().Control(m_device, code, In(), m_inSize, Out(),
                                 m_outSize == kSameRecord ? m_inSize : m_outSize, &m_overlapped);
    m_isPending = result.completion == Completion::kPending;
    return Told(result);
}

ControlResult DeviceRequest::WaitFor(uint32_t timeoutMilliseconds)
{
    const ControlResult result =
        kernel::Driver().WaitFor(m_device, &m_overlapped, timeoutMilliseconds);
    m_isPending = result.completion == Completion::kPending;
    return Told(result);
}

ControlResult DeviceRequest::WaitOrCancel(uint32_t patienceMilliseconds)
{
    ControlResult result = WaitFor(patienceMilliseconds);
    if (result.completion == Completion::kPending) {
        Cancel();
        result = WaitFor(kCancelPatienceMilliseconds);
    }
    if (result.completion != Completion::kPending)
        return result;
    GiveUp();
    return Told({Completion::kFailed, kernel::kErrorOperationAborted, 0});
}

void DeviceRequest::Cancel() { kernel::Driver().Cancel(m_device, &m_overlapped); }

void DeviceRequest::EndRequests()
{
    if (!m_isPending || m_isGivenUp)
        return;
    Cancel();
    m_isPending =
        kernel::Driver().WaitFor(m_device, &m_overlapped, kCancelPatienceMilliseconds).completion ==
        Completion::kPending;
}

bool DeviceRequest::IsOver()
{
    if (m_isPending)
        m_isPending =
            kernel::Driver().WaitFor(m_device, &m_overlapped, 0).completion == Completion::kPending;
    return !m_isPending;
}

} // namespace zerix::hal
