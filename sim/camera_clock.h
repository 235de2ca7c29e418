// The clock of one virtual camera. On the wall clock it is the system's time. On the fast clock
// each camera has a time of its own that begins at a fixed date and moves only by what the camera
// does, so that no time depends on how threads, or other cameras, run. Guarded by the bus's lock.
#pragma once

#include <cstdint>

namespace zerix::sim {

// 2005-01-01 00:00 UTC.
inline constexpr uint64_t kFastClockStart = 1'104'537'600'000'000'000;

inline constexpr uint64_t kSlotNanoseconds = 125'000; // 8,000 packet slots a second

// Nanoseconds since some fixed moment: what real waiting is measured with, on either clock.
uint64_t SteadyNanoseconds();

class CameraClock {
public:
    explicit CameraClock(bool fast);

    // Nanoseconds since 1970-01-01 00:00 UTC.
    [[nodiscard]] uint64_t Now() const;

    // Moves a fast clock; the wall clock moves by itself. Never moves back.
    void Advance(uint64_t nanoseconds);
    void MoveTo(uint64_t moment);

    [[nodiscard]] bool IsFast() const { return m_fast; }

    // The moment of SteadyNanoseconds at which the wall clock shows this one.
    [[nodiscard]] uint64_t SteadyMomentOf(uint64_t moment) const { return moment - m_steadyOffset; }

private:
    bool m_fast;
    uint64_t m_now = kFastClockStart;
    uint64_t m_steadyOffset = 0;
};

} // namespace zerix::sim
