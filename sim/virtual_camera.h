// A virtual camera: its registers, what it does on a commit or a trigger, and how it begins
// exposures. Guarded by the bus's lock, but for Optics, which belongs to the thread of the running
// stream.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "sim/camera_clock.h"
#include "sim/fault_plan.h"
#include "sim/frame_plan.h"
#include "sim/mistakes.h"
#include "sim/packetizer.h"
#include "sim/rack.h"
#include "sim/scene.h"
#include "sim/sensor.h"

namespace zerix::sim {

struct RegisterWrite {
    uint32_t address;
    uint32_t value;
};

// One exposure that has begun.
struct FrameJob {
    FramePlan plan;
    NoiseKey key{};
    uint64_t start = 0; // of the exposure, on the camera's clock
    uint64_t end = 0;
    uint32_t epoch = 0; // changes with every commit
    uint32_t creditSerial = 0;
    std::shared_ptr<const Scene> scene;
};

// What the SyncB output has shown since power-on.
struct SyncOutput {
    uint32_t pulses = 0;
    uint64_t activeNanoseconds = 0;
};

// What turns a job into packets. Used by one stream thread at a time and nobody else.
struct Optics {
    std::unique_ptr<Sensor> sensor;
    std::shared_ptr<const Scene> scene;
    Packetizer packetizer;
};

class VirtualCamera {
public:
    VirtualCamera(const CameraDescription &description, uint64_t seed, bool fastClock);

    // Makes the scene and the fault plan; false, and one sentence, if the description can't be
    // used.
    bool SetUp(std::string *error);

    [[nodiscard]] const CameraDescription &Description() const { return m_description; }
    CameraClock &Clock() { return m_clock; }
    FaultPlan &Faults() { return m_faults; }
    std::condition_variable &Changed() { return m_changed; }

    // Taken off the bus and put back; putting it back is a power-on.
    [[nodiscard]] bool IsPlugged() const { return m_plugged; }
    [[nodiscard]] uint32_t PlugNumber() const { return m_plugNumber; }
    void Unplug();
    void Plug();

    // Register access, in host order. 0, or the system error that the bus answers with.
    uint32_t Read(uint32_t address, std::span<uint32_t> words);
    uint32_t Write(uint32_t address, std::span<const uint32_t> words);
    // Whether the next access pends, rather than completing at once.
    bool NextAccessPends();
    // The register that switches the stream: the channel in the top byte, bit 0 on.
    [[nodiscard]] uint32_t StreamingRegister() const;
    [[nodiscard]] bool IsStreamingEnabled() const { return (StreamingRegister() & 1u) != 0; }
    void ClearStreamingRegister();
    [[nodiscard]] bool InUseByFault() const { return m_faults.IsInUse(); }
    [[nodiscard]] uint32_t PacketBytesAllowed() const;
    std::deque<RegisterWrite> TakeWrites();

    bool SetScene(const std::string &text, std::string *error);
    void FireTriggerLine();
    void SetTriggerLine(bool isHigh);
    [[nodiscard]] const SyncOutput &Sync() const { return m_sync; }
    void SetCredit(uint32_t frames);
    void SetCreditPerStream(uint32_t frames);
    // The streaming register has begun a stream.
    void StreamBegins();
    [[nodiscard]] double Celsius() const;
    // Nothing if it isn't one of the last 256 frames.
    [[nodiscard]] std::optional<uint64_t> FrameTime(uint16_t rollingFrameNumber) const;

    // Exposures. A job ends with either Exposed or Abandon.
    [[nodiscard]] bool MayBegin() const;
    FrameJob Begin(uint64_t earliestStart);
    [[nodiscard]] bool IsCurrent(const FrameJob &job) const { return job.epoch == m_epoch; }
    void Abandon(const FrameJob &job);
    // Gives the frame its number, time and tag.
    void Exposed(FrameJob &job);
    void Expose(const FrameJob &job, std::vector<uint8_t> &pixels);
    Optics &StreamOptics() { return m_optics; }

    // The thread of a stream announces itself here, so that a second one begins after the first.
    bool isStreamThreadRunning = false;

private:
    enum BlockName {
        kConfiguration,
        kInformation,
        kControl,
        kCommand,
        kStatus,
        kStreaming,
        kBlocks
    };
    struct Block {
        uint32_t address = 0;
        std::vector<uint32_t> words;
    };
    struct Remembered {
        uint16_t number;
        uint64_t start;
    };

    void PowerOn();
    void MakeBlocks();
    const Block *FindBlock(uint32_t address, size_t count) const;
    [[nodiscard]] bool IsModelRegister(uint32_t address) const;
    void WriteWord(uint32_t address, uint32_t value);
    void CheckWrite(const Block &block, uint32_t address, uint32_t value) const;
    void Note(Mistake mistake, uint32_t where, uint32_t value) const;
    void Command(uint32_t offset, uint32_t value);
    void Commit();
    void SetCooler();
    [[nodiscard]] double FanStrength() const;
    void PowerOnInHighGain();
    void RefreshStatus();
    void AddShots(bool isHardware);

    CameraDescription m_description;
    uint64_t m_seed;
    const SensorType *m_sensorType;
    CameraClock m_clock;
    FaultPlan m_faults;
    std::condition_variable m_changed;
    std::array<Block, kBlocks> m_blocks;
    std::vector<uint32_t> m_latched; // control words in force
    std::deque<RegisterWrite> m_writes;
    Cooler m_cooler;
    uint32_t m_coolerWord = 0;
    double m_fan = 1;
    bool m_isTargetReached = true; // given time
    SyncOutput m_sync;
    bool m_isTriggerLineHigh = false;
    std::shared_ptr<const Scene> m_scene;
    Optics m_optics;
    std::deque<Remembered> m_frameTimes;
    uint64_t m_powerOn = 0;
    uint64_t m_lastCommit = 0;
    uint32_t m_plugNumber = 1;
    uint32_t m_commits = 0;
    uint32_t m_framesSinceCommit = 0;
    uint32_t m_epoch = 0;
    uint32_t m_credit;
    uint32_t m_creditPerStream; // unlimited: none
    uint32_t m_creditSerial = 0;
    uint32_t m_accesses = 0;
    uint32_t m_shots = 0; // exposures that pulses have asked for
    uint16_t m_nextFrameNumber = 0;
    bool m_plugged = true;
};

} // namespace zerix::sim
