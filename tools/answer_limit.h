// An end to the whole program where a camera doesn't answer: the library waits for a register
// access as long as its bus does, and what hangs in it can't always be ended from outside.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace zerix::tool {

class AnswerLimit {
public:
    // While this lives, the time runs; when it is over, the program ends with one sentence and
    // status 1.
    AnswerLimit();
    ~AnswerLimit();
    AnswerLimit(const AnswerLimit &) = delete;
    AnswerLimit &operator=(const AnswerLimit &) = delete;

private:
    void Watch();

    std::mutex m_mutex;
    std::condition_variable m_answered;
    bool m_hasAnswered = false;
    std::thread m_thread;
};

} // namespace zerix::tool
