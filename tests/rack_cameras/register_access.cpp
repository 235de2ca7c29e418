// One register access on the virtual bus.
#include <algorithm>
#include <cstring>
#include <linux/firewire-constants.h>

#include "tests/rack_cameras/camera_link.h"
#include "tests/rack_cameras/rack_view.h"

namespace zerix::rack_cameras {

using namespace kernel;

RegisterAccess::RegisterAccess(uint32_t code, uint32_t address, uint32_t bytes)
    : m_code(code), m_bytes(bytes), m_in(kAsyncRequestBytes)
{
    AsyncRequest request{};
    request.one = 1;
    request.destination = kDestination;
    request.offsetHigh = kOffsetHigh;
    request.offsetLow = address;
    request.lengthBytes = bytes;
    std::memcpy(m_in.data(), &request, sizeof request);
}

std::unique_ptr<RegisterAccess> RegisterAccess::Read(uint32_t address, uint32_t bytes)
{
    std::unique_ptr<RegisterAccess> access(new RegisterAccess(kControlAsyncRead, address, bytes));
    access->m_out.resize(bytes);
    return access;
}

std::unique_ptr<RegisterAccess> RegisterAccess::Write(uint32_t address,
                                                      std::span<const uint8_t> data)
{
    const auto bytes = static_cast<uint32_t>(data.size());
    std::unique_ptr<RegisterAccess> access(new RegisterAccess(kControlAsyncWrite, address, bytes));
    access->m_in.resize(kAsyncRequestBytes + data.size());
    std::copy(data.begin(), data.end(), access->m_in.begin() + kAsyncDataOffset);
    return access;
}

RegisterAccess::Outcome RegisterAccess::OutcomeOf(const ControlResult &result)
{
    return {result.completion != Completion::kPending, result.systemError};
}

// What completes at once is in host order.
RegisterAccess::Outcome RegisterAccess::Send(DeviceHandle device)
{
    const ControlResult result = VirtualBusDriver().Control(
        device, m_code, m_in.data(), static_cast<uint32_t>(m_in.size()), m_out.data(),
        static_cast<uint32_t>(m_out.size()), &m_overlapped);
    m_isInHostOrder = result.completion == Completion::kDone;
    return result.completion == Completion::kPending ? Ask(device) : OutcomeOf(result);
}

RegisterAccess::Outcome RegisterAccess::Ask(DeviceHandle device)
{
    return OutcomeOf(VirtualBusDriver().WaitFor(device, &m_overlapped, 0));
}

uint32_t ResponseCodeOf(uint32_t systemError)
{
    switch (systemError) {
    case 0:
        return RCODE_COMPLETE;
    case kErrorBusy:
        return RCODE_CONFLICT_ERROR;
    case kErrorInvalidParameter:
        return RCODE_TYPE_ERROR;
    case kErrorDeviceNotConnected:
    case kErrorInvalidHandle:
    case kErrorOperationAborted:
        return RCODE_GENERATION;
    default:
        return RCODE_ADDRESS_ERROR;
    }
}

void RegisterAccess::Cancel(DeviceHandle device)
{
    VirtualBusDriver().Cancel(device, &m_overlapped);
}

std::vector<uint8_t> RegisterAccess::Data() const
{
    std::vector<uint8_t> data = m_out;
    for (size_t i = 0; m_isInHostOrder && i + 4 <= data.size(); i += 4)
        std::reverse(data.begin() + static_cast<std::ptrdiff_t>(i),
                     data.begin() + static_cast<std::ptrdiff_t>(i + 4));
    return data;
}

} // namespace zerix::rack_cameras
