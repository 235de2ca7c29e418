// A kernel driver for the tests of the hardware layer.
#include "tests/hal/scripted_driver.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace zerix::test {

using kernel::Completion;
using kernel::ControlResult;
using kernel::Done;
using kernel::Failed;

namespace {

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
    FailPending(kernel::kErrorOperationAborted);
    m_pending.reserve(256);
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

bool ScriptedDriver::TakeOldest(std::unique_lock<std::mutex> &lock, PendingBuffer &buffer,
                                std::chrono::milliseconds patience)
{
    if (!m_changed.wait_for(lock, patience, [this] { return !m_pending.empty(); }))
        return false;
    buffer = m_pending.front();
    m_pending.erase(m_pending.begin());
    return true;
}

bool ScriptedDriver::Fill(const std::vector<Bytes> &payloads, std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    PendingBuffer oldest{};
    if (!TakeOldest(lock, oldest, patience))
        return false;
    const size_t slotBytes = oldest.size / kernel::kSlotsPerBuffer;
    std::memset(oldest.buffer, 0, oldest.size);
    for (size_t i = 0; i < payloads.size(); ++i) {
        uint8_t *slot = oldest.buffer + i * slotBytes;
        const auto length = static_cast<uint16_t>(payloads[i].size());
        std::memcpy(slot + 6, &length, sizeof length);
        std::copy(payloads[i].begin(), payloads[i].end(), slot + 8);
    }
    Book().Finish(oldest.id, Done(oldest.size));
    return true;
}

bool ScriptedDriver::FailBuffer(uint32_t systemError)
{
    std::unique_lock lock(m_mutex);
    PendingBuffer oldest{};
    if (!TakeOldest(lock, oldest, kPatience))
        return false;
    Book().Finish(oldest.id, Failed(systemError));
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
    Fail(m_hanging, systemError);
    Fail(m_pending, systemError);
}

void ScriptedDriver::Fail(std::vector<PendingBuffer> &list, uint32_t systemError)
{
    for (const PendingBuffer &pending : list)
        Book().Finish(pending.id, Failed(systemError));
    list.clear();
    m_changed.notify_all();
}

void ScriptedDriver::EndAll()
{
    const std::lock_guard lock(m_mutex);
    for (auto *list : {&m_pending, &m_hanging}) {
        for (const PendingBuffer &pending : *list) {
            if (pending.size != 0)
                std::memset(pending.buffer, 0xEE, pending.size);
            Book().Finish(pending.id, Done(pending.size));
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
    return m_changed.wait_for(lock, kPatience, [&] { return m_hanging.size() == count; });
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
    return m_changed.wait_for(lock, kPatience, [&] { return m_counts[code] >= count; });
}

void ScriptedDriver::Log(const std::string &text)
{
    if (isRecording)
        m_calls.push_back(text);
}

void ScriptedDriver::Record(const kernel::RawRequest &raw)
{
    ++m_counts[raw.code];
    m_changed.notify_all();
    if (!isRecording)
        return;
    Bytes bytes;
    if (raw.code != kernel::kControlQueueBuffer)
        bytes.assign(raw.in.begin(), raw.in.end());
    m_calls.push_back(Hexadecimal(raw.code));
    m_requests.push_back({raw.code, raw.request.device, static_cast<uint32_t>(raw.in.size()),
                          static_cast<uint32_t>(raw.out.size()), raw.isOverlapped, std::move(bytes),
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

ControlResult ScriptedDriver::Pend(std::vector<PendingBuffer> &list, const kernel::RawRequest &raw)
{
    list.push_back({raw.request.id, raw.out.data(), static_cast<uint32_t>(raw.out.size())});
    m_changed.notify_all();
    return kernel::Pending();
}

ControlResult ScriptedDriver::Give(const Answer &answer, const kernel::RawRequest &raw)
{
    const auto bytes = static_cast<uint32_t>(answer.out.size());
    if (bytes > raw.out.size())
        std::abort(); // the script, or the request, is wrong
    if (bytes != 0)
        std::memcpy(raw.out.data(), answer.out.data(), bytes);
    const ControlResult result = answer.systemError != 0 ? Failed(answer.systemError) : Done(bytes);
    if (answer.completion != Completion::kPending)
        return result;
    Book().Finish(raw.request.id, result);
    return kernel::Pending();
}

ControlResult ScriptedDriver::Serve(const kernel::RawRequest &raw)
{
    const std::lock_guard lock(m_mutex);
    Record(raw);
    if (std::find(m_open.begin(), m_open.end(), raw.request.device) == m_open.end())
        return Failed(kernel::kErrorInvalidHandle);
    if (m_isUnplugged)
        return Failed(kernel::kErrorDeviceNotConnected);
    auto &scripted = m_answers[raw.code];
    if (scripted.empty() && raw.code == kernel::kControlQueueBuffer)
        return Pend(m_pending, raw);
    if (raw.code == kernel::kControlDetachBuffers && !ignoresCancel &&
        (scripted.empty() || scripted.front().completion == Completion::kDone))
        Fail(m_pending, kernel::kErrorOperationAborted);
    if (scripted.empty())
        return Give(DefaultAnswer(raw.code), raw);
    const Answer answer = scripted.front();
    scripted.pop_front();
    return answer.hangs ? Pend(m_hanging, raw) : Give(answer, raw);
}

void ScriptedDriver::CancelPending(kernel::DeviceHandle)
{
    const std::lock_guard lock(m_mutex);
    Log("cancel");
    if (!ignoresCancel)
        FailPending(kernel::kErrorOperationAborted);
}

void ScriptedDriver::Cancel(kernel::DeviceHandle device, kernel::Overlapped *overlapped)
{
    {
        const std::lock_guard lock(m_mutex);
        Log("cancel one");
    }
    RequestServer::Cancel(device, overlapped);
}

bool ScriptedDriver::Drop(kernel::DeviceHandle, kernel::RequestId id)
{
    const std::lock_guard lock(m_mutex);
    if (ignoresCancel)
        return false;
    for (auto *list : {&m_pending, &m_hanging})
        std::erase_if(*list, [id](const PendingBuffer &pending) { return pending.id == id; });
    m_changed.notify_all();
    return true;
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
