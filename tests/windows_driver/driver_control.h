// The test's side of the test driver's control device: what the two devices hold and do. Each call
// throws std::runtime_error if the driver isn't there or refuses. One thread.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "test_control.h"

namespace zerix::test {

class DriverControl {
public:
    DriverControl();
    ~DriverControl();
    DriverControl(const DriverControl &) = delete;
    DriverControl &operator=(const DriverControl &) = delete;

    // Both devices as after loading: present, without registers, packets and rules.
    void Reset();
    void SetRegister(uint32_t device, uint32_t address, uint32_t value);
    void SetRegisters(uint32_t device, uint32_t address, std::span<const uint32_t> values);
    uint32_t Register(uint32_t device, uint32_t address);

    struct Packet {
        std::vector<uint8_t> bytes;
        uint16_t tagOffset = 0; // of the byte that carries the frame's tag; 0 for none
    };
    struct Recording {
        uint32_t streamRegister;
        uint32_t tagRegister;
        uint32_t idleSlots;
        std::vector<Packet> packets;
    };
    void SetRecording(uint32_t device, const Recording &recording);

    void SetPending(uint32_t device, TestPending pending);
    void SetSlow(uint32_t device);
    void SetSilent(uint32_t device, bool isSilent);

    // The requests of this code after the next `skip` ones fail at once with the kernel's status.
    void Fail(uint32_t device, uint32_t code, uint32_t status, uint32_t skip = 0,
              uint32_t times = 1);
    void AddFault(const TestFault &fault);

    void Unplug(uint32_t device);
    void Plug(uint32_t device);
    TestState State(uint32_t device);
    // Reads and writes of registers since the last call, at most 256.
    std::vector<TestAccess> TakeAccesses(uint32_t device);

private:
    uint32_t Send(uint32_t code, const void *in, size_t inBytes, void *out, size_t outBytes);
    void SetBehaviour(uint32_t device);

    void *m_handle;
    TestBehaviour m_behaviours[kTestDevices] = {};
};

// The kernel's status numbers that the tests use, and the system errors that become of them.
inline constexpr uint32_t kStatusUnsuccessful = 0xC0000001;          // 31
inline constexpr uint32_t kStatusInsufficientResources = 0xC000009A; // 1450
inline constexpr uint32_t kStatusDeviceNotConnected = 0xC000009D;    // 1167

} // namespace zerix::test
