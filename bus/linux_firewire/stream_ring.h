// A stream's receive ring: a file of its own, the buffer that the kernel shares with it, and the
// context that fills the buffer's slots with packets.
//
// A slot is a packet slot of the port: 8 bytes of head, and the payload behind them. The kernel
// puts payload n at slot n + 8, as if slots had no head and the buffer began 8 bytes later. A
// packet that is too long runs into the next slot's head, which nobody reads.
//
// Threads: used under the lock of the node's handle. The memory is the kernel's to write.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "bus/linux_firewire/system_calls.h"

namespace zerix::bus::linux_firewire {

// 0.4 s. Some cards hang for good when the ring runs dry, so that it never does: the oldest packets
// are dropped before.
inline constexpr uint32_t kRingPackets = 3200;
inline constexpr uint32_t kPacketsPerInterrupt = 10;
inline constexpr uint32_t kLeastQueuedPackets = 320;
static_assert(kRingPackets % kPacketsPerInterrupt == 0);

// The kernel doesn't notice what is longer than it can describe.
inline constexpr uint32_t kLargestSlot = 24 * 1024 - 8; // bytes

// What a stream has lost, in packets.
struct StreamLosses {
    uint64_t missing = 0;   // cycles without a packet
    uint64_t tooLong = 0;   // for their slot
    uint64_t unwritten = 0; // slots that were told to be full, and weren't
    uint64_t untold = 0;    // packets whose event the kernel had no memory for
    uint64_t overtaken = 0; // not taken in time
    uint64_t Sum() const { return missing + tooLong + unwritten + untold + overtaken; }
};

class StreamRing {
public:
    // Takes the file over if it works out. 0 or a system error; kErrorBusy if the channel is taken
    // on this card, or all of its contexts are in use.
    static uint32_t Make(SystemCalls &system, int file, uint32_t slotBytes, uint32_t channel,
                         std::unique_ptr<StreamRing> &made);
    ~StreamRing();
    StreamRing(const StreamRing &) = delete;
    StreamRing &operator=(const StreamRing &) = delete;

    [[nodiscard]] int File() const { return m_file; }

    // Gives every slot to the kernel and begins to receive. Once: a context that was stopped is
    // not to be started again. 0 or a system error.
    uint32_t Start();
    void Stop();
    [[nodiscard]] bool WasStarted() const { return m_wasStarted; }
    [[nodiscard]] bool IsRunning() const { return m_isRunning; }

    // An interrupt event's headers. The packets are there from then on.
    void OnInterrupt(std::span<const uint8_t> headers);
    // True after an event, which is to be followed by a poll that doesn't wait: it shows whether
    // packets are there of which no event tells.
    bool BeginLook();
    // That poll found no event.
    void OnDrained();

    // The oldest packet that wasn't taken, as its payload; empty for one that is no good. Nothing
    // without any.
    [[nodiscard]] std::optional<std::span<const uint8_t>> Front() const;
    void PopFront();
    // Gives the taken slots back to the kernel. 0 or a system error.
    uint32_t QueueTaken();

    [[nodiscard]] const StreamLosses &Losses() const { return m_losses; }

    // Ends the sharing of the buffer, without which the file's close would end nothing. The file
    // is the caller's to close.
    [[nodiscard]] int Release();

private:
    StreamRing(SystemCalls &system, int file, uint32_t slotBytes);
    uint32_t MapAndCreate(uint32_t channel);
    uint32_t CreateContext(uint32_t channel);
    uint32_t QueueRun(uint32_t count);
    void OnPacket(uint32_t headerWord, uint32_t stampWord);
    void CountGap(uint32_t stampWord);
    void DropOldest();
    void SkipUntold(uint32_t groups);
    [[nodiscard]] uint32_t CountGroupsThere() const;
    [[nodiscard]] uint8_t *Slot(uint32_t index) const;
    void Poison(uint32_t index);
    [[nodiscard]] bool IsPoisoned(uint32_t index) const;
    [[nodiscard]] uint32_t Queued() const { return kRingPackets - m_filled - m_taken; }

    SystemCalls &m_system;
    const int m_file;
    const uint32_t m_slotBytes;
    const size_t m_bytes; // of the buffer
    uint8_t *m_buffer = nullptr;
    uint32_t m_context = 0; // 0 is a good one
    bool m_wasStarted = false;
    bool m_isRunning = false;

    std::vector<uint32_t> m_entries; // of each slot in the kernel's queue
    std::vector<uint32_t> m_lengths; // of the payloads of the filled slots
    uint32_t m_next = 0;             // the slot of the next packet
    uint32_t m_filled = 0;           // slots before it, told and not taken
    uint32_t m_taken = kRingPackets; // slots before those, not in the kernel's queue
    std::optional<uint32_t> m_lastCycle;
    bool m_hadEvent = false;
    uint32_t m_groupsThere = 0; // at this look: groups of packets of which no event has told
    uint32_t m_leastThere = 0;  // of the looks in a row that found any
    uint32_t m_looks = 0;
    StreamLosses m_losses;
};

} // namespace zerix::bus::linux_firewire
