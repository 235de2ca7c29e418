// The callback, and the wait for it.
#include "tests/concurrency/requeued_frames.h"

#include <utility>

namespace zerix::concurrency {

RequeuedFrames::RequeuedFrames(ZerixHandle camera, std::function<void(uint32_t)> onFrame)
    : m_camera(camera), m_onFrame(std::move(onFrame))
{
}

uint32_t RequeuedFrames::Queue()
{
    for (uint32_t index = 0; index < m_frames.size(); ++index)
        if (const uint32_t error = Zerix_QueueFrame(m_camera, &m_frames[index].frame, Done,
                                                    ZERIX_FLAG_FRAME_DONE, this, index))
            return error;
    return 0;
}

uint32_t RequeuedFrames::Count()
{
    const std::lock_guard lock(m_mutex);
    return m_count;
}

bool RequeuedFrames::Await(uint32_t count)
{
    std::unique_lock lock(m_mutex);
    return m_more.wait_for(lock, kDeadline, [&] { return m_count >= count; });
}

std::map<uint32_t, uint32_t> RequeuedFrames::Errors()
{
    const std::lock_guard lock(m_mutex);
    return m_errors;
}

void RequeuedFrames::Done(void *self, uint32_t index, uint32_t error, uint32_t)
{
    auto &frames = *static_cast<RequeuedFrames *>(self);
    Zerix_QueueFrame(frames.m_camera, &frames.m_frames[index].frame, Done, ZERIX_FLAG_FRAME_DONE,
                     self, index);
    uint32_t number = 0;
    {
        const std::lock_guard lock(frames.m_mutex);
        number = ++frames.m_count;
        ++frames.m_errors[error];
        frames.m_more.notify_all();
    }
    if (frames.m_onFrame)
        frames.m_onFrame(number);
}

} // namespace zerix::concurrency
