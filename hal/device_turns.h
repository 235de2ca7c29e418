// The turns of the calls that change a device's connection or its stream: connect, disconnect,
// start, stop and a change of the packet size run one after the other. Any thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace zerix::hal {

class FWCameraDevice;

class DeviceTurns {
public:
    // Waits for the turn. False if it doesn't come in time.
    bool Take(uint32_t timeoutMilliseconds);
    void GiveBack();

private:
    std::mutex m_mutex;
    std::condition_variable m_isFree;
    bool m_isTaken = false;
};

// A turn for as long as it lives; false if it did not come within half a minute. With a driver that
// ignores everything a booking may take longer than that. Not to be nested.
//
// The loss callback may change the stream too: while it waits for a turn on the receive thread,
// the call that has the turn doesn't wait for that thread's end.
class Turn {
public:
    enum class Haste {
        kNone,
        kEndsAccesses, // ends register accesses that hang in the call that has the turn
    };
    explicit Turn(FWCameraDevice &device, Haste haste = Haste::kNone);
    ~Turn();
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;
    explicit operator bool() const { return m_isMine; }

private:
    bool Await(Haste haste);

    FWCameraDevice &m_device;
    bool m_isMine = false;
};

// What a call without its turn returns, with the system error that says why.
uint32_t FailBusy(uint32_t halError);

} // namespace zerix::hal
