// The modelled kernel: its lock, its clock, its parts, and the thread of its timers.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/linux_model/bus.h"
#include "tests/linux_model/device_file.h"
#include "tests/linux_model/event_record.h"
#include "tests/linux_model/iso_resources.h"
#include "tests/linux_model/iso_streams.h"
#include "tests/linux_model/model_clock.h"
#include "tests/linux_model/model_options.h"
#include "tests/linux_model/transactions.h"

namespace zerix::linux_model {

// What a test has asked to go wrong. Under the lock.
struct PlannedFaults {
    std::deque<uint32_t> rcodes; // of the next requests
    uint32_t romReads = 0;       // that fail, of new cameras
    uint32_t lostIsoEvents = 0;
    nanoseconds permissionDelay{}; // of new device files

    uint32_t TakeRcode();
    bool TakeLostIsoEvent() { return lostIsoEvents > 0 && lostIsoEvents-- > 0; }
};

class Machine {
public:
    explicit Machine(const ModelOptions &chosen);
    ~Machine();
    Machine(const Machine &) = delete;
    Machine &operator=(const Machine &) = delete;

    // Under the lock:

    // Not yet released: open, or closed and mapped.
    [[nodiscard]] const std::vector<std::shared_ptr<DeviceFile>> &OpenFiles() const
    {
        return m_files;
    }
    void AddFile(const std::shared_ptr<DeviceFile> &file);
    // The end of a file that is neither open nor mapped. Waits for its requests.
    void Release(Lock &lock, DeviceFile &file);
    // The fields; not padded.
    [[nodiscard]] EventRecord BusResetEvent(const DeviceFile &file) const;
    // Moves a held clock, and does on the way what is due.
    void Advance(Lock &lock, nanoseconds time);
    // For the next moment at which something is due.
    void WakeTimer() { m_timer.notify_all(); }

    std::mutex mutex;
    // Signalled at whatever a system call may wait for.
    std::condition_variable changed;
    const ModelOptions options;
    ModelClock clock;
    PlannedFaults faults;
    Bus bus{*this};
    IsoResources resources{*this};
    IsoStreams streams{*this};
    Transactions transactions{*this};

private:
    void RunTimers();
    void DoWhatIsDue(Lock &lock);
    [[nodiscard]] nanoseconds NextDue() const;

    std::vector<std::shared_ptr<DeviceFile>> m_files;
    std::condition_variable m_timer;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace zerix::linux_model
