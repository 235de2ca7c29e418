// What every check begins with: a bus with one remote node of 64 KiB of registers, and its open
// device file.
#pragma once

#include "device_file.h"
#include "remote_nodes.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace linux_kernel {

// Response codes that no node sends.
constexpr std::uint32_t kSendError = 0x10, kTimedOut = 0x11, kBusy = 0x12, kStale = 0x13,
                        kNoAck = 0x14;
constexpr std::uint32_t kComplete = 0, kConflict = 4, kDataError = 5, kTypeError = 6,
                        kAddressError = 7;

constexpr std::uint64_t kBase = RemoteNodes::kRegisters;
constexpr std::uint32_t kReadQuadlet = 4, kReadBlock = 5, kWriteQuadlet = 0, kWriteBlock = 1;

// A bus info block of 4,096 bytes at most, and a root directory with vendor, model and one unit.
std::vector<std::uint32_t> RomOf(std::uint64_t guid);
constexpr char kUnits[] = "0x001122:0x000042";

// `count` bytes that differ from their neighbours.
Bytes Pattern(std::size_t count, std::uint8_t first = 1);

class Interface : public testing::Test {
protected:
    Interface();

    void SetUp() override;

    // Plugs in another node, or the first with a ROM of its own, and returns its device file's
    // name.
    std::string PlugIn(std::uint32_t node, std::uint64_t guid, std::uint32_t speed = kSpeed800);

    RemoteNodes nodes;
    Wire &wire = nodes.TheWire();
    std::uint64_t
        guid; // differs from check to check: a node stays for two seconds after it was unplugged
    std::string path;
    std::unique_ptr<DeviceFile> device;
};

// True as soon as the condition holds; false after the guest's seconds.
template <typename Condition>
bool WaitUntil(Condition condition, double seconds = 10);

void Sleep(double seconds);

template <typename Condition>
bool WaitUntil(Condition condition, double seconds)
{
    for (const double end = Now() + seconds; !condition(); Sleep(0.001))
        if (Now() > end)
            return false;
    return true;
}

} // namespace linux_kernel
