// The frame-done callback counts a frame and queues it again.
#include "tools/stream_watch.h"

#include <algorithm>

#include "tools/answer_limit.h"
#include "tools/command_error.h"

namespace zerix::tool {

StreamWatch::StreamWatch(const OpenCamera &camera, const FrameCredit &credit,
                         uint32_t exposuresPerPicture)
    : m_camera(camera), m_credit(credit), m_exposuresPerPicture(exposuresPerPicture),
      m_numbers(exposuresPerPicture)
{
    const size_t bytes = std::max(camera.Info(zinfImageSize).value_or(0),
                                  camera.Info(zinfPostProcessImageSize).value_or(0));
    uint32_t error = 0;
    for (Slot &slot : m_slots) {
        slot.watch = this;
        slot.buffer.resize(bytes);
        error = error == 0 ? Queue(slot) : error;
    }
    m_credit.Grant(m_exposuresPerPicture);
    const AnswerLimit limit;
    error = error == 0 ? Zerix_SetStreaming(m_camera.Handle(), 1) : error;
    if (error == 0)
        return;
    Stop();
    Fail("the camera can't stream", error);
}

StreamWatch::~StreamWatch() { Stop(); }

// The abort waits for a callback that is running, and takes back what it has queued.
void StreamWatch::Stop()
{
    const AnswerLimit limit;
    Zerix_Abort(m_camera.Handle());
    Zerix_SetStreaming(m_camera.Handle(), 0);
}

StreamWatch::Counts StreamWatch::Now() const
{
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

void StreamWatch::OnFrame(void *slot, uint32_t, uint32_t error, uint32_t)
{
    auto &arrived = *static_cast<Slot *>(slot);
    arrived.watch->Arrived(arrived, error);
}

void StreamWatch::Arrived(Slot &slot, uint32_t error)
{
    const bool isIncomplete = error == ZERIX_ERROR_DATA_MISSING;
    bool isOver = error != ZERIX_SUCCESS && !isIncomplete && error != ZERIX_ERROR_OUT_OF_SYNC;
    if (!isOver) {
        const std::lock_guard lock(m_mutex);
        ++m_counts.frames;
        m_counts.lost += m_numbers.Arrived(slot.frame.frameNumber);
        m_counts.incomplete += isIncomplete ? 1 : 0;
        m_counts.lastFrameNanoseconds = m_credit.StartOfExposure(slot.frame.frameNumber, 0);
        if (m_counts.frames == 1)
            m_counts.firstFrameNanoseconds = m_counts.lastFrameNanoseconds;
    }
    if (!isOver) {
        error = Queue(slot);
        isOver = error != ZERIX_SUCCESS;
        m_credit.Grant(m_exposuresPerPicture);
    }
    if (isOver) {
        const std::lock_guard lock(m_mutex);
        m_counts.error = error;
    }
}

uint32_t StreamWatch::Queue(Slot &slot)
{
    slot.frame.pBuffer = slot.buffer.data();
    slot.frame.bufferSize = static_cast<uint32_t>(slot.buffer.size());
    return Zerix_QueueFrame(m_camera.Handle(), &slot.frame, OnFrame, ZERIX_FLAG_FRAME_DONE, &slot,
                            0);
}

} // namespace zerix::tool
