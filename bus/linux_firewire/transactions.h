// Register accesses on their way over the bus. Each is split into transactions that the node can
// take, one after the other, and every attempt of a transaction has a number of its own, so that a
// late answer to an earlier attempt, or to an access that was cancelled, finds nothing.
//
// Threads: used under the lock of the node's handle.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "bus/linux_firewire/system_calls.h"
#include "hal/requests/request_book.h"

namespace zerix::bus::linux_firewire {

// The most bytes of one transaction: what the wire takes at this speed code, what the node takes by
// its configuration memory, and what the kernel takes.
uint32_t LargestTransaction(int speed, std::span<const uint32_t> rom);

// No request: a look at whether the node is there, from whose answer only the error counts.
inline constexpr kernel::RequestId kProbe = 0;

class Transactions {
public:
    using Time = std::chrono::nanoseconds;
    // An access is over: 0 and the bytes that were read, in the order of the bus; or a system
    // error.
    using Finish = std::function<void(kernel::RequestId, uint32_t, std::span<const uint8_t>)>;

    Transactions(SystemCalls &system, int file, uint32_t generation, uint32_t largest,
                 Finish finish);

    // Sends the first transaction. 0, or the system error of a request that the kernel refuses,
    // which isn't told to Finish then.
    uint32_t Read(kernel::RequestId id, uint32_t address, size_t bytes);
    uint32_t Write(kernel::RequestId id, uint32_t address, std::span<const uint8_t> bytes);
    // The access is to be forgotten.
    void Drop(kernel::RequestId id);
    void DropAll() { m_accesses.clear(); }

    // A response event.
    void OnResponse(uint64_t number, uint32_t code, std::span<const uint8_t> data);
    void OnGeneration(uint32_t generation);

    // Sends again what has rested long enough.
    void SendDue();
    // When the next of them is due.
    [[nodiscard]] std::optional<Time> NextDue() const;
    // When the oldest attempt was sent that the bus hasn't answered yet.
    [[nodiscard]] std::optional<Time> OldestUnanswered() const;

    // The node has answered nothing but stale generations for too long, or the kernel has given it
    // up.
    [[nodiscard]] bool IsLost() const { return m_isLost; }

private:
    struct Access {
        kernel::RequestId id = kProbe;
        bool isWrite = false;
        uint64_t offset = 0; // of the first byte, in the node's 48 bits
        std::vector<uint8_t> bytes;
        size_t done = 0;     // bytes
        size_t inFlight = 0; // bytes
        uint32_t generation = 0;
        uint32_t busyTries = 0;
        bool hasTimedOut = false;
        bool rests = false;
        Time time{}; // when it was sent, or when it is due
    };
    using Place = std::map<uint64_t, Access>::iterator;
    enum class Reaction;

    uint32_t Begin(Access access);
    uint32_t Send(uint64_t number, Access &access);
    void SendAgain(Place place);
    void RestUntil(Place place, Time due);
    void End(Place place, uint32_t error);
    Reaction ReactionTo(const Access &access, uint32_t code) const;
    void GoOn(Place place, std::span<const uint8_t> data);
    void AwaitGeneration(Place place);
    void SendOutdatedAgain();
    void TryLater(Place place);
    [[nodiscard]] bool IsStaleTooLong() const;
    void ForgetStalenessWhenIdle();

    SystemCalls &m_system;
    const int m_file;
    const uint32_t m_largest;
    const Finish m_finish;
    uint32_t m_generation;
    std::map<uint64_t, Access> m_accesses; // by the number of their last attempt
    uint64_t m_lastNumber = 0;
    // The node refused to be read in blocks.
    bool m_readsQuadlets = false;
    std::optional<Time> m_staleSince; // no answer but stale generations since then
    bool m_isLost = false;
};

} // namespace zerix::bus::linux_firewire
