// Every exported function in every state that can stop it: its code, and its lines in pairs.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "api/entry.h"
#include "tests/api/exported_function_table.h"
#include "tests/api/param_fixture.h"
#include "tests/support/places.h"

namespace zerix::api {
namespace {

// What has tests of its own instead of a row.
const char *const kElsewhere[] = {
    "Zerix_LoadDriver",
    "Zerix_ReleaseDriver",
    "Zerix_CreateCameraSettingsStruct",
    "Zerix_InitializeCameraSettings",
    "Zerix_ReleaseCameraSettingsStruct",
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
    std::ifstream stream(test::SourceFolder() + "/include/zerix/zerix.h");
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const std::regex pattern("ZERIX_API (?:uint32_t|void) (\\w+)\\(");
    std::multiset<std::string> names;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at)
        names.insert((*at)[1]);
    return names;
}

// The definitions of exported functions in a source file, each from its first line to its last.
Lines DefinitionsIn(const std::filesystem::path &file)
{
    std::ifstream stream(file);
    const std::regex first("(?:uint32_t|void) _?Zerix_\\w+\\(.*");
    Lines definitions;
    bool isInside = false;
    for (std::string line; std::getline(stream, line);) {
        const bool begins = std::regex_match(line, first);
        if (begins)
            definitions.emplace_back();
        isInside = isInside || begins;
        if (isInside)
            definitions.back() += line + "\n";
        isInside = isInside && !line.ends_with("}");
    }
    return definitions;
}

// The name of a definition.
std::string NameOf(const std::string &definition)
{
    const std::size_t begin = definition.find(' ') + 1;
    return definition.substr(begin, definition.find('(') - begin);
}

const char *const kHeld = " - Another process has this camera open.";
const char *const kNotLoaded = "Zerix has not been loaded. Call Zerix_LoadDriver().";

// With its own lines, and with those of queueing a frame.
const char *const kTraced = "outputEnabled = 1\noutputFrame = 1\n";

Given Nulls(const ExportedFunction &function)
{
    return {.key = function.Key(), .nullPointer = kAllNull};
}

class ExportedFunctions : public ApiTest {
protected:
    ExportedFunctions() { Configure(kTraced); }
};

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
    for (const ExportedFunction &function : ExportedFunctionTable())
        tried.insert(function.name);
    EXPECT_EQ(tried, DeclaredFunctions());
}

// Only the entry takes the name that a call's lines carry.
TEST_F(ExportedFunctions, AllGoThroughTheEntry)
{
    std::multiset<std::string> through;
    for (const auto &file : std::filesystem::directory_iterator(test::SourceFolder() + "/api")) {
        for (const std::string &definition : DefinitionsIn(file.path())) {
            EXPECT_NE(definition.find("Start(__func__"), std::string::npos) << definition;
            EXPECT_EQ(definition.find("try"), std::string::npos) << definition;
            through.insert(NameOf(definition));
        }
    }
    EXPECT_EQ(through, DeclaredFunctions());
    static_assert(!std::is_constructible_v<ExportedCall, Start>);
    static_assert(!std::is_constructible_v<CameraUse, ZerixHandle>);
}

TEST_F(ExportedFunctions, AnswerNotLoadedInAPairOfLines)
{
    diag::ZLogOpen();
    for (const ExportedFunction &function : ExportedFunctionTable()) {
        SCOPED_TRACE(function.name);
        EXPECT_EQ(function.call(Nulls(function)), 8u);
        EXPECT_EQ(WithoutRemarks(Take()), (Lines{StartLineOf(function, function.KeyName()),
                                                 EndingLine(function.name, kNotLoaded, 8)}));
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }
}

TEST_F(ExportedFunctions, AnswerNotLoadedAgainAfterARelease)
{
    Load();
    Zerix_ReleaseDriver();
    Take();
    for (const ExportedFunction &function : ExportedFunctionTable())
        EXPECT_EQ(function.call(Nulls(function)), 8u) << function.name;
}

TEST_F(ExportedFunctions, WriteNothingWhileTheLogIsOff)
{
    Configure("");
    diag::ZLogOpen();
    for (const ExportedFunction &function : ExportedFunctionTable())
        EXPECT_EQ(function.call(Nulls(function)), 8u) << function.name;
    EXPECT_EQ(Take(), Lines{});
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

// Queueing is traced with the frames; its failures are told all the same.
TEST_F(ExportedFunctions, QueueFrameShowsItsStartOnlyWithTheFrames)
{
    const auto queue = [] { return Zerix_QueueFrame(nullptr, nullptr, nullptr, 0, nullptr, 0); };
    Configure("outputEnabled = 1\n");
    diag::ZLogOpen();
    EXPECT_EQ(queue(), 8u);
    EXPECT_EQ(Take(), Lines{EndingLine("Zerix_QueueFrame", kNotLoaded, 8)});
    Configure(kTraced);
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
    EXPECT_EQ(Zerix_CreateCameraSettingsStruct(nullptr), 2u);
    EXPECT_EQ(Zerix_ReleaseCameraSettingsStruct(nullptr), 0u);
    EXPECT_EQ(Zerix_InitializeCameraSettings(nullptr, nullptr), 3u);
    EXPECT_EQ(Take(), Lines{});
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

// The same with an open camera that has everything, and a filled record of each layout.
class ExportedStates : public ParamTest {
protected:
    ExportedStates() { Configure(kTraced); }

    // A camera of its own for each call, as some end what the next would need.
    void Renew()
    {
        camera = &AddOpenCamera();
        SetEveryCapability(*camera, true);
        camera->getMaxExposure = 1'000'000;
        camera->isCameraStreaming = true;
        camera->getTriggerMode = 5;
        FillBoth(Zerix_ReadDefaultSettings);
        Take();
    }

    Given GivenBy(Zerix_Settings *settings, uint32_t key = 0)
    {
        return {.camera = HandleOf(*camera), .settings = settings, .key = key};
    }

    // The code; a start line, an end line under that name, and nothing between but remarks.
    void Expect(const ExportedFunction &function, const Given &given, const char *keyName,
                uint32_t code, const std::string &endName)
    {
        EXPECT_EQ(function.call(given), code);
        const Lines lines = Take();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines.front(), StartLineOf(function, keyName));
        if (code == 0) {
            EXPECT_EQ(lines.back(), EndLine(endName));
        } else {
            EXPECT_EQ(lines.back().rfind(endName + " ending because ", 0), 0u) << lines.back();
            EXPECT_NE(lines.back().find(" (error " + std::to_string(code) + ")\n\n"),
                      std::string::npos)
                << lines.back();
        }
        remarks.assign(lines.begin() + 1, lines.end() - 1);
        EXPECT_EQ(WithoutRemarks(remarks), Lines{});
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }
    void Expect(const ExportedFunction &function, const Given &given, const char *keyName,
                uint32_t code)
    {
        Expect(function, given, keyName, code, function.name);
    }

    // Every function for which the test holds, on a camera of its own, with each record in turn.
    template <typename Test, typename Check>
    void WithEach(Test test, Check check)
    {
        for (const ExportedFunction &function : ExportedFunctionTable()) {
            if (!test(function))
                continue;
            SCOPED_TRACE(function.name);
            for (const bool isCurrent : {true, false}) {
                Renew();
                check(function, isCurrent ? &current : Legacy());
            }
        }
    }

    Lines remarks; // of the last call
};

bool Any(const ExportedFunction &) { return true; }
bool HasKeys(const ExportedFunction &function) { return function.keys != nullptr; }
bool TakesCamera(const ExportedFunction &function) { return function.TakesCamera(); }
bool TakesRecord(const ExportedFunction &function) { return function.badRecord != kNotDriven; }

TEST_F(ExportedStates, WithEverythingInOrder)
{
    WithEach(Any, [&](const ExportedFunction &function, Zerix_Settings *settings) {
        Expect(function, GivenBy(settings, function.Key()), function.KeyName(),
               function.inOrder.known);
    });
}

TEST_F(ExportedStates, WithEachPointerNull)
{
    WithEach(Any, [&](const ExportedFunction &function, Zerix_Settings *settings) {
        for (uint32_t index = 0; index < function.nulls.size(); ++index) {
            SCOPED_TRACE(index);
            Given given = GivenBy(settings, function.Key());
            given.nullPointer = index;
            Expect(function, given, function.KeyName(), function.nulls[index]);
        }
        Expect(function, Nulls(function), function.KeyName(), function.nulls.front());
    });
}

// Without access of its own a closed camera looks to some as if another process had it.
TEST_F(ExportedStates, OnAClosedCamera)
{
    WithEach(TakesCamera, [&](const ExportedFunction &function, Zerix_Settings *settings) {
        ASSERT_EQ(Zerix_CloseCamera(HandleOf(*camera)), 0u);
        Take();
        const auto before = BytesOf(settings);
        Expect(function, GivenBy(settings, function.Key()), function.KeyName(),
               function.closed.known);
        EXPECT_EQ(remarks.size() == 1 && remarks[0] == std::string(function.name) + kHeld,
                  function.asksForExclusiveFirst);
        if (function.keys != nullptr)
            Expect(function, GivenBy(settings, function.keys->beyond), function.keys->beyondName,
                   function.closed.beyond);
        EXPECT_EQ(BytesOf(settings), before);
    });
}

TEST_F(ExportedStates, OfACameraThatAnotherProcessHolds)
{
    WithEach(TakesCamera, [&](const ExportedFunction &function, Zerix_Settings *settings) {
        camera->LoseExclusiveAccess();
        Expect(function, GivenBy(settings, function.Key()), function.KeyName(),
               function.held.known);
        if (function.held.known == 9) {
            EXPECT_EQ(remarks, Lines{std::string(function.name) + kHeld});
        }
        if (function.keys != nullptr)
            Expect(function, GivenBy(settings, function.keys->beyond), function.keys->beyondName,
                   function.held.beyond);
    });
}

// The check of a current record may end the call in its own name.
TEST_F(ExportedStates, WithABadRecordOfEitherLayout)
{
    WithEach(TakesRecord, [&](const ExportedFunction &function, Zerix_Settings *settings) {
        Put<uint32_t>(settings, 252, 264, 0xDEADBEEE);
        const bool isCheck = function.endsAsRecordCheck && IsCurrent(settings);
        const std::string endName = isCheck ? "CheckForBadSettingsEx" : function.name;
        const auto before = BytesOf(settings);
        Expect(function, GivenBy(settings, function.Key()), function.KeyName(), function.badRecord,
               endName);
        if (function.keys != nullptr)
            Expect(function, GivenBy(settings, function.keys->beyond), function.keys->beyondName,
                   function.badRecord, endName);
        if (function.badRecord != 0) {
            EXPECT_EQ(BytesOf(settings), before);
        }
    });
}

TEST_F(ExportedStates, WithAKeyThatTheCameraLacksOrNobodyHas)
{
    WithEach(HasKeys, [&](const ExportedFunction &function, Zerix_Settings *settings) {
        SetEveryCapability(*camera, false);
        const auto before = BytesOf(settings);
        const KeyFamily &keys = *function.keys;
        Expect(function, GivenBy(settings, keys.unsupportedKey), keys.unsupportedName,
               function.unsupported);
        Expect(function, GivenBy(settings, keys.beyond), keys.beyondName, function.inOrder.beyond);
        EXPECT_EQ(remarks, Lines{});
        EXPECT_EQ(BytesOf(settings), before);
    });
}

} // namespace
} // namespace zerix::api
