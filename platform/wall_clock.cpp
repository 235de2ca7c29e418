// The time of day, and the clock that tests put in its place.
#include <atomic>
#include <ctime>
#include <mutex>
#include <utility>

#include "platform/system_clock.h"

namespace zerix::os {

namespace {

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

} // namespace

WallTime WallClock()
{
    TestClock &test = ClockForTest();
    if (test.isSet) {
        const std::lock_guard lock(test.mutex);
        if (test.clock)
            return test.clock();
    }
    return SystemWallClock();
}

std::string TimeOfDayText(const WallTime &moment)
{
    std::tm local{};
    if (!LocalTime(moment.seconds, &local))
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
