// An end to a wait for a picture that doesn't come: of a camera that waits for a trigger, or whose
// data is lost.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "zerix/zerix.h"

namespace zerix::tool {

class WaitLimit {
public:
    // Aborts what the camera is doing once the time is over and while this lives. Where that
    // doesn't end it either, the program ends as with AnswerLimit.
    WaitLimit(ZerixHandle camera, double seconds);
    ~WaitLimit();
    WaitLimit(const WaitLimit &) = delete;
    WaitLimit &operator=(const WaitLimit &) = delete;

    // Ends the watch. True if the time was over before.
    bool Finish();

private:
    void Watch(ZerixHandle camera, double seconds);

    std::mutex m_mutex;
    std::condition_variable m_finished;
    bool m_isFinished = false;
    bool m_isOver = false;
    std::thread m_thread;
};

} // namespace zerix::tool
