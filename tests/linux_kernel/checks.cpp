#include "checks.h"

#include <unistd.h>

namespace linux_kernel {

namespace {

std::uint64_t NextGuid()
{
    static std::uint64_t last = 0x0011220000000000;
    return ++last;
}

} // namespace

std::vector<std::uint32_t> RomOf(std::uint64_t guid)
{
    return {
        0x04040000,
        0x31333934, // "1394"
        0x00ffb073, // max_rec 11: 4,096 bytes; generation 7; S800
        static_cast<std::uint32_t>(guid >> 32),
        static_cast<std::uint32_t>(guid),
        0x00030000, // the root directory
        0x03001122, // vendor
        0x17000099, // model
        0xd1000001, // unit directory
        0x00020000,
        0x12001122, // specifier
        0x13000042, // version
    };
}

Bytes Pattern(std::size_t count, std::uint8_t first)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::uint8_t>(first + i * 7 + i / 256);
    return bytes;
}

void Sleep(double seconds) { usleep(static_cast<useconds_t>(seconds * 1e6)); }

Interface::Interface() : guid(NextGuid()) {}

void Interface::SetUp()
{
    path = PlugIn(0, guid);
    ASSERT_NE(path, "");
    device = std::make_unique<DeviceFile>(path);
    ASSERT_GE(device->File(), 0);
}

std::string Interface::PlugIn(std::uint32_t node, std::uint64_t newGuid, std::uint32_t speed)
{
    EXPECT_EQ(wire.Plug(node, RomOf(newGuid), speed), 0);
    return WaitForDevice(newGuid);
}

} // namespace linux_kernel
