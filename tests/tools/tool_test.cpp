// The zerix tool run as a person runs it: what it prints, where, and with which exit status.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/tools/tool_fixture.h"

namespace {

using zerix::test::Contents;

class Tool : public zerix::test::ToolTest {};

TEST_F(Tool, HelpNamesEveryVerbAndTheWaysOn)
{
    const Outcome help = Run("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char *word :
         {"list", "info", "racks", "grab", "preview", "--sim", "--rack", "--camera", "--json"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
}

TEST_F(Tool, WrongUsageIsStatus2)
{
    EXPECT_EQ(Run("").status, 2);
    EXPECT_EQ(Run("photograph").status, 2);
    EXPECT_EQ(Run("--sim grab").status, 2);
    EXPECT_EQ(Run("--sim grab -n 0 -o x.raw").status, 2);
    EXPECT_EQ(Run("--sim list --zoom").status, 2);
}

// Nobody is asked to switch on a camera that can't be seen here.
TEST_F(Tool, WithNoBusTheErrorTellsOfTheCardAndOfVirtualCameras)
{
    for (const char *verb : {"list", "info", "grab -o x.raw", "bus"}) {
        const Outcome outcome = Run(verb);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err,
                  "zerix: This computer has no FireWire card that this library can use. Use --sim "
                  "for virtual cameras (--rack FILE for your own).\n");
    }
}

TEST_F(Tool, ShowsTheNodesOfTheVirtualBus)
{
    const Outcome table = Run("--rack default bus");
    EXPECT_EQ(table.status, 0) << table.err;
    EXPECT_EQ(table.out.substr(0, table.out.find('\n')),
              "Card 0: 4915 of 4915 units of bandwidth and 64 of 64 channels left");
    EXPECT_NE(table.out.find("  camera\n      A virtual camera.\n"), std::string::npos);
    const Outcome json = Run("--rack default bus --json");
    const auto nodes = nlohmann::json::parse(json.out);
    ASSERT_GE(nodes.size(), 2u);
    EXPECT_TRUE(nodes[0]["is_card"]);
    EXPECT_TRUE(nodes[1]["is_camera"]);
    EXPECT_EQ(nodes[1]["guid"], "00a1b2c300000018");
    EXPECT_EQ(nodes[1]["model"], "Astrel C2");
    const Outcome entry = Run("--rack default bus --hwdb");
    EXPECT_EQ(entry.status, 1);
    EXPECT_TRUE(entry.err.starts_with("zerix: No camera is at hand whose unit")) << entry.err;
}

TEST_F(Tool, ListsTheBuiltInRackWithTheOptionBeforeOrAfterTheVerb)
{
    const Outcome before = Run("--sim list");
    const Outcome after = Run("list --sim");
    EXPECT_EQ(before.status, 0) << before.err;
    EXPECT_EQ(before.out, after.out);
    EXPECT_NE(before.out.find("Astrel C2"), std::string::npos);
    EXPECT_NE(before.out.find("Astrel B2"), std::string::npos);
    EXPECT_NE(before.out.find("1392 x 1040"), std::string::npos);
    EXPECT_EQ(Run("list", "ZERIX_BUS=simulated").out, before.out);
}

TEST_F(Tool, ListsAsJson)
{
    const Outcome outcome = Run("--sim list --json");
    const auto json = nlohmann::json::parse(outcome.out);
    ASSERT_EQ(json.size(), 3u);
    EXPECT_EQ(json[0]["id"], 0);
    EXPECT_EQ(json[0]["model"], "Astrel C2");
    EXPECT_EQ(json[0]["model_number"], 18);
    EXPECT_EQ(json[0]["colour"], false);
    EXPECT_EQ(json[1]["colour"], true);
    EXPECT_EQ(json[2]["cooled"], false);
}

TEST_F(Tool, InfoShowsTheChosenCamera)
{
    const auto first = nlohmann::json::parse(Run("--sim info --json").out);
    EXPECT_EQ(first["model"], "Astrel C2");
    EXPECT_EQ(first["ccd_width"], 1392);
    EXPECT_EQ(first["ccd_height"], 1040);
    const auto second = nlohmann::json::parse(Run("--sim info --json --camera 1").out);
    EXPECT_EQ(second["model"], "Astrel B2");
    EXPECT_EQ(second["ccd_type"], 1);
    EXPECT_TRUE(second["intensifier_model"].is_null());
    const Outcome table = Run("--sim info --camera 2");
    EXPECT_NE(table.out.find("maximum bit depth"), std::string::npos);
}

// Names and numbers as the driver tells them: a camera of model 5 with the sensor of a B1 is one.
TEST_F(Tool, ListsEveryModelOfTheFamily)
{
    using Names = std::vector<std::string>;
    const std::pair<const char *, Names> kRacks[] = {
        {"family-1",
         {"Astrel A1", "Astrel B1", "Astrel A2", "Sparrow B", "Benchmate", "Benchmate",
          "Astrel Intensified", "Sparrow IR", "Astrel C1", "Astrel F1"}},
        {"family-2",
         {"Astrel B1", "NoctisA1", "Astrel E1", "OEM Camera 3", "Astrel C2", "Astrel B2",
          "Astrel C3", "Astrel B3"}},
        {"family-3",
         {"Noctis C1", "Astrel F1", "Noctis A2", "Astrel E2", "Merid Cobalt", "Merid Teal",
          "Astrel G1", "OXA", "MT1", "Unknown"}}};
    for (const auto &[rack, expected] : kRacks) {
        const Outcome outcome = Run("--rack " + std::string(rack) + " list --json");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        Names names;
        for (const auto &camera : nlohmann::json::parse(outcome.out))
            names.push_back(camera["model"]);
        EXPECT_EQ(names, expected);
    }
}

// Every information key, and null where the camera has no such value.
TEST_F(Tool, InfoAsJsonHasEveryKey)
{
    const auto json = nlohmann::json::parse(Run("--rack family-1 info --camera 6 --json").out);
    for (const char *name : {"camera_type",
                             "serial_number",
                             "hardware_version",
                             "firmware_version",
                             "ccd_model",
                             "maximum_bit_depth",
                             "cooled",
                             "reserved",
                             "image_width",
                             "image_height",
                             "image_size",
                             "ccd_type",
                             "ccd_width",
                             "ccd_height",
                             "firmware_build",
                             "unique_identifier",
                             "model_b",
                             "intensifier_model",
                             "exposure_resolution",
                             "trigger_delay_resolution",
                             "streaming_version",
                             "normalised_gain_significant_figures",
                             "normalised_gain_resolution",
                             "intensifier_gain_significant_figures",
                             "intensifier_gain_resolution",
                             "regulated_cooling",
                             "temperature_locked",
                             "fan_control",
                             "high_sensitivity_mode",
                             "blackout_mode",
                             "post_processed_image_size",
                             "asymmetrical_binning",
                             "em_gain",
                             "shutter_close_delay",
                             "filter_wheel",
                             "dither_control",
                             "high_gain_mode",
                             "vertical_clock_control",
                             "keelem_mode",
                             "locked_gain_mode"}) {
        ASSERT_TRUE(json.contains(name)) << name;
        EXPECT_TRUE(json[name].is_number()) << name;
    }
    EXPECT_EQ(json.size(), 43U) << "40 keys, model and serial, parameters";
    EXPECT_EQ(json["camera_type"], 9);
    EXPECT_EQ(json["intensifier_model"], 1);
    EXPECT_EQ(json["filter_wheel"], 1);
    EXPECT_EQ(json["em_gain"], 0);
}

TEST_F(Tool, InfoShowsEveryCameraOfTheFamily)
{
    for (const auto &[rack, count] :
         {std::pair{"family-1", 10}, std::pair{"family-2", 8}, std::pair{"family-3", 10}}) {
        for (int camera = 0; camera < count; ++camera) {
            const Outcome outcome =
                Run("--rack " + std::string(rack) + " info --camera " + std::to_string(camera));
            EXPECT_EQ(outcome.status, 0) << rack << " " << camera << " " << outcome.err;
            EXPECT_NE(outcome.out.find("CCD width"), std::string::npos) << rack << " " << camera;
        }
    }
}

TEST_F(Tool, RacksTellsTheKnownRacksAndScenes)
{
    const Outcome table = Run("racks", "ZERIX_RACKS='" + Path("") + "'");
    EXPECT_EQ(table.status, 0) << table.err;
    for (const char *word : {"default: ", "family-3: ", "Astrel Intensified", "KAF-3200",
                             "2560 x 1920", "model 11", "flat[:PHOTONS]", "positions"})
        EXPECT_NE(table.out.find(word), std::string::npos) << word;
    EXPECT_EQ(table.out.find("mine: "), std::string::npos);

    Write("mine.toml", "meaning = \"my own\"\n[[camera]]\nmodel = \"Astrel C2\"\n");
    Write("worse.toml", "[[camera]]\nmodel = \"Astrel Z9\"\n");
    const Outcome outcome = Run("racks --json", "ZERIX_RACKS='" + Path("") + "'");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto json = nlohmann::json::parse(outcome.out);
    ASSERT_EQ(json["racks"].size(), 6U);
    EXPECT_EQ(json["racks"][1]["name"], "family-1");
    EXPECT_EQ(json["racks"][1]["speed"], 400);
    EXPECT_EQ(json["racks"][1]["built_in"], true);
    EXPECT_EQ(json["racks"][1]["cameras"][9]["model"], "Astrel F1");
    EXPECT_EQ(json["racks"][4]["name"], "mine");
    EXPECT_EQ(json["racks"][4]["meaning"], "my own");
    EXPECT_EQ(json["racks"][4]["built_in"], false);
    EXPECT_EQ(json["racks"][5]["cameras"].size(), 0U);
    EXPECT_NE(std::string(json["racks"][5]["meaning"]).find("worse.toml:2"), std::string::npos);
    EXPECT_EQ(json["scenes"].size(), 9U);
}

TEST_F(Tool, AnUnknownCameraListsTheKnownOnes)
{
    const Outcome outcome = Run("--sim info --camera 9");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.starts_with("zerix: There is no camera \"9\"; the bus has 0 (unique"))
        << outcome.err;
}

TEST_F(Tool, TwoRunsGiveIdenticalFiles)
{
    std::string endings = ".raw";
#if defined(ZERIX_TEST_ALL_FORMATS)
    endings = ".raw .png .tif .fits";
#endif
    std::stringstream list(endings);
    for (std::string ending; list >> ending;) {
        ASSERT_EQ(Run("--sim grab -n 3 -o a" + ending).status, 0);
        ASSERT_EQ(Run("--sim grab -n 3 -o b" + ending).status, 0);
        for (const char *number : {"-0001", "-0002", "-0003"}) {
            const std::string a = Contents(Path(std::string("a") + number + ending));
            EXPECT_GT(a.size(), 1000u);
            EXPECT_EQ(a, Contents(Path(std::string("b") + number + ending))) << number << ending;
        }
        EXPECT_NE(Contents(Path("a-0001" + ending)), Contents(Path("a-0002" + ending)));
    }
}

TEST_F(Tool, GrabSaysWhatItTook)
{
    const Outcome outcome = Run("--sim grab -o p.raw");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(outcome.out.starts_with("p.raw: 1392 x 1040, 8 bits: ")) << outcome.out;
    EXPECT_EQ(Contents(Path("p.raw")).size(), 1392u * 1040u);
    const auto json = nlohmann::json::parse(Contents(Path("p.raw.json")));
    EXPECT_EQ(json["camera"], "Astrel C2");
    EXPECT_EQ(json["exposure_ns"], 16'384'000);
    EXPECT_EQ(json["gain"], 1.0);
    EXPECT_EQ(json["binning"], nlohmann::json::array({1, 1}));
}

// Of a mosaic the colours, of flat light a flat picture: a small rack for each.
TEST_F(Tool, APreviewIsSmallAndInColour)
{
    Write("two.toml", "[[camera]]\nmodel = \"Astrel B2\"\nsensor = 53\nscene = \"colour-chart\"\n"
                      "[[camera]]\nmodel = \"Astrel C2\"\nscene = \"gradient\"\n");
    const Outcome colour = Run("--rack two.toml preview --size 160 -o colour.ppm");
    EXPECT_EQ(colour.status, 0) << colour.err;
    EXPECT_EQ(colour.out, "colour.ppm: Astrel B2, 160 x 120\n");
    const std::string chart = Contents(Path("colour.ppm"));
    ASSERT_TRUE(chart.starts_with("P6\n160 120\n255\n"));
    ASSERT_EQ(chart.size(), 15U + 160 * 120 * 3);
    size_t coloured = 0;
    for (size_t i = 15; i + 2 < chart.size(); i += 3) {
        const auto red = static_cast<uint8_t>(chart[i]);
        const auto blue = static_cast<uint8_t>(chart[i + 2]);
        coloured += red > blue + 60 || blue > red + 60 ? 1 : 0;
    }
    EXPECT_GT(coloured, 160U * 120 / 4);

    EXPECT_EQ(Run("--rack two.toml --camera 1 preview --size 100 -o grey.ppm").status, 0);
    const std::string grey = Contents(Path("grey.ppm"));
    ASSERT_TRUE(grey.starts_with("P6\n99 74\n255\n")) << grey.substr(0, 12); // blocks of 14
    for (size_t i = 13; i + 2 < grey.size(); i += 3) {
        ASSERT_EQ(grey[i], grey[i + 1]);
        ASSERT_EQ(grey[i], grey[i + 2]);
    }
    EXPECT_LT(static_cast<uint8_t>(grey[13]), 40);
    EXPECT_GT(static_cast<uint8_t>(grey[13 + 98 * 3]), 215);
}

// The picture's own line begins where the progress was taken away.
TEST_F(Tool, OneLongExposureHasItsProgressOnATerminalAlone)
{
    Write("real.toml",
          "clock = \"real\"\n[[camera]]\nmodel = \"Astrel C2\"\nscene = \"gradient\"\n");
    const std::string grab = "--rack real.toml grab --set exposure=1700ms -o p.raw";
    const std::string shown = ShownOnATerminal(grab);
    EXPECT_NE(shown.find("\r\x1b[Ktaking a picture, 1 s"), std::string::npos) << shown;
    EXPECT_NE(shown.find("\r\x1b[Kp.raw: 1392 x 1040"), std::string::npos) << shown;
    EXPECT_EQ(Run(grab).err, "");
    const std::string quick =
        ShownOnATerminal("--rack real.toml grab --set roi=0,0,320,200 -o p.raw");
    EXPECT_EQ(quick.find('\x1b'), std::string::npos) << quick;
}

TEST_F(Tool, APreviewThatCannotBeWrittenSaysWhyAndLeavesNoHalfFile)
{
    EXPECT_EQ(Run("--sim preview -o nowhere/p.ppm").err,
              "zerix: nowhere/p.ppm can't be written: there is no folder nowhere.\n");
    EXPECT_EQ(Run("--sim preview -o p.png").err,
              "zerix: p.png: a preview goes to a file that ends in .ppm.\n");
    EXPECT_FALSE(std::filesystem::exists(Path("p.png")));
    // 348 x 260 pixels are 271,455 bytes; a block is 512.
    const Outcome full = Run("--sim preview -o p.ppm", "",
                             "timeout 60 sh -c 'trap \"\" XFSZ; ulimit -f 200; exec \"$@\"' sh");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err, "zerix: p.ppm can't be written: File too large.\n");
    EXPECT_FALSE(std::filesystem::exists(Path("p.ppm")));
    EXPECT_FALSE(std::filesystem::exists(Path(".p.ppm.part")));
}

TEST_F(Tool, AFullStandardOutputIsAFailure)
{
    for (const char *verb : {"list", "info", "info --json", "racks", "get", "--help"}) {
        const Outcome outcome = RunInto("/dev/full", std::string("--sim ") + verb);
        EXPECT_EQ(outcome.status, 1) << verb;
        EXPECT_EQ(outcome.err,
                  "zerix: the standard output can't be written: No space left on device.\n")
            << verb;
    }
}

TEST_F(Tool, AFullStandardErrorIsNoCrash)
{
    EXPECT_EQ(Run("list", "", "sh -c 'exec timeout 60 \"$@\" 2>/dev/full' sh").status, 1);
}

TEST_F(Tool, AFileNameThatIsNoUtf8IsToldInJson)
{
    const Outcome outcome = Run("--sim record -n 1 --json -o 'a\xFF.raw'");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(nlohmann::json::parse(outcome.out)["file"], "a\xEF\xBF\xBD.raw");
}

TEST_F(Tool, AnUnknownCommandIsToldWithTheKnownOnes)
{
    const Outcome unknown = Run("frobnicate");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_TRUE(
        unknown.err.starts_with("zerix: \"frobnicate\" is no command; known are list, bus, info, "))
        << unknown.err;
    EXPECT_EQ(Run("--sim lst").err, "zerix: \"lst\" is no command; did you mean list?\n");
    EXPECT_EQ(Run("trace sow").err, "zerix: \"sow\" is no command; did you mean show?\n");
}

// As an unset variable of a script gives it: another bus or camera than the wanted one is no
// answer.
TEST_F(Tool, AnEmptyRackCameraOrFileIsWrongUsage)
{
    for (const char *arguments :
         {"--rack '' list", "--sim --camera '' list", "--sim grab -o ''", "--sim record -n 1 -o ''",
          "--sim preview -o ''", "--sim trigger -o ''", "process in.raw -o ''"}) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_NE(outcome.err.find("it can't be empty"), std::string::npos) << outcome.err;
    }
}

TEST_F(Tool, ATimeThatIsNoneIsToldInOneShortSentence)
{
    for (const char *time : {"0", "-5s", "1e400s", "-0.0min"}) {
        const Outcome outcome = Run(std::string("--sim grab -o p.raw --wait=") + time);
        EXPECT_EQ(outcome.status, 2) << time;
        EXPECT_TRUE(outcome.err.starts_with("--wait: it takes a time above 0, such as 500ms, 5s "
                                            "or 2min\n"))
            << outcome.err;
    }
}

// While it is opened, and in the middle of a send.
TEST_F(Tool, ACameraThatNeverAnswersEndsTheTool)
{
    Write("opened.toml", "[[camera]]\nmodel = \"Astrel C2\"\nfaults = [\"hang at write 4\"]\n");
    EXPECT_EQ(Run("--rack opened.toml list", "", "timeout 40").err,
              "zerix: the camera doesn't answer: check its cable and its power, and switch it off "
              "and on.\n");
    Write("sent.toml", "[[camera]]\nmodel = \"Astrel C2\"\nfaults = [\"hang at write 42\"]\n");
    EXPECT_EQ(Run("--rack sent.toml set exposure=3ms roi=1,2,100,100", "", "timeout 40").status, 1);
}

TEST_F(Tool, ABayerCameraNamesItsMosaic)
{
    ASSERT_EQ(Run("--sim --camera 1 grab -o p.raw").status, 0);
    EXPECT_EQ(nlohmann::json::parse(Contents(Path("p.raw.json")))["bayer_pattern"], "GRBG");
}

TEST_F(Tool, AFileItCannotWriteIsToldBeforeAnythingIsExposed)
{
    const Outcome ending = Run("--sim grab -o p.bmp");
    EXPECT_EQ(ending.status, 1);
    EXPECT_TRUE(ending.err.starts_with("zerix: p.bmp: the ending \".bmp\" is no picture format"))
        << ending.err;
    const Outcome folder = Run("--sim grab -o nowhere/p.raw");
    EXPECT_EQ(folder.status, 1);
    EXPECT_EQ(folder.err, "zerix: nowhere/p.raw can't be written: there is no folder nowhere.\n");
}

TEST_F(Tool, ARackThatCannotBeUsedIsToldWithFileAndLine)
{
    const Outcome missing = Run("--rack missing.toml list");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("missing.toml"), std::string::npos) << missing.err;
    Write("bad.toml", "speed = 800\n\n[[camera]]\nmodel = \"Astrel Z9\"\n");
    const Outcome bad = Run("--rack bad.toml list");
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.err.find("bad.toml:4"), std::string::npos) << bad.err;
    EXPECT_NE(bad.err.find("Astrel C2"), std::string::npos)
        << "lists the known models: " << bad.err;
    Write("scene.toml", "[[camera]]\nmodel = \"Astrel C2\"\nscene = \"moon\"\n");
    const Outcome scene = Run("--rack scene.toml list");
    EXPECT_EQ(scene.status, 1);
    EXPECT_NE(scene.err.find("scene.toml:3"), std::string::npos) << scene.err;
    EXPECT_NE(scene.err.find("stars"), std::string::npos)
        << "lists the known scenes: " << scene.err;
}

TEST_F(Tool, AMalformedConfigurationIsToldAndTheRestIsUsed)
{
    Write("zerix.conf", "Bus = simulated\nthis is no value\n");
    const Outcome outcome = Run("list", "ZERIX_CONFIG='" + Path("zerix.conf") + "'");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err,
              Path("zerix.conf") + ":2: expected \"name = value\", found \"this is no value\"\n");
    EXPECT_NE(outcome.out.find("Astrel C2"), std::string::npos);
}

TEST_F(Tool, ANamedConfigurationThatIsMissingAndNamesThatNobodyKnowsAreReported)
{
    const std::string missing = Path("missing.conf");
    const Outcome unread =
        Run("--sim list", "HOME='" + Path("") + "' ZERIX_CONFIG='" + missing + "'");
    EXPECT_EQ(unread.status, 0);
    EXPECT_EQ(unread.err,
              missing + ": the configuration can't be read: No such file or directory\n");
    Write("zerix.conf", "buss = simulated\nBus = simulated\n");
    const Outcome unknown = Run("list", "ZERIX_CONFIG='" + Path("zerix.conf") + "'");
    EXPECT_EQ(unknown.status, 0);
    EXPECT_EQ(unknown.err, Path("zerix.conf") + ":1: the library knows no value named \"buss\"\n");
}

// Each of what is advised makes the refused picture fit.
TEST_F(Tool, APictureThatASlowBusRefusesComesWithWhatWouldFit)
{
    Write("slow.toml", "speed = 400\n[[camera]]\nmodel = \"Astrel C2\"\n");
    const std::string grab = "--rack slow.toml grab -o p.raw --set ";
    const Outcome refused = Run(grab + "format=mono16");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err,
              "zerix: the picture can't be taken: the bus has no bandwidth left for the camera "
              "(error 30). Take pictures of 8 bits (--set format=mono8 or bayer8), with a slower "
              "readout (--set readout-speed=10MHz) or binned (--set binning=2), or take other "
              "devices off the bus.\n");
    for (const char *advised : {"format=mono8", "format=mono16 --set readout-speed=10MHz",
                                "format=mono16 --set binning=2"})
        EXPECT_EQ(Run(grab + advised).status, 0) << advised;
    EXPECT_EQ(Run(grab + "format=mono16 --set roi=0,0,64,64").status, 1) << "no use";
}

// Longer than the clock counts.
TEST_F(Tool, AWaitOfCenturiesIsNoWaitOfNothing)
{
    for (const char *wait : {"1e10s", "1e300h"}) {
        const Outcome outcome = Run(std::string("--sim grab -o p.raw --wait ") + wait);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Outcome triggered = Run(std::string("--sim trigger --wait ") + wait);
        EXPECT_EQ(triggered.status, 0) << triggered.err;
        const Outcome recorded = Run(std::string("--sim record -n 2 -o r.raw --wait ") + wait);
        EXPECT_EQ(recorded.status, 0) << recorded.err;
        const Outcome found = Run(std::string("--sim autoexpose --wait ") + wait);
        EXPECT_EQ(found.status, 0) << found.err;
    }
}

TEST_F(Tool, FaultsOfThePlanAreMetWithoutACrash)
{
    Write("faults.toml", "[[camera]]\nmodel = \"Astrel C2\"\n"
                         "faults = [\"lose packet at frame 1 packet 5\"]\n");
    const Outcome lost = Run("--rack faults.toml grab -o p.raw");
    EXPECT_EQ(lost.status, 0) << lost.err;
    EXPECT_EQ(lost.err, "zerix: warning: data of picture 1 is missing and is black.\n");
    Write("unplug.toml", "[[camera]]\nmodel = \"Astrel C2\"\n"
                         "faults = [\"unplug at frame 1 packet 5\"]\n");
    const Outcome unplugged = Run("--rack unplug.toml grab -o q.raw");
    EXPECT_EQ(unplugged.status, 1);
    EXPECT_EQ(unplugged.err, "zerix: the picture can't be taken: general internal error occurred "
                             "(driver fault) (error 16). Check the cable and the camera's power, "
                             "and that no other program holds it.\n");
    EXPECT_FALSE(std::filesystem::exists(Path("q.raw")));
}

} // namespace
