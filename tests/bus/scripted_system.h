// Windows, as a script: the answers of its calls in the order in which they must come, each with
// what the call must be told. A call that the script doesn't expect is a failure.
#pragma once

#include <cstring>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bus/windows/system_calls.h"

namespace zerix::bus {

class ScriptedSystem final : public SystemCalls {
public:
    ~ScriptedSystem() override { EXPECT_TRUE(m_controls.empty()) << "requests were not sent"; }

    static constexpr uint32_t kNoNumber = 0xFFFFFFFF; // a failure that sets no last error

    // ---- Devices: their paths, and what goes wrong in the walk over them.
    std::vector<std::string> paths;
    uint32_t listError = 0;                 // no list at all
    uint32_t walkError = kErrorNoMoreItems; // behind the last path
    uint32_t sizeError = kErrorInsufficientBuffer;
    bool givesDetails = true;
    int openLists = 0;
    std::vector<uint32_t> detailSizes; // asked for

    uint32_t LastError() override { return m_error; }

    SystemHandle GetClassDevices(const InterfaceClass &interfaceClass, uint32_t flags) override
    {
        constexpr uint8_t kBytes[16] = {0xC7, 0xA0, 0x62, 0xE2, 0x57, 0xFD, 0xA1, 0x44,
                                        0xA9, 0xD3, 0x88, 0x06, 0x34, 0x9A, 0x39, 0xDA};
        EXPECT_EQ(std::memcmp(&interfaceClass, kBytes, 16), 0);
        EXPECT_EQ(flags, 0x12u);
        if (listError != 0)
            return Fails(listError), kInvalidSystemHandle;
        ++openLists;
        return kList;
    }

    bool EnumDeviceInterfaces(SystemHandle list, const InterfaceClass &, uint32_t index,
                              DeviceInterface *found) override
    {
        EXPECT_EQ(list, kList);
        EXPECT_EQ(found->sizeWord, sizeof(void *) == 8 ? 0x20u : 0x1Cu);
        found->reserved = index;
        return index < paths.size() || Fails(walkError);
    }

    bool GetDeviceInterfaceDetail(SystemHandle list, DeviceInterface *found, void *detail,
                                  uint32_t detailBytes, uint32_t *requiredBytes) override
    {
        EXPECT_EQ(list, kList);
        const std::string &path = paths.at(found->reserved);
        *requiredBytes = static_cast<uint32_t>(5 + path.size());
        if (detail == nullptr)
            return Fails(sizeError);
        detailSizes.push_back(detailBytes);
        uint32_t sizeWord = 0;
        std::memcpy(&sizeWord, detail, 4);
        EXPECT_EQ(sizeWord, sizeof(void *) == 8 ? 8u : 5u);
        if (!givesDetails)
            return Fails(kErrorInvalidData);
        EXPECT_GE(detailBytes, 5 + path.size());
        std::memcpy(static_cast<char *>(detail) + 4, path.c_str(), path.size() + 1);
        return true;
    }

    void DestroyDeviceInfoList(SystemHandle list) override
    {
        EXPECT_EQ(list, kList);
        --openLists;
    }

    // ---- Files and requests.
    struct Control {
        uint32_t code;
        uint32_t error; // 0: done at once; kErrorIoPending: ends as below
        uint32_t bytes = 0;
        uint32_t laterError = 0;
        uint32_t laterBytes = 0;
    };
    void Expect(const Control &control) { m_controls.push_back(control); }

    // What a request was sent with.
    struct Sent {
        const void *in;
        uint32_t inBytes;
        void *out;
        uint32_t outBytes;
        bool operator==(const Sent &) const = default;
    };
    std::vector<Sent> sent;

    uint32_t openError = 0;
    bool hasEvents = true;
    bool endsWhenCancelled = true;
    bool endsWhenClosed = true;
    std::function<void()> duringControl; // runs inside the next request
    std::function<void()> duringWait;    // runs inside the next wait for an event
    std::vector<std::string> opened;
    std::vector<std::string> log;           // of cancels, closes and waits
    std::vector<uint32_t> timeouts;         // of the waits
    std::vector<SystemOverlapped *> blocks; // of the requests sent, in order
    int openEvents = 0;
    int createdEvents = 0;

    SystemHandle CreateFile(const char *path, uint32_t access, uint32_t sharing,
                            uint32_t disposition, uint32_t flags) override
    {
        EXPECT_EQ(access, 0xC0000000u); // read and write
        EXPECT_EQ(sharing, 0u);
        EXPECT_EQ(disposition, 3u); // open existing
        EXPECT_EQ(flags, 0x40000080u);
        opened.emplace_back(path);
        if (openError != 0)
            return Fails(openError), kInvalidSystemHandle;
        return kDevice;
    }

    bool DeviceIoControl(SystemHandle device, uint32_t code, const void *in, uint32_t inBytes,
                         void *out, uint32_t outBytes, uint32_t *returnedBytes,
                         SystemOverlapped *overlapped) override
    {
        EXPECT_EQ(device, kDevice);
        EXPECT_NE(overlapped->event, 0u);
        EXPECT_EQ(overlapped->position[0] | overlapped->position[1], 0u);
        blocks.push_back(overlapped);
        sent.push_back({in, inBytes, out, outBytes});
        if (m_controls.empty()) {
            ADD_FAILURE() << "an unexpected request " << std::hex << code;
            return Fails(1);
        }
        const Control control = m_controls.front();
        m_controls.pop_front();
        EXPECT_EQ(code, control.code);
        if (duringControl)
            std::exchange(duringControl, nullptr)();
        *returnedBytes = control.bytes;
        if (control.error == kErrorIoPending) {
            m_pending.push_back({overlapped, control});
            m_waitable.insert(overlapped->event);
        }
        return control.error == 0 || Fails(control.error);
    }

    bool GetOverlappedResult(SystemHandle device, SystemOverlapped *overlapped,
                             uint32_t *returnedBytes, bool waits) override
    {
        EXPECT_EQ(device, kDevice);
        EXPECT_TRUE(waits);
        for (auto at = m_pending.begin(); at != m_pending.end(); ++at)
            if (at->block == overlapped) {
                const Control control = at->control;
                m_pending.erase(at);
                *returnedBytes = control.laterBytes;
                return control.laterError == 0 || Fails(control.laterError);
            }
        ADD_FAILURE() << "a wait for what isn't pending";
        return Fails(1);
    }

    bool CancelIo(SystemHandle device, SystemOverlapped *overlapped) override
    {
        EXPECT_EQ(device, kDevice);
        log.emplace_back(overlapped == nullptr ? "cancel all" : "cancel one");
        bool hasCancelled = false;
        for (Pending &pending : m_pending)
            if (endsWhenCancelled && (overlapped == nullptr || pending.block == overlapped)) {
                pending.control.laterError = 995;
                pending.isOver = hasCancelled = true;
            }
        return hasCancelled || Fails(1168); // not found
    }

    void CloseHandle(SystemHandle handle) override
    {
        if (handle != kDevice) {
            --openEvents;
            m_waitable.erase(handle);
            return;
        }
        log.emplace_back("close");
        for (Pending &pending : m_pending)
            pending.isOver = pending.isOver || endsWhenClosed;
    }

    SystemHandle CreateEvent() override
    {
        if (!hasEvents)
            return Fails(1450), 0;
        ++createdEvents;
        ++openEvents;
        return 1000 + static_cast<SystemHandle>(createdEvents);
    }

    bool WaitForEvent(SystemHandle event, uint32_t timeoutMilliseconds) override
    {
        log.emplace_back("wait");
        timeouts.push_back(timeoutMilliseconds);
        if (duringWait)
            std::exchange(duringWait, nullptr)();
        for (const Pending &pending : m_pending)
            if (pending.block->event == event)
                return pending.isOver;
        // It stays signalled behind its request.
        const bool isKnown = m_waitable.contains(event);
        EXPECT_TRUE(isKnown) << "a wait for an event of no request";
        return isKnown;
    }

    static constexpr SystemHandle kDevice = 77;

private:
    static constexpr SystemHandle kList = 55;
    static constexpr uint32_t kErrorInvalidData = 13;

    struct Pending {
        SystemOverlapped *block;
        Control control;
        bool isOver = false;
    };

    bool Fails(uint32_t error)
    {
        m_error = error != kNoNumber ? error : 0;
        return false;
    }

    uint32_t m_error = 0;
    std::deque<Control> m_controls;
    std::vector<Pending> m_pending;
    std::set<SystemHandle> m_waitable; // events of requests that pend or did
};

} // namespace zerix::bus
