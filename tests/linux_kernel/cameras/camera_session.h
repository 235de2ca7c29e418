// The exported functions on a rack's cameras, which are reached either on the virtual bus or
// through the kernel, as remote nodes of its card. Time is the guest's, so that waiting costs
// nothing.
#pragma once

#include "bus/linux_firewire/linux_firewire_driver.h"
#include "rack_nodes.h"
#include "tests/support/debug_output_capture.h"
#include "tests/support/temporary_folder.h"
#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace linux_kernel {

enum class Way { kVirtualBus, kKernel };

// A driver for the nodes of the guest's card.
std::unique_ptr<zerix::bus::linux_firewire::LinuxFirewireDriver> MakeDriver();

// A sensor of few lines, which is quick to expose.
inline constexpr std::uint32_t kLineBytes = 1024 * 58;
inline constexpr char kLineRack[] =
    "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"cells\"\nserial = \"Q-18\"\n";

class CameraSession : public testing::Test {
protected:
    // Nothing may be held any more, on either bus.
    void TearDown() override;

    // Begins anew with a rack by its name, or by its text, and loads the library.
    void Use(const std::string &rack, Way way);
    void UseText(const std::string &text, Way way);
    // Takes the library and the rack down.
    void Leave();

    // The rows of a new listing.
    std::vector<ZerixCameraListItem> List();
    // Lists and opens the camera at this place of the rack; it begins no frame without credit.
    ZerixHandle Open(std::uint32_t place = 0);
    // One frame of the camera, filled; empty if it fails.
    struct Picture {
        std::uint32_t error = 0; // of the call, or of the frame
        std::uint32_t format = 0, width = 0, height = 0, bitDepth = 0, frameNumber = 0;
        std::vector<std::uint8_t> bytes;
        bool operator==(const Picture &) const = default;
    };
    static Picture Grab(ZerixHandle camera, std::uint32_t bytes, std::uint32_t place = 0);

    // A folder to write to, and its files; the text of a rack is its rack.toml.
    [[nodiscard]] const std::string &Folder() const { return m_folder.Path(); }
    [[nodiscard]] std::string Read(const std::string &name) const { return m_folder.Read(name); }

    // What the receive rings reported that they have lost.
    [[nodiscard]] std::string ToldLosses() const;

    RackNodes &Nodes() { return *m_nodes; }
    zerix::bus::linux_firewire::LinuxFirewireDriver &Driver() { return *m_driver; }

private:
    zerix::test::TemporaryFolder m_folder;
    zerix::test::DebugOutputCapture m_debugOutput;
    std::unique_ptr<RackNodes> m_nodes;
    std::unique_ptr<zerix::bus::linux_firewire::LinuxFirewireDriver> m_driver;
};

} // namespace linux_kernel
