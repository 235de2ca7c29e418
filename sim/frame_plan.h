// How one frame is taken: what the control words that are in force at the start of its exposure
// mean. Pure functions.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/packetizer.h"
#include "sim/rack.h"
#include "sim/sensor.h"

namespace zerix::sim {

struct FramePlan {
    ExposureSettings exposure; // celsius is the camera's to fill in
    FrameLayout layout;        // number, time and packet size are the camera's to fill in
    uint64_t readoutNanoseconds = 0;
    uint64_t leadNanoseconds = 0; // before the exposure: trigger delay, the wheel's settling
    uint64_t syncNanoseconds = 0; // that the SyncB output is active for the frame
    uint32_t keptRowPairs = 1;    // one row pair of so many is sent; the exposure has all
};

// `wheelFrame` counts the frames since the wheel's cycle began.
FramePlan PlanFrame(const CameraDescription &description, const SensorType &sensor,
                    std::span<const uint32_t> words, uint32_t wheelFrame);

// A region, as the control words have it, that leaves the sensor. The camera clamps it.
bool LeavesSensor(const CameraDescription &description, const SensorType &sensor,
                  std::span<const uint32_t> words);

// Most bytes of a packet that the control words allow; the slot may allow less.
uint32_t PacketLimit(const CameraDescription &description, std::span<const uint32_t> words);

// How the camera waits for the next exposure.
enum class Trigger : uint8_t { kFree, kSoftware, kHardware, kHardwareTwoShots };
Trigger TriggerOf(std::span<const uint32_t> words);

// Leaves out the row pairs that the live mode doesn't send.
std::vector<uint8_t> KeepRowPairs(const FramePlan &plan, std::span<const uint8_t> pixels);

} // namespace zerix::sim
