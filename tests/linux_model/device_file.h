// What the kernel keeps of one open device file, and of the node behind it. Guarded by the model's
// lock.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/linux_model/event_record.h"
#include "tests/linux_model/iso_context.h"
#include "tests/linux_model/model_clock.h"
#include "tests/rack_cameras/camera_link.h"
#include "tests/rack_cameras/config_rom.h"

namespace zerix::linux_model {

using rack_cameras::CameraLink;
using rack_cameras::RegisterAccess;
using rack_cameras::RomContents;

struct DeviceFile;

enum class NodeState : uint8_t { kInitializing, kRunning, kGone, kShutDown };
// What a node's timer does when it fires. One that pends isn't set anew: it fires at its old
// moment, and does what was asked for last.
enum class NodeWork : uint8_t { kInitialize, kUpdate, kShutDown };

struct Node {
    std::string path; // of the virtual bus's device; empty for the local node
    RomContents contents;
    std::vector<uint32_t> rom;
    uint32_t speed = 0; // the kernel's code
    NodeState state = NodeState::kInitializing;
    uint32_t nodeId = 0;     // of the last generation that it was seen in
    uint32_t generation = 0; // that one
    NodeWork work = NodeWork::kInitialize;
    std::optional<nanoseconds> due;
    uint32_t romRetries = 0;

    // Once it has been initialized.
    std::optional<uint32_t> minor;
    nanoseconds openableFrom{}; // permission denied before

    std::vector<DeviceFile *> files; // open, or closed and still mapped
    const DeviceFile *lockHolder = nullptr;
    std::shared_ptr<CameraLink> link; // while files are open on a camera that is there

    [[nodiscard]] bool IsLocal() const { return path.empty(); }
    [[nodiscard]] std::string Name() const { return "fw" + std::to_string(minor.value_or(0)); }
};

// A booking of a channel, of bandwidth, or of both.
struct IsoResource {
    uint64_t closure = 0;
    uint64_t channels = 0; // the candidates, then the one that was taken
    uint32_t bandwidth = 0;
    bool isAllocated = false; // the allocation has been answered: from now on it is renewed
    bool isBooked = false;    // with the bus
    bool isToBeFreed = false;
    std::optional<nanoseconds> due;

    // What stands for it on the virtual bus.
    std::shared_ptr<CameraLink> link;
    uint32_t unitsId = 0;
    std::optional<uint32_t> channel;
};

struct DeviceFile {
    std::shared_ptr<Node> node;
    std::deque<Event> events;
    uint32_t version = 0; // of the interface, as GET_INFO set it
    bool hasInfo = false; // bus resets are reported only then
    uint64_t resetClosure = 0;
    std::map<uint32_t, IsoResource> resources;
    uint32_t pendingTransactions = 0;
    std::unique_ptr<IsoContext> context;
    bool hasBuffer = false;    // mapped once, and for the whole life
    std::span<uint8_t> memory; // while it is mapped
    bool isClosed = false;
    bool isReleased = false; // takes no events any more

    [[nodiscard]] bool IsMapped() const { return !memory.empty(); }
    [[nodiscard]] bool IsShutDown() const { return node->state == NodeState::kShutDown; }
    void Queue(Event event)
    {
        if (!isReleased)
            events.push_back(std::move(event));
    }
};

} // namespace zerix::linux_model
