// The verb record from the virtual camera to the file.
#include <filesystem>

#include <nlohmann/json.hpp>

#include "tests/support/places.h"
#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"

namespace {

using zerix::test::Contents;
using zerix::test::ReadSequenceFile;

class Record : public zerix::test::ToolTest {
protected:
    // A small camera: 768 x 494. `more` are lines of its table.
    std::string Rack(const std::string &more, const std::string &clock = "fast")
    {
        Write("small.toml", "clock = \"" + clock +
                                "\"\n[[camera]]\nmodel = \"Astrel C2\"\nsensor = \"ICX407AL\"\n" +
                                more);
        return "--rack small.toml ";
    }
};

constexpr const char *kNoLosses =
    "lost on the bus: 0, dropped because the disk was slow: 0, with missing data: 0\n";

TEST_F(Record, WritesAsManyFramesAsAskedForTheSameInEveryRun)
{
    const std::string rack = Rack("");
    for (const auto &ending : zerix::test::ReadableEndings()) {
        const std::string first = "a" + ending;
        const Outcome outcome = Run(rack + "record -n 12 -o " + first);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        EXPECT_TRUE(outcome.out.starts_with(first + ": 12 frames, ")) << outcome.out;
        EXPECT_TRUE(outcome.out.ends_with(kNoLosses)) << outcome.out;
        const auto sequence = ReadSequenceFile(Path(first));
        EXPECT_EQ(sequence.error, "");
        ASSERT_EQ(sequence.frames.size(), 12u);
        EXPECT_NE(sequence.frames[0], sequence.frames[1]);
        ASSERT_EQ(Run(rack + "record -n 12 -o b" + ending).status, 0);
        EXPECT_EQ(Contents(Path(first)), Contents(Path("b" + ending))) << ending;
    }
}

// A single picture and the first frame of a recording are the same exposure.
TEST_F(Record, RecordsWhatGrabTakes)
{
    const std::string rack = Rack("");
    ASSERT_EQ(Run(rack + "grab -o g.raw").status, 0);
    ASSERT_EQ(Run(rack + "record -n 1 -o r.raw").status, 0);
    EXPECT_GT(Contents(Path("g.raw")).size(), 100'000u);
    EXPECT_EQ(Contents(Path("g.raw")), Contents(Path("r.raw")));
}

TEST_F(Record, GoesOnForTheTimeOfTheFrames)
{
    const Outcome outcome = Run(Rack("") + "--json record --for 500ms -o a.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(outcome.out);
    const auto frames = nlohmann::json::parse(Contents(Path("a.raw.json")))["frames"];
    EXPECT_EQ(json["frames"], frames.size());
    ASSERT_GT(frames.size(), 2u);
    const auto start = [&](size_t i) { return frames[i]["time_unix_ns"].get<uint64_t>(); };
    const uint64_t each = start(1) - start(0);
    EXPECT_LT(start(frames.size() - 1) - start(0), 500'000'000u);
    EXPECT_GE(start(frames.size() - 1) - start(0) + each, 500'000'000u) << "not one too few";
}

TEST_F(Record, TellsTheRateOfTheExposuresAndNotOfItsOwn)
{
    const Outcome outcome = Run(Rack("") + "record -n 3 --set exposure=600s -o a.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("a.raw: 3 frames, 600.")) << outcome.out;
    EXPECT_NE(outcome.out.find(" s a frame; "), std::string::npos) << outcome.out;
}

TEST_F(Record, AppliesSettingsBefore)
{
    const Outcome outcome = Run(Rack("") + "record -n 2 --set exposure=5ms -o a.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(Contents(Path("a.raw.json")));
    EXPECT_EQ(json["frames"][1]["exposure_ns"], 5'000'000);
}

TEST_F(Record, CountsFramesWithMissingDataAndLostOnes)
{
    // A frame whose tag belongs to no setting never comes.
    const Outcome outcome =
        Run(Rack("faults = [\"lose packet at frame 2 packet 5\", \"wrong tag at frame 4\"]\n") +
            "--json record -n 6 -o a.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(json["frames"], 6);
    EXPECT_EQ(json["with_missing_data"], 1);
    EXPECT_EQ(json["lost_on_bus"], 1);
    EXPECT_EQ(json["dropped_slow_disk"], 0);
    const auto frames = nlohmann::json::parse(Contents(Path("a.raw.json")))["frames"];
    std::vector<int> numbers;
    std::vector<bool> missing;
    for (const auto &frame : frames) {
        numbers.push_back(frame["frame_number"].get<int>() - frames[0]["frame_number"].get<int>());
        missing.push_back(frame["missing_data"]);
    }
    EXPECT_EQ(numbers, (std::vector<int>{0, 1, 2, 4, 5, 6}));
    EXPECT_EQ(missing, (std::vector<bool>{false, true, false, false, false, false}));
}

TEST_F(Record, AnUnpluggedCameraLeavesTheFramesBefore)
{
    const Outcome outcome =
        Run(Rack("faults = [\"unplug at frame 4 packet 2\"]\n") + "record -n 9 -o a.ser");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with("zerix: recording ended with 3 frames in a.ser: the camera "
                                        "has been unplugged or turned off (error 28)."))
        << outcome.err;
    EXPECT_EQ(ReadSequenceFile(Path("a.ser")).frames.size(), 3u);
}

TEST_F(Record, AFullDiskIsToldWithTheNumberOfSafeFrames)
{
    // A block is 512 bytes; two frames of 379,392 bytes fit.
    const std::string rack = Rack("");
    for (const std::string file : {"a.ser", "a.raw"}) {
        const Outcome outcome =
            Run(rack + "record -n 50 -o " + file, "",
                "timeout 60 sh -c 'trap \"\" XFSZ; ulimit -f 1600; exec \"$@\"' sh");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "zerix: " + file +
                                   " can't be written any further: File too large; 2 frames are "
                                   "safe in it.\n");
        EXPECT_EQ(ReadSequenceFile(Path(file)).frames.size(), 2u);
    }
    std::filesystem::create_symlink("/dev/full", Path("b.ser"));
    EXPECT_EQ(Run(rack + "record -n 1 -o b.ser").err,
              "zerix: b.ser can't be written any further: No space left on device; no frame is "
              "safe in it.\n");
}

TEST_F(Record, CtrlCEndsItCleanly)
{
    const Outcome outcome =
        Run(Rack("") + "record -o a.ser", "", "timeout --foreground --preserve-status -s INT 2");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "zerix: stopped on request.\n");
    const auto sequence = ReadSequenceFile(Path("a.ser"));
    EXPECT_EQ(sequence.error, "");
    EXPECT_GE(sequence.frames.size(), 1u);
    EXPECT_TRUE(outcome.out.starts_with("a.ser: " + std::to_string(sequence.frames.size())))
        << outcome.out;
    // The times of all frames stand behind them.
    EXPECT_EQ(Contents(Path("a.ser")).size(), 178 + sequence.frames.size() * (768 * 494 + 8));
}

TEST_F(Record, AKilledRecordingIsReadable)
{
    const auto endings = zerix::test::ReadableEndings();
    for (const auto &ending : {endings.front(), endings.back()}) {
        const Outcome outcome = Run(Rack("") + "record -o a" + ending, "", "timeout -s KILL 2");
        EXPECT_EQ(outcome.status, 137);
        const auto sequence = ReadSequenceFile(Path("a" + ending));
        EXPECT_EQ(sequence.error, "") << ending;
        EXPECT_GE(sequence.frames.size(), 1u) << ending;
        EXPECT_EQ(sequence.width, 768u);
    }
}

TEST_F(Record, RunsInRealTimeUntilTheTimeIsOver)
{
    const Outcome outcome = Run(Rack("", "real") + "--json record --for 1s -o a.ser");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_GE(json["seconds"], 0.9);
    EXPECT_LT(json["seconds"], 10);
    EXPECT_GE(json["frames"], 1);
    EXPECT_EQ(ReadSequenceFile(Path("a.ser")).frames.size(), json["frames"]);
}

TEST_F(Record, WithoutAFrameThereIsNoFile)
{
    const Outcome outcome =
        Run(Rack("faults = [\"wrong tag at frame 1 from then on\"]\n") + "record -o a.ser", "",
            "timeout --foreground --preserve-status -s INT 2");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "no frame came, and there is no a.ser.\n");
    EXPECT_FALSE(std::filesystem::exists(Path("a.ser")));
}

TEST_F(Record, AnExistingRecordingStaysWhereNoFrameComes)
{
    const std::string old = "an older recording";
    const std::string rack = Rack("faults = [\"wrong tag at frame 1 from then on\"]\n");
    Write("a.raw.json", old);
    for (const auto &ending : zerix::test::ReadableEndings()) {
        const std::string file = "a" + ending;
        Write(file, old);
        const Outcome lost = Run(rack + "record --wait 1s -o " + file);
        EXPECT_EQ(lost.status, 1);
        EXPECT_TRUE(lost.err.starts_with("zerix: recording ended without a frame, and " + file +
                                         " is as it was: no picture came within 1 s: "))
            << lost.err;
        EXPECT_EQ(Contents(Path(file)), old);
    }
    EXPECT_EQ(Contents(Path("a.raw.json")), old);
    const Outcome stopped =
        Run(rack + "record -o a.ser", "", "timeout --foreground --preserve-status -s INT 2");
    EXPECT_EQ(stopped.status, 0) << stopped.err;
    EXPECT_EQ(stopped.out, "no frame came, and a.ser is as it was.\n");
    EXPECT_EQ(Contents(Path("a.ser")), old);
}

TEST_F(Record, AnExistingRecordingStaysWhereTheStreamCannotStart)
{
    Write("slow.toml", "speed = 400\n[[camera]]\nmodel = \"Astrel C2\"\n");
    Write("a.ser", "an older recording");
    const Outcome refused = Run("--rack slow.toml record -n 1 --set format=mono16 -o a.ser");
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.err.starts_with("zerix: the camera's stream can't be started: "))
        << refused.err;
    EXPECT_EQ(Contents(Path("a.ser")), "an older recording");
}

TEST_F(Record, AnExistingRecordingIsReplacedByTheFirstFrameWhereItsLinkLeads)
{
    Write("a.ser", std::string(1'000'000, 'x'));
    std::filesystem::create_symlink("a.ser", Path("link.ser"));
    EXPECT_EQ(Run(Rack("") + "record -n 2 -o link.ser").status, 0);
    EXPECT_EQ(ReadSequenceFile(Path("a.ser")).frames.size(), 2u);
    EXPECT_EQ(Contents(Path("a.ser")).size(), 178u + 2 * (768 * 494 + 8));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link.ser")));
}

TEST_F(Record, WhatCannotBeIsToldBeforeAnythingIsExposed)
{
    EXPECT_EQ(Run("--sim record -n 2").status, 2);
    EXPECT_EQ(Run("--sim record --for 3parsecs -o a.ser").status, 2);
    EXPECT_EQ(Run("--sim record --for 0s -o a.ser").status, 2);
    EXPECT_EQ(Run("--sim record --buffer 0 -o a.ser").status, 2);
    const Outcome ending = Run("--sim record -n 2 -o a.avi");
    EXPECT_EQ(ending.status, 1);
    EXPECT_TRUE(ending.err.starts_with("zerix: a.avi: a sequence of frames goes to a file that "
                                       "ends in one of "))
        << ending.err;
    const Outcome folder = Run("--sim record -n 2 -o nowhere/a.ser");
    EXPECT_EQ(folder.status, 1);
    EXPECT_EQ(folder.err, "zerix: nowhere/a.ser can't be written: there is no folder nowhere.\n");
}

// The exposures follow one another evenly, however unevenly their frames arrive.
TEST_F(Record, TellsTheTimesOfTheExposuresOnTheRealClockToo)
{
    ASSERT_EQ(Run(Rack("", "real") + "record -n 12 -o a.raw").status, 0);
    const auto frames = nlohmann::json::parse(Contents(Path("a.raw.json")))["frames"];
    ASSERT_EQ(frames.size(), 12u);
    // 768 x 494 pixels at 20 MHz; the exposure of 16.384 ms is shorter and lies in the readout
    // before.
    for (const auto &frame : frames) {
        const auto number = frame["frame_number"].get<uint64_t>();
        EXPECT_EQ(frame["time_unix_ns"].get<uint64_t>() - frames[0]["time_unix_ns"].get<uint64_t>(),
                  number * 18'969'600u)
            << number;
    }
}

TEST_F(Record, EndsWhereNoFrameComesAnyMore)
{
    const std::string rack = Rack("faults = [\"wrong tag at frame 4 from then on\"]\n");
    const Outcome outcome = Run(rack + "record -n 10 --wait 2s -o a.ser", "", "timeout 30");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with(
        "zerix: recording ended with 3 frames in a.ser: no picture came within 2 s: "))
        << outcome.err;
    EXPECT_EQ(ReadSequenceFile(Path("a.ser")).frames.size(), 3u);
}

// A program that is started without them gives their numbers to the first files that it opens.
TEST_F(Record, WithoutStandardStreamsNothingElseLandsInTheFile)
{
    Rack("");
    Write("trace.conf", "DebugOutput = stderr\noutputEnabled = 1\n");
    const std::string environment = "ZERIX_CONFIG='" + Path("trace.conf") + "'";
    const std::string record = "--rack small.toml record -n 3 -o ";
    ASSERT_EQ(Run(record + "whole.raw").status, 0);
    const std::string whole = Contents(Path("whole.raw"));
    ASSERT_EQ(whole.size(), 3U * 768 * 494);
    EXPECT_EQ(Run(record + "a.raw", environment, "sh -c 'exec timeout 60 \"$@\" 2>&-' sh").status,
              0);
    EXPECT_TRUE(Contents(Path("a.raw")) == whole);
    // What can't be printed is a failure, as before.
    EXPECT_EQ(
        Run(record + "b.raw", environment, "sh -c 'exec timeout 60 \"$@\" <&- >&- 2>&-' sh").status,
        1);
    EXPECT_TRUE(Contents(Path("b.raw")) == whole);
}

TEST_F(Record, HelpTellsTheBoundOfItsMemory)
{
    const Outcome help = Run("record --help");
    EXPECT_EQ(help.status, 0);
    for (const char *word : {"--buffer", "--for", "--set", "-n", "memory", ".ome.tif", ".ser"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
}

// The line of progress goes to a terminal alone.
TEST_F(Record, ShowsItsProgressOnATerminal)
{
    Rack("");
    const std::string shown = ShownOnATerminal("--rack small.toml record -n 30 -o a.ser");
    EXPECT_NE(shown.find("] 0 of 30 frames"), std::string::npos) << shown;
    EXPECT_NE(shown.find("a.ser: 30 frames, "), std::string::npos) << shown;
}

} // namespace
