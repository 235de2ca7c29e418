// The verb record with finished colour pictures, of a mosaic and behind a filter wheel.
#include <filesystem>

#include <nlohmann/json.hpp>

#include "tests/tools/sequence_readers.h"
#include "tests/tools/tool_fixture.h"

namespace {

using zerix::test::Contents;
using zerix::test::ReadSequenceFile;

class ColourRecord : public zerix::test::ToolTest {
protected:
    // Even light on a mosaic, of which a small part is taken. `more` are lines of the camera's
    // table.
    std::string Mosaic(const std::string &more = "")
    {
        Write("mosaic.toml", "[[camera]]\nmodel = \"Astrel B2\"\nsensor = 53\n"
                             "scene = \"flat:60000\"\nlight = [0.6, 0.4, 0.2]\n" +
                                 more);
        return "--rack mosaic.toml ";
    }

    // Few lines without a mosaic, behind a wheel.
    std::string Wheel(const std::string &more = "")
    {
        Write("wheel.toml", "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:60000\"\n"
                            "light = [0.6, 0.4, 0.2]\n" +
                                more);
        return "--rack wheel.toml ";
    }

    nlohmann::json Frames(const std::string &file)
    {
        return nlohmann::json::parse(Contents(Path(file + ".json")))["frames"];
    }
};

constexpr const char *kPart = "--set roi=0,0,64,48 ";

TEST_F(ColourRecord, RecordsWhatGrabTakes)
{
    const std::string mosaic = Mosaic();
    for (const std::string depth : {"8", "16"}) {
        const std::string common = "--color --set format=bayer" + depth + " " + kPart;
        ASSERT_EQ(Run(mosaic + "grab " + common + "-o g.raw").status, 0);
        const Outcome outcome = Run(mosaic + "record -n 1 " + common + "-o r.raw");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(Contents(Path("g.raw")).size(), 64u * 48 * 3 * (depth == "8" ? 1 : 2));
        EXPECT_EQ(Contents(Path("g.raw")), Contents(Path("r.raw")));
        const auto json = nlohmann::json::parse(Contents(Path("r.raw.json")));
        EXPECT_EQ(json["format"], depth == "8" ? "rgb24" : "rgb48");
        EXPECT_EQ(json["samples_per_pixel"], 3);
    }
}

#if defined(ZERIX_TEST_ALL_FORMATS)

// By the format's own checker, with no warning either.
TEST_F(ColourRecord, EveryFitsFileIsWhatTheStandardSays)
{
    const std::string mosaic = Mosaic();
    for (const std::string verb : {"grab", "record -n 3"})
        for (const std::string kind :
             {"--set format=bayer8", "--set format=bayer16", "--color --set format=bayer8",
              "--color --set format=bayer16"}) {
            const Outcome outcome = Run(mosaic + verb + " " + kind + " " + kPart + "-o a.fits");
            ASSERT_EQ(outcome.status, 0) << outcome.err;
            const std::string check =
                "fitsverify '" + Path("a.fits") + "' >'" + Path("check") + "'";
            EXPECT_EQ(std::system(check.c_str()), 0) << verb << kind << Contents(Path("check"));
        }
}

#endif

TEST_F(ColourRecord, EveryFormatHoldsTheColoursTheSameInEveryRun)
{
    const std::string mosaic = Mosaic();
    ASSERT_EQ(Run(mosaic + "record -n 3 --color " + kPart + "-o expected.raw").status, 0);
    const auto expected = ReadSequenceFile(Path("expected.raw"));
    ASSERT_EQ(expected.frames.size(), 3u);
    EXPECT_NE(expected.frames[0], expected.frames[1]);
    for (const auto &ending : zerix::test::ReadableEndings()) {
        const std::string record = mosaic + "record -n 3 --color " + kPart + "-o ";
        const Outcome outcome = Run(record + "a" + ending);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        const auto sequence = ReadSequenceFile(Path("a" + ending));
        EXPECT_EQ(sequence.error, "") << ending;
        EXPECT_EQ(sequence.samplesPerPixel, 3u) << ending;
        EXPECT_EQ(sequence.frames, expected.frames) << ending;
        ASSERT_EQ(Run(record + "b" + ending).status, 0);
        EXPECT_EQ(Contents(Path("a" + ending)), Contents(Path("b" + ending))) << ending;
    }
}

TEST_F(ColourRecord, FindsExposureAndBalanceBefore)
{
    const Outcome outcome = Run(Mosaic("noise = false\n") +
                                "record -n 2 --color --autoexpose "
                                "--whitebalance " +
                                kPart + "-o a.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto sequence = ReadSequenceFile(Path("a.raw"));
    ASSERT_EQ(sequence.frames.size(), 2u);
    double means[3] = {};
    for (size_t i = 0; i < sequence.frames[1].size(); ++i)
        means[i % 3] += sequence.frames[1][i] / (64.0 * 48);
    EXPECT_GT(means[1], 60);
    EXPECT_NEAR(means[0] / means[1], 1, 0.02);
    EXPECT_NEAR(means[2] / means[1], 1, 0.02);
}

// Three numbers of the camera are one picture.
TEST_F(ColourRecord, ThreeExposuresBehindAWheelAreOneFrame)
{
    const std::string wheel = Wheel();
    const Outcome outcome = Run(wheel + "--json record -n 3 --color -o a.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(json["frames"], 3);
    EXPECT_EQ(json["lost_on_bus"], 0);
    EXPECT_LT(json["seconds"], 2) << "no exposure had to be granted for a lost one";
    EXPECT_EQ(Contents(Path("a.raw")).size(), 3u * 3 * 1024 * 58);
    const auto frames = Frames("a.raw");
    for (int i = 1; i < 3; ++i)
        EXPECT_EQ(frames[i]["frame_number"].get<int>() - frames[0]["frame_number"].get<int>(),
                  3 * i);
    ASSERT_EQ(Run(wheel + "grab --color -o g.raw").status, 0);
    EXPECT_EQ(Contents(Path("g.raw")), Contents(Path("a.raw")).substr(0, 3 * 1024 * 58));
}

// The fifth exposure is the second picture's green: the next cycle's completes it.
TEST_F(ColourRecord, ALostExposureBehindAWheelIsOneLostFrame)
{
    const Outcome outcome =
        Run(Wheel("faults = [\"wrong tag at frame 5\"]\n") + "--json record -n 3 --color -o a.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(json["frames"], 3);
    EXPECT_EQ(json["lost_on_bus"], 1);
    const auto frames = Frames("a.raw");
    EXPECT_EQ(frames[1]["frame_number"].get<int>() - frames[0]["frame_number"].get<int>(), 6);
}

// Frames 4 to 6 are the second picture's, whichever of them lacks a packet.
TEST_F(ColourRecord, ALostPacketOfAnyExposureIsMissingDataOfThePicture)
{
    for (const char *frame : {"4", "5", "6"}) {
        const Outcome outcome =
            Run(Wheel(std::string("faults = [\"lose packet at frame ") + frame + " packet 5\"]\n") +
                "--json record -n 3 --color -o a.raw");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        const auto json = nlohmann::json::parse(outcome.out);
        EXPECT_EQ(json["frames"], 3) << frame;
        EXPECT_EQ(json["with_missing_data"], 1) << frame;
        const auto frames = Frames("a.raw");
        EXPECT_FALSE(frames[0]["missing_data"]) << frame;
        EXPECT_TRUE(frames[1]["missing_data"]) << frame;
        EXPECT_FALSE(frames[2]["missing_data"]) << frame;
    }
}

TEST_F(ColourRecord, WhatNoFileTakesIsToldBeforeAnythingIsExposed)
{
    const Outcome outcome = Run(Wheel() + "record -n 2 --set format=bgr24 -o a.ser");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "zerix: of the formats with three colours a pixel only rgb24 and rgb48 can be "
              "written: choose one of them, or a raw, mono or bayer format.\n");
    const Outcome mosaic = Run(Mosaic() + "record -n 2 --set post-processing=on --set "
                                          "post-format=bgrx32 -o a.ser");
    EXPECT_EQ(mosaic.status, 1);
    EXPECT_EQ(mosaic.err, outcome.err);
    EXPECT_EQ(Run(Mosaic() + "record -n 2 --whitebalance -o a.ser").status, 2);
    Write("grey.toml", "[[camera]]\nmodel = \"Sparrow IR\"\nsensor = 11\n");
    const Outcome grey = Run("--rack grey.toml record -n 2 --color -o a.ser");
    EXPECT_EQ(grey.status, 1);
    EXPECT_EQ(grey.err, "zerix: Sparrow IR takes no colour pictures: that wants a camera with a "
                        "colour mask or a filter wheel.\n");
    EXPECT_FALSE(std::filesystem::exists(Path("a.ser")));
}

} // namespace
