// The table of the 18 requests, and what happens to one before and after its handler.
#include "driver.h"

static NTSTATUS EchoWord(Request *request)
{
    PutWord(request->out, WordAt(request->in));
    request->information = 4;
    return STATUS_SUCCESS;
}

static NTSTATUS BusEventWait(Request *request)
{
    return Pend(request->device, request->irp, kPendingBusEvent) ? STATUS_PENDING
                                                                 : STATUS_CANCELLED;
}

static NTSTATUS CancelBusEvent(Request *request)
{
    EndPending(request->device, kPendingBusEvent, NULL, STATUS_CANCELLED, request->ended);
    return EchoWord(request);
}

enum { kAnySize = 0xFFFF };

typedef struct RequestRow {
    uint32_t code;
    uint32_t inBytes;
    uint32_t outBytes;
    uint32_t worksUnplugged; // what gives something back does
    NTSTATUS (*handle)(Request *);
} RequestRow;

static const RequestRow kRows[kRequests] = {
    {0x22207A, 40, kAnySize, 0, AsyncRead},
    {0x22A07C, kAnySize, kAnySize, 0, AsyncWrite},
    {0x222096, 4, 4, 0, IsOpen},
    {0x22A080, 4, 4, 0, EchoWord},
    {0x22A084, 4, 4, 1, EchoWord},
    {0x22A08A, 0x808, 0x808, 0, BusEventWait},
    {0x22A08C, 4, 4, 1, CancelBusEvent},
    {0x22A090, 4, 4, 1, EchoWord},
    {0x22A0A0, 20, 20, 0, AllocateBandwidth},
    {0x22A0A4, 4, 4, 1, FreeBandwidth},
    {0x22A0A8, 16, 16, 0, AllocateChannel},
    {0x22A0AC, 4, 4, 1, FreeChannel},
    {0x22A0B0, 36, 36, 0, AllocateResources},
    {0x22A0B4, 4, 4, 1, FreeResources},
    {0x22A0BA, kAnySize, kAnySize, 0, QueueBuffer},
    {0x22A0BC, 4, 4, 1, DetachBuffers},
    {0x22A0C0, 12, 12, 0, Listen},
    {0x22A0C4, 8, 8, 1, StopListen},
};

uint32_t RequestNumber(uint32_t code)
{
    uint32_t number = 0;
    while (number < kRequests && kRows[number].code != code)
        ++number;
    return number;
}

// The rule that a request of this code falls under, used up by it; null for none.
static const TestFault *NextFault(Device *device, uint32_t code)
{
    uint32_t i;
    for (i = 0; i < device->faultCount; ++i) {
        TestFault *fault = &device->faults[i];
        if (fault->code != code || fault->times == 0)
            continue;
        if (fault->skip > 0) {
            --fault->skip;
            continue;
        }
        --fault->times;
        return fault;
    }
    return NULL;
}

static BOOLEAN AccessPends(Device *device, uint32_t number)
{
    if (number > 1)
        return FALSE;
    ++device->accesses;
    return device->behaviour.pending == kTestPendAlways ||
           (device->behaviour.pending == kTestPendEverySecond && device->accesses % 2 == 0);
}

static NTSTATUS PendWith(Request *request, NTSTATUS status)
{
    request->irp->IoStatus.Status = status;
    request->irp->IoStatus.Information = request->information;
    return Pend(request->device, request->irp, kPendingLater) ? STATUS_PENDING : STATUS_CANCELLED;
}

static NTSTATUS FailAs(Request *request, const TestFault *fault)
{
    Device *device = request->device;
    switch (fault->action) {
    case kTestPendAndFail:
        return PendWith(request, (NTSTATUS)fault->status);
    case kTestHang:
        return Pend(device, request->irp, kPendingForEver) ? STATUS_PENDING : STATUS_CANCELLED;
    case kTestUnplugAndFail:
        device->isPresent = 0;
        EndPending(device, kPendingAny, NULL, STATUS_DEVICE_NOT_CONNECTED, request->ended);
        return STATUS_DEVICE_NOT_CONNECTED;
    default:
        return (NTSTATUS)fault->status;
    }
}

static BOOLEAN SizesFit(const RequestRow *row, const Request *request)
{
    return (row->inBytes == kAnySize || request->inBytes == row->inBytes) &&
           (row->outBytes == kAnySize || request->outBytes == row->outBytes);
}

NTSTATUS HandleRequest(Request *request)
{
    Device *device = request->device;
    const uint32_t number = RequestNumber(request->code);
    const TestFault *fault;
    NTSTATUS status;
    if (number == kRequests)
        return STATUS_NOT_SUPPORTED;
    ++device->state.requests[number];
    if (!SizesFit(&kRows[number], request))
        return STATUS_INVALID_PARAMETER;
    if (!device->isPresent && !kRows[number].worksUnplugged)
        return STATUS_DEVICE_NOT_CONNECTED;
    request->pends = AccessPends(device, number);
    fault = NextFault(device, request->code);
    if (fault != NULL && fault->action == kTestPendAndDo)
        request->pends = 1;
    else if (fault != NULL)
        return FailAs(request, fault);
    status = kRows[number].handle(request);
    if (!request->pends || status == STATUS_PENDING)
        return status;
    return PendWith(request, status);
}
