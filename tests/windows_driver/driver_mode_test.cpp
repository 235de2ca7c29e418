// Installing a driver for a device that is there: the test device, with its own driver. Wine has
// nothing behind the newer systems' call, so that it is reached by the older systems' alone.
#include "bus/windows/driver_mode.h"
#include "driver_fixture.h"
#include "tests/support/debug_output_capture.h"

namespace zerix::test {
namespace {

using Lines = std::vector<std::string>;

constexpr const char *kFirstDevice = "ROOT\\ZERIXTEST\\0000";

class WindowsDriverMode : public DriverTest {
protected:
    DebugOutputCapture said;
};

TEST_F(WindowsDriverMode, InstallsTheDriverOfItsDescriptionFile)
{
    EXPECT_EQ(0u, bus::InstallOnOlderSystems(kFirstDevice, DriverDescription()));
    EXPECT_EQ((Lines{"pInstallDevice  was succesfull", "clean0"}), said.Lines());
}

// The path's room is 0x104 characters with the zero. The longer one fails on its own; the other
// gets as far as the choice of a driver, of which there is none in it: 0xE0000228.
TEST_F(WindowsDriverMode, TakesAPathOf259Characters)
{
    const std::string path = "C:\\" + std::string(256, 'x');
    EXPECT_EQ(0u, bus::InstallOnNewerSystems(kFirstDevice, path));
    EXPECT_EQ((Lines{"SetupDiCallClassInstaller  was NOT succesfull -536870360", "clean0"}),
              said.Lines());
    said.Clear();
    EXPECT_EQ(0u, bus::InstallOnNewerSystems(kFirstDevice, path + "x"));
    EXPECT_EQ((Lines{"StringCchCopy  was NOT succesfull 87", "clean0"}), said.Lines());
}

} // namespace
} // namespace zerix::test
