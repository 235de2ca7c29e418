// Every exported function in the states that need no camera: its code, and its lines in pairs.
#include <fstream>
#include <functional>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/api/api_fixture.h"

namespace zerix::api {
namespace {

constexpr uint32_t kNoResult = 0xFFFFFFFFu;

struct ExportedFunction {
    const char *name;
    const char *key; // shown in the start line; null: none
    uint32_t ifNotLoaded;
    uint32_t ifNull; // loaded, and every pointer and handle null
    std::function<uint32_t()> call;
};

// Functions that need no loaded library answer what they always do.
const ExportedFunction kFunctions[] = {
    {"Zerix_LibVersion", nullptr, 8, 2, [] { return Zerix_LibVersion(nullptr, nullptr, nullptr); }},
    {"Zerix_Version", nullptr, 8, 2, [] { return Zerix_Version(nullptr, nullptr); }},
    {"Zerix_ListCameras", nullptr, 8, 2, [] { return Zerix_ListCameras(nullptr, nullptr); }},
    {"Zerix_OpenCamera", nullptr, 8, 2, [] { return Zerix_OpenCamera(0, nullptr); }},
    {"Zerix_CloseCamera", nullptr, 8, 9, [] { return Zerix_CloseCamera(nullptr); }},
    {"Zerix_RegisterUnpluggedCallback", nullptr, 8, 0,
     [] { return Zerix_RegisterUnpluggedCallback(nullptr, nullptr, nullptr); }},
    {"_Zerix_factory_reserved0", nullptr, 8, 9,
     [] { return _Zerix_factory_reserved0(nullptr, 0, 0, 0, 0); }},
    {"Zerix_ReadDefaultSettings", nullptr, 8, 9,
     [] { return Zerix_ReadDefaultSettings(nullptr, nullptr); }},
    {"Zerix_ReadSettingsFromCam", nullptr, 8, 9,
     [] { return Zerix_ReadSettingsFromCam(nullptr, nullptr); }},
    {"Zerix_TranslateSettings", nullptr, 8, 1,
     [] { return Zerix_TranslateSettings(nullptr, nullptr); }},
    {"Zerix_GrabFrame", nullptr, 8, 9, [] { return Zerix_GrabFrame(nullptr, nullptr); }},
    {"Zerix_GrabFrameNow", nullptr, 8, 1, [] { return Zerix_GrabFrameNow(nullptr, nullptr); }},
    {"Zerix_GrabRawNow", nullptr, 8, 1, [] { return Zerix_GrabRawNow(nullptr, nullptr); }},
    {"Zerix_ProcessRaw", nullptr, 8, 1, [] { return Zerix_ProcessRaw(nullptr, nullptr); }},
    {"Zerix_SetFrameBuffers", nullptr, 8, 1,
     [] { return Zerix_SetFrameBuffers(nullptr, nullptr, 0); }},
    {"Zerix_GetInfo", "zinfCcd", 8, 9, [] { return Zerix_GetInfo(nullptr, 4, nullptr); }},
    {"Zerix_GetSerialString", nullptr, 8, 9,
     [] { return Zerix_GetSerialString(nullptr, nullptr, 0); }},
    {"Zerix_GetCameraModelString", nullptr, 8, 9,
     [] { return Zerix_GetCameraModelString(nullptr, nullptr, 0); }},
    {"Zerix_GetParam", "zprmGain", 8, 2, [] { return Zerix_GetParam(nullptr, 0, nullptr); }},
    {"Zerix_SetParam", "zprmGain", 8, 2, [] { return Zerix_SetParam(nullptr, 0, 0); }},
    {"Zerix_GetParamS32", "zprmS32NormalizedGaindB", 8, 2,
     [] { return Zerix_GetParamS32(nullptr, 0, nullptr); }},
    {"Zerix_SetParamS32", "zprmS32NormalizedGaindB", 8, 2,
     [] { return Zerix_SetParamS32(nullptr, 0, 0); }},
    {"Zerix_GetParam64", "zprm64Exposure", 8, 2,
     [] { return Zerix_GetParam64(nullptr, 0, nullptr); }},
    {"Zerix_SetParam64", "zprm64Exposure", 8, 2, [] { return Zerix_SetParam64(nullptr, 0, 0); }},
    {"Zerix_GetParamMin", "zprmGain", 8, 2, [] { return Zerix_GetParamMin(nullptr, 0, nullptr); }},
    {"Zerix_GetParamMax", "zprmGain", 8, 2, [] { return Zerix_GetParamMax(nullptr, 0, nullptr); }},
    {"Zerix_GetParamS32Min", "zprmS32NormalizedGaindB", 8, 2,
     [] { return Zerix_GetParamS32Min(nullptr, 0, nullptr); }},
    {"Zerix_GetParamS32Max", "zprmS32NormalizedGaindB", 8, 2,
     [] { return Zerix_GetParamS32Max(nullptr, 0, nullptr); }},
    {"Zerix_GetParam64Min", "zprm64Exposure", 8, 2,
     [] { return Zerix_GetParam64Min(nullptr, 0, nullptr); }},
    {"Zerix_GetParam64Max", "zprm64Exposure", 8, 2,
     [] { return Zerix_GetParam64Max(nullptr, 0, nullptr); }},
    {"Zerix_IsParamSupported", "zprmGain", 8, 9, [] { return Zerix_IsParamSupported(nullptr, 0); }},
    {"Zerix_IsParamS32Supported", "zprmS32NormalizedGaindB", 8, 9,
     [] { return Zerix_IsParamS32Supported(nullptr, 0); }},
    {"Zerix_IsParam64Supported", "zprm64Exposure", 8, 9,
     [] { return Zerix_IsParam64Supported(nullptr, 0); }},
    {"Zerix_IsRangeTable", "zprmGain", 8, 2, [] { return Zerix_IsRangeTable(nullptr, 0); }},
    {"Zerix_IsRangeTableS32", "zprmS32NormalizedGaindB", 8, 2,
     [] { return Zerix_IsRangeTableS32(nullptr, 0); }},
    {"Zerix_IsRangeTable64", "zprm64Exposure", 8, 2,
     [] { return Zerix_IsRangeTable64(nullptr, 0); }},
    {"Zerix_IsSparseTable", "zprmGain", 8, 2, [] { return Zerix_IsSparseTable(nullptr, 0); }},
    {"Zerix_IsSparseTableS32", "zprmS32NormalizedGaindB", 8, 1,
     [] { return Zerix_IsSparseTableS32(nullptr, 0); }},
    {"Zerix_IsSparseTable64", "zprm64Exposure", 8, 1,
     [] { return Zerix_IsSparseTable64(nullptr, 0); }},
    {"Zerix_GetParamSparseTable", "zprmGain", 8, 2,
     [] { return Zerix_GetParamSparseTable(nullptr, 0, nullptr, nullptr); }},
    {"Zerix_GetParamSparseTableS32", "zprmS32NormalizedGaindB", 8, 1,
     [] { return Zerix_GetParamSparseTableS32(nullptr, 0, nullptr, nullptr); }},
    {"Zerix_GetParamSparseTable64", "zprm64Exposure", 8, 1,
     [] { return Zerix_GetParamSparseTable64(nullptr, 0, nullptr, nullptr); }},
    {"Zerix_PreflightSettings", nullptr, 8, 9,
     [] { return Zerix_PreflightSettings(nullptr, nullptr); }},
    {"Zerix_SendSettingsToCam", nullptr, 8, 9,
     [] { return Zerix_SendSettingsToCam(nullptr, nullptr); }},
    {"Zerix_QueueSettings", nullptr, 8, 9,
     [] { return Zerix_QueueSettings(nullptr, nullptr, nullptr, 0, nullptr, 0); }},
    {"Zerix_Abort", nullptr, 8, 9, [] { return Zerix_Abort(nullptr); }},
    {"Zerix_SetStreaming", nullptr, 8, 9, [] { return Zerix_SetStreaming(nullptr, 0); }},
    {"Zerix_Trigger", nullptr, 8, 9, [] { return Zerix_Trigger(nullptr); }},
    {"Zerix_AutoExpose", nullptr, 8, kNoResult,
     [] { return Zerix_AutoExpose(nullptr, 0, 0, 0, 0); }},
    {"Zerix_WhiteBalance", nullptr, 8, kNoResult,
     [] { return Zerix_WhiteBalance(nullptr, 0, 0, 0, 0); }},
    {"Zerix_PostProcessSingleFrame", nullptr, 8, kNoResult,
     [] { return Zerix_PostProcessSingleFrame(nullptr, nullptr, nullptr, nullptr); }},
};

// What has tests of its own instead of a row.
const char *const kElsewhere[] = {
    "Zerix_LoadDriver",
    "Zerix_ReleaseDriver",
    "Zerix_CreateCameraSettingsStruct",
    "Zerix_InitializeCameraSettings",
    "Zerix_ReleaseCameraSettingsStruct",
    "Zerix_QueueFrame",
    "Zerix_BayerToRgb",
    "Zerix_BayerZoomVert",
    "Zerix_is16bit",
    "Zerix_is3Color",
    "Zerix_isBayer",
    "Zerix_isColor",
    "Zerix_isMonochrome",
    "Zerix_CalcImageSize",
};

// The names that the header declares.
std::multiset<std::string> DeclaredFunctions()
{
    std::ifstream stream(ZERIX_SOURCE_FOLDER "/include/zerix/zerix.h");
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const std::regex pattern("ZERIX_API (?:uint32_t|void) (\\w+)\\(");
    std::multiset<std::string> names;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at)
        names.insert((*at)[1]);
    return names;
}

std::string StartLine(const ExportedFunction &function)
{
    std::string line = std::string(function.name) + " start";
    if (function.key != nullptr)
        line += std::string(" (") + function.key + ")";
    return line;
}

const char *const kNotLoaded = "Zerix has not been loaded. Call Zerix_LoadDriver().";

class ExportedFunctions : public ApiTest {};

// Some calls tell what they were given before their first check.
Lines WithoutRemarks(Lines lines)
{
    std::erase_if(lines,
                  [](const std::string &line) { return line.find(" - ") < line.find(' ') + 3; });
    return lines;
}

TEST_F(ExportedFunctions, AreAllTried)
{
    std::multiset<std::string> tried(std::begin(kElsewhere), std::end(kElsewhere));
    for (const ExportedFunction &function : kFunctions)
        tried.insert(function.name);
    EXPECT_EQ(tried, DeclaredFunctions());
}

TEST_F(ExportedFunctions, AnswerNotLoadedInAPairOfLines)
{
    diag::ZLogOpen();
    for (const ExportedFunction &function : kFunctions) {
        SCOPED_TRACE(function.name);
        EXPECT_EQ(function.call(), function.ifNotLoaded);
        EXPECT_EQ(WithoutRemarks(Take()),
                  (Lines{StartLine(function), EndingLine(function.name, kNotLoaded, 8)}));
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }
}

TEST_F(ExportedFunctions, AnswerNotLoadedAgainAfterARelease)
{
    Load();
    Zerix_ReleaseDriver();
    Take();
    for (const ExportedFunction &function : kFunctions)
        EXPECT_EQ(function.call(), function.ifNotLoaded) << function.name;
}

TEST_F(ExportedFunctions, TellTheFirstNullInAPairOfLines)
{
    Load();
    for (const ExportedFunction &function : kFunctions) {
        if (function.ifNull == kNoResult)
            continue;
        SCOPED_TRACE(function.name);
        EXPECT_EQ(function.call(), function.ifNull);
        const Lines lines = Take();
        ASSERT_EQ(lines.size(), 2u);
        EXPECT_EQ(lines[0], StartLine(function));
        const std::string end = function.ifNull == 0
                                    ? EndLine(function.name)
                                    : std::string(function.name) + " ending because ";
        EXPECT_EQ(lines[1].rfind(end, 0), 0u) << lines[1];
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }
}

TEST_F(ExportedFunctions, WriteNothingWhileTheLogIsOff)
{
    Configure("");
    diag::ZLogOpen();
    for (const ExportedFunction &function : kFunctions)
        EXPECT_EQ(function.call(), function.ifNotLoaded) << function.name;
    EXPECT_EQ(Take(), Lines{});
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

// Queueing is traced with the frames; its failures are told all the same.
TEST_F(ExportedFunctions, QueueFrameShowsItsStartOnlyWithTheFrames)
{
    const auto queue = [] { return Zerix_QueueFrame(nullptr, nullptr, nullptr, 0, nullptr, 0); };
    diag::ZLogOpen();
    EXPECT_EQ(queue(), 8u);
    EXPECT_EQ(Take(), Lines{EndingLine("Zerix_QueueFrame", kNotLoaded, 8)});
    Configure("outputEnabled = 1\noutputFrame = 1\n");
    diag::ZLogOpen();
    EXPECT_EQ(queue(), 8u);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_QueueFrame start", EndingLine("Zerix_QueueFrame", kNotLoaded, 8)}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

// The mosaic calls need no loaded library.
TEST_F(ExportedFunctions, OfTheMosaicWriteTheirPairOfLines)
{
    diag::ZLogOpen();
    Zerix_BayerToRgb(0, nullptr, nullptr);
    EXPECT_EQ(Zerix_BayerZoomVert(1, nullptr, nullptr), 1u);
    const Lines lines = Take();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "Zerix_BayerToRgb start");
    EXPECT_EQ(lines[1], EndLine("Zerix_BayerToRgb"));
    EXPECT_EQ(lines[2], "Zerix_BayerZoomVert start");
}

TEST_F(ExportedFunctions, OfTheSettingsRecordNeedNoLoadedLibraryAndWriteNothing)
{
    diag::ZLogOpen();
    Zerix_Settings settings = {};
    EXPECT_EQ(Zerix_CreateCameraSettingsStruct(&settings), 0u);
    EXPECT_EQ(Zerix_ReleaseCameraSettingsStruct(&settings), 0u);
    EXPECT_EQ(Zerix_InitializeCameraSettings(nullptr, nullptr), 3u);
    EXPECT_EQ(Take(), Lines{});
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

} // namespace
} // namespace zerix::api
