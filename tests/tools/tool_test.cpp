// The zerix tool run as a person runs it: what it prints, where, and with which exit status.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/support/temporary_folder.h"

namespace {

std::string Contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

class Tool : public testing::Test {
protected:
    // Runs the tool with no configuration but what `environment` says.
    Outcome Run(const std::string &arguments, const std::string &environment = "")
    {
        const std::string command = "cd '" + m_folder.Path() +
                                    "' && env -u ZERIX_BUS ZERIX_CONFIG=/nowhere/zerix.conf " +
                                    environment + " timeout 60 '" ZERIX_TOOL_PATH "' " + arguments +
                                    " >out.txt 2>err.txt </dev/null";
        const int status = std::system(command.c_str());
        return {WEXITSTATUS(status), Contents(Path("out.txt")), Contents(Path("err.txt"))};
    }

    std::string Path(const std::string &name) { return m_folder.Path() + "/" + name; }

    void Write(const std::string &name, const std::string &text)
    {
        std::ofstream(Path(name)) << text;
    }

    zerix::test::TemporaryFolder m_folder;
};

TEST_F(Tool, HelpNamesEveryVerbAndTheWaysOn)
{
    const Outcome help = Run("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char *word : {"list", "info", "grab", "--sim", "--rack", "--camera", "--json"})
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

TEST_F(Tool, WithNoBusTheErrorNamesBothWaysOn)
{
    for (const char *verb : {"list", "info", "grab -o x.raw"}) {
        const Outcome outcome = Run(verb);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(
            outcome.err,
            "zerix: There is no FireWire camera at hand: connect one and switch it on, or use "
            "--sim for virtual cameras (--rack FILE for your own).\n");
    }
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
    EXPECT_NE(outcome.err.find("zerix.conf:2"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.out.find("Astrel C2"), std::string::npos);
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
