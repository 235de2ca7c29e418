// The thread that looks at the calls.
#include "tests/concurrency/watchdog.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace zerix::concurrency {
namespace {

constexpr auto kBetweenLooks = std::chrono::milliseconds(100);

std::int64_t Now()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

} // namespace

// The time goes first, so that a name is never seen with the time of the call before.
void CallInProgress::Begin(const char *function)
{
    m_begun.store(Now());
    m_function.store(function);
}

const char *CallInProgress::LongerThan(std::chrono::nanoseconds limit) const
{
    const char *const function = m_function.load();
    return function != nullptr && Now() - m_begun.load() > limit.count() ? function : nullptr;
}

Watchdog::Watchdog(std::string test, std::vector<const CallInProgress *> calls)
    : m_test(std::move(test)), m_calls(std::move(calls)), m_thread([this] { Watch(); })
{
}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
    }
    m_ended.notify_all();
    m_thread.join();
}

// Ended by a signal, so that a debugger or a core shows where the threads are.
void Watchdog::Watch()
{
    std::unique_lock lock(m_mutex);
    while (!m_ended.wait_for(lock, kBetweenLooks, [&] { return m_isOver; })) {
        for (const CallInProgress *call : m_calls) {
            const char *const function = call->LongerThan(kLongestCall);
            if (function == nullptr)
                continue;
            std::fprintf(stderr, "%s: %s has not returned within %lld seconds\n", m_test.c_str(),
                         function, static_cast<long long>(kLongestCall.count()));
            std::fflush(stderr);
            std::abort();
        }
    }
}

} // namespace zerix::concurrency
