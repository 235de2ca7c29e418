// The clock of the modelled kernel: faster than the wall clock, or held and moved by a test.
// Guarded by the model's lock.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zerix::linux_model {

using std::chrono::nanoseconds;
using Lock = std::unique_lock<std::mutex>;
inline constexpr nanoseconds kForever = nanoseconds::max();

class ModelClock {
public:
    explicit ModelClock(double speedUp);

    [[nodiscard]] nanoseconds Now() const;
    // From now on only Advance moves the clock.
    void Hold();
    void Advance(nanoseconds time) { m_modelStart += time; }

    // Waits until the predicate holds, or until the clock shows `until`; what the predicate says
    // then.
    template <typename Predicate>
    bool WaitUntil(Lock &lock, std::condition_variable &changed, nanoseconds until,
                   Predicate predicate) const
    {
        while (!predicate()) {
            if (Now() >= until)
                return false;
            if (m_isHeld || until == kForever)
                changed.wait(lock);
            else
                changed.wait_until(lock, RealMomentOf(until));
        }
        return true;
    }

private:
    using Real = std::chrono::steady_clock;
    [[nodiscard]] Real::time_point RealMomentOf(nanoseconds moment) const;

    double m_speedUp;
    bool m_isHeld = false;
    nanoseconds m_modelStart;
    Real::time_point m_realStart;
};

} // namespace zerix::linux_model
