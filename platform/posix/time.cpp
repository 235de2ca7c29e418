// Clocks and sleeping.
#include <atomic>
#include <cerrno>
#include <ctime>
#include <mutex>

#include "platform/os.h"
#include "platform/posix/cancellation.h"

namespace zerix::os {

namespace {

constexpr uint64_t kNanosecondsPerSecond = 1'000'000'000;

struct TestClock {
    std::mutex mutex;
    std::atomic<bool> isSet{false};
    std::function<WallTime()> clock; // under the mutex
};

TestClock &ClockForTest()
{
    static TestClock clock;
    return clock;
}

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

WallTime WallClock()
{
    TestClock &test = ClockForTest();
    if (test.isSet) {
        const std::lock_guard lock(test.mutex);
        if (test.clock)
            return test.clock();
    }
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return {.seconds = now.tv_sec, .microseconds = static_cast<uint32_t>(now.tv_nsec / 1000)};
}

std::string TimeOfDayText(const WallTime &moment)
{
    const auto seconds = static_cast<time_t>(moment.seconds);
    std::tm local{};
    if (localtime_r(&seconds, &local) == nullptr)
        return "00:00:00";
    char text[16];
    const size_t length = std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return std::string(text, length);
}

void SetWallClockForTest(std::function<WallTime()> clock)
{
    TestClock &test = ClockForTest();
    const std::lock_guard lock(test.mutex);
    test.isSet = static_cast<bool>(clock);
    test.clock = std::move(clock);
}

} // namespace zerix::os
