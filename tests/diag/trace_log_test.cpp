// The trace log's lines, gates, prefix, file and depth.
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/diag/log_fixture.h"

namespace zerix::diag {
namespace {

using TraceLog = LogTest;

const std::string kSeparator = "\n------------------------------------------------\n\n";

TEST_F(TraceLog, WritesNothingWithoutAConfiguration)
{
    ZLogOpen();
    ZLogStart("Zerix_Abort");
    EXPECT_EQ(ZLogDepth(), 1);
    ZLogStartParam32("Zerix_GetParam", 3);
    EXPECT_EQ(ZLogDepth(), 2);
    ZLogMessage("Zerix_Abort", "a remark");
    ZLogEndError("Zerix_Abort", 2);
    ZLogEnd("Zerix_GetParam", 0);
    EXPECT_EQ(ZLogDepth(), 1);
    ZLogEnd("Zerix_Abort", 11);
    EXPECT_EQ(ZLogDepth(), 0);
    ZLogClose();
    EXPECT_EQ(Take(), Lines{});
    EXPECT_FALSE(ZLogShouldOutputReads());
    EXPECT_FALSE(ZLogShouldOutputWrites());
    EXPECT_FALSE(ZLogShouldOutputFrame());
}

TEST_F(TraceLog, WritesNothingBeforeItIsOpened)
{
    Configure("outputEnabled = 1\n");
    ZLogStart("Zerix_Abort");
    ZLogEnd("Zerix_Abort", 0);
    EXPECT_EQ(Take(), Lines{});
}

TEST_F(TraceLog, ReadsEverySwitchByItsName)
{
    constexpr struct {
        const char *name;
        Switch LogSwitches::*member;
    } kExpected[] = {
        {"outputEnabled", &LogSwitches::outputEnabled},
        {"outputSettings", &LogSwitches::outputSettings},
        {"outputGetInfo", &LogSwitches::outputGetInfo},
        {"outputFrame", &LogSwitches::outputFrame},
        {"outputSparseTable", &LogSwitches::outputSparseTable},
        {"outputNestedCalls", &LogSwitches::outputNestedCalls},
        {"outputToFile", &LogSwitches::outputToFile},
        {"outputReads", &LogSwitches::outputReads},
        {"outputWrites", &LogSwitches::outputWrites},
    };
    for (const auto &chosen : kExpected) {
        Configure(std::string(chosen.name) + " = 2\n");
        ZLogOpen();
        for (const auto &row : kExpected)
            EXPECT_EQ((Switches().*row.member).IsOn(), row.member == chosen.member)
                << chosen.name << ' ' << row.name;
    }
    Configure("outputReads = 1\noutputWrites = 0\noutputFrame = 4294967295\n");
    ZLogOpen();
    EXPECT_TRUE(ZLogShouldOutputReads());
    EXPECT_FALSE(ZLogShouldOutputWrites());
    EXPECT_TRUE(ZLogShouldOutputFrame());
}

TEST_F(TraceLog, EndsAnOutermostCallInTwoLineBreaksAndANestedOneInOne)
{
    OpenWith({"outputEnabled", "outputNestedCalls"});
    ZLogStart("Zerix_QueueSettings");
    ZLogStart("Zerix_SendSettingsToCam");
    ZLogEnd("Zerix_SendSettingsToCam", 0);
    ZLogEnd("Zerix_QueueSettings", 0);
    EXPECT_EQ(Take(), (Lines{kAtStart + "Zerix_QueueSettings start",
                             kAtStart + "Zerix_SendSettingsToCam start",
                             kAtStart + "Zerix_SendSettingsToCam end (error code 0)\n",
                             kAtStart + "Zerix_QueueSettings end (error code 0)\n\n"}));
}

TEST_F(TraceLog, ShowsOnlyTheRemarksOfANestedCallUnlessAsked)
{
    OpenWith({"outputEnabled"});
    ZLogStart("outer");
    ZLogStart("inner");
    ZLogMessage("inner", "number %d", 5);
    ZLogEnd("inner", 3);
    ZLogEnd("outer", 0);
    EXPECT_EQ(Take(), (Lines{kAtStart + "outer start", kAtStart + "inner - number 5",
                             kAtStart + "outer end (error code 0)\n\n"}));
    EXPECT_EQ(ZLogDepth(), 0);
}

TEST_F(TraceLog, SaysWhyACallFailed)
{
    OpenWith({"outputEnabled", "outputNestedCalls"});
    ZLogStart("Zerix_Abort");
    ZLogEnd("Zerix_Abort", 11);
    EXPECT_EQ(Take(), (Lines{kAtStart + "Zerix_Abort start",
                             kAtStart + "Zerix_Abort ending because the camera ID used is invalid. "
                                        "(error 11)\n\n"}));
    ZLogStart("outer");
    ZLogStart("inner");
    ZLogEnd("inner", 9);
    EXPECT_EQ(Take().back(),
              kAtStart + "inner ending because error string not defined yet (error 9)");
}

TEST_F(TraceLog, SaysAFailureAloneWithoutTouchingTheDepth)
{
    OpenWith({"outputEnabled"});
    ZLogEndError("Zerix_IsParamSupported", 2);
    EXPECT_EQ(ZLogDepth(), 0);
    ZLogStart("outer");
    ZLogStart("inner");
    Take();
    // No test of the nesting here: the phrase comes at any depth.
    ZLogEndError("inner", 2);
    EXPECT_EQ(ZLogDepth(), 2);
    EXPECT_EQ(Take(), (Lines{kAtStart + "inner ending because one of the parameters used is not "
                                        "valid. (error 2)"}));
}

TEST_F(TraceLog, StartsAKeyedCallWithItsKeysName)
{
    OpenWith({"outputEnabled", "outputNestedCalls"});
    ZLogStartParam32("a", 52);
    ZLogStartParam32("b", 53);
    ZLogStartParamS32("c", 1);
    ZLogStartParamS32("d", 3);
    ZLogStartParam64("e", 3);
    ZLogStartParam64("f", 4);
    ZLogStartGetInfo("g", 38);
    ZLogStartGetInfo("h", 41);
    EXPECT_EQ(ZLogDepth(), 8);
    EXPECT_EQ(Take(),
              (Lines{kAtStart + "a start (zprmFrameBufferLength)",
                     kAtStart + "b start (InternalParam32KeyAsString() - Unknown parameter)",
                     kAtStart + "c start (zprmS32AbsoluteOffset)",
                     kAtStart + "d start (InternalParamS32KeyAsString() - Unknown parameter)",
                     kAtStart + "e start (zprm64NormIntensGain)",
                     kAtStart + "f start (InternalParam64KeyAsString() - Unknown parameter)",
                     kAtStart + "g start (zinfReserved2)",
                     kAtStart + "h start (InternalGetInfoKeyAsString() - Unknown info key)"}));
}

TEST_F(TraceLog, CountsAllSecondsInTheMiddleOfThePrefix)
{
    OpenWith({"outputEnabled"});
    const auto prefixAfter = [this](int64_t microseconds) {
        const os::WallTime start = now;
        Advance(microseconds);
        ZLogPrintf("x");
        now = start;
        return Take().back();
    };
    EXPECT_EQ(prefixAfter(0), "00:00.000 x");
    EXPECT_EQ(prefixAfter(999'999), "00:00.999 x");
    EXPECT_EQ(prefixAfter(61'000'000), "01:61.000 x");
    EXPECT_EQ(prefixAfter(75'000'000), "01:75.000 x");
    EXPECT_EQ(prefixAfter(2'147'483'647), "35:2147.483 x");
    // One microsecond more turns the count negative.
    EXPECT_EQ(prefixAfter(2'147'483'648), "-35:-2147.-483 x");
    EXPECT_EQ(prefixAfter(4'294'967'296), "00:00.000 x");
    EXPECT_EQ(prefixAfter(-5'000), "00:00.-05 x");
}

TEST_F(TraceLog, TakesANewStartTimeWhenOpenedAgain)
{
    OpenWith({"outputEnabled"});
    Advance(10'000'000);
    ZLogOpen();
    Advance(1'000'000);
    ZLogPrintf("x");
    EXPECT_EQ(Take(), Lines{"00:01.000 x"});
}

TEST_F(TraceLog, CutsAMessageAt1023CharactersWithItsPrefix)
{
    OpenWith({"outputEnabled"});
    ZLogMessage("f", "%s", std::string(2000, 'x'));
    EXPECT_EQ(Take(), Lines{kAtStart + "f - " + std::string(1009, 'x')});
    ZLogPrintf(std::string(1500, 'y'));
    EXPECT_EQ(Take(), Lines{kAtStart + std::string(1013, 'y')});
}

TEST_F(TraceLog, WritesEachMessageToTheFileWithANulByteBehindIt)
{
    const std::string path = folder.Path() + "/trace.log";
    OpenWithFile(path);
    ZLogStart("Zerix_Trigger");
    ZLogEnd("Zerix_Trigger", 0);
    std::string expected = kAtStart + "Zerix_Trigger start";
    expected += '\0';
    expected += kAtStart + "Zerix_Trigger end (error code 0)\n\n";
    expected += '\0';
    EXPECT_EQ(folder.ReadText("trace.log"), expected);
    ZLogClose();
    expected += kSeparator + '\0';
    EXPECT_EQ(folder.ReadText("trace.log"), expected);
    EXPECT_EQ(Take(), Lines{});
}

TEST_F(TraceLog, AppendsToTheFile)
{
    const std::string path = folder.Path() + "/trace.log";
    OpenWithFile(path);
    ZLogClose();
    OpenWithFile(path);
    ZLogClose();
    std::string expected = kSeparator + '\0' + kSeparator + '\0';
    EXPECT_EQ(folder.ReadText("trace.log"), expected);
}

TEST_F(TraceLog, DropsWhatComesAfterTheCloseOfTheFile)
{
    const std::string path = folder.Path() + "/trace.log";
    OpenWithFile(path);
    ZLogClose();
    const std::string closed = folder.ReadText("trace.log");
    ZLogPrintf("late");
    ZLogClose();
    EXPECT_EQ(folder.ReadText("trace.log"), closed);
    EXPECT_EQ(Take(), Lines{});
}

TEST_F(TraceLog, TellsOnceOfAnUnusablePathAndThenDropsEverything)
{
    const std::string path = folder.Path() + "/absent/trace.log";
    OpenWithFile(path);
    EXPECT_EQ(Take(), Lines{"ZLog() - cannot output to file.  The file path " + path +
                            " is invalid or not accessable"});
    ZLogStart("Zerix_Trigger");
    ZLogMessage("Zerix_Trigger", "a remark");
    ZLogEnd("Zerix_Trigger", 1);
    ZLogClose();
    EXPECT_EQ(Take(), Lines{});
}

TEST_F(TraceLog, WritesToAFileOfAnyName)
{
    const std::string name = test::TemporaryFolder::OddName() + ".log";
    OpenWithFile(folder.Path() + "/" + name);
    ZLogClose();
    EXPECT_EQ(folder.ReadText(name), kSeparator + '\0');
    EXPECT_EQ(Take(), Lines{});
}

TEST_F(TraceLog, OpensNoFileWhileItIsOff)
{
    const std::string path = folder.Path() + "/trace.log";
    Configure("outputToFile = 1\noutputFilePath = \"" + path + "\"\n");
    ZLogOpen();
    ZLogPrintf("nowhere");
    ZLogClose();
    EXPECT_EQ(folder.ReadText("trace.log"), "");
    EXPECT_EQ(Take(), Lines{});
}

TEST_F(TraceLog, KeepsMessagesWholeAndTheDepthRightAcrossThreads)
{
    const std::string path = folder.Path() + "/trace.log";
    OpenWithFile(path);
    constexpr int kThreads = 4;
    constexpr int kCalls = 200;
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index)
        threads.emplace_back([] {
            for (int call = 0; call < kCalls; ++call) {
                ZLogStart("outer");
                ZLogMessage("outer", "%s", "one whole remark");
                ZLogEnd("outer", 0);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(ZLogDepth(), 0);
    const std::string text = folder.ReadText("trace.log");
    const std::string remark = kAtStart + "outer - one whole remark" + '\0';
    std::size_t count = 0;
    for (auto at = text.find(remark); at != std::string::npos; at = text.find(remark, at + 1))
        ++count;
    EXPECT_EQ(count, std::size_t{kThreads * kCalls});
}

} // namespace
} // namespace zerix::diag
