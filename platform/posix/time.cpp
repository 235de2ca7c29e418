// Clocks and sleeping.
#include <cerrno>
#include <ctime>

#include "platform/os.h"
#include "platform/posix/cancellation.h"
#include "platform/system_clock.h"

namespace zerix::os {

namespace {

constexpr uint64_t kNanosecondsPerSecond = 1'000'000'000;

// In short sleeps, so that no count is too long for the seconds of a 32-bit system.
ZERIX_MAY_END_HERE void SleepNanoseconds(uint64_t nanoseconds)
{
    timespec rest{static_cast<time_t>(nanoseconds / kNanosecondsPerSecond),
                  static_cast<long>(nanoseconds % kNanosecondsPerSecond)};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

} // namespace

void SleepMilliseconds(uint32_t milliseconds) { SleepMicroseconds(uint64_t{milliseconds} * 1000); }

void SleepMicroseconds(uint64_t microseconds)
{
    constexpr uint64_t kLongestSleep = 1'000'000'000; // microseconds
    for (; microseconds > kLongestSleep; microseconds -= kLongestSleep)
        SleepNanoseconds(kLongestSleep * 1000);
    SleepNanoseconds(microseconds * 1000);
}

uint64_t PerformanceCounter()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * kNanosecondsPerSecond +
           static_cast<uint64_t>(now.tv_nsec);
}

uint64_t PerformanceFrequency() { return kNanosecondsPerSecond; }

WallTime SystemWallClock()
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return {.seconds = now.tv_sec, .microseconds = static_cast<uint32_t>(now.tv_nsec / 1000)};
}

bool LocalTime(int64_t seconds, std::tm *local)
{
    const auto systemSeconds = static_cast<time_t>(seconds);
    return localtime_r(&systemSeconds, local) != nullptr;
}

} // namespace zerix::os
