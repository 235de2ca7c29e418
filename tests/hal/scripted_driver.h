// A kernel driver for the tests of the hardware layer: records every call and request, and answers
// as told. Defines kernel::Driver() for the test program. Any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "hal/requests/request_server.h"

namespace zerix::test {

using Bytes = std::vector<uint8_t>;

struct SentRequest {
    uint32_t code;
    kernel::DeviceHandle device;
    uint32_t inSize;
    uint32_t outSize;
    bool isOverlapped;
    Bytes in; // not of queued buffers
    std::thread::id sender;

    // The in record as little-endian words.
    std::vector<uint32_t> Words() const;
};

// The answer to one request. A pending one is over at its first wait: done with `out`, or failed
// with `systemError` where that isn't 0.
struct Answer {
    kernel::Completion completion = kernel::Completion::kDone;
    uint32_t systemError = 0;
    Bytes out = {};
    bool hangs = false; // pends until it is cancelled, or ended by the test
};

Answer Fails(uint32_t systemError);
Answer Pends(const Bytes &out);
Answer PendsAndFails(uint32_t systemError);
Answer Hangs();
Bytes Word(uint32_t value);

// Puts a driver in the place of the scripted one; null brings that back. While no camera is open.
void UseDriver(kernel::KernelDriver *driver);

class ScriptedDriver final : public kernel::RequestServer {
public:
    static constexpr std::chrono::milliseconds kPatience{20'000};

    static ScriptedDriver &Get();

    // Everything as at the start of the program.
    void Reset();

    // Script. Answers to one code are used up in order; then the default answer comes: done, with
    // plain handles; queued buffers pend until they are filled.
    std::vector<std::string> paths;
    uint32_t enumerateError = 0;
    bool enumerationBreaksOff = false; // after it had begun; else the error comes at its start
    uint32_t openError = 0;
    std::atomic<bool> isSimulated = true;
    std::atomic<bool> isRecording = true;
    // What pends goes on when it is cancelled and when the buffers are detached; only a close and
    // EndAll end it.
    std::atomic<bool> ignoresCancel = false;
    // The close ends nothing either.
    std::atomic<bool> ignoresClose = false;
    void Next(uint32_t code, const Answer &answer, int times = 1);

    // The stream: completes the oldest queued buffer with these payloads in its first slots. False
    // if no buffer came to be queued within the deadline.
    bool Fill(const std::vector<Bytes> &payloads, std::chrono::milliseconds patience = kPatience);
    // Completes the oldest queued buffer with a failure.
    bool FailBuffer(uint32_t systemError);
    // Completes every request that pends, with bytes of 0xEE in its out record.
    void EndAll();
    // Everything pending fails, and everything that is sent from now on.
    void Unplug();

    // What came: "enumerate 10", "open PATH", "22A0A0", "cancel", "close", in order.
    std::vector<std::string> Calls();
    std::vector<SentRequest> Requests(uint32_t code);
    uint32_t Count(uint32_t code);
    size_t Pending();
    size_t OpenHandles();
    void Forget();    // what came so far
    size_t Hanging(); // requests that hang, without buffers
    // Waits until so many requests of this code came; false at the deadline.
    bool Await(uint32_t code, uint32_t count);
    // Waits until so many requests hang.
    bool AwaitHanging(size_t count);

    uint32_t Enumerate(kernel::DevicePath *list, uint32_t maximumCount, uint32_t *count) override;
    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override;
    void CancelPending(kernel::DeviceHandle device) override;
    void Close(kernel::DeviceHandle device) override;
    void Cancel(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override;
    bool IsSimulated() const override { return isSimulated; }

private:
    struct PendingBuffer {
        kernel::RequestId id;
        uint8_t *buffer;
        uint32_t size;
    };

    // Every handle is served, so that what comes on a closed one is noted, too.
    bool IsHandle(kernel::DeviceHandle) override { return true; }
    uint32_t CheckDevice(kernel::DeviceHandle, bool) override { return 0; }
    void CloseDevice(kernel::DeviceHandle) override {}
    bool Drop(kernel::DeviceHandle device, kernel::RequestId id) override;
    kernel::ControlResult Serve(const kernel::RawRequest &raw) override;

    void Log(const std::string &text);
    void Record(const kernel::RawRequest &raw);
    Answer DefaultAnswer(uint32_t code) const;
    kernel::ControlResult Pend(std::vector<PendingBuffer> &list, const kernel::RawRequest &raw);
    kernel::ControlResult Give(const Answer &answer, const kernel::RawRequest &raw);
    void Fail(std::vector<PendingBuffer> &list, uint32_t systemError);
    void FailPending(uint32_t systemError);
    bool TakeOldest(std::unique_lock<std::mutex> &lock, PendingBuffer &buffer,
                    std::chrono::milliseconds patience);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<uint32_t, std::deque<Answer>> m_answers;
    std::vector<std::string> m_calls;
    std::vector<SentRequest> m_requests;
    std::map<uint32_t, uint32_t> m_counts;
    std::vector<PendingBuffer> m_pending; // queued buffers
    std::vector<PendingBuffer> m_hanging; // other requests, with their out records
    std::vector<kernel::DeviceHandle> m_open;
    kernel::DeviceHandle m_nextHandle = 0x1001;
    bool m_isUnplugged = false;
};

} // namespace zerix::test
