// The writing thread and its two queues.
#include "tools/writers/recording.h"

#include <exception>
#include <new>
#include <utility>

namespace zerix::tool {

Recording::Recording(std::unique_ptr<SequenceWriter> writer, size_t bufferCount, size_t bufferSize)
    : m_writer(std::move(writer)), m_buffers(bufferCount)
{
    for (FrameBuffer &buffer : m_buffers) {
        buffer.bytes.reset(static_cast<uint8_t *>(AllocateBlock(bufferSize)));
        if (!buffer.bytes)
            throw std::bad_alloc();
        m_free.push_back(&buffer);
    }
    m_thread = std::thread([this] { Run(); });
}

Recording::~Recording() { Finish(); }

FrameBuffer *Recording::TakeFree()
{
    const std::lock_guard lock(m_mutex);
    if (m_free.empty())
        return nullptr;
    FrameBuffer *const buffer = m_free.back();
    m_free.pop_back();
    return buffer;
}

bool Recording::HasFree() const
{
    const std::lock_guard lock(m_mutex);
    return !m_free.empty();
}

void Recording::Hand(FrameBuffer *buffer)
{
    {
        const std::lock_guard lock(m_mutex);
        m_full.push_back(buffer);
    }
    m_handedOver.notify_one();
}

void Recording::WhenFreed(std::function<void()> call)
{
    const std::lock_guard lock(m_mutex);
    m_whenFreed = std::move(call);
}

void Recording::Run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_handedOver.wait(lock, [this] { return m_isEnding || !m_full.empty(); });
        if (m_full.empty())
            return;
        FrameBuffer *const buffer = m_full.front();
        m_full.pop_front();
        lock.unlock();
        Write(*buffer);
        lock.lock();
        m_free.push_back(buffer);
        if (m_whenFreed)
            m_whenFreed();
    }
}

void Recording::Write(FrameBuffer &buffer)
{
    if (m_hasFailed.load(std::memory_order_relaxed))
        return;
    try {
        m_error = m_writer->Append(buffer.picture);
    } catch (const std::exception &error) {
        m_error = error.what();
    }
    if (m_error.empty())
        m_written.fetch_add(1, std::memory_order_relaxed);
    else
        m_hasFailed.store(true, std::memory_order_release);
}

Recording::Outcome Recording::Finish()
{
    if (!m_thread.joinable())
        return m_outcome;
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_handedOver.notify_one();
    m_thread.join();
    m_outcome.writeError = m_error;
    try {
        m_outcome.endError = m_writer->Finish();
    } catch (const std::exception &error) {
        m_outcome.endError = error.what();
    }
    m_outcome.frames = m_writer->Frames();
    return m_outcome;
}

} // namespace zerix::tool
