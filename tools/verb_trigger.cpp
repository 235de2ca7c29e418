// zerix trigger: streams with the software trigger on, fires it once, and takes the picture.
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "tools/answer_limit.h"
#include "tools/apply_settings.h"
#include "tools/command_error.h"
#include "tools/frame_credit.h"
#include "tools/interrupts.h"
#include "tools/picture_file.h"
#include "tools/progress.h"
#include "tools/taken_pictures.h"
#include "tools/verbs.h"

namespace zerix::tool {

namespace {

// The one frame of the stream. The stream ends with the object, whatever happens.
class TriggeredFrame {
public:
    TriggeredFrame(const OpenCamera &camera, size_t bytes)
        : m_handle(camera.Handle()), m_buffer(bytes)
    {
        m_frame.pBuffer = m_buffer.data();
        m_frame.bufferSize = static_cast<uint32_t>(m_buffer.size());
        Check(Zerix_QueueFrame(m_handle, &m_frame, OnFrame, ZERIX_FLAG_FRAME_DONE, this, 0));
        const AnswerLimit limit;
        Check(Zerix_SetStreaming(m_handle, 1));
    }

    // No callback runs any more afterwards.
    ~TriggeredFrame() { Stop(); }
    TriggeredFrame(const TriggeredFrame &) = delete;
    TriggeredFrame &operator=(const TriggeredFrame &) = delete;

    void Fire()
    {
        const AnswerLimit limit;
        Check(Zerix_Trigger(m_handle));
    }

    const Zerix_Frame &Wait(double seconds)
    {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::duration<double>(seconds);
        const Interrupts interrupts;
        std::unique_lock lock(m_mutex);
        while (!m_isDone && Clock::now() < end) {
            if (Interrupts::Came())
                throw CommandError("stopped on request before the picture came.");
            m_done.wait_for(lock, std::chrono::milliseconds(100), [this] { return m_isDone; });
        }
        if (!m_isDone)
            throw CommandError(NoPictureWithin(seconds));
        if (m_error != ZERIX_SUCCESS && m_error != ZERIX_ERROR_DATA_MISSING)
            Check(m_error);
        return m_frame;
    }

private:
    void Stop()
    {
        const AnswerLimit limit;
        Zerix_Abort(m_handle);
        Zerix_SetStreaming(m_handle, 0);
    }

    // A constructor that throws leaves no destructor to stop the stream.
    void Check(uint32_t error)
    {
        if (error == ZERIX_SUCCESS)
            return;
        Stop();
        Fail("the picture can't be taken", error);
    }

    static void OnFrame(void *self, uint32_t, uint32_t error, uint32_t)
    {
        auto &frame = *static_cast<TriggeredFrame *>(self);
        {
            const std::lock_guard lock(frame.m_mutex);
            frame.m_isDone = true;
            frame.m_error = error;
        }
        frame.m_done.notify_one();
    }

    ZerixHandle m_handle;
    std::vector<uint8_t> m_buffer;
    Zerix_Frame m_frame{};
    std::mutex m_mutex; // of all below
    std::condition_variable m_done;
    bool m_isDone = false;
    uint32_t m_error = 0;
};

} // namespace

void Trigger(const CommonOptions &options, const TriggerOptions &trigger)
{
    if (!trigger.file.empty())
        CheckPictureFile(trigger.file);
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    auto settings = trigger.settings;
    settings.emplace_back("trigger=software");
    ApplySettings(camera, settings);
    const TakenPictures pictures(session, camera);
    const FrameCredit credit(session.IsSimulated(), camera.Item().uniqueId);
    credit.Grant(pictures.ExposuresEach());
    TriggeredFrame frame(camera, pictures.FrameBytes());
    Progress progress("taking a picture");
    // Behind a turning wheel each colour's exposure has a trigger of its own.
    for (uint32_t i = 0; i < pictures.ExposuresEach(); ++i)
        frame.Fire();
    const auto &taken = frame.Wait(pictures.LongestWait(trigger.waitSeconds));
    progress.Hide();
    FinishPicture(trigger.file, 1, pictures.PictureOf(taken));
}

} // namespace zerix::tool
