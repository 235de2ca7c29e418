// The log's switches in the configuration file, and its file shown and followed.
#include <chrono>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <thread>

#include "tests/tools/tool_fixture.h"

namespace {

using zerix::test::Contents;

class ToolTrace : public zerix::test::ToolTest {
protected:
    Outcome RunHere(const std::string &arguments, const std::string &runner = "timeout 60")
    {
        return Run(arguments,
                   "ZERIX_CONFIG='" + Path("zerix.conf") + "' XDG_STATE_HOME='" + Path("state") +
                       "'",
                   runner);
    }

    std::string Configuration() { return Contents(Path("zerix.conf")); }

    // Three messages: the log ends each by a NUL, and an outermost call by a blank line.
    void WriteLog()
    {
        Write("my.log", std::string("00:00.001 A start\0"
                                    "00:00.002 A end (error code 0)\n\n\0"
                                    "00:00.003 B start\n\0",
                                    70));
    }
};

TEST_F(ToolTrace, OnAndOffKeepEveryOtherLine)
{
    Write("zerix.conf", "# mine\nBus = simulated\noutputenabled = 0 # not now\n");
    const Outcome on = RunHere("trace on settings --file my.log");
    EXPECT_EQ(on.status, 0) << on.err;
    EXPECT_NE(on.out.find(Path("my.log")), std::string::npos) << on.out;
    EXPECT_NE(on.out.find(Path("zerix.conf")), std::string::npos) << on.out;
    EXPECT_EQ(Configuration(), "# mine\nBus = simulated\noutputEnabled = 1\noutputToFile = 1\n"
                               "outputFilePath = \"" +
                                   Path("my.log") +
                                   "\"\n"
                                   "outputSettings = 1\noutputGetInfo = 0\noutputFrame = 0\n"
                                   "outputSparseTable = 0\noutputNestedCalls = 0\n");
    EXPECT_EQ(RunHere("trace on all").status, 0);
    for (const char *name : {"Settings", "GetInfo", "Frame", "SparseTable", "NestedCalls"})
        EXPECT_NE(Configuration().find("output" + std::string(name) + " = 1\n"), std::string::npos);
    EXPECT_NE(Configuration().find(Path("my.log")), std::string::npos) << "the file stays";
    EXPECT_EQ(RunHere("trace off").status, 0);
    EXPECT_TRUE(Configuration().starts_with("# mine\nBus = simulated\noutputEnabled = 0\n"))
        << Configuration();
}

TEST_F(ToolTrace, WhatIsSwitchedOnIsLoggedAndShown)
{
    ASSERT_EQ(RunHere("trace on").status, 0) << "makes the configuration";
    ASSERT_EQ(RunHere("--sim list").status, 0);
    const std::string file = Path("state/zerix/zerix-trace.log");
    ASSERT_NE(Contents(file), "");
    const Outcome shown = RunHere("trace show");
    EXPECT_EQ(shown.status, 0) << shown.err;
    EXPECT_EQ(shown.out.find('\0'), std::string::npos);
    EXPECT_NE(shown.out.find(" Zerix_ListCameras start\n"), std::string::npos) << shown.out;
    EXPECT_NE(shown.out.find(" Zerix_ListCameras end (error code 0)\n\n"), std::string::npos);
    ASSERT_EQ(RunHere("trace off").status, 0);
    const auto size = std::filesystem::file_size(file);
    ASSERT_EQ(RunHere("--sim list").status, 0);
    EXPECT_EQ(std::filesystem::file_size(file), size);
}

TEST_F(ToolTrace, ShowTakesTheLastMessagesAlone)
{
    WriteLog();
    EXPECT_EQ(RunHere("trace show --file my.log").out,
              "00:00.001 A start\n00:00.002 A end (error code 0)\n\n00:00.003 B start\n");
    EXPECT_EQ(RunHere("trace show -n 1 --file my.log").out, "00:00.003 B start\n");
    EXPECT_EQ(RunHere("trace show -n 9 --file my.log").out,
              "00:00.001 A start\n00:00.002 A end (error code 0)\n\n00:00.003 B start\n");
}

TEST_F(ToolTrace, FollowPrintsWhatComes)
{
    WriteLog();
    std::thread writer([this] {
        // The tool says nothing before the first message: the log grows until it has seen one.
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (Contents(Path("out.txt")).find("C start") == std::string::npos &&
               std::chrono::steady_clock::now() < end) {
            std::ofstream(Path("my.log"), std::ios::app | std::ios::binary)
                << std::string("00:00.004 C start\n\0", 19);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    });
    const Outcome outcome = RunHere("trace follow --file my.log --for 3s");
    writer.join();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("00:00.004 C start\n")) << outcome.out;
    EXPECT_EQ(outcome.out.find(" A "), std::string::npos) << "only what is new";
    const Outcome ended =
        RunHere("trace follow --file my.log", "timeout --foreground -s INT --preserve-status 2");
    EXPECT_EQ(ended.status, 0) << ended.err;
}

TEST_F(ToolTrace, OnAndOffKeepALinkToTheConfigurationAndItsMode)
{
    Write("mine.conf", "Bus = simulated\n");
    ASSERT_EQ(chmod(Path("mine.conf").c_str(), 0600), 0);
    std::filesystem::create_symlink("mine.conf", Path("zerix.conf"));
    for (const char *action : {"on", "off"}) {
        ASSERT_EQ(RunHere(std::string("trace ") + action).status, 0);
        EXPECT_TRUE(std::filesystem::is_symlink(Path("zerix.conf")));
        struct stat status = {};
        ASSERT_EQ(stat(Path("mine.conf").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600U);
    }
    EXPECT_TRUE(Configuration().starts_with("Bus = simulated\noutputEnabled = 0\n"))
        << Configuration();
}

// A pipe has no end, and whoever opens it waits for its other side.
TEST_F(ToolTrace, APipeIsNeitherLogNorConfiguration)
{
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    Write("linked.conf", "outputFilePath = \"" + Path("pipe") + "\"\n");
    for (const char *action : {"show", "follow"}) {
        const Outcome outcome =
            RunHere(std::string("trace ") + action + " --file pipe", "timeout 20");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "zerix: the log pipe can't be read: it is no regular file.\n");
        EXPECT_EQ(Run(std::string("trace ") + action, "ZERIX_CONFIG='" + Path("linked.conf") + "'",
                      "timeout 20")
                      .err,
                  "zerix: the log " + Path("pipe") + " can't be read: it is no regular file.\n");
    }
    EXPECT_EQ(RunHere("trace on --file pipe", "timeout 20").err,
              "zerix: the log " + Path("pipe") + " can't be written: No such device or address.\n");
    EXPECT_EQ(Configuration(), "");
    const std::string complaint =
        Path("pipe") + ": the configuration can't be read: it is no regular file\n";
    const Outcome listed = Run("--sim list", "ZERIX_CONFIG='" + Path("pipe") + "'", "timeout 20");
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.err, complaint);
    EXPECT_EQ(Run("trace off", "HOME='" + Path("") + "' ZERIX_CONFIG='" + Path("pipe") + "'",
                  "timeout 20")
                  .err,
              "zerix: the configuration " + Path("pipe") +
                  " can't be written: it is no regular file.\n");
}

TEST_F(ToolTrace, WhatIsMissingIsTold)
{
    const Outcome missing = RunHere("trace show --file none.log");
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "zerix: there is no log none.log yet: \"zerix trace on\" begins one.\n");
    EXPECT_EQ(RunHere("trace follow --file none.log").status, 1);
    const Outcome folder = RunHere("trace on --file '" + Path("") + "'");
    EXPECT_EQ(folder.status, 1);
    EXPECT_NE(folder.err.find("can't be written: Is a directory."), std::string::npos)
        << folder.err;
    EXPECT_EQ(Configuration(), "") << "nothing is switched on without a file";
    Write("file", "");
    const std::string configuration = Path("file") + "/zerix.conf";
    const Outcome nowhere = Run("trace on --file my.log",
                                "HOME='" + Path("") + "' ZERIX_CONFIG='" + configuration + "'");
    EXPECT_EQ(nowhere.err, "zerix: the configuration " + configuration +
                               " can't be written: Not a directory.\n");
    EXPECT_EQ(RunHere("trace").status, 2);
    EXPECT_EQ(RunHere("trace on everything").status, 2);
}

} // namespace
