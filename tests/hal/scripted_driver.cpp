// A kernel driver for the tests of the hardware layer.
#include "tests/hal/scripted_driver.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace zerix::test {

using kernel::Completion;
using kernel::ControlResult;

namespace {

constexpr auto kDeadline = std::chrono::seconds(20);

// The words of an Overlapped as this driver keeps them.
enum : size_t { kState = 0, kError = 1, kBytes = 2 };
enum : uintptr_t { kNeverUsed = 0, kIsPending = 1, kIsOver = 2, kHasFailed = 3 };

void Settle(kernel::Overlapped &overlapped, uintptr_t state, uint32_t error, uint32_t bytes)
{
    overlapped.driverWords[kState] = state;
    overlapped.driverWords[kError] = error;
    overlapped.driverWords[kBytes] = bytes;
}

ControlResult ResultOf(const kernel::Overlapped &overlapped)
{
    const auto state = overlapped.driverWords[kState];
    return {state == kIsOver ? Completion::kDone : Completion::kFailed,
            static_cast<uint32_t>(overlapped.driverWords[kError]),
            static_cast<uint32_t>(overlapped.driverWords[kBytes])};
}

std::string Hexadecimal(uint32_t code)
{
    char text[16];
    std::snprintf(text, sizeof text, "%X", code);
    return text;
}

Bytes OneWordIn(size_t size, size_t word, uint32_t value)
{
    Bytes record(size);
    std::memcpy(record.data() + word * 4, &value, sizeof value);
    return record;
}

} // namespace

std::vector<uint32_t> SentRequest::Words() const
{
    std::vector<uint32_t> words(in.size() / 4);
    std::memcpy(words.data(), in.data(), words.size() * 4);
    return words;
}

Answer Fails(uint32_t systemError) { return {Completion::kFailed, systemError, {}}; }
Answer Pends(const Bytes &out) { return {Completion::kPending, 0, out}; }
Answer PendsAndFails(uint32_t systemError) { return {Completion::kPending, systemError, {}}; }
Answer Hangs() { return {.completion = Completion::kPending, .hangs = true}; }
Bytes Word(uint32_t value) { return OneWordIn(4, 0, value); }

ScriptedDriver &ScriptedDriver::Get()
{
    static ScriptedDriver driver;
    return driver;
}

void ScriptedDriver::Reset()
{
    const std::lock_guard lock(m_mutex);
    paths.clear();
    enumerateError = 0;
    enumerationBreaksOff = false;
    openError = 0;
    isSimulated = true;
    isRecording = true;
    m_answers.clear();
    m_calls.clear();
    m_requests.clear();
    m_counts.clear();
    m_pending.clear();
    m_pending.reserve(256);
    m_hanging.clear();
    ignoresCancel = false;
    ignoresClose = false;
    m_open.clear();
    m_nextHandle = 0x1001;
    m_isUnplugged = false;
}

void ScriptedDriver::Next(uint32_t code, const Answer &answer, int times)
{
    const std::lock_guard lock(m_mutex);
    for (int i = 0; i < times; ++i)
        m_answers[code].push_back(answer);
}

bool ScriptedDriver::TakeOldest(std::unique_lock<std::mutex> &lock, PendingBuffer &buffer)
{
    if (!m_changed.wait_for(lock, kDeadline, [this] { return !m_pending.empty(); }))
        return false;
    buffer = m_pending.front();
    m_pending.erase(m_pending.begin());
    return true;
}

bool ScriptedDriver::Fill(const std::vector<Bytes> &payloads)
{
    std::unique_lock lock(m_mutex);
    PendingBuffer oldest{};
    if (!TakeOldest(lock, oldest))
        return false;
    const size_t slotBytes = oldest.size / kernel::kSlotsPerBuffer;
    std::memset(oldest.buffer, 0, oldest.size);
    for (size_t i = 0; i < payloads.size(); ++i) {
        uint8_t *slot = oldest.buffer + i * slotBytes;
        const auto length = static_cast<uint16_t>(payloads[i].size());
        std::memcpy(slot + 6, &length, sizeof length);
        std::copy(payloads[i].begin(), payloads[i].end(), slot + 8);
    }
    Settle(*oldest.overlapped, kIsOver, 0, oldest.size);
    m_changed.notify_all();
    return true;
}

bool ScriptedDriver::FailBuffer(uint32_t systemError)
{
    std::unique_lock lock(m_mutex);
    PendingBuffer oldest{};
    if (!TakeOldest(lock, oldest))
        return false;
    Settle(*oldest.overlapped, kHasFailed, systemError, 0);
    m_changed.notify_all();
    return true;
}

void ScriptedDriver::Unplug()
{
    const std::lock_guard lock(m_mutex);
    m_isUnplugged = true;
    FailPending(kernel::kErrorDeviceNotConnected);
}

void ScriptedDriver::FailPending(uint32_t systemError)
{
    for (const PendingBuffer &hanging : m_hanging)
        Settle(*hanging.overlapped, kHasFailed, systemError, 0);
    m_hanging.clear();
    FailBuffers(systemError);
}

void ScriptedDriver::FailBuffers(uint32_t systemError)
{
    for (const PendingBuffer &pending : m_pending)
        Settle(*pending.overlapped, kHasFailed, systemError, 0);
    m_pending.clear();
    m_changed.notify_all();
}

void ScriptedDriver::EndAll()
{
    const std::lock_guard lock(m_mutex);
    for (auto *list : {&m_pending, &m_hanging}) {
        for (const PendingBuffer &pending : *list) {
            if (pending.size != 0)
                std::memset(pending.buffer, 0xEE, pending.size);
            Settle(*pending.overlapped, kIsOver, 0, pending.size);
        }
        list->clear();
    }
    m_changed.notify_all();
}

size_t ScriptedDriver::Hanging()
{
    const std::lock_guard lock(m_mutex);
    return m_hanging.size();
}

bool ScriptedDriver::AwaitHanging(size_t count)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kDeadline, [&] { return m_hanging.size() == count; });
}

std::vector<std::string> ScriptedDriver::Calls()
{
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

std::vector<SentRequest> ScriptedDriver::Requests(uint32_t code)
{
    const std::lock_guard lock(m_mutex);
    std::vector<SentRequest> found;
    std::copy_if(m_requests.begin(), m_requests.end(), std::back_inserter(found),
                 [code](const SentRequest &request) { return request.code == code; });
    return found;
}

uint32_t ScriptedDriver::Count(uint32_t code)
{
    const std::lock_guard lock(m_mutex);
    return m_counts[code];
}

size_t ScriptedDriver::Pending()
{
    const std::lock_guard lock(m_mutex);
    return m_pending.size();
}

size_t ScriptedDriver::OpenHandles()
{
    const std::lock_guard lock(m_mutex);
    return m_open.size();
}

void ScriptedDriver::Forget()
{
    const std::lock_guard lock(m_mutex);
    m_calls.clear();
    m_requests.clear();
}

bool ScriptedDriver::Await(uint32_t code, uint32_t count)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kDeadline, [&] { return m_counts[code] >= count; });
}

void ScriptedDriver::Log(const std::string &text)
{
    if (isRecording)
        m_calls.push_back(text);
}

void ScriptedDriver::Record(kernel::DeviceHandle device, uint32_t code, const void *in,
                            uint32_t inSize, uint32_t outSize, bool isOverlapped)
{
    ++m_counts[code];
    m_changed.notify_all();
    if (!isRecording)
        return;
    Bytes bytes;
    if (in != nullptr && code != kernel::kControlQueueBuffer)
        bytes.assign(static_cast<const uint8_t *>(in), static_cast<const uint8_t *>(in) + inSize);
    m_calls.push_back(Hexadecimal(code));
    m_requests.push_back({code, device, inSize, outSize, isOverlapped, std::move(bytes),
                          std::this_thread::get_id()});
}

uint32_t ScriptedDriver::Enumerate(kernel::DevicePath *list, uint32_t maximumCount, uint32_t *count)
{
    const std::lock_guard lock(m_mutex);
    Log("enumerate " + std::to_string(maximumCount));
    if (enumerateError != 0) {
        if (enumerationBreaksOff)
            *count = 0;
        return enumerateError;
    }
    *count = std::min(maximumCount, static_cast<uint32_t>(paths.size()));
    for (uint32_t i = 0; i < *count; ++i)
        std::snprintf(list[i].text, sizeof list[i].text, "%s", paths[i].c_str());
    return 0;
}

uint32_t ScriptedDriver::Open(const char *devicePath, kernel::DeviceHandle *device)
{
    const std::lock_guard lock(m_mutex);
    Log(std::string("open ") + devicePath);
    if (openError != 0)
        return openError;
    *device = m_nextHandle++;
    m_open.push_back(*device);
    return 0;
}

Answer ScriptedDriver::DefaultAnswer(uint32_t code) const
{
    switch (code) {
    case kernel::kControlIsOpen:
        return {Completion::kDone, 0, Word(0)};
    case kernel::kControlAllocateBandwidth:
        return {Completion::kDone, 0, OneWordIn(20, 2, 0xB0000001)};
    case kernel::kControlAllocateChannel:
        return {Completion::kDone, 0, OneWordIn(16, 1, 5)};
    case kernel::kControlAllocateResources:
        return {Completion::kDone, 0, OneWordIn(36, 8, 0x4E500001)};
    default:
        return {};
    }
}

ControlResult ScriptedDriver::Queue(void *out, uint32_t outSize, kernel::Overlapped *overlapped)
{
    Settle(*overlapped, kIsPending, 0, 0);
    m_pending.push_back({overlapped, static_cast<uint8_t *>(out), outSize});
    m_changed.notify_all();
    return {Completion::kPending, 0, 0};
}

ControlResult ScriptedDriver::Give(const Answer &answer, void *out, uint32_t outSize,
                                   kernel::Overlapped *overlapped)
{
    const auto bytes = static_cast<uint32_t>(answer.out.size());
    const bool failed = answer.systemError != 0;
    if (bytes > outSize)
        std::abort(); // the script, or the request, is wrong
    if (bytes != 0)
        std::memcpy(out, answer.out.data(), bytes);
    if (overlapped != nullptr)
        Settle(*overlapped, failed ? kHasFailed : kIsOver, answer.systemError, bytes);
    return {answer.completion, answer.completion == Completion::kFailed ? answer.systemError : 0,
            answer.completion == Completion::kDone ? bytes : 0};
}

ControlResult ScriptedDriver::Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                      uint32_t inSize, void *out, uint32_t outSize,
                                      kernel::Overlapped *overlapped)
{
    const std::lock_guard lock(m_mutex);
    Record(device, code, in, inSize, outSize, overlapped != nullptr);
    if (std::find(m_open.begin(), m_open.end(), device) == m_open.end())
        return {Completion::kFailed, kernel::kErrorInvalidHandle, 0};
    if (m_isUnplugged)
        return {Completion::kFailed, kernel::kErrorDeviceNotConnected, 0};
    auto &scripted = m_answers[code];
    if (scripted.empty() && code == kernel::kControlQueueBuffer)
        return Queue(out, outSize, overlapped);
    if (code == kernel::kControlDetachBuffers && !ignoresCancel &&
        (scripted.empty() || scripted.front().completion == Completion::kDone))
        FailBuffers(kernel::kErrorOperationAborted);
    if (scripted.empty())
        return Give(DefaultAnswer(code), out, outSize, overlapped);
    const Answer answer = scripted.front();
    scripted.pop_front();
    if (answer.hangs) {
        Settle(*overlapped, kIsPending, 0, 0);
        m_hanging.push_back({overlapped, static_cast<uint8_t *>(out), outSize});
        m_changed.notify_all();
        return {Completion::kPending, 0, 0};
    }
    return Give(answer, out, outSize, overlapped);
}

ControlResult ScriptedDriver::Wait(kernel::DeviceHandle, kernel::Overlapped *overlapped)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [overlapped] { return overlapped->driverWords[kState] != kIsPending; });
    return ResultOf(*overlapped);
}

ControlResult ScriptedDriver::WaitFor(kernel::DeviceHandle, kernel::Overlapped *overlapped,
                                      uint32_t timeoutMilliseconds)
{
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds),
                            [overlapped] { return overlapped->driverWords[kState] != kIsPending; }))
        return {Completion::kPending, 0, 0};
    return ResultOf(*overlapped);
}

void ScriptedDriver::CancelPending(kernel::DeviceHandle)
{
    const std::lock_guard lock(m_mutex);
    Log("cancel");
    if (!ignoresCancel)
        FailPending(kernel::kErrorOperationAborted);
}

void ScriptedDriver::Cancel(kernel::DeviceHandle, kernel::Overlapped *overlapped)
{
    const std::lock_guard lock(m_mutex);
    Log("cancel one");
    if (ignoresCancel)
        return;
    for (auto *list : {&m_pending, &m_hanging})
        std::erase_if(*list, [&](const PendingBuffer &pending) {
            if (pending.overlapped != overlapped)
                return false;
            Settle(*overlapped, kHasFailed, kernel::kErrorOperationAborted, 0);
            return true;
        });
    m_changed.notify_all();
}

void ScriptedDriver::Close(kernel::DeviceHandle device)
{
    const std::lock_guard lock(m_mutex);
    Log("close");
    std::erase(m_open, device);
    if (!ignoresClose)
        FailPending(kernel::kErrorOperationAborted);
}

} // namespace zerix::test

namespace {

std::atomic<zerix::kernel::KernelDriver *> g_inItsPlace{nullptr};

} // namespace

void zerix::test::UseDriver(kernel::KernelDriver *driver) { g_inItsPlace = driver; }

namespace zerix::kernel {

KernelDriver &Driver()
{
    KernelDriver *const other = g_inItsPlace;
    return other != nullptr ? *other : test::ScriptedDriver::Get();
}

} // namespace zerix::kernel
