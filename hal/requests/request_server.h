// A bus, as 18 functions. The server takes the control requests of the kernel-driver port apart:
// it checks the records, calls one typed operation for each request, and keeps the book of what is
// pending, so that a bus of its own needs to know neither records nor overlapped blocks. Every bus
// derives from it but the Windows one, which passes the requests on as they are.
//
// Threads: operations are called from any thread, several at a time, and under no lock of the
// server's. An operation may take the bus's own lock; the book's is taken inside it.
#pragma once

#include <cstdint>
#include <exception>
#include <span>

#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"
#include "hal/request_table.h"
#include "hal/requests/request_book.h"

namespace zerix::kernel {

constexpr ControlResult Done(uint32_t bytes) { return {Completion::kDone, 0, bytes}; }
constexpr ControlResult Failed(uint32_t error) { return {Completion::kFailed, error, 0}; }
constexpr ControlResult Pending() { return {Completion::kPending, 0, 0}; }

// For what the server doesn't call itself, as Enumerate and Open: memory is the one thing that can
// be lacking, and the driver then has no resources. What ends a thread by force is no exception of
// the standard's, and passes.
template <typename Work>
uint32_t OrWithoutResources(Work work)
{
    try {
        return work();
    } catch (const std::exception &) {
        return kErrorNoSystemResources;
    }
}

// A quadlet as it goes over the bus.
constexpr uint32_t BigEndianAt(const uint8_t *bytes)
{
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// One request in service.
struct Request {
    DeviceHandle device;
    RequestId id; // for the book, once the operation answers pending
};

// The same with its records, before it is taken apart.
struct RawRequest {
    Request request;
    uint32_t code;
    std::span<const uint8_t> in;
    std::span<uint8_t> out;
    bool isOverlapped; // else the caller waits in Control
};

class RequestServer : public KernelDriver {
public:
    ControlResult Control(DeviceHandle device, uint32_t code, const void *in, uint32_t inSize,
                          void *out, uint32_t outSize, Overlapped *overlapped) final;
    ControlResult Wait(DeviceHandle device, Overlapped *overlapped) override;
    ControlResult WaitFor(DeviceHandle device, Overlapped *overlapped,
                          uint32_t timeoutMilliseconds) override;
    void CancelPending(DeviceHandle device) override;
    void Cancel(DeviceHandle device, Overlapped *overlapped) override;
    // Cancels what is pending, and closes. Nothing for a handle that isn't open.
    void Close(DeviceHandle device) override;

    RequestBook &Book() { return m_book; }

protected:
    // Handles ----------------------------------------------------------------------------------

    // Whether Open gave this handle, and nobody has closed it.
    virtual bool IsHandle(DeviceHandle device) = 0;
    // 0, or the system error of every request to this device: kErrorDeviceNotConnected once it is
    // gone. `givesBack` as in the table.
    virtual uint32_t CheckDevice(DeviceHandle device, bool givesBack) = 0;
    // Gives back what the handle holds, and forgets the handle. Its requests have been cancelled;
    // those that come while it closes are ended after it.
    virtual void CloseDevice(DeviceHandle device) = 0;

    // The request is cancelled: from the return on nothing writes to its memory any more, and the
    // server ends it. False from a bus that can't: the request goes on then.
    virtual bool Drop(DeviceHandle, RequestId) { return true; }

    // Requests ---------------------------------------------------------------------------------
    // Each gives 0, or a system error, where it isn't told otherwise. What a bus doesn't have is
    // refused as not supported. Memory that runs out is kErrorNoSystemResources.

    // Quadlets of the device's registers. Done: `data` holds them in host order. Pending, to be
    // finished with the bytes as they came over the bus, big-endian. Never blocks.
    virtual ControlResult AsyncRead(const Request &request, uint32_t address,
                                    std::span<uint8_t> data);
    // `data` is as it goes over the bus, and valid until the return. Done has no bytes. Never
    // blocks.
    virtual ControlResult AsyncWrite(const Request &request, uint32_t address,
                                     std::span<const uint8_t> data);

    // Whether any handle, of any process, has booked a stream on the device.
    virtual uint32_t IsOpen(const Request &request, bool &isOpen);

    // Of units for packets in slots of so many bytes; kErrorBusy if another handle has the device,
    // kErrorNoSystemResources if there is too little left. May wait for the bus.
    virtual uint32_t AllocateBandwidth(const Request &request, BandwidthRequest &booking);
    virtual uint32_t FreeBandwidth(const Request &request, uint32_t handle);
    // A channel, or any one (kAnyChannel). May wait for the bus.
    virtual uint32_t AllocateChannel(const Request &request, ChannelRequest &booking);
    virtual uint32_t FreeChannel(const Request &request, uint32_t channel);
    // What receives a stream: one for each handle at a time.
    virtual uint32_t AllocateResources(const Request &request, ResourcesRequest &booking);
    // Its queued buffers end with kErrorOperationAborted.
    virtual uint32_t FreeResources(const Request &request, uint32_t handle);

    // Pending, to be finished when the buffer's slots are full. The buffer stays valid until the
    // request is over. Never blocks.
    virtual ControlResult QueueBuffer(const Request &request, std::span<uint8_t> buffer);
    // Every queued buffer's request is over when this returns.
    virtual uint32_t DetachBuffers(const Request &request, uint32_t resources);
    virtual uint32_t Listen(const Request &request, uint32_t resources);
    virtual uint32_t StopListen(const Request &request, uint32_t resources);

    // Told before and after a stream. Nothing, unless a bus wants to know.
    virtual uint32_t StreamBegin(const Request &) { return 0; }
    virtual uint32_t StreamEnd(const Request &) { return 0; }

    // Dormant: pends until it is cancelled.
    virtual uint32_t BusEventOpen(const Request &) { return 0; }
    virtual ControlResult BusEventWait(const Request &) { return Pending(); }
    virtual uint32_t CancelBusEvent(const Request &request);

    // Takes a request apart and calls its operation. A driver that answers by the code alone, as a
    // test's may, takes its place.
    virtual ControlResult Serve(const RawRequest &raw);

private:
    ControlResult ServeOrFail(const RawRequest &raw);
    ControlResult WaitHere(const Request &request, Overlapped &block);
    void CancelOne(const Request &request);

    RequestBook m_book;
};

} // namespace zerix::kernel
