// The verbs that stream: trigger and monitor.
#include <algorithm>
#include <chrono>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/tools/tool_fixture.h"

namespace {

using zerix::test::Contents;
using Json = nlohmann::json;
using ToolStreams = zerix::test::ToolTest;

std::vector<Json> LinesOf(const std::string &text)
{
    std::vector<Json> lines;
    std::stringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(Json::parse(line, nullptr, false));
    return lines;
}

TEST_F(ToolStreams, ATriggerTakesOnePicture)
{
    const Outcome outcome = Run("--sim trigger -o t.raw --set exposure=40ms");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(outcome.out.starts_with("t.raw: 1392 x 1040, 8 bits: ")) << outcome.out;
    EXPECT_EQ(Contents(Path("t.raw")).size(), 1392U * 1040);
    EXPECT_EQ(Json::parse(Contents(Path("t.raw.json")))["exposure_ns"], 40'000'000);
    ASSERT_EQ(Run("--sim trigger -o again.raw --set exposure=40ms").status, 0);
    EXPECT_EQ(Contents(Path("t.raw")), Contents(Path("again.raw")));
    const Outcome described = Run("--sim trigger");
    EXPECT_TRUE(described.out.starts_with("a picture: 1392 x 1040, 8 bits: ")) << described.out;
}

TEST_F(ToolStreams, ATriggerBehindATurningWheelTakesThreeExposures)
{
    Write("wheel.toml", "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:60000\"\n");
    const Outcome outcome = Run("--rack wheel.toml trigger --wait 20s --set format=rgb48 -o t.raw");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Contents(Path("t.raw")).size(), 1024U * 58 * 6);
}

TEST_F(ToolStreams, ATriggerWhosePictureIsLostEnds)
{
    Write("lossy.toml", "[[camera]]\nmodel = \"Astrel C2\"\nfaults = [\"lose packet\"]\n");
    const Outcome lost = Run("--rack lossy.toml trigger --wait 1s -o t.raw");
    EXPECT_EQ(lost.status, 1);
    EXPECT_TRUE(lost.err.starts_with("zerix: no picture came within 1 s: ")) << lost.err;
    EXPECT_EQ(Contents(Path("t.raw")), "");
    const Outcome ending = Run("--sim trigger -o t.bmp");
    EXPECT_EQ(ending.status, 1);
    EXPECT_TRUE(ending.err.starts_with("zerix: t.bmp: the ending \".bmp\" is no picture format"))
        << ending.err;
}

TEST_F(ToolStreams, TheMonitorCountsFrames)
{
    const Outcome outcome =
        Run("--sim monitor -n 3 --every 1s --json --set temperature=-5 --set roi=0,0,200,100");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto lines = LinesOf(outcome.out);
    ASSERT_EQ(lines.size(), 3U) << outcome.out;
    uint64_t before = 0;
    for (const Json &line : lines) {
        EXPECT_GE(line["frames"], before);
        before = line["frames"];
        EXPECT_EQ(line["lost"], 0);
        EXPECT_EQ(line["incomplete"], 0);
        EXPECT_EQ(line["cooler_on"], true);
        EXPECT_EQ(line["set_temperature"], -5);
        EXPECT_TRUE(line["locked"].is_boolean());
    }
    EXPECT_GT(before, 0U);
    EXPECT_GT(lines.back()["frames_per_second"], 1.0);
}

// Every second frame loses data; that is told, and none of the frames is taken for a lost one.
TEST_F(ToolStreams, TheMonitorTellsLosses)
{
    Write("lossy.toml",
          "[[camera]]\nmodel = \"Astrel C2\"\nfaults = [\n"
          "\"lose packet at frame 1 packet 5\", \"lose packet at frame 3 packet 5\"]\n");
    const Outcome outcome =
        Run("--rack lossy.toml monitor -n 1 --every 2s --set roi=0,0,320,200 --json");
    const auto lines = LinesOf(outcome.out);
    ASSERT_EQ(lines.size(), 1U) << outcome.err;
    EXPECT_GE(lines[0]["frames"], 3U);
    EXPECT_EQ(lines[0]["incomplete"], 2);
    EXPECT_EQ(lines[0]["lost"], 0);
}

// Three exposures, each with a number of the camera's, are one frame.
TEST_F(ToolStreams, TheMonitorCountsTheFramesBehindATurningWheel)
{
    Write("wheel.toml", "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:60000\"\n");
    const Outcome outcome =
        Run("--rack wheel.toml monitor -n 1 --every 2s --json --set format=rgb48");
    const auto lines = LinesOf(outcome.out);
    ASSERT_EQ(lines.size(), 1U) << outcome.err;
    EXPECT_GE(lines[0]["frames"], 3U);
    EXPECT_EQ(lines[0]["lost"], 0);
}

TEST_F(ToolStreams, TheMonitorsLineStaysInItsPlaceOnATerminal)
{
    const std::string shown = ShownOnATerminal("--sim monitor -n 3 --every 100ms");
    const std::regex line(
        "\r\x1b\\[K[0-9]+ frames, [^\r\n]*; cooler on, set to -30 C, (not )?locked");
    EXPECT_EQ(std::distance(std::sregex_iterator(shown.begin(), shown.end(), line),
                            std::sregex_iterator()),
              3)
        << shown;
}

TEST_F(ToolStreams, TheMonitorPrintsPlainLinesIntoAPipe)
{
    const Outcome outcome = Run("--sim --camera 2 monitor --for 700ms --every 200ms");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 3) << outcome.out;
    EXPECT_EQ(outcome.out.find_first_of("\r\x1b"), std::string::npos);
    EXPECT_NE(outcome.out.find(" frames/s, 0 lost, 0 incomplete; no cooler\n"), std::string::npos)
        << outcome.out;
}

TEST_F(ToolStreams, AnInterruptEndsTheMonitorCleanly)
{
    const Outcome outcome =
        Run("--sim monitor --every 100ms", "", "timeout --foreground -s INT --preserve-status 2");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_GT(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 2) << outcome.out;
}

TEST_F(ToolStreams, AnUnpluggedCameraEndsTheMonitor)
{
    Write("unplug.toml", "[[camera]]\nmodel = \"Astrel C2\"\n"
                         "faults = [\"unplug at frame 2 packet 5\"]\n");
    const Outcome outcome = Run("--rack unplug.toml monitor --for 30s");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zerix: the stream ended: the camera has been unplugged or turned off "
                           "(error 28). Plug the camera in, switch it on, and try again.\n");
}

} // namespace
