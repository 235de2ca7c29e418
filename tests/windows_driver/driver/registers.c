// Reads and writes of registers, from the table.
#include "driver.h"

enum { kRequestBytes = 40, kDataOffset = 36 };

uint32_t WordAt(const uint8_t *bytes)
{
    return (uint32_t)bytes[0] | (uint32_t)bytes[1] << 8 | (uint32_t)bytes[2] << 16 |
           (uint32_t)bytes[3] << 24;
}

void PutWord(uint8_t *bytes, uint32_t value)
{
    bytes[0] = (uint8_t)value;
    bytes[1] = (uint8_t)(value >> 8);
    bytes[2] = (uint8_t)(value >> 16);
    bytes[3] = (uint8_t)(value >> 24);
}

static uint32_t Swapped(uint32_t word)
{
    return word << 24 | (word & 0xFF00u) << 8 | (word >> 8 & 0xFF00u) | word >> 24;
}

TestWord *FindRegister(Device *device, uint32_t address)
{
    uint32_t i;
    for (i = 0; i < device->registerCount; ++i)
        if (device->registers[i].address == address)
            return &device->registers[i];
    return NULL;
}

// A camera on this bus is node 0 of the local bus, and its registers lie in the upper half of the
// initial units space.
static BOOLEAN IsWellFormed(const Request *request)
{
    const uint8_t *in = request->in;
    return request->inBytes >= kRequestBytes && WordAt(in) == 0 && WordAt(in + 4) == 1 &&
           (WordAt(in + 8) & 0xFFFF) == 0xFFC0 && (WordAt(in + 12) & 0xFFFF) == 0xFFFF &&
           WordAt(in + 20) % 4 == 0 && WordAt(in + 24) == 0 && WordAt(in + 28) == 0 &&
           WordAt(in + 32) == 0;
}

static void LogAccess(Device *device, const TestAccess *access)
{
    if (device->accessCount < kTestAccessLimit)
        device->accessLog[device->accessCount++] = *access;
}

static BOOLEAN AllAnswer(Device *device, uint32_t address, uint32_t quadlets)
{
    uint32_t i;
    for (i = 0; i < quadlets; ++i)
        if (FindRegister(device, address + 4 * i) == NULL)
            return FALSE;
    return TRUE;
}

NTSTATUS AsyncRead(Request *request)
{
    TestAccess access = {0, 0, 0, 0};
    uint32_t i;
    if (!IsWellFormed(request) || WordAt(request->in + 20) != request->outBytes)
        return STATUS_INVALID_PARAMETER;
    access.address = WordAt(request->in + 16);
    access.quadlets = request->outBytes / 4;
    LogAccess(request->device, &access);
    if (!AllAnswer(request->device, access.address, access.quadlets))
        return STATUS_UNSUCCESSFUL;
    for (i = 0; i < access.quadlets; ++i) {
        const uint32_t value = FindRegister(request->device, access.address + 4 * i)->value;
        PutWord(request->out + 4 * i, request->pends ? Swapped(value) : value);
    }
    request->information = request->outBytes;
    return STATUS_SUCCESS;
}

static void StreamRegisterWritten(Device *device, uint32_t value)
{
    device->isSending = value & 1;
    device->sendChannel = (int32_t)(value >> 24);
    BeginRecording(device);
}

NTSTATUS AsyncWrite(Request *request)
{
    TestAccess access = {1, 0, 0, 0};
    const uint8_t *data = request->in + kDataOffset;
    Device *device = request->device;
    uint32_t i;
    if (!IsWellFormed(request) || request->inBytes != WordAt(request->in + 20) + kRequestBytes)
        return STATUS_INVALID_PARAMETER;
    access.address = WordAt(request->in + 16);
    access.quadlets = WordAt(request->in + 20) / 4;
    access.firstValue = access.quadlets > 0 ? Swapped(WordAt(data)) : 0;
    LogAccess(device, &access);
    if (!AllAnswer(device, access.address, access.quadlets))
        return STATUS_UNSUCCESSFUL;
    for (i = 0; i < access.quadlets; ++i) {
        TestWord *word = FindRegister(device, access.address + 4 * i);
        word->value = Swapped(WordAt(data + 4 * i));
        if (device->recording.record != NULL &&
            word->address == device->recording.record->streamRegister)
            StreamRegisterWritten(device, word->value);
    }
    return STATUS_SUCCESS;
}
