// The control device: what a test tells the driver and asks of it.
#include "driver.h"

enum { kPoolTag = 0x7872655A }; // "Zerx"

// The buffers of one control request; buffered, so that in and out are one.
typedef struct Talk {
    uint8_t *buffer;
    uint32_t inBytes;
    uint32_t outBytes;
    uint32_t answerBytes;
    TestRecording *freed; // to be freed without the lock
    LIST_ENTRY ended;
} Talk;

void ResetDevice(Device *device, LIST_ENTRY *ended)
{
    EndPending(device, kPendingAny, NULL, STATUS_CANCELLED, ended);
    RtlZeroMemory(&device->behaviour, sizeof device->behaviour);
    if (device->recording.record != NULL)
        ExFreePool(device->recording.record);
    RtlZeroMemory(&device->recording, sizeof device->recording);
    device->accesses = 0;
    device->registerCount = 0;
    device->faultCount = 0;
    device->accessCount = 0;
    device->isSending = 0;
    device->state.buffersFilled = 0;
    RtlZeroMemory(device->state.requests, sizeof device->state.requests);
    device->isPresent = device->isStarted;
}

static NTSTATUS Reset(Talk *talk)
{
    uint32_t i;
    for (i = 0; i < kTestDevices; ++i)
        if (DeviceNumber(i) != NULL)
            ResetDevice(DeviceNumber(i), &talk->ended);
    return STATUS_SUCCESS;
}

// The device that the record's first word names, if the record is whole; else null.
static Device *DeviceFor(const Talk *talk, uint32_t recordBytes)
{
    return talk->inBytes < recordBytes ? NULL : DeviceNumber(WordAt(talk->buffer));
}

static NTSTATUS SetRegisters(Talk *talk)
{
    const TestRegisters *record = (const TestRegisters *)talk->buffer;
    Device *device = DeviceFor(talk, sizeof *record);
    uint32_t i;
    if (device == NULL || record->count > kTestRegisterLimit ||
        talk->inBytes < FIELD_OFFSET(TestRegisters, words) + record->count * sizeof(TestWord))
        return STATUS_INVALID_PARAMETER;
    for (i = 0; i < record->count; ++i) {
        TestWord *word = FindRegister(device, record->words[i].address);
        if (word == NULL && device->registerCount == kTestRegisterLimit)
            return STATUS_INSUFFICIENT_RESOURCES;
        if (word == NULL)
            word = &device->registers[device->registerCount++];
        *word = record->words[i];
    }
    return STATUS_SUCCESS;
}

static NTSTATUS GetRegister(Talk *talk)
{
    TestRegister *record = (TestRegister *)talk->buffer;
    Device *device = DeviceFor(talk, sizeof *record);
    const TestWord *word;
    if (device == NULL || talk->outBytes < sizeof *record)
        return STATUS_INVALID_PARAMETER;
    word = FindRegister(device, record->word.address);
    if (word == NULL)
        return STATUS_UNSUCCESSFUL;
    record->word = *word;
    talk->answerBytes = sizeof *record;
    return STATUS_SUCCESS;
}

// The packets as they are announced, none longer than what is left.
static BOOLEAN IsWhole(const TestRecording *record, uint32_t bytes)
{
    uint32_t at = 0;
    uint32_t i;
    if (record->packetCount == 0 || record->bytes > bytes - FIELD_OFFSET(TestRecording, packets))
        return FALSE;
    for (i = 0; i < record->packetCount; ++i) {
        TestPacket packet;
        if (record->bytes - at < sizeof packet)
            return FALSE;
        RtlCopyMemory(&packet, record->packets + at, sizeof packet);
        at += sizeof packet;
        if (record->bytes - at < packet.length)
            return FALSE;
        at += packet.length;
    }
    return TRUE;
}

static NTSTATUS SetRecording(Talk *talk)
{
    const TestRecording *record = (const TestRecording *)talk->buffer;
    Device *device = DeviceFor(talk, sizeof *record);
    TestRecording *copy;
    if (device == NULL || !IsWhole(record, talk->inBytes))
        return STATUS_INVALID_PARAMETER;
    copy = ExAllocatePoolWithTag(NonPagedPool, talk->inBytes, kPoolTag);
    if (copy == NULL)
        return STATUS_INSUFFICIENT_RESOURCES;
    RtlCopyMemory(copy, record, talk->inBytes);
    talk->freed = device->recording.record;
    device->recording.record = copy;
    BeginRecording(device);
    return STATUS_SUCCESS;
}

static NTSTATUS SetBehaviour(Talk *talk)
{
    Device *device = DeviceFor(talk, sizeof(TestBehaviour));
    if (device == NULL)
        return STATUS_INVALID_PARAMETER;
    RtlCopyMemory(&device->behaviour, talk->buffer, sizeof(TestBehaviour));
    return STATUS_SUCCESS;
}

static NTSTATUS AddFault(Talk *talk)
{
    const TestFault *record = (const TestFault *)talk->buffer;
    Device *device = DeviceFor(talk, sizeof *record);
    if (device == NULL || RequestNumber(record->code) == kRequests)
        return STATUS_INVALID_PARAMETER;
    if (device->faultCount == kTestFaultLimit)
        return STATUS_INSUFFICIENT_RESOURCES;
    device->faults[device->faultCount++] = *record;
    return STATUS_SUCCESS;
}

static NTSTATUS SetPresent(Talk *talk)
{
    const TestPresence *record = (const TestPresence *)talk->buffer;
    Device *device = DeviceFor(talk, sizeof *record);
    if (device == NULL || !device->isStarted)
        return STATUS_INVALID_PARAMETER;
    device->isPresent = record->isPresent != 0;
    if (!device->isPresent)
        EndPending(device, kPendingAny, NULL, STATUS_DEVICE_NOT_CONNECTED, &talk->ended);
    return STATUS_SUCCESS;
}

static NTSTATUS GetState(Talk *talk)
{
    const Device *device = DeviceFor(talk, sizeof(uint32_t));
    TestState state;
    if (talk->outBytes < sizeof state)
        return STATUS_INVALID_PARAMETER;
    RtlZeroMemory(&state, sizeof state);
    if (device != NULL) {
        state = device->state;
        state.isThere = device->isStarted && device->isPresent;
        state.isClaimed = device->holdings.owner != NULL;
        state.holdsBandwidth = device->holdings.bandwidth != 0;
        state.holdsChannel = device->holdings.channel != kNoChannel;
        state.holdsResources = device->holdings.resources != 0;
        state.isListening = device->holdings.isListening;
        state.queuedBuffers = CountPending(device, kPendingBuffer);
        state.pendingRequests = CountPending(device, kPendingAny & ~kPendingBuffer);
    }
    RtlCopyMemory(talk->buffer, &state, sizeof state);
    talk->answerBytes = sizeof state;
    return STATUS_SUCCESS;
}

static NTSTATUS TakeAccesses(Talk *talk)
{
    Device *device = DeviceFor(talk, sizeof(uint32_t));
    uint32_t bytes;
    if (device == NULL)
        return STATUS_INVALID_PARAMETER;
    bytes = device->accessCount * (uint32_t)sizeof(TestAccess);
    if (talk->outBytes < bytes)
        return STATUS_BUFFER_TOO_SMALL;
    RtlCopyMemory(talk->buffer, device->accessLog, bytes);
    device->accessCount = 0;
    talk->answerBytes = bytes;
    return STATUS_SUCCESS;
}

static NTSTATUS Answer(Talk *talk, uint32_t code)
{
    switch (code) {
    case kTestReset:
        return Reset(talk);
    case kTestSetRegisters:
        return SetRegisters(talk);
    case kTestGetRegister:
        return GetRegister(talk);
    case kTestSetRecording:
        return SetRecording(talk);
    case kTestSetBehaviour:
        return SetBehaviour(talk);
    case kTestAddFault:
        return AddFault(talk);
    case kTestSetPresent:
        return SetPresent(talk);
    case kTestGetState:
        return GetState(talk);
    case kTestTakeAccesses:
        return TakeAccesses(talk);
    default:
        return STATUS_NOT_SUPPORTED;
    }
}

NTSTATUS HandleControl(IRP *irp, IO_STACK_LOCATION *stack)
{
    Talk talk;
    NTSTATUS status;
    KIRQL level;
    uint32_t i;
    RtlZeroMemory(&talk, sizeof talk);
    talk.buffer = irp->AssociatedIrp.SystemBuffer;
    talk.inBytes = stack->Parameters.DeviceIoControl.InputBufferLength;
    talk.outBytes = stack->Parameters.DeviceIoControl.OutputBufferLength;
    InitializeListHead(&talk.ended);
    level = Lock();
    status = Answer(&talk, stack->Parameters.DeviceIoControl.IoControlCode);
    Unlock(level);
    CompleteEnded(&talk.ended);
    if (talk.freed != NULL)
        ExFreePool(talk.freed);
    // Presence may have changed; the list of devices follows before the answer.
    for (i = 0; i < kTestDevices; ++i)
        if (DeviceNumber(i) != NULL)
            SwitchInterface(DeviceNumber(i));
    return Complete(irp, status, NT_SUCCESS(status) ? talk.answerBytes : 0);
}
