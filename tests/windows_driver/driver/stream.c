// Each device's thread: completes what was put off, and fills one receive buffer at a time with the
// recorded packets, or with idle ones, at the pace of the bus.
#include "driver.h"

enum { kSlotLead = 8, kIdleBytes = 12 };

static const uint8_t kIdlePacket[kIdleBytes] = {0, 1, 0, 0, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA, 0xAA};

// 8000 slots a second, 30 to a buffer; in units of 100 ns, negative because it begins now.
enum { kBufferTime = -37500 };

void BeginRecording(Device *device)
{
    Recording *recording = &device->recording;
    const TestWord *word = NULL;
    recording->nextPacket = 0;
    recording->nextByte = 0;
    recording->idleSlotsLeft = 0;
    if (recording->record != NULL)
        word = FindRegister(device, recording->record->tagRegister);
    recording->tag = word != NULL ? (uint8_t)(word->value >> 24) : 0;
}

static void PutSlot(uint8_t *slot, uint32_t slotBytes, const uint8_t *payload, uint32_t length)
{
    if (length + kSlotLead > slotBytes)
        length = 0;
    RtlZeroMemory(slot, kSlotLead);
    slot[6] = (uint8_t)length;
    slot[7] = (uint8_t)(length >> 8);
    RtlCopyMemory(slot + kSlotLead, payload, length);
}

static void PutRecordedPacket(Recording *recording, uint8_t *slot, uint32_t slotBytes)
{
    const uint8_t *bytes = recording->record->packets + recording->nextByte;
    TestPacket packet;
    RtlCopyMemory(&packet, bytes, sizeof packet);
    PutSlot(slot, slotBytes, bytes + sizeof packet, packet.length);
    if (packet.tagOffset != 0 && packet.tagOffset + (uint32_t)kSlotLead < slotBytes)
        slot[kSlotLead + packet.tagOffset] = recording->tag;
    recording->nextByte += (uint32_t)sizeof packet + packet.length;
    ++recording->nextPacket;
}

static void PutNextPacket(Device *device, uint8_t *slot, uint32_t slotBytes)
{
    Recording *recording = &device->recording;
    const BOOLEAN isRecorded = recording->record != NULL && device->isSending &&
                               device->sendChannel == device->holdings.channel;
    if (!isRecorded || recording->idleSlotsLeft > 0) {
        PutSlot(slot, slotBytes, kIdlePacket, kIdleBytes);
        if (recording->idleSlotsLeft > 0)
            --recording->idleSlotsLeft;
        return;
    }
    PutRecordedPacket(recording, slot, slotBytes);
    if (recording->nextPacket == recording->record->packetCount) {
        BeginRecording(device);
        recording->idleSlotsLeft = recording->record->idleSlots;
    }
}

// The oldest buffer, filled; null if nothing listens or no buffer waits.
static IRP *FillBuffer(Device *device)
{
    const uint32_t slotBytes = device->holdings.slotBytes;
    uint32_t i;
    uint8_t *bytes;
    IRP *irp;
    if (!device->holdings.isListening || device->behaviour.isSilent || !device->isPresent)
        return NULL;
    irp = TakePending(device, kPendingBuffer, NULL);
    if (irp == NULL)
        return NULL;
    bytes = (uint8_t *)MmGetSystemAddressForMdlSafe(irp->MdlAddress, NormalPagePriority);
    for (i = 0; i < kSlotsOfBuffer; ++i)
        PutNextPacket(device, bytes + i * slotBytes, slotBytes);
    irp->IoStatus.Status = STATUS_SUCCESS;
    irp->IoStatus.Information = slotBytes * kSlotsOfBuffer;
    ++device->state.buffersFilled;
    return irp;
}

static void Turn(Device *device)
{
    LIST_ENTRY ended;
    IRP *irp;
    KIRQL level;
    InitializeListHead(&ended);
    level = Lock();
    while ((irp = TakePending(device, kPendingLater, NULL)) != NULL)
        InsertTailList(&ended, &irp->Tail.Overlay.ListEntry);
    irp = FillBuffer(device);
    if (irp != NULL)
        InsertTailList(&ended, &irp->Tail.Overlay.ListEntry);
    Unlock(level);
    CompleteEnded(&ended);
}

NTAPI void DeviceThread(void *context)
{
    Device *device = context;
    LARGE_INTEGER wait;
    wait.QuadPart = kBufferTime;
    while (KeWaitForSingleObject(&device->leave, Executive, KernelMode, FALSE, &wait) ==
           STATUS_TIMEOUT) {
        Turn(device);
        if (device->isListed != device->isPresent)
            SwitchInterface(device);
    }
    PsTerminateSystemThread(STATUS_SUCCESS);
}
