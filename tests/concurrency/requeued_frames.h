// Frames that circle: each callback queues its frame again. The application's part of a stream.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

#include "tests/concurrency/worker.h"

namespace zerix::concurrency {

inline constexpr auto kDeadline = std::chrono::seconds(60);

class RequeuedFrames {
public:
    // `onFrame` runs in each callback, after its frame has been queued again; it gets the number of
    // the callback, from 1 on.
    explicit RequeuedFrames(ZerixHandle camera, std::function<void(uint32_t)> onFrame = {});
    RequeuedFrames(const RequeuedFrames &) = delete;
    RequeuedFrames &operator=(const RequeuedFrames &) = delete;

    // Queues them all; also after an abort. The first code that isn't 0, or 0.
    uint32_t Queue();
    // How many have come.
    uint32_t Count();
    // Waits until so many have come. False if they don't.
    bool Await(uint32_t count);
    // How often each error came with a frame.
    std::map<uint32_t, uint32_t> Errors();

private:
    static void Done(void *self, uint32_t index, uint32_t error, uint32_t flags);

    const ZerixHandle m_camera;
    const std::function<void(uint32_t)> m_onFrame;
    std::array<OwnFrame, 4> m_frames;
    std::mutex m_mutex;
    std::condition_variable m_more;
    uint32_t m_count = 0;
    std::map<uint32_t, uint32_t> m_errors;
};

} // namespace zerix::concurrency
