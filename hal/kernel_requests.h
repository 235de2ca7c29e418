// The kernel driver's 18 control requests: codes and wire records, once, for everybody who sends or
// serves them. All words are little-endian. A header of plain data: no dependencies.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zerix::kernel {

// The low two bits are the system's transfer method: 2 passes the out buffer directly, 0 copies it.
enum ControlCode : uint32_t {
    kControlAsyncRead = 0x22207A,         // AsyncRequest -> the quadlets
    kControlAsyncWrite = 0x22A07C,        // AsyncRequest, then the quadlets -> nothing
    kControlIsOpen = 0x222096,            // word -> word, 1 if the device is claimed
    kControlBusEventOpen = 0x22A080,      // word -> word; dormant
    kControlStreamBegin = 0x22A084,       // word, contents undefined -> word
    kControlBusEventWait = 0x22A08A,      // BusEventRecord -> the same; dormant
    kControlCancelBusEvent = 0x22A08C,    // word -> word
    kControlStreamEnd = 0x22A090,         // word, contents undefined -> word
    kControlAllocateBandwidth = 0x22A0A0, // BandwidthRequest -> the same
    kControlFreeBandwidth = 0x22A0A4,     // word: the handle -> word
    kControlAllocateChannel = 0x22A0A8,   // ChannelRequest -> the same
    kControlFreeChannel = 0x22A0AC,       // word: the channel -> word
    kControlAllocateResources = 0x22A0B0, // ResourcesRequest -> the same
    kControlFreeResources = 0x22A0B4,     // word: the handle -> word
    kControlQueueBuffer = 0x22A0BA,       // the receive buffer -> the same, complete when full
    kControlDetachBuffers = 0x22A0BC, // word: the resources handle -> word; every queued buffer's
                                      // request is over when it returns (kErrorOperationAborted)
    kControlListen = 0x22A0C0,        // ListenRequest -> the same
    kControlStopListen = 0x22A0C4,    // StopRequest -> the same
};

// Destination of every register access: the local bus, node 0, which the driver replaces by the
// device's own node; and the upper 16 bits of the 48-bit offset.
inline constexpr uint16_t kDestination = 0xFFC0;
inline constexpr uint16_t kOffsetHigh = 0xFFFF;

struct AsyncRequest {
    uint32_t reserved0;   // 0
    uint32_t one;         // 1
    uint16_t destination; // kDestination
    uint16_t unset10;
    uint16_t offsetHigh; // kOffsetHigh
    uint16_t reserved14;
    uint32_t offsetLow;   // the register's address
    uint32_t lengthBytes; // quadlets * 4
    uint32_t zero24;
    uint32_t zero28;
    uint32_t zero32;
    uint32_t firstData; // of a write: the first quadlet, big-endian, the others behind it
};
inline constexpr uint32_t kAsyncRequestBytes = 40;
inline constexpr uint32_t kAsyncDataOffset = 36;
static_assert(sizeof(AsyncRequest) == kAsyncRequestBytes);
static_assert(offsetof(AsyncRequest, offsetLow) == 16 && offsetof(AsyncRequest, lengthBytes) == 20);
static_assert(offsetof(AsyncRequest, firstData) == kAsyncDataOffset);

inline constexpr uint32_t kSpeedFlag800 = 8;
inline constexpr uint32_t kSpeedFlag400 = 4;

struct BandwidthRequest {
    uint32_t slotBytes;
    uint32_t speedFlag; // always kSpeedFlag800
    uint32_t handle;    // out
    uint32_t unset[2];
};
static_assert(sizeof(BandwidthRequest) == 20);

inline constexpr uint32_t kAnyChannel = 0xFFFFFFFFu;

struct ChannelRequest {
    uint32_t request; // kAnyChannel
    uint32_t channel; // out
    uint32_t unset[2];
};
static_assert(sizeof(ChannelRequest) == 16);

inline constexpr uint32_t kResourceFlags = 0x41;
inline constexpr uint32_t kAnnouncedBuffers = 61;
inline constexpr uint32_t kReceiveBuffers = 60;
inline constexpr uint32_t kSlotsPerBuffer = 30;

struct ResourcesRequest {
    uint32_t speedFlag;
    uint32_t flags; // kResourceFlags
    uint32_t channel;
    uint32_t slotBytes;
    uint32_t bufferCount;   // kAnnouncedBuffers
    uint32_t bufferBytes;   // slotBytes * kSlotsPerBuffer
    uint32_t stripQuadlets; // 0
    uint32_t tag;
    uint32_t handle; // out
};
static_assert(sizeof(ResourcesRequest) == 36);

struct ListenRequest {
    uint32_t resources;
    uint32_t zero[2];
};
static_assert(sizeof(ListenRequest) == 12);

struct StopRequest {
    uint32_t resources;
    uint32_t zero;
};
static_assert(sizeof(StopRequest) == 8);

struct BusEventRecord {
    uint32_t unset;
    uint8_t cleared[0x800];
    uint32_t trailing;
};
static_assert(sizeof(BusEventRecord) == 0x808);

// A packet slot of a receive buffer: 6 bytes of the driver's, the payload length as 16 bits in host
// order, the payload. A camera without image data sends kIdlePacketBytes in every slot.
inline constexpr uint32_t kSlotLengthOffset = 6;
inline constexpr uint32_t kSlotPayloadOffset = 8;
inline constexpr uint32_t kSlotOverheadBytes = 12; // slot size minus the packet size asked for
inline constexpr uint32_t kIdlePacketBytes = 12;

} // namespace zerix::kernel
