// Takes the control requests apart: sizes, constant fields, and the typed operation of each.
#include "hal/requests/request_server.h"

#include <cstring>
#include <exception>

namespace zerix::kernel {
namespace {

constexpr uint32_t kLargestTransfer = 0x10000; // bytes

template <typename Record>
Record InRecord(const RawRequest &raw)
{
    Record record;
    std::memcpy(&record, raw.in.data(), sizeof(Record));
    return record;
}

template <typename Record>
ControlResult DoneOrFailed(const RawRequest &raw, uint32_t error, const Record &record)
{
    if (error != 0)
        return Failed(error);
    std::memcpy(raw.out.data(), &record, sizeof(Record));
    return Done(sizeof(Record));
}

bool SizesFit(const RequestRow &row, const RawRequest &raw)
{
    const bool inFits =
        raw.in.data() != nullptr && (row.inBytes == kAnySize ? raw.in.size() >= row.leastInBytes
                                                             : raw.in.size() == row.inBytes);
    const bool outFits = row.outBytes == kAnySize
                             ? raw.out.empty() || raw.out.data() != nullptr
                             : raw.out.data() != nullptr && raw.out.size() == row.outBytes;
    return inFits && outFits;
}

bool IsSound(const AsyncRequest &access)
{
    return access.reserved0 == 0 && access.one == 1 && access.destination == kDestination &&
           access.offsetHigh == kOffsetHigh && access.zero24 == 0 && access.zero28 == 0 &&
           access.zero32 == 0 && access.lengthBytes % 4 == 0 &&
           access.lengthBytes <= kLargestTransfer;
}

// The operations of a request with one word.
template <typename Operation>
ControlResult WithWord(const RawRequest &raw, Operation operation)
{
    const auto word = InRecord<uint32_t>(raw);
    return DoneOrFailed(raw, operation(word), word);
}

// The operations of a request whose record comes back changed.
template <typename Record, typename Operation>
ControlResult WithRecord(const RawRequest &raw, Operation operation)
{
    auto record = InRecord<Record>(raw);
    const uint32_t error = operation(record);
    return DoneOrFailed(raw, error, record);
}

} // namespace

// The port
// -----------------------------------------------------------------------------------------

ControlResult RequestServer::Control(DeviceHandle device, uint32_t code, const void *in,
                                     uint32_t inSize, void *out, uint32_t outSize,
                                     Overlapped *overlapped)
{
    Overlapped ours;
    Overlapped &block = overlapped != nullptr ? *overlapped : ours;
    const std::span outBytes(static_cast<uint8_t *>(out), out != nullptr ? outSize : 0);
    const RequestId id = m_book.Begin(block, device, code, outBytes);
    if (id == 0)
        return Failed(kErrorInvalidParameter);
    const RawRequest raw{{device, id},
                         code,
                         {static_cast<const uint8_t *>(in), in != nullptr ? inSize : 0},
                         {static_cast<uint8_t *>(out), outSize},
                         overlapped != nullptr};
    const ControlResult result = ServeOrFail(raw);
    if (result.completion != Completion::kPending) {
        m_book.Finish(id, result);
        return result;
    }
    if (!m_book.EndService(id))
        CancelOne(raw.request);
    return overlapped != nullptr ? result : WaitHere(raw.request, ours);
}

// Memory is the one thing that can be lacking. What ends a thread by force is no exception of the
// standard's, and passes; its request leaves the book, as the block may be on its stack.
ControlResult RequestServer::ServeOrFail(const RawRequest &raw)
{
    try {
        return IsHandle(raw.request.device) ? Serve(raw) : Failed(kErrorInvalidHandle);
    } catch (const std::exception &) {
        return Failed(kErrorNoSystemResources);
    } catch (...) {
        m_book.Finish(raw.request.id, Failed(kErrorOperationAborted));
        throw;
    }
}

ControlResult RequestServer::WaitHere(const Request &request, Overlapped &block)
{
    try {
        return m_book.Wait(block);
    } catch (...) {
        Drop(request.device, request.id);
        m_book.Finish(request.id, Failed(kErrorOperationAborted));
        throw;
    }
}

ControlResult RequestServer::Wait(DeviceHandle, Overlapped *overlapped)
{
    return overlapped != nullptr ? m_book.Wait(*overlapped) : Failed(kErrorInvalidParameter);
}

ControlResult RequestServer::WaitFor(DeviceHandle, Overlapped *overlapped,
                                     uint32_t timeoutMilliseconds)
{
    if (overlapped == nullptr)
        return Failed(kErrorInvalidParameter);
    return m_book.WaitFor(*overlapped, std::chrono::milliseconds(timeoutMilliseconds));
}

void RequestServer::CancelOne(const Request &request)
{
    if (m_book.MayCancel(request.id) && Drop(request.device, request.id))
        m_book.Finish(request.id, Failed(kErrorOperationAborted));
}

void RequestServer::CancelPending(DeviceHandle device)
{
    for (RequestId id = m_book.NextOf(device, 0); id != 0; id = m_book.NextOf(device, id))
        CancelOne({device, id});
}

void RequestServer::Cancel(DeviceHandle device, Overlapped *overlapped)
{
    if (overlapped == nullptr)
        return;
    if (const RequestId id = m_book.PendingIn(*overlapped))
        CancelOne({device, id});
}

void RequestServer::Close(DeviceHandle device)
{
    if (!IsHandle(device))
        return;
    CancelPending(device);
    CloseDevice(device);
    CancelPending(device);
}

// The table
// ----------------------------------------------------------------------------------------

ControlResult RequestServer::Serve(const RawRequest &raw)
{
    const RequestRow *const row = FindRequest(raw.code);
    if (row == nullptr)
        return Failed(kErrorNotSupported);
    if (!SizesFit(*row, raw))
        return Failed(kErrorInvalidParameter);
    const Request &request = raw.request;
    if (const uint32_t error = CheckDevice(request.device, row->givesBack))
        return Failed(error);
    switch (row->code) {
    case kControlAsyncRead: {
        const auto access = InRecord<AsyncRequest>(raw);
        if (!IsSound(access) || raw.out.size() != access.lengthBytes)
            return Failed(kErrorInvalidParameter);
        return AsyncRead(request, access.offsetLow, raw.out);
    }
    case kControlAsyncWrite: {
        const auto access = InRecord<AsyncRequest>(raw);
        // The record is four bytes longer than header and data.
        if (!IsSound(access) || raw.in.size() != access.lengthBytes + kAsyncRequestBytes)
            return Failed(kErrorInvalidParameter);
        return AsyncWrite(request, access.offsetLow,
                          raw.in.subspan(kAsyncDataOffset, access.lengthBytes));
    }
    case kControlIsOpen: {
        bool isOpen = false;
        const uint32_t error = IsOpen(request, isOpen);
        return DoneOrFailed(raw, error, uint32_t{isOpen ? 1u : 0u});
    }
    case kControlBusEventOpen:
        return WithWord(raw, [&](uint32_t) { return BusEventOpen(request); });
    case kControlStreamBegin:
        return WithWord(raw, [&](uint32_t) { return StreamBegin(request); });
    case kControlBusEventWait:
        return BusEventWait(request);
    case kControlCancelBusEvent:
        return WithWord(raw, [&](uint32_t) { return CancelBusEvent(request); });
    case kControlStreamEnd:
        return WithWord(raw, [&](uint32_t) { return StreamEnd(request); });
    case kControlAllocateBandwidth:
        return WithRecord<BandwidthRequest>(
            raw, [&](auto &record) { return AllocateBandwidth(request, record); });
    case kControlFreeBandwidth:
        return WithWord(raw, [&](uint32_t handle) { return FreeBandwidth(request, handle); });
    case kControlAllocateChannel:
        return WithRecord<ChannelRequest>(
            raw, [&](auto &record) { return AllocateChannel(request, record); });
    case kControlFreeChannel:
        return WithWord(raw, [&](uint32_t channel) { return FreeChannel(request, channel); });
    case kControlAllocateResources:
        return WithRecord<ResourcesRequest>(
            raw, [&](auto &record) { return AllocateResources(request, record); });
    case kControlFreeResources:
        return WithWord(raw, [&](uint32_t handle) { return FreeResources(request, handle); });
    case kControlQueueBuffer:
        if (raw.in.data() != raw.out.data() || raw.in.size() != raw.out.size())
            return Failed(kErrorInvalidParameter);
        return QueueBuffer(request, raw.out);
    case kControlDetachBuffers:
        return WithWord(raw, [&](uint32_t handle) { return DetachBuffers(request, handle); });
    case kControlListen:
        return WithRecord<ListenRequest>(raw, [&](const auto &record) -> uint32_t {
            const bool isSound = record.zero[0] == 0 && record.zero[1] == 0;
            return isSound ? Listen(request, record.resources) : kErrorInvalidParameter;
        });
    case kControlStopListen:
        return WithRecord<StopRequest>(raw, [&](const auto &record) -> uint32_t {
            return record.zero == 0 ? StopListen(request, record.resources)
                                    : kErrorInvalidParameter;
        });
    }
    return Failed(kErrorNotSupported);
}

// What a bus doesn't have ------------------------------------------------------------------------

ControlResult RequestServer::AsyncRead(const Request &, uint32_t, std::span<uint8_t>)
{
    return Failed(kErrorNotSupported);
}

ControlResult RequestServer::AsyncWrite(const Request &, uint32_t, std::span<const uint8_t>)
{
    return Failed(kErrorNotSupported);
}

uint32_t RequestServer::IsOpen(const Request &, bool &) { return kErrorNotSupported; }

uint32_t RequestServer::AllocateBandwidth(const Request &, BandwidthRequest &)
{
    return kErrorNotSupported;
}

uint32_t RequestServer::FreeBandwidth(const Request &, uint32_t) { return kErrorNotSupported; }

uint32_t RequestServer::AllocateChannel(const Request &, ChannelRequest &)
{
    return kErrorNotSupported;
}

uint32_t RequestServer::FreeChannel(const Request &, uint32_t) { return kErrorNotSupported; }

uint32_t RequestServer::AllocateResources(const Request &, ResourcesRequest &)
{
    return kErrorNotSupported;
}

uint32_t RequestServer::FreeResources(const Request &, uint32_t) { return kErrorNotSupported; }

ControlResult RequestServer::QueueBuffer(const Request &, std::span<uint8_t>)
{
    return Failed(kErrorNotSupported);
}

uint32_t RequestServer::DetachBuffers(const Request &, uint32_t) { return kErrorNotSupported; }

uint32_t RequestServer::Listen(const Request &, uint32_t) { return kErrorNotSupported; }

uint32_t RequestServer::StopListen(const Request &, uint32_t) { return kErrorNotSupported; }

uint32_t RequestServer::CancelBusEvent(const Request &request)
{
    m_book.EndAll(request.device, kErrorOperationAborted, kControlBusEventWait);
    return 0;
}

} // namespace zerix::kernel
