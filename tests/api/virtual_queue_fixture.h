// A streaming virtual camera with the application's frames in its queue: waits with a deadline, and
// never for a time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tables/settings_accessors.h"
#include "tests/api/virtual_bus_session.h"

namespace zerix::api {

inline constexpr auto kDeadline = std::chrono::seconds(60);

// A sensor of few lines, which is quick to expose.
inline constexpr uint32_t kLineSize = 1024 * 58;
inline const char *const kQuickRack =
    "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:2000\"\nserial = \"Q-18\"\n";

class VirtualQueueTest : public VirtualBusSession {
protected:
    struct Slot {
        std::vector<uint8_t> pixels = std::vector<uint8_t>(kLineSize);
        Zerix_Frame frame = {};
    };
    struct Told {
        uint32_t userData;
        uint32_t error;
        uint32_t flags;
        bool operator==(const Told &) const = default;
    };

    ~VirtualQueueTest() override
    {
        for (Zerix_Settings &record : records)
            Zerix_ReleaseCameraSettingsStruct(&record);
    }

    // Opens the one camera of a rack. It begins no frame without credit.
    void OpenQuick(const std::string &rack = kQuickRack)
    {
        UseRack(rack);
        handle = LoadAndOpen(0);
        EXPECT_EQ(ZerixSim_GiveCredit(0, 0), 0u);
    }

    Zerix_Settings &NewRecord()
    {
        Zerix_Settings &record = records.emplace_back();
        Zerix_CreateCameraSettingsStruct(&record);
        EXPECT_EQ(Zerix_ReadSettingsFromCam(handle, &record), 0u);
        return record;
    }

    Slot &NewSlot()
    {
        Slot &slot = slots.emplace_back();
        slot.frame.pBuffer = slot.pixels.data();
        slot.frame.bufferSize = kLineSize;
        return slot;
    }

    uint32_t QueueFrame(Slot &slot, uint32_t userData, uint32_t flags = 1)
    {
        return Zerix_QueueFrame(handle, &slot.frame, Tell, flags, this, userData);
    }

    static void Tell(void *test, uint32_t userData, uint32_t error, uint32_t flags)
    {
        auto &self = *static_cast<VirtualQueueTest *>(test);
        if (self.inCallBack)
            self.inCallBack({userData, error, flags});
        const std::lock_guard lock(self.mutex);
        self.told.push_back({userData, error, flags});
        self.more.notify_all();
    }

    // False if so many calls don't come in time.
    bool AwaitCalls(std::size_t count)
    {
        std::unique_lock lock(mutex);
        return more.wait_for(lock, kDeadline, [&] { return told.size() >= count; });
    }

    std::vector<Told> TakeTold()
    {
        const std::lock_guard lock(mutex);
        return std::exchange(told, {});
    }

    ZerixHandle handle = nullptr;
    std::deque<Slot> slots;
    std::deque<Zerix_Settings> records;
    std::function<void(const Told &call)> inCallBack;
    std::mutex mutex;
    std::condition_variable more;
    std::vector<Told> told;
};

// A moment that one thread announces and another waits for.
class Moment {
public:
    void Come()
    {
        const std::lock_guard lock(m_mutex);
        m_hasCome = true;
        m_changed.notify_all();
    }
    bool Await()
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, kDeadline, [&] { return m_hasCome; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_hasCome = false;
};

} // namespace zerix::api
