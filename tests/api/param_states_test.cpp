// What the calls that take a record mind beyond the common states: records that were never filled
// or belong to no camera, the order of checks, cameras that close meanwhile, and that nothing of it
// depends on the log.
#include <string>

#include "tests/api/exported_function_table.h"
#include "tests/api/param_fixture.h"

namespace zerix::api {
namespace {

// Those among the exported functions that read or write values, or tell what they may be.
std::vector<const ExportedFunction *> ParameterCalls()
{
    std::vector<const ExportedFunction *> calls;
    for (const ExportedFunction &function : ExportedFunctionTable()) {
        if (function.IsParameterCall())
            calls.push_back(&function);
    }
    return calls;
}

class ParamStates : public ParamTest {
protected:
    void SetUp() override
    {
        ParamTest::SetUp();
        camera->getMaxExposure = 1'000'000;
        Take();
    }

    // The call answers so and writes its pair of lines, the last one under the name given.
    void Expect(const ExportedFunction &function, const Given &given, const char *keyName,
                uint32_t code, const std::string &endName)
    {
        constexpr const char *kPhrases[] = {
            "", kNotSupportedPhrase, kBadParameterPhrase,
            "the Zerix_Settings structure is corrupted or the size is invalid."};
        SCOPED_TRACE(function.name);
        EXPECT_EQ(function.call(given), code);
        EXPECT_EQ(Take(),
                  (Lines{StartLineOf(function, keyName),
                         code == 0 ? EndLine(endName)
                                   : EndingLine(endName, kPhrases[std::min(code, 3u)], code)}));
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }
};

TEST_F(ParamStates, AreSeventeenCalls) { EXPECT_EQ(ParameterCalls().size(), 17u); }

TEST_F(ParamStates, WithARecordThatWasNeverFilledTell3)
{
    Zerix_Settings fresh = {};
    Zerix_CreateCameraSettingsStruct(&fresh);
    std::vector<uint8_t> zeros(260);
    auto *const empty = reinterpret_cast<Zerix_Settings *>(zeros.data());
    for (const ExportedFunction *function : ParameterCalls()) {
        const uint32_t key = function->Key();
        Expect(*function, {.settings = &fresh, .key = key}, function->KeyName(), 3,
               "CheckForBadSettingsEx");
        Expect(*function, {.settings = empty, .key = key}, function->KeyName(), 3, function->name);
    }
    Zerix_ReleaseCameraSettingsStruct(&fresh);
    for (const ExportedFunction *function : ParameterCalls())
        Expect(*function, {.settings = &fresh, .key = function->Key()}, function->KeyName(), 3,
               "CheckForBadSettingsEx");
}

TEST_F(ParamStates, WithARecordOfNoCameraTell3)
{
    for (Zerix_Settings *const settings : Both()) {
        Put<void *>(settings, 244, 256, nullptr);
        for (const ExportedFunction *function : ParameterCalls()) {
            const bool isList = std::string(function->name) == "Zerix_GetParamSparseTable";
            Expect(*function, {.settings = settings, .key = function->Key()}, function->KeyName(),
                   isList ? 3 : function->closed.known, function->name);
        }
    }
}

// A null output is found before the record is looked at, and the record before the size of a list.
TEST_F(ParamStates, CheckOutputsThenTheRecordThenTheSize)
{
    for (Zerix_Settings *const settings : Both()) {
        Put<uint32_t>(settings, 252, 264, 0);
        uint32_t entry = 77;
        for (const int32_t room : {0, -1, 1}) {
            int32_t size = room;
            EXPECT_EQ(Zerix_GetParamSparseTable(settings, zprmFan, nullptr, &size), 2u);
            EXPECT_EQ(Zerix_GetParamSparseTable(settings, zprmFan, &entry, &size), 3u);
            EXPECT_EQ(size, room);
        }
        EXPECT_EQ(Zerix_GetParamSparseTable(settings, zprmFan, &entry, nullptr), 2u);
        EXPECT_EQ(entry, 77u);
        for (const ExportedFunction *function : ParameterCalls()) {
            if (function->nulls.size() == 2) {
                EXPECT_EQ(function->call(
                              {.settings = settings, .key = function->Key(), .nullPointer = 1}),
                          2u)
                    << function->name;
            }
        }
    }
    Zerix_ReleaseDriver();
    int32_t size = 0;
    uint32_t entry = 77;
    EXPECT_EQ(Zerix_GetParamSparseTable(nullptr, zprmFan, &entry, &size), 8u);
}

// Asking for support isn't allowed then and says so; the calls don't mind. Their limits and lists
// are asked for more than once.
TEST_F(ParamStates, OfACameraThatAnotherProcessHoldsGoOn)
{
    camera->LoseExclusiveAccess();
    for (Zerix_Settings *const settings : Both()) {
        for (const ExportedFunction *function : ParameterCalls()) {
            SCOPED_TRACE(function->name);
            EXPECT_EQ(function->call({.settings = settings, .key = function->Key()}), 0u);
            const Lines lines = Take();
            ASSERT_GE(lines.size(), 3u);
            const std::string support = function->keys == &kUnsignedKeys ? "Zerix_IsParamSupported"
                                        : function->keys == &kSignedKeys
                                            ? "Zerix_IsParamS32Supported"
                                            : "Zerix_IsParam64Supported";
            for (std::size_t index = 1; index + 1 < lines.size(); ++index)
                EXPECT_EQ(lines[index], support + " - Another process has this camera open.");
        }
    }
}

// Only so can a key be asked about that no camera has: it has limits, and is of no class.
TEST_F(ParamStates, OfACameraThatAnotherProcessHoldsShowTheKeysThatNoCameraHas)
{
    TracedAndNot([&] {
        camera->LoseExclusiveAccess();
        for (Zerix_Settings *const settings : Both()) {
            uint32_t value = 77;
            EXPECT_EQ(Zerix_GetParamMin(settings, zprmShutterState, &value), 0u);
            EXPECT_EQ(value, 0u);
            EXPECT_EQ(Zerix_GetParamMax(settings, zprmShutterState, &value), 0u);
            EXPECT_EQ(value, 3u);
            EXPECT_EQ(Zerix_IsRangeTable(settings, zprmShutterState), 1u);
            EXPECT_EQ(Zerix_IsSparseTable(settings, zprmShutterState), 1u);
            int32_t size = 1;
            EXPECT_EQ(Zerix_GetParamSparseTable(settings, zprmShutterState, &value, &size), 1u);
            EXPECT_EQ(value, 3u);
            for (const uint32_t key : {17u, 18u, 38u, 40u, 41u, 45u}) {
                Put32(settings, key, 4711 + key);
                EXPECT_EQ(Zerix_SetParam(settings, key, 1), 1u) << key;
                EXPECT_EQ(Zerix_GetParam(settings, key, &value), 0u) << key;
                EXPECT_EQ(value, 4711 + key);
            }
            for (const uint32_t key : {17u, 38u, 40u, 41u, 45u}) {
                EXPECT_EQ(Zerix_GetParamMin(settings, key, &value), 1u) << key;
                EXPECT_EQ(Zerix_GetParamMax(settings, key, &value), 1u) << key;
                EXPECT_EQ(Zerix_IsRangeTable(settings, key), 1u) << key;
                EXPECT_EQ(Zerix_IsSparseTable(settings, key), 1u) << key;
            }
        }
    });
}

// The one list that depends on what the key's own support depends on.
TEST_F(ParamStates, OfACameraThatAnotherProcessHoldsListNoLiveModeThatIsntThere)
{
    camera->LoseExclusiveAccess();
    for (const bool hasLiveMode : {true, false}) {
        camera->isLVWModeSupported = hasLiveMode;
        uint32_t entries[2] = {77, 77};
        int32_t size = 2;
        EXPECT_EQ(Zerix_GetParamSparseTable(&current, zprmCameraMode, entries, &size), 0u);
        EXPECT_EQ(size, hasLiveMode ? 2 : 1);
        EXPECT_EQ(entries[0], 0u);
        EXPECT_EQ(entries[1], hasLiveMode ? 1u : 77u);
    }
}

// A camera that closes while a call asks it, at the question of that number.
class ClosingCamera final : public FakeCamera {
public:
    bool IsCameraOpen() override
    {
        if (questionsLeft > 0 && --questionsLeft == 0)
            isOpen = false;
        return FakeCamera::IsCameraOpen();
    }
    void OpenAgain(uint32_t questions)
    {
        OpenCamera();
        questionsLeft = questions;
    }

private:
    uint32_t questionsLeft = 0;
};

// The offset is asked for through the signed call. Where that fails, nothing is converted all the
// same, and the failure has a code of its own; a gain passes the setter's on.
TEST_F(ParamStates, OfACameraThatClosesMeanwhileTellItInTheirOwnWay)
{
    Configure("");
    diag::ZLogOpen();
    auto *const closing = new ClosingCamera;
    AppendCameraForTest(closing);
    closing->OpenCamera();
    closing->convertAbsoluteOffsetToOffset = 701;
    for (Zerix_Settings *const settings : Both()) {
        Put<void *>(settings, 244, 256, HandleOf(*closing));
        PutS32(settings, 0, 5);
        PutS32(settings, 1, -33);
        // A call asks once, when it begins: itself, and the signed call inside it.
        const auto closeAtSecondQuestion = [&] { closing->OpenAgain(2); };
        closing->lastConverted = 1;
        closeAtSecondQuestion();
        uint32_t value = 77;
        EXPECT_EQ(Zerix_GetParam(settings, zprmOffset, &value), 1u);
        EXPECT_EQ(value, 701u);
        EXPECT_EQ(closing->lastConverted, 0);
        closeAtSecondQuestion();
        EXPECT_EQ(Zerix_SetParam(settings, zprmGain, 9), 3u);
        closeAtSecondQuestion();
        EXPECT_EQ(Zerix_SetParam(settings, zprmOffset, 9), 3u);
        closeAtSecondQuestion();
        EXPECT_EQ(Zerix_SetParam(settings, zprmNormalizedGain, 9), 3u);
        EXPECT_EQ(SlotS32(settings, 0), 5);
        EXPECT_EQ(SlotS32(settings, 1), -33);
    }
}

TEST_F(ParamStates, AnswerTheSameUntraced)
{
    Configure("");
    diag::ZLogOpen();
    const auto expectAll = [&](const Answers ExportedFunction::*answers) {
        for (Zerix_Settings *const settings : Both()) {
            for (const ExportedFunction *function : ParameterCalls()) {
                SCOPED_TRACE(function->name);
                EXPECT_EQ(function->call({.settings = settings, .key = function->Key()}),
                          (function->*answers).known);
                EXPECT_EQ(function->call({.settings = settings, .key = function->keys->beyond}),
                          (function->*answers).beyond);
            }
        }
    };
    expectAll(&ExportedFunction::inOrder);
    camera->LoseExclusiveAccess();
    expectAll(&ExportedFunction::held);
    camera->CloseCamera();
    expectAll(&ExportedFunction::closed);
    EXPECT_EQ(Take(), Lines{});
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

// These tell nothing but whether the library is loaded: not even the record is looked at.
TEST_F(ParamStates, OfTheListsOfWiderKeys)
{
    Put<uint32_t>(&current, 252, 264, 0);
    int32_t size = 3;
    EXPECT_EQ(Zerix_IsSparseTableS32(nullptr, 1000), 1u);
    EXPECT_EQ(Zerix_IsSparseTable64(&current, 0), 1u);
    EXPECT_EQ(Zerix_GetParamSparseTableS32(&current, 1000, nullptr, &size), 1u);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(Zerix_GetParamSparseTable64(nullptr, 0, nullptr, nullptr), 1u);
    Zerix_ReleaseDriver();
    size = 3;
    EXPECT_EQ(Zerix_GetParamSparseTableS32(nullptr, 0, nullptr, &size), 8u);
    EXPECT_EQ(size, 3);
}

} // namespace
} // namespace zerix::api
