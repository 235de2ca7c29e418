// The receive contexts of the card, and the packets that reach them. Under the model's lock, except
// for what a packet sink does.
#pragma once

#include <array>
#include <cstdint>

#include "tests/linux_model/device_file.h"
#include "tests/rack_cameras/stream_pump.h"

namespace zerix::linux_model {

class Machine;

class IsoStreams final : public rack_cameras::PacketSink {
public:
    explicit IsoStreams(Machine &machine) : m_machine(machine) {}

    // The ioctls.
    int Create(DeviceFile &file, fw_cdev_create_iso_context &request);
    int Queue(DeviceFile &file, fw_cdev_queue_iso &request);
    int Start(DeviceFile &file, const fw_cdev_start_iso &request);
    int Stop(Lock &lock, DeviceFile &file, uint32_t handle);
    static int Flush(DeviceFile &file, uint32_t handle);

    // The context of a file that is closed.
    void Destroy(Lock &lock, DeviceFile &file);
    // The camera is back on a link that is new.
    void GoOn(DeviceFile &file);

    // Seconds, cycles and a part of a cycle, as the card's register counts them.
    [[nodiscard]] uint32_t CycleTimer() const;

    void Deliver(uint32_t channel, std::span<const uint8_t> payload,
                 const std::atomic<bool> &isStopped) override;
    void Wake() override;

private:
    [[nodiscard]] DeviceFile *Listener(uint32_t channel) const;
    // The camera that sends on the file's channel, as far as it is known.
    [[nodiscard]] std::shared_ptr<CameraLink> LinkOf(const DeviceFile &file) const;

    Machine &m_machine;
    std::array<uint32_t, 64> m_cycles{}; // of the next packet of each channel
};

} // namespace zerix::linux_model
