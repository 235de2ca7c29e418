// Windows below the bus, with one camera of a kernel driver that can be pulled out: threads may
// call it, requests pend until the test fills or fails them, and the system refuses what a script
// in order can't show: cancellation, a second handle, a device whose driver is gone.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "bus/windows/system_calls.h"
#include "hal/kernel_requests.h"

namespace zerix::test {

class RemovableWindows final : public bus::SystemCalls {
public:
    // ---- The test's side.
    void RefuseCancellation(bool isRefused)
    {
        Change([&] { m_refusesCancel = isRefused; });
    }
    // The error of every request of this code from now on; 0 for none.
    void FailRequests(uint32_t code, uint32_t error)
    {
        Change([&] { m_failures[code] = error; });
    }
    // The next request of this code pends for ever.
    void HangNext(uint32_t code)
    {
        Change([&] { m_hangs[code] = true; });
    }
    // The oldest queued buffer fails with this error. False if none came within the deadline.
    bool FailBuffer(uint32_t error) { return EndOldestBuffer(error, {}); }
    // The oldest queued buffer is full, with this payload in its first slot.
    bool FillBuffer(const std::vector<uint8_t> &payload) { return EndOldestBuffer(0, payload); }
    // The device and its driver go: what pends fails, and so does all that comes.
    void Remove(uint32_t error)
    {
        Change([&] {
            m_removedError = error;
            for (Pending &pending : m_pending)
                End(pending, error);
        });
    }
    // False as long as a handle is open: the system keeps the old device until then.
    bool Return()
    {
        const std::lock_guard lock(m_mutex);
        if (m_openHandles != 0)
            return false;
        m_removedError = 0;
        return true;
    }
    int OpenHandles()
    {
        const std::lock_guard lock(m_mutex);
        return m_openHandles;
    }
    int OpenEvents()
    {
        const std::lock_guard lock(m_mutex);
        return static_cast<int>(m_events.size());
    }
    size_t PendingCount()
    {
        const std::lock_guard lock(m_mutex);
        return CountPending();
    }
    bool AwaitPending(size_t count)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, kDeadline, [&] { return CountPending() >= count; });
    }

    // ---- The system's side.
    uint32_t LastError() override { return t_lastError; }
    bus::SystemHandle GetClassDevices(const bus::InterfaceClass &, uint32_t) override
    {
        return bus::kInvalidSystemHandle;
    }
    bool EnumDeviceInterfaces(bus::SystemHandle, const bus::InterfaceClass &, uint32_t,
                              bus::DeviceInterface *) override
    {
        return false;
    }
    bool GetDeviceInterfaceDetail(bus::SystemHandle, bus::DeviceInterface *, void *, uint32_t,
                                  uint32_t *) override
    {
        return false;
    }
    void DestroyDeviceInfoList(bus::SystemHandle) override {}

    bus::SystemHandle CreateFile(const char *, uint32_t, uint32_t, uint32_t, uint32_t) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_removedError != 0 || m_openHandles != 0)
            return Fails(m_removedError != 0 ? 2 : 32), bus::kInvalidSystemHandle;
        ++m_openHandles;
        return kDevice;
    }

    bool DeviceIoControl(bus::SystemHandle, uint32_t code, const void *, uint32_t, void *out,
                         uint32_t outBytes, uint32_t *returnedBytes,
                         bus::SystemOverlapped *overlapped) override
    {
        const std::lock_guard lock(m_mutex);
        *returnedBytes = 0;
        if (m_removedError != 0)
            return Fails(m_removedError);
        if (m_failures[code] != 0)
            return Fails(m_failures[code]);
        m_events[overlapped->event] = false;
        if (code == kernel::kControlQueueBuffer || std::exchange(m_hangs[code], false)) {
            m_pending.push_back({overlapped, static_cast<uint8_t *>(out), outBytes, code});
            m_changed.notify_all();
            return Fails(bus::kErrorIoPending);
        }
        if (code == kernel::kControlDetachBuffers && !m_refusesCancel)
            EndAll(kernel::kErrorOperationAborted);
        // Handles of what was booked: the last word of the record is as good as any.
        if (out != nullptr)
            std::memset(out, code == kernel::kControlIsOpen ? 0 : 1, outBytes);
        *returnedBytes = outBytes;
        return true;
    }

    bool GetOverlappedResult(bus::SystemHandle, bus::SystemOverlapped *overlapped,
                             uint32_t *returnedBytes, bool) override
    {
        std::unique_lock lock(m_mutex);
        const auto found = [&] {
            return std::find_if(m_pending.begin(), m_pending.end(), [&](const Pending &pending) {
                return pending.block == overlapped;
            });
        };
        m_changed.wait(lock, [&] { return found() == m_pending.end() || found()->isOver; });
        const auto at = found();
        if (at == m_pending.end())
            return Fails(87);
        const Pending ended = *at;
        m_pending.erase(at);
        *returnedBytes = ended.error == 0 ? ended.outBytes : 0;
        return ended.error == 0 || Fails(ended.error);
    }

    bool CancelIo(bus::SystemHandle, bus::SystemOverlapped *overlapped) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_refusesCancel)
            return Fails(1168);
        for (Pending &pending : m_pending)
            if (overlapped == nullptr || pending.block == overlapped)
                End(pending, kernel::kErrorOperationAborted);
        m_changed.notify_all();
        return true;
    }

    void CloseHandle(bus::SystemHandle handle) override
    {
        const std::lock_guard lock(m_mutex);
        if (handle != kDevice) {
            m_events.erase(handle);
            return;
        }
        --m_openHandles;
        EndAll(kernel::kErrorOperationAborted); // the close ends what cancellation doesn't
    }

    bus::SystemHandle CreateEvent() override
    {
        const std::lock_guard lock(m_mutex);
        m_events[++m_lastEvent] = false;
        return m_lastEvent;
    }

    bool WaitForEvent(bus::SystemHandle event, uint32_t timeoutMilliseconds) override
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMilliseconds),
                                  [&] { return m_events[event]; });
    }

private:
    static constexpr bus::SystemHandle kDevice = 77;
    static constexpr auto kDeadline = std::chrono::seconds(20);

    struct Pending {
        bus::SystemOverlapped *block;
        uint8_t *out;
        uint32_t outBytes;
        uint32_t code;
        bool isOver = false;
        uint32_t error = 0;
    };

    static bool Fails(uint32_t error)
    {
        t_lastError = error;
        return false;
    }
    template <typename Work>
    void Change(const Work &work)
    {
        const std::lock_guard lock(m_mutex);
        work();
        m_changed.notify_all();
    }
    size_t CountPending() const
    {
        return static_cast<size_t>(
            std::count_if(m_pending.begin(), m_pending.end(),
                          [](const Pending &pending) { return !pending.isOver; }));
    }
    void End(Pending &pending, uint32_t error)
    {
        if (pending.isOver)
            return;
        pending.isOver = true;
        pending.error = error;
        m_events[pending.block->event] = true;
    }
    void EndAll(uint32_t error)
    {
        for (Pending &pending : m_pending)
            End(pending, error);
        m_changed.notify_all();
    }
    bool EndOldestBuffer(uint32_t error, const std::vector<uint8_t> &payload)
    {
        std::unique_lock lock(m_mutex);
        const auto oldest = [&] {
            return std::find_if(m_pending.begin(), m_pending.end(), [](const Pending &pending) {
                return !pending.isOver && pending.code == kernel::kControlQueueBuffer;
            });
        };
        if (!m_changed.wait_for(lock, kDeadline, [&] { return oldest() != m_pending.end(); }))
            return false;
        const auto at = oldest();
        if (error == 0) {
            std::memset(at->out, 0, at->outBytes);
            const auto length = static_cast<uint16_t>(payload.size());
            std::memcpy(at->out + kernel::kSlotLengthOffset, &length, sizeof length);
            std::copy(payload.begin(), payload.end(), at->out + kernel::kSlotPayloadOffset);
        }
        End(*at, error);
        m_changed.notify_all();
        return true;
    }

    static inline thread_local uint32_t t_lastError = 0;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Pending> m_pending; // oldest first
    std::map<bus::SystemHandle, bool> m_events;
    std::map<uint32_t, uint32_t> m_failures;
    std::map<uint32_t, bool> m_hangs;
    bus::SystemHandle m_lastEvent = 1000;
    uint32_t m_removedError = 0;
    bool m_refusesCancel = false;
    int m_openHandles = 0;
};

} // namespace zerix::test
