// Buses for benchmarks, and what the driver's threads cost on them: the processor time of every
// thread that passes through here, less what it spends in the kernel that it calls. That kernel is
// the virtual bus itself, or the tests' model of Linux below the bus on Linux.
#pragma once

#include <atomic>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <pthread.h>

#include "bus/linux_firewire/linux_firewire_driver.h"
#include "hal/kernel_driver.h"
#include "tests/linux_model/kernel_model.h"

namespace zerix::bench {

inline double SecondsOn(clockid_t clock)
{
    timespec time{};
    return clock_gettime(clock, &time) == 0
               ? static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9
               : 0;
}

class Meter {
public:
    static Meter &Get();
    // From now on, with every thread that passes from now on.
    void Begin();
    // Of processor time since Begin. The threads still run.
    [[nodiscard]] double Seconds();
    // The calling thread is one of the driver's.
    void Join();

    // Inside the kernel that the driver calls.
    class Call {
    public:
        Call() : m_round(Get().m_round), m_began(SecondsOn(CLOCK_THREAD_CPUTIME_ID))
        {
            Get().Join();
        }
        ~Call() { Get().Exclude(m_round, SecondsOn(CLOCK_THREAD_CPUTIME_ID) - m_began); }
        Call(const Call &) = delete;
        Call &operator=(const Call &) = delete;

    private:
        const unsigned m_round;
        const double m_began;
    };

private:
    void Exclude(unsigned round, double seconds);

    std::mutex m_mutex;
    std::atomic<unsigned> m_round = 0;
    std::map<clockid_t, double> m_threads; // their clocks, and what these showed at first
    double m_excluded = 0;
};

// What a benchmark's programs run on. One at a time; while no camera is open.
enum class Way { kVirtualBus, kLinux };
void Choose(Way way);
// Waits for what the chosen bus still does of its own: closing, and noticing cameras.
void Settle();

} // namespace zerix::bench
