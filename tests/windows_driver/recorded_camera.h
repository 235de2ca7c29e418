// A virtual camera's registers and the packets of one picture, in a device of the test driver.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sim/virtual_camera.h"
#include "tests/windows_driver/driver_control.h"

namespace zerix::test {

class RecordedCamera {
public:
    // Gives all registers of a virtual camera to the device.
    RecordedCamera(DriverControl &driver, uint32_t device,
                   const sim::CameraDescription &description);

    // Gives it the packets of a picture, of 8 bits a pixel and at most so many bytes each. What the
    // picture shows is the caller's; a lost packet is one of these numbers.
    void Show(std::span<const uint8_t> pixels, uint32_t packetBytes,
              const std::vector<size_t> &lost = {});

    // Addresses of the blocks.
    [[nodiscard]] uint32_t Control() const { return m_control; }
    [[nodiscard]] uint32_t Streaming() const { return m_streaming; }

private:
    void CopyBlock(sim::VirtualCamera &camera, uint32_t address, uint32_t words);

    DriverControl &m_driver;
    uint32_t m_device;
    uint16_t m_streamingVersion;
    uint32_t m_control = 0;
    uint32_t m_streaming = 0;
};

} // namespace zerix::test
