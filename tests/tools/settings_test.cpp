// Settings through the tool: shown, checked, sent.
#include <map>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/places.h"
#include "tests/tools/tool_fixture.h"

namespace {

using zerix::test::Contents;
using Json = nlohmann::json;

class ToolSettings : public zerix::test::ToolTest {
protected:
    Json Get(const std::string &arguments)
    {
        const Outcome outcome = Run(arguments + " --json");
        EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
        return Json::parse(outcome.out, nullptr, false);
    }
};

// Number and family of every parameter key in the public header.
using Keys = std::set<std::tuple<std::string, uint32_t, std::string>>;

Keys KeysOfTheHeader()
{
    const std::string header =
        Contents(zerix::test::SourceFolder() + "/include/zerix/zerix_keys.h");
    const std::map<std::string, std::string> kFamilies = {
        {"ZerixParam", "unsigned"}, {"ZerixParamS32", "signed"}, {"ZerixParam64", "unsigned64"}};
    const std::regex pattern(R"(enum (\w+) \{|(zprm\w+) = (\d+))");
    Keys keys;
    std::string family;
    for (std::sregex_iterator found(header.begin(), header.end(), pattern), end; found != end;
         ++found) {
        const std::smatch &match = *found;
        if (match[1].matched)
            family = kFamilies.contains(match[1]) ? kFamilies.at(match[1]) : "";
        else
            keys.emplace(match[2], std::stoul(match[3]), family);
    }
    return keys;
}

TEST_F(ToolSettings, InfoTellsEveryParameterKeyOfTheHeader)
{
    const Json parameters = Get("--sim info")["parameters"];
    Keys shown;
    std::set<std::string> names;
    for (const auto &[fullName, entry] : parameters.items()) {
        shown.emplace(fullName, entry["key"], entry["type"]);
        EXPECT_TRUE(names.insert(entry["name"]).second) << entry["name"] << " stands twice";
        EXPECT_NE(entry["meaning"], "") << fullName;
    }
    EXPECT_EQ(shown, KeysOfTheHeader());
    EXPECT_EQ(shown.size(), 60U);
}

TEST_F(ToolSettings, InfoTellsLimitsListsDefaultsAndUnits)
{
    const Json parameters = Get("--sim info")["parameters"];
    const Json &exposure = parameters["zprm64Exposure"];
    EXPECT_EQ(exposure["supported"], true);
    EXPECT_EQ(exposure["unit"], "ns");
    EXPECT_EQ(exposure["value"], 16'384'000);
    EXPECT_EQ(exposure["text"], "16.384 ms");
    EXPECT_EQ(exposure["default"], 16'384'000);
    EXPECT_EQ(exposure["minimum"], 10'000);
    EXPECT_EQ(exposure["allowed"], Json::array());
    EXPECT_EQ(parameters["zprmBinning"]["allowed"], Json::array({1, 2, 4, 8}));
    EXPECT_EQ(parameters["zprmRoiWidth"]["maximum"], 1392);
    EXPECT_EQ(parameters["zprmRoiWidth"]["unit"], "pixels");
    // A deep monochrome sensor behind a filter wheel.
    EXPECT_EQ(parameters["zprmImageFormat"]["allowed"],
              Json::array({0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(parameters["zprmImageFormat"]["allowed_texts"][3], "mono16");
    // No intensifier, nor ever a shutter state: only that is told.
    EXPECT_EQ(parameters["zprmIntensifierGain"]["supported"], false);
    EXPECT_FALSE(parameters["zprmIntensifierGain"].contains("value"));
    EXPECT_EQ(parameters["zprmShutterState"]["supported"], false);
    // It can be set, but not read.
    EXPECT_EQ(parameters["zprmTweekingRegister"]["value"], nullptr);

    const Outcome table = Run("--sim info");
    EXPECT_NE(table.out.find("\nexposure  "), std::string::npos);
    EXPECT_NE(table.out.find("not on this camera\n"), std::string::npos);
    EXPECT_NE(table.out.find("0 to 1391 pixels\n"), std::string::npos);
}

TEST_F(ToolSettings, GetShowsTheNamedOnes)
{
    const Outcome one = Run("--sim get fan");
    EXPECT_EQ(one.status, 0) << one.err;
    EXPECT_EQ(one.out, "SETTING  VALUE  DEFAULT  ALLOWED\n"
                       "fan      full   full     low, medium, high, full\n");
    for (const char *name : {"zprmFan", "Fan", "FAN", "fan"})
        EXPECT_EQ(Get("--sim get " + std::string(name)).begin().key(), "zprmFan") << name;
    const Json region = Get("--sim get roi");
    EXPECT_EQ(region.size(), 4U);
    EXPECT_EQ(region["zprmRoiHeight"]["value"], 1040);
    // Each camera's own ways of binning.
    EXPECT_EQ(Get("--sim get binning").size(), 1U);
    EXPECT_TRUE(Get("--rack family-1 --camera 4 get binning").contains("zprmVerticalBinning"));
    const Outcome lacking = Run("--sim get intensifier-gain");
    EXPECT_EQ(lacking.status, 1);
    EXPECT_EQ(lacking.out, "");
    EXPECT_TRUE(lacking.err.starts_with("zerix: this camera has no intensifier-gain: the function "
                                        "is not supported for this device (error 1)."))
        << lacking.err;
}

TEST_F(ToolSettings, ASettingCanBeWrittenAsPeopleDo)
{
    struct Case {
        const char *assignment;
        const char *key;
        int64_t value;
    };
    const Case kCases[] = {
        {"exposure=20ms", "zprm64Exposure", 20'000'000},
        {"exposure=20MS", "zprm64Exposure", 20'000'000},
        {"exposure=0.02s", "zprm64Exposure", 20'000'000},
        {"'exposure=20 ms'", "zprm64Exposure", 20'000'000},
        {"exposure=150us", "zprm64Exposure", 150'000},
        {"exposure=150µs", "zprm64Exposure", 150'000},
        {"exposure=1.5min", "zprm64Exposure", 90'000'000'000},
        {"exposure-us=20ms", "zprmExposure", 20'000},
        {"zprmExposure=20000", "zprmExposure", 20'000},
        {"zprm64Exposure=20000000", "zprm64Exposure", 20'000'000},
        {"format=mono16", "zprmImageFormat", 3},
        {"ImageFormat=Mono16", "zprmImageFormat", 3},
        {"format=3", "zprmImageFormat", 3},
        {"binning=2", "zprmBinning", 2},
        {"binning=4x4", "zprmBinning", 4},
        {"temperature=-10", "zprmS32RegulatedCoolingTemp", -10},
        {"temperature=-10C", "zprmS32RegulatedCoolingTemp", -10},
        {"cooler=off", "zprmCoolerActive", 0},
        {"cooler=no", "zprmCoolerActive", 0},
        {"fan=low", "zprmFan", 1},
        {"trigger=software", "zprmTriggerType", 5},
        {"readout-speed=10MHz", "zprmReadoutSpeed", 1},
        {"post-gain-red=1.25x", "zprmPostProcessGainRed", 1250},
        {"gain=1000", "zprmGain", 1000},
    };
    for (const Case &wanted : kCases) {
        const Json json = Get("--sim set " + std::string(wanted.assignment));
        ASSERT_TRUE(json.contains(wanted.key)) << wanted.assignment;
        EXPECT_EQ(json[wanted.key]["value"], wanted.value) << wanted.assignment;
    }
}

TEST_F(ToolSettings, TheRegionIsFourNumbersAndMosaicsKeepTheirCells)
{
    const Json region = Get("--sim set roi=100,120,640,480");
    EXPECT_EQ(region["zprmRoiX"]["value"], 100);
    EXPECT_EQ(region["zprmRoiY"]["value"], 120);
    EXPECT_EQ(region["zprmRoiWidth"]["value"], 640);
    EXPECT_EQ(region["zprmRoiHeight"]["value"], 480);
    const Outcome odd = Run("--sim --camera 1 set roi=101,120,641,480");
    EXPECT_EQ(odd.status, 0);
    EXPECT_EQ(odd.err, "zerix: warning: roi-x is 100, not 101.\n"
                       "zerix: warning: roi-width is 640, not 641.\n");
}

TEST_F(ToolSettings, ASlipIsToldInOneSentenceWithWhatIsKnown)
{
    const std::pair<const char *, const char *> kCases[] = {
        {"exposur=20ms", "\"exposur\" is no setting; did you mean exposure, exposure-us or "
                         "exposure-red? \"zerix info\" shows them all."},
        {"exposure=20", "exposure can't be \"20\": it takes a time with its unit, such as 20ms, "
                        "150us or 1.5s; the camera allows 10 us to 1073.741823 s."},
        {"exposure=1us", "exposure can't be 1 us: the camera allows 10 us to 1073.741823 s."},
        {"fan=5", "fan can't be 5: the camera allows low, medium, high, full."},
        {"fan=fast", "fan can't be \"fast\": it takes low, medium, high or full; the camera allows "
                     "low, medium, high, full."},
        {"roi-x=-1", "roi-x can't be -1: the camera allows 0 to 1391."},
        {"roi=1,2,3", "roi can't be \"1,2,3\": it takes x,y,width,height in pixels, such as "
                      "100,100,640,480."},
        {"binning=2x4", "binning must be the same along rows and columns on this camera."},
        {"binning=3", "symmetrical-binning can't be 3: the camera allows 1, 2, 4, 8."},
        {"gain", "\"gain\" is no setting: write KEY=VALUE, such as exposure=20ms."},
        {"intensifier-gain=5", "intensifier-gain can't be set on this camera: the function is not "
                               "supported for this device (error 1). \"zerix info\" shows what the "
                               "camera can do."},
    };
    for (const auto &[assignment, sentence] : kCases) {
        const Outcome outcome = Run("--sim set '" + std::string(assignment) + "'");
        EXPECT_EQ(outcome.status, 1) << assignment;
        EXPECT_EQ(outcome.out, "") << assignment;
        EXPECT_EQ(outcome.err, "zerix: " + std::string(sentence) + "\n");
    }
    const Outcome strange = Run("--sim get qqqqqq");
    EXPECT_NE(strange.err.find("known are roi, binning, gain, "), std::string::npos) << strange.err;
    EXPECT_EQ(Run("--sim set").status, 2);
}

TEST_F(ToolSettings, NoTextOfAValueIsTooStrange)
{
    for (const char *value : {"",
                              " ",
                              "-",
                              ".",
                              "+",
                              "1.2.3ms",
                              "99999999999999999999",
                              "99999999999999999999s",
                              "9223372036854775807min",
                              "-9223372036854775808",
                              "1e9s",
                              "nan",
                              "inf",
                              "0x10",
                              "20m\ts",
                              "µ",
                              "=",
                              "5ms=",
                              "--",
                              "00000000000000000000000000000000000000000000000"}) {
        for (const char *key : {"exposure", "gain", "fan", "temperature", "gain-db", "roi",
                                "binning", "zprm64NormIntensGain"}) {
            const Outcome outcome =
                Run("--rack family-1 --camera 6 set '" + std::string(key) + "=" + value + "'");
            const bool isZero = value[0] == '0' && value[1] == '0';
            EXPECT_TRUE(outcome.status == 1 || (isZero && outcome.status == 0))
                << key << "=" << value << ": " << outcome.status;
            EXPECT_EQ(outcome.status == 1, outcome.err.starts_with("zerix: ")) << outcome.err;
        }
    }
}

// What a camera shows of itself it takes again.
TEST_F(ToolSettings, EveryCameraTakesWhatItShows)
{
    // Told by the camera alone; or beyond its own list or limits at first; or, as the double shot
    // and the colours' exposures without a turning wheel, given another value by the send.
    const std::set<std::string> kNotSettable = {
        "zprmReserved45",        "zprmTweekingRegister",  "zprmKeelEmGainValue10",
        "zprmKeelEmGainValue20", "zprmKeelEmGainValue40", "zprmPostProcessImageFormat",
        "zprm64NormIntensGain",  "zprmNormIntensGaindB",  "zprmDoubleShot",
        "zprmExposureRed",       "zprmExposureBlue",      "zprm64ExposureRed",
        "zprm64ExposureBlue"};
    for (const auto &[rack, count] :
         {std::pair{"family-1", 10}, std::pair{"family-2", 8}, std::pair{"family-3", 10}}) {
        for (int camera = 0; camera < count; ++camera) {
            const std::string chosen =
                "--rack " + std::string(rack) + " --camera " + std::to_string(camera);
            const Json settings = Get(chosen + " get");
            EXPECT_GE(settings.size(), 23U);
            std::string assignments;
            for (const auto &[fullName, entry] : settings.items())
                if (!kNotSettable.contains(fullName))
                    assignments +=
                        " '" + std::string(entry["name"]) + "=" + std::string(entry["text"]) + "'";
            const Outcome outcome = Run(chosen + " set" + assignments);
            EXPECT_EQ(outcome.status, 0) << chosen << assignments << outcome.err;
            EXPECT_EQ(outcome.err, "") << chosen << assignments;
        }
    }
}

TEST_F(ToolSettings, GrabTakesThePictureThatWasAskedFor)
{
    const Outcome outcome = Run("--sim grab --set roi=64,32,320,200 --set format=mono16 "
                                "--set exposure=50ms --set temperature=-10 -o p.raw");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("p.raw: 320 x 200, 14 bits: ")) << outcome.out;
    EXPECT_EQ(Contents(Path("p.raw")).size(), 320U * 200 * 2);
    const Json json = Json::parse(Contents(Path("p.raw.json")));
    EXPECT_EQ(json["exposure_ns"], 50'000'000);
    const Outcome binned = Run("--sim grab --set binning=4 -o b.raw");
    EXPECT_TRUE(binned.out.starts_with("b.raw: 348 x 260, 8 bits: ")) << binned.out << binned.err;
    const Outcome colours = Run("--sim grab --set format=bgr24 -o c.raw");
    EXPECT_EQ(colours.status, 1);
    EXPECT_NE(colours.err.find("three colours"), std::string::npos) << colours.err;
}

TEST_F(ToolSettings, AGrabDoesNotWaitForEver)
{
    const Outcome untriggered = Run("--sim grab --set trigger=hardware1 --wait 500ms -o p.raw");
    EXPECT_EQ(untriggered.status, 1);
    EXPECT_TRUE(untriggered.err.starts_with("zerix: no picture came within 0.5 s: "))
        << untriggered.err;
    Write("lossy.toml", "[[camera]]\nmodel = \"Astrel C2\"\nfaults = [\"lose packet\"]\n");
    const Outcome lost = Run("--rack lossy.toml grab --wait 1s -o p.raw");
    EXPECT_EQ(lost.status, 1);
    EXPECT_TRUE(lost.err.starts_with("zerix: no picture came within 1 s: ")) << lost.err;
}

} // namespace
