// The monitor: a thread that runs a few tasks every half minute while the library is loaded, and
// the optional plug-in that it tells which cameras stand open.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zerix::api {

// Appends a task to the monitor's list, which outlives a release: loading again appends again.
void AddMonitorTask(void (*task)());

// Loads the plug-in, if there is one, and starts the thread; nothing happens while it runs.
void StartMonitor();

// Ends the thread, waits for it, and unloads the plug-in.
void StopMonitor();

// The task that tells the plug-in of each open camera.
void WatchCameras();

// The record that goes to the plug-in by value. Undefined bytes are 0.
struct ZerixIpcNotification {
    uint32_t one; // 1
    uint8_t zero; // 0
    uint8_t reserved5[31];
    uint32_t index;   // of this notification in its round
    uint32_t last;    // index of the round's last notification
    uint32_t three;   // 3
    char serial[156]; // terminated
};
static_assert(sizeof(ZerixIpcNotification) == 204);

extern "C" {
using IpcCallin = void (*)(ZerixIpcNotification notification);
}

// One notification for each serial string, in order. Nothing happens without a plug-in.
void TellPlugin(IpcCallin callin, const std::vector<std::string> &serials);

// The wait before the first round and the wait between rounds; 3,000 and 28,000 until a test says
// otherwise. Takes effect with the next start.
void SetMonitorIntervalsForTest(uint32_t firstMilliseconds, uint32_t roundMilliseconds);

// Rounds that have been run since the process began.
uint32_t MonitorRoundsForTest();

} // namespace zerix::api
