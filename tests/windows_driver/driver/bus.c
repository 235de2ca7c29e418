// Bandwidth, channels, isochronous resources and receive buffers: what one handle can hold of a
// device, and who has it.
#include "driver.h"

enum {
    kFlag800 = 8,
    kFlag400 = 4,
    kAnyChannel = -1,
    kChannels = 64,
    kResourceFlags = 0x41,
    kLargestSlowSlot = 0x1324,
};

// Channels are the bus's, all devices'.
static uint64_t g_channelsTaken;

static NTSTATUS AnswerRecord(Request *request)
{
    request->information = request->outBytes;
    return STATUS_SUCCESS;
}

static void ReturnChannel(Holdings *holdings)
{
    if (holdings->channel != kNoChannel)
        g_channelsTaken &= ~(1ull << holdings->channel);
    holdings->channel = kNoChannel;
}

void ReleaseHoldings(Device *device, LIST_ENTRY *ended)
{
    Holdings *holdings = &device->holdings;
    EndPending(device, kPendingBuffer, NULL, STATUS_CANCELLED, ended);
    ReturnChannel(holdings);
    holdings->owner = NULL;
    holdings->bandwidth = 0;
    holdings->resources = 0;
    holdings->isListening = 0;
}

NTSTATUS IsOpen(Request *request)
{
    PutWord(request->out, request->device->holdings.owner != NULL);
    return AnswerRecord(request);
}

NTSTATUS AllocateBandwidth(Request *request)
{
    Holdings *holdings = &request->device->holdings;
    if (WordAt(request->in) == 0 || WordAt(request->in + 4) != kFlag800)
        return STATUS_INVALID_PARAMETER;
    if (holdings->bandwidth != 0 || (holdings->owner != NULL && holdings->owner != request->file))
        return STATUS_DEVICE_BUSY;
    holdings->owner = request->file;
    holdings->bandwidth = ++request->device->nextHandle;
    PutWord(request->out + 8, holdings->bandwidth);
    return AnswerRecord(request);
}

NTSTATUS FreeBandwidth(Request *request)
{
    Holdings *holdings = &request->device->holdings;
    if (holdings->bandwidth == 0 || WordAt(request->in) != holdings->bandwidth)
        return STATUS_INVALID_PARAMETER;
    holdings->bandwidth = 0;
    return AnswerRecord(request);
}

NTSTATUS AllocateChannel(Request *request)
{
    Holdings *holdings = &request->device->holdings;
    int32_t channel = 0;
    if ((int32_t)WordAt(request->in) != kAnyChannel || holdings->channel != kNoChannel)
        return STATUS_INVALID_PARAMETER;
    while (channel < kChannels && (g_channelsTaken >> channel & 1) != 0)
        ++channel;
    if (channel == kChannels)
        return STATUS_INSUFFICIENT_RESOURCES;
    g_channelsTaken |= 1ull << channel;
    holdings->channel = channel;
    PutWord(request->out + 4, (uint32_t)channel);
    return AnswerRecord(request);
}

NTSTATUS FreeChannel(Request *request)
{
    Holdings *holdings = &request->device->holdings;
    if (holdings->channel == kNoChannel || (int32_t)WordAt(request->in) != holdings->channel)
        return STATUS_INVALID_PARAMETER;
    ReturnChannel(holdings);
    return AnswerRecord(request);
}

static BOOLEAN IsSane(const Request *request, uint32_t slotBytes)
{
    const uint8_t *in = request->in;
    const uint32_t speed = WordAt(in);
    return (speed == kFlag800 || speed == kFlag400) && WordAt(in + 4) == kResourceFlags &&
           (int32_t)WordAt(in + 8) == request->device->holdings.channel && slotBytes > 0 &&
           WordAt(in + 16) == 61 && WordAt(in + 20) == slotBytes * kSlotsOfBuffer &&
           WordAt(in + 24) == 0;
}

NTSTATUS AllocateResources(Request *request)
{
    Holdings *holdings = &request->device->holdings;
    const uint32_t isFast = WordAt(request->in) == kFlag800;
    const uint32_t slotBytes = WordAt(request->in + 12);
    if (!IsSane(request, slotBytes) || holdings->resources != 0)
        return STATUS_INVALID_PARAMETER;
    if (isFast ? request->device->behaviour.isSlow : slotBytes > kLargestSlowSlot)
        return STATUS_INSUFFICIENT_RESOURCES;
    holdings->resources = ++request->device->nextHandle;
    holdings->slotBytes = slotBytes;
    PutWord(request->out + 32, holdings->resources);
    return AnswerRecord(request);
}

static BOOLEAN Holds(const Request *request)
{
    const uint32_t resources = request->device->holdings.resources;
    return resources != 0 && WordAt(request->in) == resources;
}

NTSTATUS FreeResources(Request *request)
{
    if (!Holds(request))
        return STATUS_INVALID_PARAMETER;
    EndPending(request->device, kPendingBuffer, NULL, STATUS_CANCELLED, request->ended);
    request->device->holdings.resources = 0;
    request->device->holdings.isListening = 0;
    return AnswerRecord(request);
}

NTSTATUS QueueBuffer(Request *request)
{
    const Holdings *holdings = &request->device->holdings;
    if (holdings->resources == 0 || request->inBytes != request->outBytes ||
        request->outBytes != holdings->slotBytes * kSlotsOfBuffer)
        return STATUS_INVALID_PARAMETER;
    return Pend(request->device, request->irp, kPendingBuffer) ? STATUS_PENDING : STATUS_CANCELLED;
}

NTSTATUS DetachBuffers(Request *request)
{
    if (!Holds(request))
        return STATUS_INVALID_PARAMETER;
    EndPending(request->device, kPendingBuffer, NULL, STATUS_CANCELLED, request->ended);
    return AnswerRecord(request);
}

NTSTATUS Listen(Request *request)
{
    if (!Holds(request) || WordAt(request->in + 4) != 0 || WordAt(request->in + 8) != 0)
        return STATUS_INVALID_PARAMETER;
    request->device->holdings.isListening = 1;
    return AnswerRecord(request);
}

NTSTATUS StopListen(Request *request)
{
    if (!Holds(request) || WordAt(request->in + 4) != 0)
        return STATUS_INVALID_PARAMETER;
    request->device->holdings.isListening = 0;
    return AnswerRecord(request);
}
