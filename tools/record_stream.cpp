// The frame callback and what it counts. On the virtual bus's fast clock the camera is granted a
// frame when there is a buffer for it, so that a slow disk makes it slow and loses nothing.
#include "tools/record_stream.h"

#include <exception>

#include "tools/answer_limit.h"
#include "tools/command_error.h"

namespace zerix::tool {

namespace {

// Too damaged to be of use: cut short, or with more data than it has room for.
bool IsUseless(uint32_t error)
{
    return error == ZERIX_ERROR_OUT_OF_SYNC || error == ZERIX_ERROR_FRAME_TOO_LONG;
}

} // namespace

RecordStream::RecordStream(const OpenCamera &camera, const TakenPictures &pictures,
                           const FrameCredit &credit, Recording &recording,
                           const RecordingTarget &target)
    : m_camera(camera), m_pictures(pictures), m_credit(credit), m_recording(recording),
      m_target(target), m_numbers(pictures.ExposuresEach())
{
}

RecordStream::~RecordStream() { Stop(); }

void RecordStream::Start(size_t inFlight, uint32_t frameSize)
{
    for (size_t i = 0; i < inFlight; ++i) {
        FrameBuffer *const buffer = m_recording.TakeFree();
        if (buffer == nullptr)
            break;
        Slot &slot = m_slots.emplace_back(Slot{this, {}, buffer});
        slot.frame.bufferSize = frameSize;
    }
    m_isRunning = true;
    m_recording.WhenFreed([this] { PayCredit(); });
    m_start = m_lastArrival = m_lastFrame = Clock::now();
    for (Slot &slot : m_slots)
        Queue(slot);
    m_credit.Grant(m_pictures.ExposuresEach());
    uint32_t error = Error();
    const AnswerLimit limit;
    if (error == ZERIX_SUCCESS)
        error = Zerix_SetStreaming(m_camera.Handle(), 1);
    if (error != ZERIX_SUCCESS)
        Fail("the camera's stream can't be started", error);
}

void RecordStream::Stop()
{
    if (!m_isRunning)
        return;
    m_isRunning = false;
    EndWith(ZERIX_SUCCESS);
    const AnswerLimit limit;
    Zerix_SetStreaming(m_camera.Handle(), 0);
    // From here on the frames are ours, and no callback runs.
    Zerix_Abort(m_camera.Handle());
    m_recording.WhenFreed({});
}

bool RecordStream::WaitForEnd(std::chrono::milliseconds longest)
{
    // A fault plan may have lost the frame that was granted.
    constexpr std::chrono::seconds kLostFrame{2};
    std::unique_lock lock(m_mutex);
    if (m_ended.wait_for(lock, longest, [this] { return m_isOver; }))
        return true;
    const auto now = Clock::now();
    const bool hasTimePassed = !m_credit.IsGranting() && m_target.seconds > 0 &&
                               now - m_start > std::chrono::duration<double>(m_target.seconds);
    // A slow disk holds a camera of the fast clock up, and is no lack of frames.
    m_hasWaitedInVain = m_target.waitSeconds > 0 && m_recording.HasFree() &&
                        now - m_lastFrame > std::chrono::duration<double>(m_target.waitSeconds);
    if (m_recording.HasFailed() || hasTimePassed || m_hasWaitedInVain)
        m_isOver = true;
    else if (m_credit.IsGranting() && now - m_lastArrival > kLostFrame) {
        m_lastArrival = now;
        GrantWhenThereIsRoom();
    }
    return m_isOver;
}

RecordingCounts RecordStream::Counts() const
{
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

double RecordStream::RecordedSeconds() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<double>(m_lastNanoseconds - m_firstNanoseconds) / 1e9;
}

uint32_t RecordStream::Error() const
{
    const std::lock_guard lock(m_mutex);
    return m_error;
}

bool RecordStream::HasWaitedInVain() const
{
    const std::lock_guard lock(m_mutex);
    return m_hasWaitedInVain;
}

void RecordStream::OnFrame(void *slot, uint32_t, uint32_t error, uint32_t)
{
    auto &arrived = *static_cast<Slot *>(slot);
    RecordStream &stream = *arrived.stream;
    try {
        stream.Arrived(arrived, error);
    } catch (const std::exception &) {
        stream.EndWith(ZERIX_ERROR_OUT_OF_MEMORY);
    }
}

void RecordStream::EndWith(uint32_t error)
{
    const std::lock_guard lock(m_mutex);
    m_isOver = true;
    if (m_error == ZERIX_SUCCESS)
        m_error = error;
    m_ended.notify_all();
}

void RecordStream::Arrived(Slot &slot, uint32_t error)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_isOver)
            return;
    }
    if (error != ZERIX_SUCCESS && error != ZERIX_ERROR_DATA_MISSING && !IsUseless(error))
        return EndWith(error);
    {
        const std::lock_guard lock(m_mutex);
        m_lastArrival = Clock::now();
        m_counts.lostOnBus += m_numbers.Arrived(slot.frame.frameNumber);
        if (IsUseless(error))
            ++m_counts.lostOnBus;
    }
    if (!IsUseless(error))
        Record(slot, error);
    const std::lock_guard lock(m_mutex);
    if (m_isOver)
        return;
    Queue(slot);
    GrantWhenThereIsRoom();
}

void RecordStream::Record(Slot &slot, uint32_t error)
{
    Picture picture = m_pictures.PictureOf(slot.frame);
    if (IsLongEnough(picture))
        return EndWith(ZERIX_SUCCESS);
    FrameBuffer *const fresh = m_recording.TakeFree();
    const std::lock_guard lock(m_mutex);
    m_lastFrame = Clock::now();
    if (fresh == nullptr) {
        ++m_counts.droppedSlowDisk;
        return;
    }
    if (m_counts.recorded == 0)
        m_firstNanoseconds = picture.unixNanoseconds;
    m_lastNanoseconds = picture.unixNanoseconds + picture.exposureNanoseconds;
    slot.buffer->picture = std::move(picture);
    m_recording.Hand(slot.buffer);
    slot.buffer = fresh;
    ++m_counts.recorded;
    if (error == ZERIX_ERROR_DATA_MISSING)
        ++m_counts.withMissingData;
    if (m_counts.recorded == m_target.frames) {
        m_isOver = true;
        m_ended.notify_all();
    }
}

// A frame belongs to the recording if it began within the time.
bool RecordStream::IsLongEnough(const Picture &picture) const
{
    const std::lock_guard lock(m_mutex);
    if (m_target.seconds <= 0 || m_counts.recorded == 0 ||
        picture.unixNanoseconds < m_firstNanoseconds)
        return false;
    const uint64_t since = picture.unixNanoseconds - m_firstNanoseconds;
    return static_cast<double>(since) >= m_target.seconds * 1e9;
}

void RecordStream::Queue(Slot &slot)
{
    slot.frame.pBuffer = slot.buffer->bytes.get();
    const uint32_t error =
        Zerix_QueueFrame(m_camera.Handle(), &slot.frame, OnFrame, ZERIX_FLAG_FRAME_DONE, &slot, 0);
    if (error == ZERIX_SUCCESS)
        return;
    m_isOver = true;
    m_error = error;
    m_ended.notify_all();
}

void RecordStream::GrantWhenThereIsRoom()
{
    m_isCreditOwed.store(true);
    if (m_recording.HasFree())
        PayCredit();
}

// Whoever comes first of the callback and the writing thread.
void RecordStream::PayCredit()
{
    if (m_isCreditOwed.exchange(false))
        m_credit.Grant(m_pictures.ExposuresEach());
}

} // namespace zerix::tool
