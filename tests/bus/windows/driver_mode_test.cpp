// The routines about the binding of the host adapters, as far as they go without one.
#include <gtest/gtest.h>
#include <windows.h>

#include "bus/windows/driver_mode.h"
#include "tests/support/configuration_values.h"
#include "tests/support/debug_output_capture.h"

namespace zerix::bus {
namespace {

using Lines = std::vector<std::string>;

TEST(DriverMode, NamesItsFilesInTheFolderOfCommonPrograms)
{
    char folder[MAX_PATH] = {};
    ASSERT_NE(GetEnvironmentVariableA("CommonProgramFiles", folder, sizeof folder), 0u);
    const std::string common = folder;
    EXPECT_EQ(PlainModeFile(), common + "\\Tolvane\\inf\\1394.inf");
    EXPECT_EQ(AdapterModeFile(), common + "\\Tolvane\\inf\\ub1394.inf");
    EXPECT_EQ(HelperProgram(), common + "\\Tolvane\\UBHelper.exe");
}

TEST(DriverMode, KnowsItsUser)
{
    // Wine's user is one of the administrators, and no process is limited.
    EXPECT_TRUE(IsAdministrator());
    EXPECT_TRUE(IsElevated());
    EXPECT_FALSE(IsVista());
}

TEST(DriverMode, FindsNoAdapterWhereThereIsNone)
{
    AdapterId table[2] = {};
    uint32_t count = 1;
    EXPECT_EQ(ListAdapters(table, 2, &count), 0u);
    EXPECT_EQ(count, 1u);
}

TEST(DriverMode, IsNotChangedBeforeTheLastConnectionIsGone)
{
    const test::ConfigurationValues configuration;
    test::DebugOutputCapture capture;
    EXPECT_FALSE(CanUnload());
    EXPECT_EQ(capture.Lines(), Lines{"Not allowed to unload\n"});
    SetAllowedToUnload(true);
    EXPECT_TRUE(CanUnload());
    configuration.Put("FireWireDriverMode = 1\n");
    EXPECT_FALSE(CanUnload());
    configuration.Put("FireWireDriverMode = 2\n");
    EXPECT_TRUE(CanUnload());
    EXPECT_EQ(capture.Lines().size(), 1u);
    SetAllowedToUnload(false);
}

TEST(DriverMode, IsNotChangedWhileAPairIsUsed)
{
    const test::ConfigurationValues configuration;
    test::DebugOutputCapture capture;
    SetAllowedToUnload(true);
    const HANDLE section = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                              0x1F8, "404B602C-4181-4d11-A184-AB30190B8DCD");
    auto *const words =
        static_cast<uint32_t *>(MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0x1F8));
    ASSERT_NE(words, nullptr);
    EXPECT_TRUE(CanUnload());
    words[62 * 2 + 1] = 9; // a node without an adapter is no pair
    EXPECT_TRUE(CanUnload());
    words[62 * 2] = 1;
    EXPECT_FALSE(CanUnload());
    EXPECT_EQ(capture.Lines(), Lines{"Not allowed to unload\n"});
    UnmapViewOfFile(words);
    CloseHandle(section);
    EXPECT_TRUE(CanUnload());
    SetAllowedToUnload(false);
}

TEST(DriverMode, TellsWhereAnInstallationEnds)
{
    test::DebugOutputCapture capture;
    EXPECT_EQ(InstallOnNewerSystems("ROOT\\THERE_IS_NONE\\0000", PlainModeFile()), 0u);
    const Lines lines = capture.Lines();
    ASSERT_EQ(lines.size(), 2u);
    // The installer's own errors have the highest bits set, and are told as signed numbers:
    // 0xE000020B, no such device.
    EXPECT_EQ(lines[0], "SetupDiOpenDeviceInfo  was NOT succesfull -536870389");
    EXPECT_EQ(lines[1], "clean0");
}

} // namespace
} // namespace zerix::bus
