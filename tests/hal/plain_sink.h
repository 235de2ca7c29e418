// The packet sink of the hardware layer's tests: frames of a fixed size from packets that are made
// for the purpose. What it is asked to do is logged without a lock, so that the thread sanitizer
// sees calls that meet.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "hal/packet_sink.h"

// The frame record of these tests. The hardware layer passes on a pointer to one.
struct tStFrameInfo {
    std::span<uint8_t> data;
    bool isDropped = false;
};

namespace zerix::hal {
class FWCameraDevice;
}

namespace zerix::test {

// A packet that begins a frame, and one that continues it. Both are longer than an idle one.
std::vector<uint8_t> BeginningPacket(const std::vector<uint8_t> &data);
std::vector<uint8_t> ContinuingPacket(const std::vector<uint8_t> &data);

class PlainSink final : public hal::PacketSink {
public:
    PlainSink();
    ~PlainSink() override;

    static PlainSink &Of(hal::FWCameraDevice &device);
    // How many there are.
    static uint32_t Alive();

    // The first calls in order, a letter each: S set up, B begin, p packet, D drop.
    [[nodiscard]] std::string_view Log() const { return {m_log.data(), m_logged}; }

    hal::FrameCallbacks callbacks;
    uint8_t streamingVersion = 99;
    std::span<uint8_t> lastPayload;

    void SetUp(const hal::FrameCallbacks &given) override;
    void Begin(uint8_t version) override;
    void Packet(std::span<uint8_t> payload) override;
    void Drop() override;

private:
    void Note(char call);

    std::array<char, 64> m_log{};
    size_t m_logged = 0;
    tStFrameInfo *m_frame = nullptr;
    size_t m_placed = 0;
};

// While it lives, there is no memory for a sink.
class RefusedSinks {
public:
    RefusedSinks();
    ~RefusedSinks();
    RefusedSinks(const RefusedSinks &) = delete;
    RefusedSinks &operator=(const RefusedSinks &) = delete;
};

} // namespace zerix::test
