// The 18 control requests in one table: code, name, sizes of the records, and what each may do.
// A header of plain data.
#pragma once

#include <array>
#include <cstdint>

#include "hal/kernel_requests.h"

namespace zerix::kernel {

// The size of a record that differs from request to request.
inline constexpr uint32_t kAnySize = 0xFFFFFFFFu;

struct RequestRow {
    ControlCode code;
    const char *name;
    uint32_t inBytes;  // kAnySize: at least leastInBytes
    uint32_t outBytes; // kAnySize: any, none too
    uint32_t leastInBytes;
    bool mayPend;
    // Gives something back, or ends something: works for a device that is no longer there, too.
    bool givesBack;
};

namespace request_table {

inline constexpr uint32_t kWord = sizeof(uint32_t);

constexpr RequestRow Fixed(ControlCode code, const char *name, uint32_t bytes)
{
    return {code, name, bytes, bytes, bytes, false, false};
}

constexpr RequestRow GivingBack(ControlCode code, const char *name, uint32_t bytes = kWord)
{
    return {code, name, bytes, bytes, bytes, false, true};
}

} // namespace request_table

// In order of the codes.
inline constexpr std::array<RequestRow, 18> kRequestTable = {{
    {kControlAsyncRead, "AsyncRead", kAsyncRequestBytes, kAnySize, kAsyncRequestBytes, true, false},
    {kControlIsOpen, "IsOpen", 4, 4, 4, false, false},
    {kControlAsyncWrite, "AsyncWrite", kAnySize, kAnySize, kAsyncRequestBytes, true, false},
    request_table::Fixed(kControlBusEventOpen, "BusEventOpen", request_table::kWord),
    request_table::GivingBack(kControlStreamBegin, "StreamBegin"),
    {kControlBusEventWait, "BusEventWait", sizeof(BusEventRecord), sizeof(BusEventRecord),
     sizeof(BusEventRecord), true, false},
    request_table::GivingBack(kControlCancelBusEvent, "CancelBusEvent"),
    request_table::GivingBack(kControlStreamEnd, "StreamEnd"),
    request_table::Fixed(kControlAllocateBandwidth, "AllocateBandwidth", sizeof(BandwidthRequest)),
    request_table::GivingBack(kControlFreeBandwidth, "FreeBandwidth"),
    request_table::Fixed(kControlAllocateChannel, "AllocateChannel", sizeof(ChannelRequest)),
    request_table::GivingBack(kControlFreeChannel, "FreeChannel"),
    request_table::Fixed(kControlAllocateResources, "AllocateResources", sizeof(ResourcesRequest)),
    request_table::GivingBack(kControlFreeResources, "FreeResources"),
    {kControlQueueBuffer, "QueueBuffer", kAnySize, kAnySize, 1, true, false},
    request_table::GivingBack(kControlDetachBuffers, "DetachBuffers"),
    request_table::Fixed(kControlListen, "Listen", sizeof(ListenRequest)),
    request_table::GivingBack(kControlStopListen, "StopListen", sizeof(StopRequest)),
}};

// Null for a code that is none of the driver's.
constexpr const RequestRow *FindRequest(uint32_t code)
{
    for (const RequestRow &row : kRequestTable)
        if (row.code == code)
            return &row;
    return nullptr;
}

} // namespace zerix::kernel
