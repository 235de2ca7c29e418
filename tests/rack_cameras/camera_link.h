// A bus's one open handle of a virtual camera: register accesses, and what a stream needs of
// the virtual bus. It is lost for good when its camera is unplugged. Any thread; no function blocks
// but those that say so.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"
#include "tests/rack_cameras/stream_pump.h"

namespace zerix::rack_cameras {

// A register access on its way. Stays where it is until it is over.
class RegisterAccess {
public:
    // Of so many bytes, a multiple of four; `data` of a write in bus order.
    static std::unique_ptr<RegisterAccess> Read(uint32_t address, uint32_t bytes);
    static std::unique_ptr<RegisterAccess> Write(uint32_t address, std::span<const uint8_t> data);

    struct Outcome {
        bool isOver = false;
        uint32_t systemError = 0;
    };
    // May wait for the end of a stream that the access ends.
    Outcome Send(kernel::DeviceHandle device);
    Outcome Ask(kernel::DeviceHandle device);
    // Returns when nothing writes to the access any more.
    void Cancel(kernel::DeviceHandle device);
    // What was read, in bus order.
    [[nodiscard]] std::vector<uint8_t> Data() const;

private:
    RegisterAccess(uint32_t code, uint32_t address, uint32_t bytes);
    static Outcome OutcomeOf(const kernel::ControlResult &result);

    uint32_t m_code;
    uint32_t m_bytes;
    bool m_isInHostOrder = false;
    std::vector<uint8_t> m_in;
    std::vector<uint8_t> m_out;
    kernel::Overlapped m_overlapped;
};

// What a node answers on the bus for a system error of the virtual bus. A camera that has gone
// answers nothing, and its requests end as stale.
uint32_t ResponseCodeOf(uint32_t systemError);

class CameraLink {
public:
    // Null if the camera isn't there.
    static std::shared_ptr<CameraLink> Open(const std::string &path);
    ~CameraLink() { Close(); }
    CameraLink(const CameraLink &) = delete;
    CameraLink &operator=(const CameraLink &) = delete;

    // Waits for the end of the stream.
    void Close();
    [[nodiscard]] kernel::DeviceHandle Device() const { return m_device; }
    // The camera has been taken off the bus, even if it is back.
    bool IsLost();
    // A process outside has it, as far as can be seen: not any more once this link has booked.
    bool IsHeldElsewhere();

    // What a slot takes of the bus, in its units.
    static uint32_t UnitsFor(uint32_t slotBytes);
    // Bookings on the virtual bus, which has faults to refuse them. Ids are never 0, which is a
    // refusal; a channel is one of the mask.
    uint32_t BookUnits(uint32_t units);
    void FreeUnits(uint32_t id);
    std::optional<uint32_t> BookChannel(uint64_t mask);
    void FreeChannel(uint32_t channel);

    // What a receive context stands for on the virtual bus. False if it has none to give. Done once
    // a channel and bandwidth are booked; before, there is nothing to do yet.
    bool ReserveStream(uint32_t channel);
    // Packets of the channel go to the sink from now on. False if the virtual bus refuses.
    bool StartStream(uint32_t channel, uint32_t slotBytes, PacketSink &sink);
    // Waits until the sink gets no more. Nothing if the stream is of another channel.
    void StopStream(uint32_t channel);
    void FreeStream(uint32_t channel);

private:
    struct Booking {
        uint32_t id;
        uint32_t units;
    };
    explicit CameraLink(kernel::DeviceHandle device) : m_device(device) {}
    uint32_t Word(uint32_t code, uint32_t &word) const;
    bool AllocateResources(uint32_t channel, uint32_t slotBytes);
    [[nodiscard]] uint32_t BookedSlotBytes() const;

    kernel::DeviceHandle m_device;
    std::recursive_mutex m_mutex; // guards what follows
    bool m_isClosed = false;
    bool m_hasBooked = false; // for the virtual bus the link has the camera from then on
    std::vector<Booking> m_bandwidths;
    std::vector<uint32_t> m_channels;
    // Refused at the fast speed, a driver asks for the slow one: so the next try is one.
    bool m_triesSlowSpeed = false;
    uint32_t m_resources = 0;
    uint32_t m_slotBytes = 0;
    uint32_t m_streamChannel = 0;
    std::unique_ptr<StreamPump> m_pump;
};

} // namespace zerix::rack_cameras
