// What every implementation of clocks, errors, messages, libraries and the environment must do.
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>

#include "platform/file_path.h"
#include "platform/os.h"
#include "tests/support/debug_output_capture.h"
#include "tests/support/environment_variable.h"
#include "tests/support/temporary_folder.h"

namespace zerix::os {
namespace {

TEST(Time, TheCounterRunsAtAFixedFineRate)
{
    EXPECT_GE(PerformanceFrequency(), 1'000'000u);
    EXPECT_EQ(PerformanceFrequency(), PerformanceFrequency());
    const uint64_t before = PerformanceCounter();
    SleepMilliseconds(20);
    const uint64_t milliseconds = (PerformanceCounter() - before) * 1000 / PerformanceFrequency();
    EXPECT_GE(milliseconds, 19u);
    EXPECT_LT(milliseconds, 5000u);
}

TEST(Time, SleepsMicroseconds)
{
    const uint64_t before = PerformanceCounter();
    SleepMicroseconds(3000);
    const uint64_t microseconds =
        (PerformanceCounter() - before) * 1'000'000 / PerformanceFrequency();
    EXPECT_GE(microseconds, 2900u);
    SleepMicroseconds(0);
    SleepMilliseconds(0);
}

TEST(Time, TheWallClockStandsInThisCentury)
{
    const WallTime now = WallClock();
    EXPECT_GT(now.seconds, 1'600'000'000);
    EXPECT_LT(now.microseconds, 1'000'000u);
}

TEST(Time, ATestClockTakesThePlaceOfTheWallClock)
{
    SetWallClockForTest([] { return WallTime{.seconds = 1234, .microseconds = 567}; });
    const WallTime set = WallClock();
    SetWallClockForTest({});
    EXPECT_EQ(set.seconds, 1234);
    EXPECT_EQ(set.microseconds, 567u);
    EXPECT_GT(WallClock().seconds, 1'600'000'000);
}

TEST(Time, TheTimeOfDayHasMinutesAndSecondsOfTheMoment)
{
    // Zones differ by whole quarters of an hour: the seconds are the same everywhere.
    const std::string text = TimeOfDayText({.seconds = 1'600'000'000 + 7, .microseconds = 999'999});
    ASSERT_EQ(text.size(), 8u);
    EXPECT_EQ(text[2], ':');
    EXPECT_EQ(text[5], ':');
    EXPECT_EQ(text.substr(6), "47"); // 1,600,000,000 is 12:26:40 UTC
}

TEST(Errors, TheLastErrorBelongsToItsThread)
{
    SetLastError(1450);
    std::atomic<uint32_t> seenByOther{99};
    const auto thread = Thread::Start(
        [](void *seen) {
            static_cast<std::atomic<uint32_t> *>(seen)->store(LastError());
            SetLastError(5);
        },
        &seenByOther);
    EXPECT_EQ(thread->Join(10'000), WaitResult::kSignalled);
    EXPECT_EQ(seenByOther, 0u);
    EXPECT_EQ(LastError(), 1450u);
    SetLastError(0);
    EXPECT_EQ(LastError(), 0u);
}

TEST(Errors, EveryNumberOfThePortHasATextWithALineEnd)
{
    for (const uint32_t number : {0u, 1u, 2u, 5u, 6u, 31u, 32u, 50u, 87u, 170u, 995u, 1167u, 1450u})
        EXPECT_TRUE(ErrorText(number).ends_with('\n')) << number;
    EXPECT_NE(ErrorText(6), ErrorText(1450));
}

TEST(DebugOutput, GoesToTheListenerAsItIs)
{
    test::DebugOutputCapture capture;
    DebugOutput("first\n");
    DebugOutput("second %s");
    EXPECT_EQ(capture.Lines(), (std::vector<std::string>{"first\n", "second %s"}));
    capture.Clear();
    EXPECT_TRUE(capture.Lines().empty());
}

TEST(DynamicLibraries, OneThatIsMissingGivesNull)
{
    EXPECT_EQ(DynamicLibrary::Load("there-is-no-such-library"), nullptr);
    EXPECT_EQ(DynamicLibrary::Load(""), nullptr);
}

TEST(DynamicLibraries, APluginHasTheSystemsEnding)
{
    const std::string name = PluginFileName("Zerix_IPC_Plugin");
    EXPECT_TRUE(name == "Zerix_IPC_Plugin.so" || name == "Zerix_IPC_Plugin.dll") << name;
}

TEST(DynamicLibraries, TheProgramsFolderIsFound)
{
    static const int inThisProgram = 0;
    const std::string folder = FolderOfModuleWith(&inThisProgram);
    EXPECT_TRUE(std::filesystem::is_directory(folder)) << folder;
    EXPECT_NE(folder.back(), '/');
}

TEST(FileNames, OfAnyLettersNameTheSameFileEverywhere)
{
    const test::TemporaryFolder folder;
    const std::string name = folder.Path() + "/" + test::TemporaryFolder::OddName();
    std::FILE *const file = std::fopen(name.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_TRUE(std::filesystem::is_regular_file(FilePath(name)));
    EXPECT_EQ(PathText(FilePath(name)), name);
    const std::filesystem::directory_iterator found(FilePath(folder.Path()));
    EXPECT_EQ(PathText(found->path().filename()), test::TemporaryFolder::OddName());
    EXPECT_EQ(PathText(FilePath("")), "");
}

TEST(Environment, VariablesComeAndGo)
{
    constexpr const char *kName = "ZERIX_TEST_OF_ENVIRONMENT";
    EXPECT_EQ(EnvironmentVariable(kName), std::nullopt);
    {
        const test::EnvironmentVariable variable(kName, "one");
        EXPECT_EQ(EnvironmentVariable(kName), "one");
        const test::EnvironmentVariable none(kName, std::nullopt);
        EXPECT_EQ(EnvironmentVariable(kName), std::nullopt);
    }
    EXPECT_EQ(EnvironmentVariable(kName), std::nullopt);
}

} // namespace
} // namespace zerix::os
