// Checks the records of the control requests and does what they ask.
#include "sim/bus_requests.h"

#include <cstring>
#include <iterator>
#include <vector>

#include "hal/kernel_requests.h"
#include "sim/virtual_bus.h"

namespace zerix::sim {

using namespace kernel;

namespace {

constexpr uint32_t kLargestTransfer = 0x10000; // bytes

ControlResult Done(uint32_t bytes) { return {Completion::kDone, 0, bytes}; }
ControlResult Failed(uint32_t error) { return {Completion::kFailed, error, 0}; }
ControlResult Pending() { return {Completion::kPending, 0, 0}; }

template <typename Record>
Record InRecord(const Call &call)
{
    Record record;
    std::memcpy(&record, call.in, sizeof(Record));
    return record;
}

template <typename Record>
ControlResult DoneWith(const Call &call, const Record &record)
{
    std::memcpy(call.out, &record, sizeof(Record));
    return Done(sizeof(Record));
}

template <typename Record>
ControlResult DoneOrFailed(const Call &call, uint32_t error, const Record &record)
{
    return error == 0 ? DoneWith(call, record) : Failed(error);
}

VirtualBus &Bus() { return VirtualBus::Instance(); }

ControlResult WaitForEver(const Call &call, BusDevice::Waiting what)
{
    call.device.AddPending(call.overlapped, what);
    return Pending();
}

// Register accesses ------------------------------------------------------------------------------

struct Access {
    uint32_t address;
    uint32_t words;
};

bool ReadAccess(const Call &call, Access *access)
{
    const auto request = InRecord<AsyncRequest>(call);
    *access = {request.offsetLow, request.lengthBytes / 4};
    return request.reserved0 == 0 && request.one == 1 && request.destination == kDestination &&
           request.offsetHigh == kOffsetHigh && request.zero24 == 0 && request.zero28 == 0 &&
           request.zero32 == 0 && request.lengthBytes % 4 == 0 &&
           request.lengthBytes <= kLargestTransfer;
}

uint32_t BigEndianAt(const uint8_t *bytes)
{
    return static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
           static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
}

void PutBigEndian(uint8_t *bytes, uint32_t value)
{
    for (uint32_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

// An access that pends is over before anybody waits for it; its result then comes from Wait.
ControlResult Answer(const Call &call, bool pends, ControlResult result)
{
    if (!pends)
        return result;
    RequestBook::Begin(call.overlapped);
    Bus().Requests().Finish(call.overlapped, result);
    return Pending();
}

// What the plan of faults makes of an access; true if it has decided the answer.
bool DecidedByFault(const Call &call, const AccessFault &fault, bool pends, ControlResult *result)
{
    if (fault.unplug != Unplugging::kNone) {
        Bus().Unplug(call.device.Camera(), fault.unplug);
        *result = Answer(call, pends, Failed(kErrorDeviceNotConnected));
    } else if (fault.hang) {
        *result = WaitForEver(call, BusDevice::Waiting::kNothing);
    } else if (fault.systemError != 0) {
        *result = Answer(call, pends, Failed(fault.systemError));
    } else {
        return false;
    }
    return true;
}

// Data of an access that completes at once is in host order, of one that pends as it is on the bus.
ControlResult AsyncRead(const Call &call)
{
    Access access{};
    if (!ReadAccess(call, &access) || call.outSize != access.words * 4)
        return Failed(kErrorInvalidParameter);
    VirtualCamera &camera = call.device.Camera();
    const bool pends = camera.NextAccessPends();
    ControlResult result{};
    if (DecidedByFault(call, camera.Faults().OnRead(), pends, &result))
        return result;
    std::vector<uint32_t> words(access.words);
    if (const uint32_t error = camera.Read(access.address, words))
        return Answer(call, pends, Failed(error));
    for (size_t i = 0; i < words.size(); ++i) {
        if (pends)
            PutBigEndian(call.out + 4 * i, words[i]);
        else
            std::memcpy(call.out + 4 * i, &words[i], 4);
    }
    return Answer(call, pends, Done(call.outSize));
}

ControlResult AsyncWrite(const Call &call)
{
    Access access{};
    // The record is four bytes longer than header and data.
    if (!ReadAccess(call, &access) || call.inSize != access.words * 4 + kAsyncRequestBytes)
        return Failed(kErrorInvalidParameter);
    VirtualCamera &camera = call.device.Camera();
    const bool pends = camera.NextAccessPends();
    ControlResult result{};
    if (DecidedByFault(call, camera.Faults().OnWrite(), pends, &result))
        return result;
    std::vector<uint32_t> words(access.words);
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = BigEndianAt(call.in + kAsyncDataOffset + 4 * i);
    if (const uint32_t error = camera.Write(access.address, words))
        return Answer(call, pends, Failed(error));
    if (const uint32_t error = Bus().FollowStreamingRegister(call.device, call.ended))
        return Answer(call, pends, Failed(error));
    return Answer(call, pends, Done(0));
}

// The bus and its resources ----------------------------------------------------------------------

ControlResult EchoWord(const Call &call) { return DoneWith(call, InRecord<uint32_t>(call)); }

ControlResult IsOpen(const Call &call)
{
    const uint32_t isOpen = Bus().IsClaimed(call.device.Camera()) ? 1 : 0;
    return DoneWith(call, isOpen);
}

ControlResult BusEventWait(const Call &call)
{
    return WaitForEver(call, BusDevice::Waiting::kBusEvent);
}

ControlResult CancelBusEvent(const Call &call)
{
    call.device.EndBusEvents();
    return EchoWord(call);
}

ControlResult AllocateBandwidth(const Call &call)
{
    auto request = InRecord<BandwidthRequest>(call);
    const VirtualCamera &camera = call.device.Camera();
    const BusDevice *owner = Bus().OwnerOf(camera);
    const bool heldElsewhere = Bus().IsClaimed(camera) && owner == nullptr;
    if (heldElsewhere || (owner != nullptr && owner != &call.device))
        return Failed(kErrorBusy);
    if (call.device.Camera().Faults().OnBandwidth())
        return Failed(kErrorNoSystemResources);
    const uint32_t error =
        call.device.AllocateBandwidth(request.slotBytes, request.speedFlag, &request.handle);
    return DoneOrFailed(call, error, request);
}

ControlResult FreeBandwidth(const Call &call)
{
    const auto handle = InRecord<uint32_t>(call);
    return DoneOrFailed(call, call.device.FreeBandwidth(handle), handle);
}

ControlResult AllocateChannel(const Call &call)
{
    auto request = InRecord<ChannelRequest>(call);
    if (call.device.Camera().Faults().OnChannel())
        return Failed(kErrorNoSystemResources);
    const uint32_t error = call.device.AllocateChannel(request.request, &request.channel);
    return DoneOrFailed(call, error, request);
}

ControlResult FreeChannel(const Call &call)
{
    const auto channel = InRecord<uint32_t>(call);
    return DoneOrFailed(call, call.device.FreeChannel(channel), channel);
}

ControlResult AllocateResources(const Call &call)
{
    auto request = InRecord<ResourcesRequest>(call);
    if (call.device.Camera().Faults().OnResources(request.speedFlag == kSpeedFlag800))
        return Failed(kErrorNoSystemResources);
    const uint32_t error = call.device.AllocateResources(request, &request.handle);
    return DoneOrFailed(call, error, request);
}

ControlResult FreeResources(const Call &call)
{
    const auto handle = InRecord<uint32_t>(call);
    return DoneOrFailed(call, call.device.FreeResources(handle), handle);
}

ControlResult QueueBuffer(const Call &call)
{
    if (call.in != call.out || call.inSize != call.outSize)
        return Failed(kErrorInvalidParameter);
    const uint32_t error = call.device.QueueBuffer(call.out, call.outSize, call.overlapped);
    return error == 0 ? Pending() : Failed(error);
}

ControlResult DetachBuffers(const Call &call)
{
    const auto handle = InRecord<uint32_t>(call);
    return DoneOrFailed(call, call.device.DetachBuffers(handle), handle);
}

ControlResult Listen(const Call &call)
{
    const auto request = InRecord<ListenRequest>(call);
    if (request.zero[0] != 0 || request.zero[1] != 0)
        return Failed(kErrorInvalidParameter);
    return DoneOrFailed(call, call.device.Listen(request.resources), request);
}

ControlResult StopListen(const Call &call)
{
    const auto request = InRecord<StopRequest>(call);
    if (request.zero != 0)
        return Failed(kErrorInvalidParameter);
    return DoneOrFailed(call, call.device.StopListen(request.resources), request);
}

// The table --------------------------------------------------------------------------------------

constexpr uint32_t kAnySize = 0xFFFFFFFFu;
constexpr uint32_t kWordBytes = 4;

// Sizes of the records; kAnySize where the request itself looks at it (then at least the in
// record's fixed part must be there).
struct RequestRow {
    ControlCode code;
    uint32_t inSize;
    uint32_t outSize;
    bool needsCamera; // fails once the camera is off the bus; what gives something back does not,
                      // unless the driver has gone as well
    ControlResult (*handle)(const Call &);
};

constexpr RequestRow kRequests[] = {
    {kControlAsyncRead, kAsyncRequestBytes, kAnySize, true, AsyncRead},
    {kControlAsyncWrite, kAnySize, kAnySize, true, AsyncWrite},
    {kControlIsOpen, kWordBytes, kWordBytes, true, IsOpen},
    {kControlBusEventOpen, kWordBytes, kWordBytes, true, EchoWord},
    {kControlStreamBegin, kWordBytes, kWordBytes, false, EchoWord},
    {kControlBusEventWait, sizeof(BusEventRecord), sizeof(BusEventRecord), true, BusEventWait},
    {kControlCancelBusEvent, kWordBytes, kWordBytes, false, CancelBusEvent},
    {kControlStreamEnd, kWordBytes, kWordBytes, false, EchoWord},
    {kControlAllocateBandwidth, sizeof(BandwidthRequest), sizeof(BandwidthRequest), true,
     AllocateBandwidth},
    {kControlFreeBandwidth, kWordBytes, kWordBytes, false, FreeBandwidth},
    {kControlAllocateChannel, sizeof(ChannelRequest), sizeof(ChannelRequest), true,
     AllocateChannel},
    {kControlFreeChannel, kWordBytes, kWordBytes, false, FreeChannel},
    {kControlAllocateResources, sizeof(ResourcesRequest), sizeof(ResourcesRequest), true,
     AllocateResources},
    {kControlFreeResources, kWordBytes, kWordBytes, false, FreeResources},
    {kControlQueueBuffer, kAnySize, kAnySize, true, QueueBuffer},
    {kControlDetachBuffers, kWordBytes, kWordBytes, false, DetachBuffers},
    {kControlListen, sizeof(ListenRequest), sizeof(ListenRequest), true, Listen},
    {kControlStopListen, sizeof(StopRequest), sizeof(StopRequest), false, StopListen},
};
static_assert(std::size(kRequests) == 18);

const RequestRow *FindRequest(uint32_t code)
{
    for (const RequestRow &row : kRequests)
        if (row.code == code)
            return &row;
    return nullptr;
}

bool SizesFit(const RequestRow &row, const void *in, uint32_t inSize, const void *out,
              uint32_t outSize)
{
    const uint32_t leastIn = row.inSize != kAnySize           ? row.inSize
                             : row.code == kControlAsyncWrite ? kAsyncRequestBytes
                                                              : 1;
    const bool inFits =
        in != nullptr && (row.inSize == kAnySize ? inSize >= leastIn : inSize == leastIn);
    const bool outFits = row.outSize == kAnySize ? outSize == 0 || out != nullptr
                                                 : out != nullptr && outSize == row.outSize;
    return inFits && outFits;
}

} // namespace

ControlResult HandleRequest(uint32_t code, const Call &call)
{
    const RequestRow *row = FindRequest(code);
    if (row == nullptr)
        return Failed(kErrorNotSupported);
    if (!SizesFit(*row, call.in, call.inSize, call.out, call.outSize))
        return Failed(kErrorInvalidParameter);
    const bool needsCamera = row->needsCamera || call.device.HasLostDriver();
    if (needsCamera && !call.device.IsConnected())
        return Failed(kErrorDeviceNotConnected);
    return row->handle(call);
}

} // namespace zerix::sim
