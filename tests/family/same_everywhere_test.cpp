// What every build must give alike, byte for byte: the pictures of the racks, raw and finished, and
// the trace of a session. Each build is held to the same files of tests/family/golden.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "api/monitor.h"
#include "tests/family/family_session.h"
#include "tests/support/places.h"

namespace zerix::family {
namespace {

std::string GoldenText(const std::string &name)
{
    std::ifstream file(test::SourceFolder() + "/tests/family/golden/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// On a difference the text of this build is left for a look.
void ExpectGolden(const std::string &name, const std::string &text)
{
    const std::string golden = GoldenText(name);
    ASSERT_FALSE(golden.empty()) << name;
    if (text == golden)
        return;
    std::ofstream(name + ".found") << text;
    std::istringstream found(text);
    std::istringstream expected(golden);
    std::string foundLine;
    std::string expectedLine;
    for (int number = 1; std::getline(expected, expectedLine); ++number) {
        std::getline(found, foundLine);
        ASSERT_EQ(foundLine, expectedLine) << name << ":" << number;
        foundLine.clear();
    }
    FAIL() << name << " goes on: " << text.substr(golden.size());
}

// FNV-1a.
uint64_t DigestOf(const uint8_t *bytes, size_t count)
{
    uint64_t digest = 0xCBF29CE484222325u;
    for (size_t i = 0; i < count; ++i)
        digest = (digest ^ bytes[i]) * 0x100000001B3u;
    return digest;
}

class SameEverywhere : public FamilySession {
protected:
    SameEverywhere() { api::SetMonitorIntervalsForTest(3'600'000, 3'600'000); }
    ~SameEverywhere() override { api::SetMonitorIntervalsForTest(3'000, 28'000); }

    std::string PictureLine() const
    {
        char line[120];
        std::snprintf(line, sizeof line, "%ux%u format %u: %016llx\n", frame.width, frame.height,
                      frame.format,
                      static_cast<unsigned long long>(DigestOf(pixels.data(), frame.size)));
        return line;
    }

    void Set(uint32_t key, uint32_t value)
    {
        EXPECT_EQ(Zerix_SetParam(&settings, key, value), 0u) << key;
    }

    void Send() { EXPECT_EQ(Zerix_SendSettingsToCam(handle, &settings), 0u); }

    // A mosaic finished in a format of three colours.
    void GrabFinished(uint32_t algorithm, uint32_t format)
    {
        Set(zprmDoPostProcessing, 1);
        Set(zprmPostProcessBayerAlgorithm, algorithm);
        Set(zprmPostProcessImageFormat, format);
        Set(zprmPostProcessGainRed, 1160);
        Set(zprmPostProcessGainBlue, 1730);
        Send();
        pixels.assign(Zerix_CalcImageSize(format, 1600, 1200), 0);
        frame = {};
        frame.pBuffer = pixels.data();
        frame.bufferSize = static_cast<uint32_t>(pixels.size());
        ASSERT_EQ(ZerixSim_GiveCredit(1, 1), 0u);
        ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
        Take();
    }

    Zerix_Settings settings = {};
};

struct Chosen {
    const char *rack;
    std::vector<uint32_t> places;
};

// Old and new stream formats, mosaics, electron multiplication, an intensifier, a scene in a colour
// of its own, and the far corner.
const Chosen kChosen[] = {{"default", {0, 1, 2}},
                          {"family-1", {0, 7}},
                          {"family-2", {2}},
                          {"family-3", {0, 2, 8, 9}},
                          {"warm-light", {0}}};

TEST_F(SameEverywhere, RawPictures)
{
    std::string text;
    for (const auto &[rack, places] : kChosen) {
        UseFamilyRack(rack);
        for (const uint32_t place : places) {
            OpenAt(place);
            ASSERT_NO_FATAL_FAILURE(Grab());
            text += std::string(rack) + " " + std::to_string(place) + ": " + PictureLine();
            Zerix_ReleaseDriver();
        }
    }
    ExpectGolden("raw_pictures.txt", text);
}

TEST_F(SameEverywhere, FinishedPictures)
{
    OpenAt(1);
    ASSERT_EQ(Zerix_CreateCameraSettingsStruct(&settings), 0u);
    ASSERT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
    std::string text;
    for (uint32_t algorithm = 1; algorithm <= 4; ++algorithm)
        for (const uint32_t format : {zfmtBayer8, zfmtBayer16}) {
            Set(zprmImageFormat, format);
            ASSERT_NO_FATAL_FAILURE(
                GrabFinished(algorithm, format == zfmtBayer8 ? zfmtRgb24 : zfmtRgb48));
            text += "algorithm " + std::to_string(algorithm) + ": " + PictureLine();
        }
    Zerix_ReleaseCameraSettingsStruct(&settings);
    ExpectGolden("finished_pictures.txt", text);
}

// A session of one thread with all that the trace log can tell.
class SameTrace : public SameEverywhere {
protected:
    static constexpr const char *kEverything = "outputEnabled = 1\noutputSettings = 1\n"
                                               "outputGetInfo = 1\noutputFrame = 1\n"
                                               "outputSparseTable = 1\noutputToFile = 1\n";

    void AskForInformation() const
    {
        char text[64];
        Zerix_GetCameraModelString(handle, text, sizeof text);
        Zerix_GetSerialString(handle, text, sizeof text);
        uint32_t value = 0;
        for (uint32_t key = 0; key < 50; ++key)
            Zerix_GetInfo(handle, key, &value);
    }

    void AskFor32BitKeys()
    {
        for (uint32_t key = 0; key < 55; ++key) {
            uint32_t value = 0;
            Zerix_GetParamMax(&settings, key, &value);
            std::vector<uint32_t> values(100);
            auto count = static_cast<int32_t>(values.size());
            if (Zerix_IsSparseTable(&settings, key) == 0)
                Zerix_GetParamSparseTable(&settings, key, values.data(), &count);
        }
    }

    void AskForOtherKeys()
    {
        for (uint32_t key = 0; key < 5; ++key) {
            int32_t valueS32 = 0;
            Zerix_GetParamS32Min(&settings, key, &valueS32);
            uint64_t value64 = 0;
            Zerix_GetParam64Max(&settings, key, &value64);
        }
    }

    // A round of changes, some of which fail.
    void ChangeSettings()
    {
        Zerix_SetParam(&settings, zprmBinning, 2);
        Zerix_SetParam(&settings, zprmGain, 1234);
        Zerix_SetParam64(&settings, zprm64Exposure, 12'345'678);
        Zerix_SetParamS32(&settings, zprmS32NormalizedGaindB, 6'020'600);
        Zerix_SetParam(&settings, zprmBinning, 5);
        Zerix_PreflightSettings(handle, &settings);
        Zerix_SendSettingsToCam(handle, &settings);
        Zerix_ReadSettingsFromCam(handle, &settings);
    }

    void GrabSome()
    {
        pixels.assign(8'000'000, 0);
        for (int number = 0; number < 2; ++number) {
            frame = {};
            frame.pBuffer = pixels.data();
            frame.bufferSize = number == 0 ? 100 : static_cast<uint32_t>(pixels.size());
            Zerix_GrabFrame(handle, &frame);
        }
        Zerix_Abort(handle);
        Zerix_SetStreaming(handle, 0);
    }

    void RunSession(uint32_t place)
    {
        EXPECT_EQ(Zerix_LoadDriver(), 0u);
        uint16_t numbers[3];
        Zerix_LibVersion(&numbers[0], &numbers[1], &numbers[2]);
        ZerixCameraListItem rows[4] = {};
        uint32_t count = 4;
        EXPECT_EQ(Zerix_ListCameras(rows, &count), 0u);
        ASSERT_EQ(Zerix_OpenCamera(place, &handle), 0u);
        Zerix_CreateCameraSettingsStruct(&settings);
        Zerix_ReadDefaultSettings(handle, &settings);
        AskForInformation();
        AskFor32BitKeys();
        AskForOtherKeys();
        ChangeSettings();
        GrabSome();
        Zerix_CloseCamera(handle);
        Zerix_CloseCamera(handle);
        Zerix_ReleaseCameraSettingsStruct(&settings);
        Zerix_ReleaseDriver();
    }

    // A message a line, without what may differ.
    std::string Trace() const
    {
        std::string text = folder.ReadText("trace.log");
        std::replace(text.begin(), text.end(), '\0', '\n');
        text = std::regex_replace(text, std::regex("\\d\\d:\\d\\d\\.\\d\\d\\d "), "");
        text = std::regex_replace(text, std::regex("pBuffer: [0-9a-f]+"), "pBuffer: ...");
        return std::regex_replace(text, std::regex("Time Stamp: \\d+"), "Time Stamp: ...");
    }
};

TEST_F(SameTrace, OfAColourCamera)
{
    Configure(kEverything + ("outputFilePath = \"" + folder.Path() + "/trace.log\"\n"));
    RunSession(1);
    ExpectGolden("trace.txt", Trace());
}

} // namespace
} // namespace zerix::family
