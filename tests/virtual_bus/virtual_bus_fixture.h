// The fixture of tests on the virtual bus: it chooses a rack, lists and opens its cameras, and
// checks after every test that nothing is held on the bus any more.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "camera/tolvane_fw_camera.h"
#include "hal/kernel_requests.h"
#include "sim/rack.h"
#include "tests/virtual_bus/bus_tap.h"
#include "zerix/zerix_sim.h"

namespace zerix::test {

// Which block of the camera's register space an address belongs to.
enum class Block { kConfiguration, kInformation, kControl, kCommand, kStatus, kStreaming, kOther };

struct RegisterWrite {
    Block block;
    uint32_t offset; // in bytes from the block's start; the address itself for kOther
    uint32_t value;
    bool operator==(const RegisterWrite &) const = default;
};
std::ostream &operator<<(std::ostream &stream, const RegisterWrite &write);

// Short ways to write a list of expected writes.
constexpr RegisterWrite ControlWrite(uint32_t offset, uint32_t value)
{
    return {Block::kControl, offset, value};
}
constexpr RegisterWrite CommitWrite() { return {Block::kCommand, 4, 1}; }

class VirtualBusTest : public ::testing::Test {
protected:
    VirtualBusTest();
    ~VirtualBusTest() override;
    void SetUp() override;
    // Closes and frees the cameras, and checks that the bus holds nothing.
    void TearDown() override;

    // A camera as most tests want it: fast clock, all blocks of the newest version (see
    // sim/rack.h), scene "flat". Change what the test is about.
    static sim::CameraDescription Describe(uint32_t model, uint16_t ccdModel);
    // Chooses a rack with these cameras. Before anything is listed, or after FreeCameras.
    void UseCameras(const std::vector<sim::CameraDescription> &cameras, uint32_t speed = 800);
    void UseRack(const sim::Rack &rack);
    void UseRackFile(const char *rackNameOrPath); // null: the built-in one

    // Lists into `cameras` and expects success.
    void ListCameras();
    // A rack of one camera: listed, and opened. The writes of the set-up are taken away.
    ZX::TolvaneFWCamera &OpenOne(const sim::CameraDescription &camera, uint32_t speed = 800);
    ZX::TolvaneFWCamera &Camera(size_t index = 0);
    void FreeCameras();

    // Where a block of the camera begins; the camera must be listed. Reads through the bus.
    uint32_t AddressOf(Block block, uint32_t camera = 0);
    // The register writes that a camera of the rack has seen since the last call, oldest first.
    std::vector<RegisterWrite> TakeWrites(uint32_t camera = 0);
    // The camera's shadow of the control block, from PrintOutControlRegisters.
    std::vector<uint32_t> Shadow(ZX::TolvaneFWCamera &camera);

    // What the hardware layer and the cameras wrote to the debug output since SetUp.
    std::string DebugText();

    BusTap tap;
    ZX::ZCameraList cameras;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace zerix::test
