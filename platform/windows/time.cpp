// Clocks and sleeping.
#include <algorithm>
#include <ctime>
#include <windows.h>

#include "platform/os.h"
#include "platform/system_clock.h"
#include "platform/windows/handle.h"

namespace zerix::os {

namespace {

constexpr uint64_t kUnitsPerSecond = 10'000'000; // of the system's time, 100 ns each
constexpr uint64_t kUnitsPerMicrosecond = 10;
constexpr uint64_t kUnitsTo1970 = 116'444'736'000'000'000; // since 1601

// The finest timer that the system has: newer systems know one below the scheduler's tick.
HANDLE MakeTimer()
{
    constexpr DWORD kHighResolution = 0x2;
    if (const HANDLE timer =
            CreateWaitableTimerExW(nullptr, nullptr, kHighResolution, TIMER_ALL_ACCESS))
        return timer;
    return CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
}

void SleepOnTimer(uint64_t microseconds)
{
    const Handle timer(MakeTimer());
    LARGE_INTEGER due;
    due.QuadPart = -static_cast<LONGLONG>(microseconds * kUnitsPerMicrosecond);
    if (timer.Get() != nullptr &&
        SetWaitableTimer(timer.Get(), &due, 0, nullptr, nullptr, FALSE) != 0)
        WaitForSingleObject(timer.Get(), INFINITE);
    else
        Sleep(static_cast<DWORD>(microseconds / 1000 + 1));
}

uint64_t MicrosecondsOf(uint64_t ticks)
{
    const uint64_t frequency = PerformanceFrequency();
    return ticks / frequency * 1'000'000 + ticks % frequency * 1'000'000 / frequency;
}

} // namespace

void SleepMilliseconds(uint32_t milliseconds) { SleepMicroseconds(uint64_t{milliseconds} * 1000); }

// A timer may come before its time by up to a tick of the scheduler.
void SleepMicroseconds(uint64_t microseconds)
{
    constexpr uint64_t kLongestSleep = 1'000'000'000; // microseconds
    const uint64_t begin = PerformanceCounter();
    for (uint64_t slept = 0; slept < microseconds;
         slept = MicrosecondsOf(PerformanceCounter() - begin))
        SleepOnTimer(std::min(microseconds - slept, kLongestSleep));
}

uint64_t PerformanceCounter()
{
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<uint64_t>(count.QuadPart);
}

uint64_t PerformanceFrequency()
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<uint64_t>(frequency.QuadPart);
}

WallTime SystemWallClock()
{
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const uint64_t units =
        ((uint64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime) - kUnitsTo1970;
    return {.seconds = static_cast<int64_t>(units / kUnitsPerSecond),
            .microseconds = static_cast<uint32_t>(units % kUnitsPerSecond / kUnitsPerMicrosecond)};
}

bool LocalTime(int64_t seconds, std::tm *local)
{
    const __time64_t systemSeconds = seconds;
    return _localtime64_s(local, &systemSeconds) == 0;
}

} // namespace zerix::os
