// Between the frame callback and the disk: a fixed number of buffers, and a thread that writes the
// full ones. Nobody who brings frames waits for the disk: when all buffers are full there is none
// to be had, and whoever brings frames counts what is dropped.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "platform/large_blocks.h"
#include "tools/writers/sequence.h"

namespace zerix::tool {

struct FrameBuffer {
    Block bytes;
    Picture picture; // whose pixels are among the bytes
};

// All of it from any thread, but for Finish and the destructor.
class Recording {
public:
    // Throws std::bad_alloc. Memory that no frame has needed yet isn't used.
    Recording(std::unique_ptr<SequenceWriter> writer, size_t bufferCount, size_t bufferSize);
    // Writes what is left, as Finish does.
    ~Recording();
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    // Null if all buffers are in use. Doesn't wait.
    [[nodiscard]] FrameBuffer *TakeFree();
    [[nodiscard]] bool HasFree() const;
    // To be written behind those handed over before. After a failure it is thrown away.
    void Hand(FrameBuffer *buffer);

    // Called on the writing thread whenever a buffer has become free; it must not call back. An
    // empty function ends that: no call is running afterwards.
    void WhenFreed(std::function<void()> call);

    [[nodiscard]] uint64_t Written() const { return m_written.load(std::memory_order_relaxed); }
    // The disk has failed: nothing more is written.
    [[nodiscard]] bool HasFailed() const { return m_hasFailed.load(std::memory_order_acquire); }

    struct Outcome {
        std::string writeError; // why a frame couldn't be written; empty if all were
        std::string endError;   // why the end of the file couldn't be
        uint64_t frames = 0;    // safe in the file
    };
    // Writes all that was handed over and ends the file.
    Outcome Finish();

private:
    void Run();
    void Write(FrameBuffer &buffer);

    std::unique_ptr<SequenceWriter> m_writer;
    std::vector<FrameBuffer> m_buffers;
    mutable std::mutex m_mutex;
    std::condition_variable m_handedOver;
    std::vector<FrameBuffer *> m_free; // the last one freed is taken first: its memory is there
    std::deque<FrameBuffer *> m_full;
    std::function<void()> m_whenFreed;
    bool m_isEnding = false;
    std::atomic<uint64_t> m_written = 0;
    std::atomic<bool> m_hasFailed = false;
    std::string m_error; // of the writing thread; read when that has ended
    Outcome m_outcome;
    std::thread m_thread;
};

} // namespace zerix::tool
