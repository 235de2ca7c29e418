// The kernel driver of the camera test program: the virtual bus behind a tap that can fail a
// request, change a register as it is read, and count what passes. And the fixture that chooses a
// rack, lists and opens its cameras, and checks after every test that nothing is held on the bus
// any more.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "camera/tolvane_fw_camera.h"
#include "hal/kernel_driver.h"
#include "hal/kernel_requests.h"
#include "sim/rack.h"
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

// Stands between the hardware layer and the virtual bus. All devices alike.
class BusTap {
public:
    // After `skip` more requests of this code, the next `times` fail with the system error and
    // never reach the bus.
    void FailRequest(uint32_t code, uint32_t systemError, uint32_t skip = 0, uint32_t times = 1);
    // The same for reads or writes that begin at one address.
    void FailAccess(uint32_t code, uint32_t address, uint32_t systemError, uint32_t times = 1);
    // Opening a device fails, until Reset.
    void FailOpen(uint32_t systemError);
    // The is-open request answers that somebody else has the device, until `inUse` is false.
    void PretendInUse(bool inUse);
    // It answers that nobody has the device, until Reset.
    void PretendFree();
    // From now on the quadlet at the address reads as `value`, whatever the camera holds.
    void OverrideRegister(uint32_t address, uint32_t value);
    // Requests of this code since Reset, failed ones too.
    uint32_t CountOf(uint32_t code);
    // Addresses and quadlet counts of the reads since Reset or the last call.
    struct Read {
        uint32_t address;
        uint32_t quadlets;
        bool operator==(const Read &) const = default;
    };
    std::vector<Read> TakeReads();
    // Called by every thread as its request or wait passes to the bus and as it comes back; null
    // for none.
    void WatchPassages(void (*watch)(bool isGoingIn));
    // Forgets all of the above.
    void Reset();
};

std::ostream &operator<<(std::ostream &stream, const BusTap::Read &read);

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
