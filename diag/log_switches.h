// The trace log's switches, as the configuration sets them. Any thread reads them; only ZLogOpen
// writes them.
#pragma once

#include <atomic>

namespace zerix::diag {

// Relaxed everywhere: a switch guards no other data, and a message more or less while the log is
// being opened again is no fault.
class Switch {
public:
    [[nodiscard]] bool IsOn() const { return m_isOn.load(std::memory_order_relaxed); }
    void Set(bool isOn) { m_isOn.store(isOn, std::memory_order_relaxed); }

private:
    std::atomic<bool> m_isOn = false;
};

struct LogSwitches {
    Switch outputEnabled;     // master switch
    Switch outputSettings;    // dump settings values
    Switch outputGetInfo;     // dump information values
    Switch outputFrame;       // dump frame records, and trace the queueing of frames
    Switch outputSparseTable; // dump sparse tables
    Switch outputNestedCalls; // trace calls made while another exported call is running
    Switch outputToFile;      // write to the file, not to the debug output
    Switch outputReads;       // trace register reads
    Switch outputWrites;      // trace register writes
};

const LogSwitches &Switches();

} // namespace zerix::diag
