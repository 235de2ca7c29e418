// Colour verbs on virtual cameras: the exposure that is found, the balance that is measured,
// finished pictures, and raw ones that are finished later.
#include <algorithm>
#include <array>
#include <cstdint>

#include <nlohmann/json.hpp>

#include "tests/tools/tool_fixture.h"

namespace {

using zerix::test::Contents;
using Means = std::array<double, 3>;

class Colour : public zerix::test::ToolTest {
protected:
    // Even light of the colour, on a small sensor's mosaic without noise.
    void WriteRack(const std::string &light)
    {
        Write("warm.toml",
              "[[camera]]\nmodel = \"Astrel B2\"\nsensor = 53\nscene = \"flat:60000\"\n"
              "noise = false\nlight = " +
                  light + "\n");
    }

    Means MeansOfRaw(const std::string &file, size_t bytesPerSample = 1)
    {
        const std::string bytes = Contents(Path(file));
        Means sums{};
        const size_t pixels = bytes.size() / (3 * bytesPerSample);
        for (size_t i = 0; i < pixels * 3; ++i) {
            double sample = static_cast<uint8_t>(bytes[i * bytesPerSample]);
            if (bytesPerSample == 2)
                sample += 256.0 * static_cast<uint8_t>(bytes[2 * i + 1]);
            sums[i % 3] += sample / static_cast<double>(pixels);
        }
        return sums;
    }
};

TEST_F(Colour, ADarkSceneIsExposedLonger)
{
    WriteRack("0.1");
    const Outcome outcome = Run("--rack warm.toml autoexpose --region 100,100,64,64 --json");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(outcome.out);
    EXPECT_GT(json["exposure_ns"], 16'384'000u);
    EXPECT_EQ(json["longest"], false);
    const std::string exposure = std::to_string(uint64_t(json["exposure_ns"]));
    const Outcome grab = Run("--rack warm.toml grab --set exposure=" + exposure +
                             "ns --set roi=100,100,64,64 -o p.raw");
    ASSERT_EQ(grab.status, 0) << grab.err;
    const std::string bytes = Contents(Path("p.raw"));
    uint8_t brightest = 0;
    for (const char byte : bytes)
        brightest = std::max(brightest, static_cast<uint8_t>(byte));
    EXPECT_GT(brightest, 220);
    EXPECT_LT(brightest, 255);
}

TEST_F(Colour, WarmLightIsBalancedToGrey)
{
    WriteRack("[0.6, 0.4, 0.2]");
    const Outcome outcome =
        Run("--rack warm.toml grab --color --autoexpose --whitebalance -o p.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(Contents(Path("p.raw.json")));
    EXPECT_EQ(json["format"], "rgb24");
    EXPECT_EQ(json["samples_per_pixel"], 3);
    EXPECT_EQ(Contents(Path("p.raw")).size(), 1600U * 1200 * 3);
    const Means means = MeansOfRaw("p.raw");
    EXPECT_GT(means[1], 60);
    EXPECT_NEAR(means[0] / means[1], 1, 0.02);
    EXPECT_NEAR(means[2] / means[1], 1, 0.02);
}

TEST_F(Colour, WhatWasKeptRawIsFinishedAlikeLater)
{
    WriteRack("[0.6, 0.4, 0.2]");
    const std::string common = "--rack warm.toml grab --set format=bayer16 ";
    ASSERT_EQ(Run(common + "-o kept.raw").status, 0);
    const Outcome grab = Run(common + "--color --set post-gain-red=0.75x --set post-gain-green=1x "
                                      "--set post-gain-blue=2.5x -o finished.raw");
    ASSERT_EQ(grab.status, 0) << grab.err;
    const Outcome process =
        Run("process kept.raw --gains 0.75,1,2.5 --method cubic -o processed.raw");
    ASSERT_EQ(process.status, 0) << process.err;
    EXPECT_EQ(nlohmann::json::parse(Contents(Path("processed.raw.json")))["format"], "rgb48");
    EXPECT_EQ(Contents(Path("processed.raw")), Contents(Path("finished.raw")));
    EXPECT_FALSE(Contents(Path("processed.raw")).empty());
}

// By hand: the mosaic GRBG of 2 x 2 has one red, one blue and two green samples; the greens are
// halved before they are added.
TEST_F(Colour, OneCellOfAMosaicIsOneColour)
{
    Write("cell.raw", std::string("\x65\x14\x0A\x33", 4)); // G 101, R 20; B 10, G 51
    Write("cell.raw.json",
          R"({"width": 2, "height": 2, "bytes_per_sample": 1, "significant_bits": 8,
              "bayer_pattern": "GRBG", "binning": [1, 1]})");
    const Outcome outcome = Run("process cell.raw --method nearest --gains 2,1,0.5 -o c.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const std::string pixel("\x28\x4B\x05", 3); // 40, 50 + 25, 5
    EXPECT_EQ(Contents(Path("c.raw")), pixel + pixel + pixel + pixel);
}

TEST_F(Colour, ThreeExposuresOfAWheelAreOnePicture)
{
    const char *const names[] = {"r", "g", "b"};
    for (int i = 0; i < 3; ++i) {
        const std::string file = std::string(names[i]) + ".raw";
        Write(file, std::string{static_cast<char>(1 + i), static_cast<char>(11 + i)});
        Write(file + ".json",
              R"({"width": 2, "height": 1, "bytes_per_sample": 1, "significant_bits": 8,
                  "binning": [1, 1]})");
    }
    const Outcome outcome = Run("process r.raw g.raw b.raw -o c.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Contents(Path("c.raw")), "\x01\x02\x03\x0B\x0C\x0D");
    EXPECT_FALSE(nlohmann::json::parse(Contents(Path("c.raw.json")))["missing_data"]);
    EXPECT_EQ(Run("process r.raw -o d.raw").status, 1);
    EXPECT_EQ(Run("process r.raw g.raw -o d.raw").status, 1);
}

TEST_F(Colour, AnExposureWithMissingDataMakesAPictureWithMissingData)
{
    for (const std::string incomplete : {"r", "g", "b"}) {
        for (const std::string name : {"r", "g", "b"}) {
            Write(name + ".raw", "\x01\x02");
            Write(name + ".raw.json",
                  R"({"width": 2, "height": 1, "bytes_per_sample": 1, "significant_bits": 8,
                      "binning": [1, 1], "missing_data": )" +
                      std::string(name == incomplete ? "true}" : "false}"));
        }
        const Outcome outcome = Run("process r.raw g.raw b.raw -o c.raw");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_TRUE(nlohmann::json::parse(Contents(Path("c.raw.json")))["missing_data"])
            << incomplete;
    }
}

// Recordings of the three colours: every exposure finds the other two of its number.
TEST_F(Colour, RecordedExposuresOfAWheelAreAsManyPictures)
{
    const auto record = [this](const std::string &name, const std::string &bytes) {
        Write(name + ".raw", bytes);
        std::string frames;
        for (size_t i = 0; i < bytes.size() / 2; ++i)
            frames += (i == 0 ? "" : ", ") + ("{\"frame_number\": " + std::to_string(i) + "}");
        Write(name + ".raw.json",
              R"({"width": 2, "height": 1, "bytes_per_sample": 1, "significant_bits": 8,
                  "binning": [1, 1], "frames": [)" +
                  frames + "]}");
    };
    record("r", "\x01\x02\x11\x12");
    record("g", "\x03\x04\x13\x14");
    record("b", "\x05\x06\x15\x16");
    const Outcome outcome = Run("process r.raw g.raw b.raw -o c.raw");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Contents(Path("c-0001.raw")), "\x01\x03\x05\x02\x04\x06");
    EXPECT_EQ(Contents(Path("c-0002.raw")), "\x11\x13\x15\x12\x14\x16");
    record("b", "\x05\x06");
    const Outcome lacking = Run("process r.raw g.raw b.raw -o d.raw");
    EXPECT_EQ(lacking.status, 1);
    EXPECT_EQ(lacking.err,
              "zerix: r.raw has 2 pictures, b.raw has 1: each exposure of a filter wheel "
              "needs its other two.\n");
}

// The verb looks at its region alone, and what it prints makes that region grey.
TEST_F(Colour, ThePrintedGainsMakeTheMeasuredRegionGrey)
{
    Write("chart.toml", "[[camera]]\nmodel = \"Astrel B2\"\nsensor = 53\nnoise = false\n"
                        "scene = \"colour-chart\"\nlight = [1.5, 1.0, 0.5]\n");
    const auto measure = [this](const std::string &region) {
        const Outcome outcome = Run("--rack chart.toml --json whitebalance --region " + region);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return nlohmann::json::parse(outcome.out);
    };
    const auto white = measure("100,890,160,160");
    const auto yellow = measure("850,650,140,140");
    EXPECT_GT(white["gain_blue"], 1.8);
    EXPECT_GT(yellow["gain_blue"], 1.5 * double(white["gain_blue"]));
    EXPECT_EQ(white["gain_green"], 1.0);
    const auto factor = [&](const char *name) {
        return std::to_string(double(white[name])) + "x ";
    };
    const Outcome grab =
        Run("--rack chart.toml grab --color --set post-gain-red=" + factor("gain_red") +
            "--set post-gain-green=1x --set post-gain-blue=" + factor("gain_blue") +
            "--set roi=100,890,160,160 -o p.raw");
    ASSERT_EQ(grab.status, 0) << grab.err;
    const Means means = MeansOfRaw("p.raw");
    EXPECT_GT(means[1], 100);
    EXPECT_LT(means[1], 250);
    EXPECT_NEAR(means[0] / means[1], 1, 0.01);
    EXPECT_NEAR(means[2] / means[1], 1, 0.01);
}

// Neither is changed to fit the other.
TEST_F(Colour, FinishedFormatsOfAnotherDepthAreRefused)
{
    WriteRack("0.5");
    struct Pair {
        const char *settings;
        const char *format;
        const char *finished;
        const char *advice;
    };
    for (const Pair &pair :
         {Pair{"--color --set format=bayer8 --set post-format=rgb48", "bayer8", "rgb48", "rgb24"},
          Pair{"--color --set post-format=rgb24 --set format=bayer16", "bayer16", "rgb24", "rgb48"},
          Pair{"--set format=bayer16 --set post-processing=on", "bayer16", "rgb24", "rgb48"}}) {
        const Outcome outcome = Run(std::string("--rack warm.toml grab ") + pair.settings +
                                    " --set roi=100,100,64,64 -o p.raw");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, std::string("zerix: pictures of the format ") + pair.format +
                                   " can't be finished as " + pair.finished +
                                   ": both must have 8 bits a sample or both more. With " +
                                   pair.format + " goes post-format=" + pair.advice + ".\n");
        EXPECT_EQ(Contents(Path("p.raw")), "");
    }
    for (const char *fitting :
         {"--set format=bayer16 --set post-format=rgb48", "--color --set format=bayer16",
          "--set format=bayer8 --set post-format=bgr24"})
        EXPECT_EQ(Run(std::string("--rack warm.toml grab ") + fitting +
                      " --set roi=100,100,64,64 -o p.raw")
                      .status,
                  0)
            << fitting;
}

TEST_F(Colour, WhatCannotBeIsTold)
{
    EXPECT_NE(Run("--sim autoexpose --region 1,2,3").err.find("is no region"), std::string::npos);
    EXPECT_NE(Run("--sim autoexpose --region 1390,0,16,16").err.find("reaches beyond"),
              std::string::npos);
    EXPECT_NE(Run("--sim autoexpose --region 0,0,15,15").err.find("too small"), std::string::npos);
    Write("x.raw", "");
    EXPECT_NE(Run("process x.raw -o p.raw").err.find("there is no x.raw.json"), std::string::npos);
    Write("x.raw.json", "{");
    EXPECT_NE(Run("process x.raw -o p.raw").err.find("its description is none"), std::string::npos);
    EXPECT_NE(Run("process x.raw --gains 1,2 -o p.raw").err.find("are no gains"),
              std::string::npos);
    EXPECT_EQ(Run("--sim grab --whitebalance -o p.raw").status, 2);
}

} // namespace
