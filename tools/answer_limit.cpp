// A thread that sleeps until the answer is there or the time is over.
#include "tools/answer_limit.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace zerix::tool {

namespace {

// A camera answers within milliseconds; a stream that doesn't stop takes five seconds.
constexpr std::chrono::seconds kLongest{15};

} // namespace

AnswerLimit::AnswerLimit() : m_thread([this] { Watch(); }) {}

AnswerLimit::~AnswerLimit()
{
    {
        const std::lock_guard lock(m_mutex);
        m_hasAnswered = true;
    }
    m_answered.notify_one();
    m_thread.join();
}

void AnswerLimit::Watch()
{
    std::unique_lock lock(m_mutex);
    if (m_answered.wait_for(lock, kLongest, [this] { return m_hasAnswered; }))
        return;
    std::fflush(stdout); // what was printed before still counts
    std::fputs("zerix: the camera doesn't answer: check its cable and its power, and switch it off "
               "and on.\n",
               stderr);
    std::_Exit(1); // nothing that waits for the camera can be cleared away
}

} // namespace zerix::tool
