// Rack files: what they give, and every message for what is wrong in one, literally.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "sim/block_versions.h"
#include "sim/built_in_racks.h"
#include "sim/model_names.h"
#include "sim/rack.h"
#include "sim/rack_file.h"
#include "sim/register_map.h"
#include "sim/scene.h"
#include "sim/sensor.h"
#include "tests/support/environment_variable.h"
#include "tests/support/places.h"
#include "tests/support/temporary_folder.h"

namespace zerix::sim {
namespace {

Rack Parsed(const std::string &text)
{
    Rack rack;
    std::string error;
    EXPECT_TRUE(ParseRack(text, "my.toml", &rack, &error)) << error;
    return rack;
}

std::string ErrorOf(const std::string &text)
{
    Rack rack;
    rack.name = "untouched";
    std::string error;
    EXPECT_FALSE(ParseRack(text, "my.toml", &rack, &error));
    EXPECT_EQ(rack.name, "untouched");
    return error;
}

const std::string kModels =
    "5 \"Astrel A1\", 6 \"Astrel A2\", 7 \"Sparrow B\", 8 \"Benchmate\", 9 \"Astrel Intensified\", "
    "10 \"Sparrow IR\", 12 \"Astrel C1\", 13 \"Astrel B1\", 14 \"NoctisA1\", 15 \"Astrel E1\", "
    "16 \"OEM Camera 3\", 18 \"Astrel C2\", 19 \"Astrel B2\", 25 \"Noctis C1\", 26 \"Astrel F1\", "
    "27 \"Noctis A2\", 28 \"Astrel E2\", 29 \"Astrel C3\", 30 \"Astrel B3\", 31 \"Merid Cobalt\", "
    "32 \"Merid Teal\", 33 \"Astrel G1\", 1001 \"OXA\", 1002 \"MT1\"";

void ExpectSame(const CameraDescription &a, const CameraDescription &b)
{
    EXPECT_EQ(a.model, b.model);
    EXPECT_EQ(a.serial, b.serial);
    EXPECT_EQ(a.uniqueId, b.uniqueId);
    EXPECT_EQ(a.ccdModel, b.ccdModel);
    for (const auto version : {&CameraDescription::configuration, &CameraDescription::information,
                               &CameraDescription::control, &CameraDescription::streaming,
                               &CameraDescription::command, &CameraDescription::status}) {
        EXPECT_EQ((a.*version).major, (b.*version).major);
        EXPECT_EQ((a.*version).minor, (b.*version).minor);
    }
    EXPECT_EQ(a.hardwareVersion, b.hardwareVersion);
    EXPECT_EQ(a.firmwareVersion, b.firmwareVersion);
    EXPECT_EQ(a.firmwareBuild, b.firmwareBuild);
    EXPECT_EQ(a.streamingVersion, b.streamingVersion);
    EXPECT_EQ(a.bitDepth, b.bitDepth);
    EXPECT_EQ(a.cooler, b.cooler);
    EXPECT_EQ(a.regulatedCooling, b.regulatedCooling);
    EXPECT_EQ(a.registersFromAlternateAddress, b.registersFromAlternateAddress);
    EXPECT_EQ(a.capabilities, b.capabilities);
    EXPECT_EQ(a.scene, b.scene);
    EXPECT_EQ(a.light, b.light);
    EXPECT_EQ(a.lightColour, b.lightColour);
    EXPECT_EQ(a.noise, b.noise);
    EXPECT_EQ(a.reads, b.reads);
    EXPECT_EQ(a.faults.size(), b.faults.size());
    EXPECT_EQ(a.inUse, b.inUse);
}

// The build puts the files into the library: what is built in is what the files say now.
TEST(Rack, TheBuiltInOnesAreTheFiles)
{
    for (const std::string name : {"default", "family-1", "family-2", "family-3"}) {
        Rack file;
        Rack builtIn;
        std::string error;
        ASSERT_TRUE(LoadRack(test::SourceFolder() + "/racks/" + name + ".toml", &file, &error))
            << error;
        ASSERT_TRUE(LoadRack(name, &builtIn, &error)) << error;
        EXPECT_EQ(builtIn.name, name);
        EXPECT_FALSE(builtIn.meaning.empty());
        EXPECT_EQ(file.name, builtIn.name);
        EXPECT_EQ(file.meaning, builtIn.meaning);
        EXPECT_EQ(file.speed, builtIn.speed);
        EXPECT_EQ(file.fastClock, builtIn.fastClock);
        EXPECT_EQ(file.seed, builtIn.seed);
        ASSERT_EQ(file.cameras.size(), builtIn.cameras.size());
        for (size_t i = 0; i < file.cameras.size(); ++i)
            ExpectSame(file.cameras[i], builtIn.cameras[i]);
    }
}

TEST(Rack, WithoutANameIsTheDefaultOne)
{
    Rack rack;
    std::string error;
    ASSERT_TRUE(LoadRack("", &rack, &error)) << error;
    EXPECT_EQ(rack.name, "default");
    EXPECT_EQ(rack.cameras.size(), 3U);
}

TEST(Rack, TheBuiltInOneHasCamerasThatDiffer)
{
    Rack rack;
    std::string error;
    ASSERT_TRUE(LoadRack("default", &rack, &error)) << error;
    EXPECT_EQ(rack.cameras[0].model, 18U);
    EXPECT_EQ(rack.cameras[1].model, 19U);
    EXPECT_EQ(rack.cameras[2].model, 12U);
    EXPECT_EQ(FindSensorType(rack.cameras[1].ccdModel)->mosaic, Mosaic::kGrbg);
    EXPECT_FALSE(rack.cameras[2].cooler);
    std::set<uint64_t> ids;
    for (const CameraDescription &camera : rack.cameras)
        ids.insert(camera.uniqueId);
    EXPECT_EQ(ids.size(), 3U);
}

TEST(Rack, EveryKeyIsRead)
{
    const Rack rack = Parsed(R"(
name = "mine"
meaning = "my own"
speed = 400
clock = "real"
seed = 77
[[camera]]
model = 15
serial = "123456789012345678901234567"
unique-id = "0xFEDCBA9876543210"
sensor = 21
information = "2.7"
control = "1.2"
configuration = "1.1"
streaming = "1.2"
command = "1.1"
status = "1.2"
hardware = 3
firmware = 4
build = 5
stream-format = 2
bit-depth = 16
cooler = false
regulated-cooling = false
alternate-model-address = true
capabilities = ["fan", "keel-em", "double-shot"]
scene = "flat:200"
light = 0.25
noise = false
reads = "mixed"
in-use = true
faults = ["first",
          "second"]
[[camera]]
model = "OXA"
light = [1.5, 1, 0.25]
)");
    EXPECT_EQ(rack.name, "mine");
    EXPECT_EQ(rack.meaning, "my own");
    EXPECT_EQ(rack.speed, 400U);
    EXPECT_FALSE(rack.fastClock);
    EXPECT_EQ(rack.seed, 77U);
    ASSERT_EQ(rack.cameras.size(), 2U);
    CameraDescription expected{.model = 15,
                               .serial = "123456789012345678901234567",
                               .uniqueId = 0xFEDCBA9876543210ULL,
                               .ccdModel = 21,
                               .configuration = {1, 1},
                               .information = {2, 7},
                               .control = {1, 2},
                               .streaming = {1, 2},
                               .command = {1, 1},
                               .status = {1, 2},
                               .hardwareVersion = 3,
                               .firmwareVersion = 4,
                               .firmwareBuild = 5,
                               .streamingVersion = 2,
                               .bitDepth = 16,
                               .cooler = false,
                               .regulatedCooling = false,
                               .noise = false,
                               .registersFromAlternateAddress = true,
                               .capabilities = 1U << 3 | 1U << 13 | 1U << 16,
                               .scene = "flat:200",
                               .light = 0.25F,
                               .reads = "mixed",
                               .faults = {{"first", 32}, {"second", 33}},
                               .inUse = true};
    ExpectSame(rack.cameras[0], expected);
    EXPECT_EQ(rack.cameras[0].faults[0].text, "first");
    EXPECT_EQ(rack.cameras[0].faults[0].line, 32U);
    EXPECT_EQ(rack.cameras[0].faults[1].text, "second");
    EXPECT_EQ(rack.cameras[0].faults[1].line, 33U);
    EXPECT_EQ(rack.cameras[1].model, 1001U);
    EXPECT_EQ(rack.cameras[1].light, 1.0F);
    EXPECT_EQ(rack.cameras[1].lightColour, (std::array<float, 3>{1.5F, 1.0F, 0.25F}));
}

TEST(Rack, WhatIsLeftOutIsSensible)
{
    const Rack rack = Parsed("[[camera]]\nmodel = 18\n[[camera]]\nmodel = 18\n");
    EXPECT_EQ(rack.name, "my.toml");
    EXPECT_EQ(rack.speed, 800U);
    EXPECT_TRUE(rack.fastClock);
    ASSERT_EQ(rack.cameras.size(), 2U);
    EXPECT_EQ(rack.cameras[0].serial, "ZV-18-1");
    EXPECT_EQ(rack.cameras[1].serial, "ZV-18-2");
    EXPECT_NE(rack.cameras[0].uniqueId, rack.cameras[1].uniqueId);
    EXPECT_EQ(rack.cameras[0].ccdModel, 6);
    EXPECT_EQ(rack.cameras[0].scene, "cells");
    EXPECT_EQ(rack.cameras[0].information.minor, 11);
}

TEST(Rack, ModelsThatNoTableKnowsMayBeThere)
{
    EXPECT_EQ(Parsed("[[camera]]\nmodel = 11").cameras[0].model, 11U);
    EXPECT_EQ(Parsed("[[camera]]\nmodel = 65535").cameras[0].model, 65535U);
}

TEST(Rack, InformationBelow21HasTheOldestStreamFormat)
{
    for (const char *version : {"1.1", "1.2"}) {
        const std::string camera =
            "[[camera]]\nmodel = 5\ninformation = \"" + std::string(version) + "\"\n";
        EXPECT_EQ(Parsed(camera).cameras[0].streamingVersion, 0);
        EXPECT_EQ(Parsed(camera + "stream-format = 0").cameras[0].streamingVersion, 0);
        EXPECT_EQ(ErrorOf(camera + "stream-format = 2"),
                  "my.toml:4: stream-format is 2; expected 0, as the information block is below "
                  "2.1.");
    }
    EXPECT_EQ(Parsed("[[camera]]\nmodel = 5\ninformation = \"2.1\"").cameras[0].streamingVersion,
              1);
}

TEST(Rack, WithoutCamerasIsABusWithoutCameras)
{
    EXPECT_TRUE(Parsed("speed = 400\n").cameras.empty());
}

TEST(Rack, ModelsAndSensorsAreFoundByName)
{
    EXPECT_EQ(FindModel("Astrel C2"), 18U);
    EXPECT_EQ(FindModel("MT1"), 1002U);
    EXPECT_EQ(FindModel("astrel c2"), 0U);
    EXPECT_EQ(Parsed("[[camera]]\nmodel=5\nsensor=\"KAI-2020M AR Glass\"").cameras[0].ccdModel, 46);
    EXPECT_EQ(Parsed("[[camera]]\nmodel=5\nsensor=0").cameras[0].ccdModel, 0);
    EXPECT_EQ(Parsed("[[camera]]\nmodel=5\nsensor=78").cameras[0].ccdModel, 78);
}

// The list of versions stands beside the lengths of the register map: neither may know more.
TEST(Rack, EveryBlockVersionHasALength)
{
    uint32_t (*const words[])(BlockVersion) = {ConfigurationWords, InformationWords, ControlWords,
                                               StreamingWords,     CommandWords,     StatusWords};
    for (const BlockName &name : kBlockNames) {
        size_t known = 0;
        for (uint16_t major = 0; major < 5; ++major) {
            for (uint16_t minor = 0; minor < 20; ++minor)
                known +=
                    words[static_cast<size_t>(name.block)]({.major = major, .minor = minor}) != 0
                        ? 1
                        : 0;
        }
        EXPECT_EQ(KnownBlockVersions(name.block).size(), known) << name.name;
        for (const BlockVersion &version : KnownBlockVersions(name.block))
            EXPECT_NE(words[static_cast<size_t>(name.block)](version), 0U)
                << name.name << version.minor;
    }
}

struct Mistake {
    std::string text;
    std::string error;
};

TEST(RackMistakes, OfTheRackAreTold)
{
    const Mistake kMistakes[] = {
        {"\nspeed = 1600", "my.toml:2: speed is 1600; expected 400 or 800."},
        {"speed = 600", "my.toml:1: speed is 600; expected 400 or 800."},
        {"speed = \"400\"", "my.toml:1: speed is \"400\"; expected 400 or 800."},
        {"speed = -400", "my.toml:1: speed is -400; expected 400 or 800."},
        {"speed = 400.5", "my.toml:1: speed is a number with a fraction; expected 400 or 800."},
        {"clock = \"slow\"", "my.toml:1: clock is \"slow\"; expected \"fast\" or \"real\"."},
        {"clock = true", "my.toml:1: clock is true; expected \"fast\" or \"real\"."},
        {"seed = -1", "my.toml:1: seed is -1; expected an integer from 0 on."},
        {"name = []", "my.toml:1: name is a list; expected a text."},
        {"name = {}", "my.toml:1: name is a table; expected a text."},
        {"name = 2020-01-01", "my.toml:1: name is a date or time; expected a text."},
        {"\n\nsped = 400",
         "my.toml:3: the key \"sped\" is unknown; the keys here are name, meaning, speed, "
         "clock, seed, camera."},
        {"camera = 3", "my.toml:1: camera is 3; expected [[camera]], one for each camera."},
        {"[camera]\nmodel = 18",
         "my.toml:1: camera is a table; expected [[camera]], one for each camera."},
        {"camera = [1]", "my.toml:1: camera is 1; expected [[camera]], one for each camera."},
    };
    for (const Mistake &mistake : kMistakes)
        EXPECT_EQ(ErrorOf(mistake.text), mistake.error);
    EXPECT_TRUE(ErrorOf("speed = 400\nclock = ").starts_with("my.toml:2: no TOML: "))
        << ErrorOf("speed = 400\nclock = ");
}

TEST(RackMistakes, TheFirstOfTheFileIsTold)
{
    EXPECT_EQ(ErrorOf("speed = 600\nclock = \"slow\""),
              "my.toml:1: speed is 600; expected 400 or 800.");
    EXPECT_EQ(ErrorOf("seed = 1\nzoom = 2\naim = 3"),
              "my.toml:2: the key \"zoom\" is unknown; the keys here are name, meaning, speed, "
              "clock, seed, "
              "camera.");
    EXPECT_EQ(ErrorOf("[[camera]]\nmodel = 18\nserial = 12\ncooler = 1"),
              "my.toml:3: serial is 12; expected a text of 1 to 27 characters.");
    EXPECT_EQ(ErrorOf("camera = 3\nclock = 1"),
              "my.toml:1: camera is 3; expected [[camera]], one for each camera.");
}

TEST(RackMistakes, OfACameraAreTold)
{
    const std::string kCapabilities =
        "expected a list of \"high-sensitivity\", \"blackout\", \"fan\", \"em-gain\", "
        "\"shutter-delay\", \"dither\", \"high-gain\", \"vertical-clock\", \"dual-channel\", "
        "\"keel-em\", \"locked-gain\", \"double-shot\", \"eightfold-binning\".";
    const std::string kNumber16 = "expected an integer from 0 to 65535.";
    const std::string kLight = "a number from 0 to 1000000, or three of them.";
    const std::string kTruth = "expected true or false.";
    const Mistake kMistakes[] = {
        {"model = 0", "model is 0; expected the number or name of a model: " + kModels + "."},
        {"model = \"Astrel Z9\"",
         "model is \"Astrel Z9\"; expected the number or name of a model: " + kModels + "."},
        {"model = 65554",
         "model is 65554; expected the number or name of a model: " + kModels + "."},
        {"serial = \"1234567890123456789012345678\"",
         "serial is \"1234567890123456789012345678\"; expected a text of 1 to 27 characters."},
        {"serial = \"\"", "serial is \"\"; expected a text of 1 to 27 characters."},
        {"serial = 12", "serial is 12; expected a text of 1 to 27 characters."},
        {"unique-id = 0", "unique-id is 0; expected an integer above 0, or a text of at most 16 "
                          "hexadecimal digits behind 0x."},
        {"unique-id = \"12\"", "unique-id is \"12\"; expected an integer above 0, or a text of at "
                               "most 16 hexadecimal digits behind 0x."},
        {"unique-id = \"0x12345678901234567\"",
         "unique-id is \"0x12345678901234567\"; expected an integer above 0, or a text of at most "
         "16 hexadecimal "
         "digits behind 0x."},
        {"sensor = 79", "sensor is 79; expected the number of a CCD model from 0 to 78, or its "
                        "name as in \"ICX285AL\"."},
        {"sensor = -1", "sensor is -1; expected the number of a CCD model from 0 to 78, or its "
                        "name as in \"ICX285AL\"."},
        {"sensor = \"ICX\"", "sensor is \"ICX\"; expected the number of a CCD model from 0 to 78, "
                             "or its name as in \"ICX285AL\"."},
        {"information = \"2.12\"",
         "information is \"2.12\"; expected a version of the block as a text: \"1.1\", \"1.2\", "
         "\"2.1\", \"2.2\", "
         "\"2.3\", \"2.4\", \"2.5\", \"2.6\", \"2.7\", \"2.8\", \"2.9\", \"2.10\", \"2.11\"."},
        {"information = 2.1", "information is a number with a fraction; expected a version of the "
                              "block as a text: \"1.1\", \"1.2\", "
                              "\"2.1\", \"2.2\", \"2.3\", \"2.4\", \"2.5\", \"2.6\", \"2.7\", "
                              "\"2.8\", \"2.9\", \"2.10\", \"2.11\"."},
        {"control = \"2.9\"", "control is \"2.9\"; expected a version of the block as a text: "
                              "\"1.1\", \"1.2\", \"2.1\", \"2.2\", "
                              "\"2.3\", \"2.4\", \"2.5\", \"2.6\", \"2.7\", \"2.8\"."},
        {"configuration = \"1.2\"",
         "configuration is \"1.2\"; expected a version of the block as a text: \"1.1\"."},
        {"streaming = \"1.1\"",
         "streaming is \"1.1\"; expected a version of the block as a text: \"1.2\"."},
        {"command = \"1.3\"",
         "command is \"1.3\"; expected a version of the block as a text: \"1.1\", \"1.2\"."},
        {"status = \"1.03\"", "status is \"1.03\"; expected a version of the block as a text: "
                              "\"1.1\", \"1.2\", \"1.3\"."},
        {"hardware = 65536", "hardware is 65536; " + kNumber16},
        {"firmware = \"114\"", "firmware is \"114\"; " + kNumber16},
        {"build = -1", "build is -1; " + kNumber16},
        {"stream-format = 3", "stream-format is 3; expected 0, 1 or 2."},
        {"bit-depth = 7", "bit-depth is 7; expected an integer from 8 to 16."},
        {"bit-depth = 17", "bit-depth is 17; expected an integer from 8 to 16."},
        {"cooler = 1", "cooler is 1; " + kTruth},
        {"regulated-cooling = \"yes\"", "regulated-cooling is \"yes\"; " + kTruth},
        {"light = -1", "light is -1; expected " + kLight},
        {"light = \"dim\"", "light is \"dim\"; expected " + kLight},
        {"light = nan", "light is a number with a fraction; expected " + kLight},
        {"light = [1, 2]", "light is a list; expected " + kLight},
        {"light = [1, 2, -3]", "light is a list; expected " + kLight},
        {"light = [1, 2, 3, 4]", "light is a list; expected " + kLight},
        {"capabilities = [\"fan\", \"coffee\"]", "capabilities is a list; " + kCapabilities},
        {"capabilities = \"fan\"", "capabilities is \"fan\"; " + kCapabilities},
        {"noise = \"low\"", "noise is \"low\"; " + kTruth},
        {"alternate-model-address = 0", "alternate-model-address is 0; " + kTruth},
        {"in-use = []", "in-use is a list; " + kTruth},
        {"misc-control = 65536", "misc-control is 65536; expected an integer from 0 to 65535."},
        {"high-gain = 1", "high-gain is 1; " + kTruth},
        {"scene = \"moon\"", "scene is \"moon\"; expected a scene: cells, stars, resolution-chart, "
                             "colour-chart, gradient, "
                             "flat[:PHOTONS], picture:FILE, position, positions."},
        {"reads = \"late\"",
         "reads is \"late\"; expected \"pending\", \"immediate\" or \"mixed\"."},
        {"faults = \"unplug\"", "faults is \"unplug\"; expected a list of texts."},
        {"faults = [1]", "faults is a list; expected a list of texts."},
        {"colour = true",
         "the key \"colour\" is unknown; the keys here are model, serial, unique-id, sensor, "
         "information, control, "
         "configuration, streaming, command, status, hardware, firmware, build, stream-format, "
         "bit-depth, cooler, "
         "regulated-cooling, light, noise, alternate-model-address, capabilities, misc-control, "
         "high-gain, scene, reads, "
         "in-use, faults."},
    };
    for (const Mistake &mistake : kMistakes) {
        const bool hasModel = mistake.text.starts_with("model");
        const std::string before = hasModel ? "[[camera]]\n\n" : "[[camera]]\nmodel = 18\n";
        EXPECT_EQ(ErrorOf(before + mistake.text), "my.toml:3: " + mistake.error);
    }
}

TEST(RackMistakes, OfCamerasAmongThemselvesAreTold)
{
    EXPECT_EQ(ErrorOf("\n[[camera]]\nserial = \"1\""),
              "my.toml:2: the camera has no model; expected the number or name of a model: " +
                  kModels + ".");
    EXPECT_EQ(
        ErrorOf(
            "[[camera]]\nmodel = 18\nunique-id = 7\n[[camera]]\nmodel = 19\nunique-id = \"0x7\""),
        "my.toml:4: the camera has the unique-id of another; expected one of its own.");
}

TEST(RackMistakes, ANameThatIsNoneGivesTheKnownOnes)
{
    Rack rack;
    std::string error;
    EXPECT_FALSE(LoadRack("/nowhere/rack.toml", &rack, &error));
    EXPECT_TRUE(error.starts_with(
        "/nowhere/rack.toml: no such rack; expected the path of a rack file, or one of "
        "\"default\""))
        << error;
    EXPECT_FALSE(LoadRack("/nowhere/rack.toml", &rack, nullptr));
}

TEST(RackFiles, TellTheirOwnNameAndLine)
{
    const std::string path = testing::TempDir() + "zerix_rack_test.toml";
    std::ofstream(path) << "speed = 800\nclock = 3\n";
    Rack rack;
    std::string error;
    EXPECT_FALSE(LoadRack(path, &rack, &error));
    EXPECT_EQ(error, path + ":2: clock is 3; expected \"fast\" or \"real\".");
    std::filesystem::remove(path);
}

TEST(RackFiles, MayHaveAnyName)
{
    const test::TemporaryFolder folder;
    const std::string name = test::TemporaryFolder::OddName();
    const std::string path = folder.Write(name + ".toml", "[[camera]]\nmodel = 18\n");
    Rack rack;
    std::string error;
    EXPECT_TRUE(LoadRack(path, &rack, &error)) << error;
    EXPECT_EQ(rack.cameras.size(), 1u);

    // Among the installed ones, too.
    const test::EnvironmentVariable racks("ZERIX_RACKS", folder.Path());
    EXPECT_TRUE(LoadRack(name, &rack, &error)) << error;
    const auto known = KnownRacks();
    EXPECT_TRUE(std::any_of(known.begin(), known.end(),
                            [&](const RackDescription &each) { return each.name == name; }));
    folder.Write(name + ".toml", "speed = 3\n");
    EXPECT_FALSE(LoadRack(name, &rack, &error));
    EXPECT_NE(error.find(name + ".toml:1: speed is 3"), std::string::npos) << error;
}

TEST(RackFiles, BeginWithTheBuiltInOnes)
{
    const auto racks = KnownRacks();
    ASSERT_FALSE(racks.empty());
    EXPECT_EQ(racks[0].name, "default");
    EXPECT_FALSE(racks[0].meaning.empty());
}

// A picture next to the rack file comes before one in the current folder, and an absolute path is
// taken as it is.
TEST(RackFiles, APictureIsLookedForNextToTheRackFileFirst)
{
    const test::TemporaryFolder folder;
    const std::string picture = folder.Write("near.pgm", "P5\n1 1\n255\n\xFF");
    const auto sceneOf = [&](const std::string &name) {
        const std::string path =
            folder.Write("rack.toml", "[[camera]]\nmodel = 18\nscene = 'picture:" + name + "'\n");
        Rack rack;
        std::string error;
        EXPECT_TRUE(LoadRack(path, &rack, &error)) << error;
        EXPECT_EQ(rack.cameras.at(0).scene, "picture:" + name);
        return SceneOf(rack.cameras.at(0));
    };
    std::string error;
    EXPECT_NE(MakeScene(sceneOf("near.pgm"), 1, &error), nullptr) << error;
    EXPECT_EQ(sceneOf(picture), "picture:" + picture);
    EXPECT_EQ(sceneOf("far.pgm"), "picture:far.pgm"); // as before: from the current folder
}

TEST(RackFiles, MayHaveSixteenMegabytes)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Write("rack.toml", "seed = 1\n");
    std::filesystem::resize_file(path, 0x1000001);
    Rack rack;
    std::string error;
    EXPECT_FALSE(LoadRack(path, &rack, &error));
    EXPECT_EQ(error, path + ": the file has more than 16 megabytes.");
}

// A rack file is UTF-8 on every system, whatever code page its calls take names in.
TEST(RackFiles, NameAPictureBeyondAscii)
{
    const test::TemporaryFolder folder;
    const std::u8string name = u8"\u00fcber Gr\u00f6\u00dfen.pgm";
    const auto place = std::filesystem::path(folder.Path()) / name;
    std::ofstream(place, std::ios::binary) << "P5\n1 1\n255\n" << '\xFF';
    const std::u8string text =
        u8"[[camera]]\nmodel = 18\nscene = 'picture:" + place.u8string() + u8"'\n";
    const Rack rack = Parsed(std::string(text.begin(), text.end()));
    std::string error;
    EXPECT_NE(MakeScene(rack.cameras.at(0).scene, 1, &error), nullptr) << error;
}

} // namespace
} // namespace zerix::sim
