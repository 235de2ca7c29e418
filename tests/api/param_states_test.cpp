// Every call that takes a record or asks for support, in every state that can stop it: the code,
// the lines of the log in their pair, and a record and an output that nobody has touched.
#include <functional>
#include <string>

#include "tests/api/param_fixture.h"

namespace zerix::api {
namespace {

// What a call is given.
struct Given {
    Zerix_Settings *settings;
    uint32_t key;
    bool hasOutput = true;
};

template <typename T>
using Getter = uint32_t (*)(const Zerix_Settings *, uint32_t, T *);
template <typename T>
using Setter = uint32_t (*)(Zerix_Settings *, uint32_t, T);
using Query = uint32_t (*)(const Zerix_Settings *, uint32_t);
using Call = std::function<uint32_t(const Given &)>;

template <typename T>
Call Getting(Getter<T> get)
{
    return [get](const Given &given) {
        T value = 77;
        const uint32_t code = get(given.settings, given.key, given.hasOutput ? &value : nullptr);
        EXPECT_TRUE(code == 0 || value == 77);
        return code;
    };
}

template <typename T>
Call Setting(Setter<T> set)
{
    return [set](const Given &given) { return set(given.settings, given.key, 1); };
}

Call Asking(Query ask)
{
    return [ask](const Given &given) { return ask(given.settings, given.key); };
}

constexpr uint32_t kNoOutput = 0xFFFFFFFFu;

struct RecordCall {
    const char *name;
    const char *family; // prefix of its keys' names
    Call call;
    uint32_t nullOutput;
    uint32_t beyond;       // the first key behind its family, on an open camera
    uint32_t closed;       // a supported key, camera closed
    uint32_t closedBeyond; // the first key behind its family, camera closed
    uint32_t held;         // a supported key, another process holds the camera
};

const RecordCall kCalls[] = {
    {"Zerix_GetParam", "zprm", Getting(Zerix_GetParam), 2, 1, 3, 3, 0},
    {"Zerix_SetParam", "zprm", Setting(Zerix_SetParam), kNoOutput, 1, 3, 1, 0},
    {"Zerix_GetParamS32", "zprmS32", Getting(Zerix_GetParamS32), 2, 1, 3, 3, 0},
    {"Zerix_SetParamS32", "zprmS32", Setting(Zerix_SetParamS32), kNoOutput, 1, 3, 1, 0},
    {"Zerix_GetParam64", "zprm64", Getting(Zerix_GetParam64), 2, 1, 3, 3, 0},
    {"Zerix_SetParam64", "zprm64", Setting(Zerix_SetParam64), kNoOutput, 1, 3, 1, 0},
    {"Zerix_GetParamMin", "zprm", Getting(Zerix_GetParamMin), 2, 1, 3, 3, 0},
    {"Zerix_GetParamMax", "zprm", Getting(Zerix_GetParamMax), 2, 1, 3, 3, 0},
    {"Zerix_GetParamS32Min", "zprmS32", Getting(Zerix_GetParamS32Min), 2, 1, 3, 3, 0},
    {"Zerix_GetParamS32Max", "zprmS32", Getting(Zerix_GetParamS32Max), 2, 1, 3, 3, 0},
    {"Zerix_GetParam64Min", "zprm64", Getting(Zerix_GetParam64Min), 2, 1, 3, 3, 0},
    {"Zerix_GetParam64Max", "zprm64", Getting(Zerix_GetParam64Max), 2, 1, 3, 3, 0},
    // The classes of a closed camera's keys are still told.
    {"Zerix_IsRangeTable", "zprm", Asking(Zerix_IsRangeTable), kNoOutput, 1, 0, 1, 0},
    {"Zerix_IsRangeTableS32", "zprmS32", Asking(Zerix_IsRangeTableS32), kNoOutput, 1, 0, 1, 0},
    {"Zerix_IsRangeTable64", "zprm64", Asking(Zerix_IsRangeTable64), kNoOutput, 1, 0, 1, 0},
    {"Zerix_IsSparseTable", "zprm", Asking(Zerix_IsSparseTable), kNoOutput, 1, 0, 1, 0},
    {"Zerix_GetParamSparseTable", "zprm",
     [](const Given &given) {
         uint32_t entries[4] = {77};
         int32_t size = 4;
         const uint32_t code = Zerix_GetParamSparseTable(
             given.settings, given.key, given.hasOutput ? entries : nullptr, &size);
         EXPECT_TRUE(code == 0 || (entries[0] == 77 && size == 4));
         return code;
     },
     2, 1, 0, 1, 0},
};

struct Family {
    std::string prefix;
    uint32_t key; // in both classes, always accepted with the value 1, supported by the fullest
    const char *keyName;
    uint32_t unsupportedKey; // by a bare camera
    const char *unsupportedName;
    uint32_t beyond;
    const char *beyondName;
    const char *supportCall;
};

const Family kFamilies[] = {
    {"zprm", zprmFan, "zprmFan", zprmDither, "zprmDither", 53,
     "InternalParam32KeyAsString() - Unknown parameter", "Zerix_IsParamSupported"},
    {"zprmS32", 1, "zprmS32AbsoluteOffset", 2, "zprmS32RegulatedCoolingTemp", 3,
     "InternalParamS32KeyAsString() - Unknown parameter", "Zerix_IsParamS32Supported"},
    {"zprm64", 0, "zprm64Exposure", 3, "zprm64NormIntensGain", 4,
     "InternalParam64KeyAsString() - Unknown parameter", "Zerix_IsParam64Supported"},
};

const Family &FamilyOf(const RecordCall &call)
{
    for (const Family &family : kFamilies) {
        if (family.prefix == call.family)
            return family;
    }
    throw std::logic_error("no such family");
}

const char *PhraseOf(uint32_t code)
{
    switch (code) {
    case 1:
        return kNotSupportedPhrase;
    case 2:
        return kBadParameterPhrase;
    case 3:
        return "the Zerix_Settings structure is corrupted or the size is invalid.";
    default:
        return "error string not defined yet";
    }
}

const char *const kHeldRemark = "Another process has this camera open.";

class ParamStates : public ParamTest {
protected:
    void SetUp() override
    {
        ParamTest::SetUp();
        camera->getMaxExposure = 1'000'000;
        Take();
    }

    // The call answers so and writes its pair of lines, the last one under the name given.
    void Expect(const RecordCall &row, const Given &given, const char *keyName, uint32_t code,
                const std::string &endName)
    {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.call(given), code);
        EXPECT_EQ(Take(), (Lines{std::string(row.name) + " start (" + keyName + ")",
                                 code == 0 ? EndLine(endName)
                                           : EndingLine(endName, PhraseOf(code), code)}));
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }
    void Expect(const RecordCall &row, const Given &given, const char *keyName, uint32_t code)
    {
        Expect(row, given, keyName, code, row.name);
    }
};

TEST_F(ParamStates, WithEverythingInOrderSucceed)
{
    for (Zerix_Settings *const settings : Both()) {
        for (const RecordCall &row : kCalls)
            Expect(row, {settings, FamilyOf(row).key}, FamilyOf(row).keyName, 0);
    }
}

TEST_F(ParamStates, WithoutALoadedLibraryTell8)
{
    Zerix_ReleaseDriver();
    Zerix_Settings filled = current;
    Take();
    for (const RecordCall &row : kCalls) {
        for (Zerix_Settings *const settings : {&filled, static_cast<Zerix_Settings *>(nullptr)}) {
            EXPECT_EQ(row.call({settings, FamilyOf(row).key}), 8u) << row.name;
            EXPECT_EQ(Take().size(), 2u);
        }
    }
}

TEST_F(ParamStates, WithANullTell2)
{
    for (const RecordCall &row : kCalls) {
        const Family &family = FamilyOf(row);
        Expect(row, {nullptr, family.key}, family.keyName, 2);
        Expect(row, {nullptr, family.beyond, false}, family.beyondName, 2);
        if (row.nullOutput == kNoOutput)
            continue;
        for (Zerix_Settings *const settings : Both())
            Expect(row, {settings, family.key, false}, family.keyName, row.nullOutput);
    }
    uint32_t entry = 77;
    EXPECT_EQ(Zerix_GetParamSparseTable(&current, zprmFan, &entry, nullptr), 2u);
    EXPECT_EQ(entry, 77u);
}

// The check of a current record ends the call in its own name.
TEST_F(ParamStates, WithABadRecordTell3)
{
    Put<uint32_t>(&current, 252, 264, 0xDEADBEEE);
    Put<uint32_t>(Legacy(), 252, 264, 0);
    for (const RecordCall &row : kCalls) {
        const Family &family = FamilyOf(row);
        for (const bool isBeyond : {false, true}) {
            const uint32_t key = isBeyond ? family.beyond : family.key;
            const char *const keyName = isBeyond ? family.beyondName : family.keyName;
            Expect(row, {&current, key}, keyName, 3, "CheckForBadSettingsEx");
            Expect(row, {Legacy(), key}, keyName, 3);
        }
    }
}

TEST_F(ParamStates, WithARecordThatWasNeverFilledTell3)
{
    Zerix_Settings fresh = {};
    Zerix_CreateCameraSettingsStruct(&fresh);
    std::vector<uint8_t> zeros(260);
    for (const RecordCall &row : kCalls) {
        const Family &family = FamilyOf(row);
        Expect(row, {&fresh, family.key}, family.keyName, 3, "CheckForBadSettingsEx");
        Expect(row, {reinterpret_cast<Zerix_Settings *>(zeros.data()), family.key}, family.keyName,
               3);
    }
    Zerix_ReleaseCameraSettingsStruct(&fresh);
    for (const RecordCall &row : kCalls)
        Expect(row, {&fresh, FamilyOf(row).key}, FamilyOf(row).keyName, 3, "CheckForBadSettingsEx");
}

TEST_F(ParamStates, WithAnUnsupportedKeyTell1AndTouchNothing)
{
    SetEveryCapability(*camera, false);
    for (Zerix_Settings *const settings : Both()) {
        const auto before = BytesOf(settings);
        for (const RecordCall &row : kCalls) {
            Expect(row, {settings, FamilyOf(row).unsupportedKey}, FamilyOf(row).unsupportedName, 1);
            Expect(row, {settings, FamilyOf(row).beyond}, FamilyOf(row).beyondName, row.beyond);
        }
        EXPECT_EQ(BytesOf(settings), before);
    }
}

TEST_F(ParamStates, OnAClosedCamera)
{
    Zerix_CloseCamera(HandleOf(*camera));
    Take();
    for (Zerix_Settings *const settings : Both()) {
        const auto before = BytesOf(settings);
        for (const RecordCall &row : kCalls) {
            const Family &family = FamilyOf(row);
            Expect(row, {settings, family.key}, family.keyName, row.closed);
            Expect(row, {settings, family.beyond}, family.beyondName, row.closedBeyond);
        }
        EXPECT_EQ(BytesOf(settings), before);
    }
}

// Asking for support isn't allowed then and says so; the calls don't mind. Their limits and lists
// are asked for more than once.
TEST_F(ParamStates, OfACameraThatAnotherProcessHoldsGoOn)
{
    camera->LoseExclusiveAccess();
    for (Zerix_Settings *const settings : Both()) {
        for (const RecordCall &row : kCalls) {
            SCOPED_TRACE(row.name);
            const Family &family = FamilyOf(row);
            EXPECT_EQ(row.call({settings, family.key}), row.held);
            const Lines lines = Take();
            ASSERT_GE(lines.size(), 3u);
            EXPECT_EQ(lines.front(), std::string(row.name) + " start (" + family.keyName + ")");
            EXPECT_EQ(lines.back(), EndLine(row.name));
            for (std::size_t index = 1; index + 1 < lines.size(); ++index)
                EXPECT_EQ(lines[index], std::string(family.supportCall) + " - " + kHeldRemark);
            // The key's bound is tested all the same.
            EXPECT_EQ(row.call({settings, family.beyond}), 1u);
            Take();
            EXPECT_EQ(diag::ZLogDepth(), 0);
        }
    }
}

TEST_F(ParamStates, AnswerTheSameUntraced)
{
    Configure("");
    diag::ZLogOpen();
    const auto expectAll = [&](auto key, auto code) {
        for (Zerix_Settings *const settings : Both()) {
            for (const RecordCall &row : kCalls)
                EXPECT_EQ(row.call({settings, key(row)}), code(row)) << row.name;
        }
    };
    const auto known = [](const RecordCall &row) { return FamilyOf(row).key; };
    const auto beyond = [](const RecordCall &row) { return FamilyOf(row).beyond; };
    const auto always = [](uint32_t code) { return [code](const RecordCall &) { return code; }; };
    expectAll(known, always(0));
    expectAll(beyond, always(1));
    camera->LoseExclusiveAccess();
    expectAll(known, [](const RecordCall &row) { return row.held; });
    expectAll(beyond, always(1));
    camera->CloseCamera();
    expectAll(known, [](const RecordCall &row) { return row.closed; });
    expectAll(beyond, [](const RecordCall &row) { return row.closedBeyond; });
    EXPECT_EQ(Take(), Lines{});
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

TEST_F(ParamStates, WithARecordOfNoCameraTell3)
{
    for (Zerix_Settings *const settings : Both()) {
        Put<void *>(settings, 244, 256, nullptr);
        for (const RecordCall &row : kCalls) {
            const Family &family = FamilyOf(row);
            const bool isList = std::string(row.name) == "Zerix_GetParamSparseTable";
            Expect(row, {settings, family.key}, family.keyName, isList ? 3 : row.closed);
        }
    }
}

struct SupportCall {
    const char *name;
    uint32_t (*call)(ZerixHandle, uint32_t);
    const char *family;
};
const SupportCall kSupportCalls[] = {
    {"Zerix_IsParamSupported", Zerix_IsParamSupported, "zprmFan"},
    {"Zerix_IsParamS32Supported", Zerix_IsParamS32Supported, "zprmS32RegulatedCoolingTemp"},
    {"Zerix_IsParam64Supported", Zerix_IsParam64Supported, "zprm64ExposureBlue"},
};

TEST_F(ParamStates, OfTheSupportTests)
{
    FakeCamera &closed = AddCamera();
    FakeCamera &held = AddOpenCamera();
    held.LoseExclusiveAccess();
    for (const SupportCall &row : kSupportCalls) {
        SCOPED_TRACE(row.name);
        const std::string name = row.name;
        const uint32_t key = name == "Zerix_IsParamSupported" ? uint32_t{zprmFan} : 2;
        const std::string start = name + " start (" + row.family + ")";
        EXPECT_EQ(row.call(nullptr, key), 9u);
        EXPECT_EQ(Take(), (Lines{start, EndingLine(name, PhraseOf(9), 9)}));
        EXPECT_EQ(row.call(nullptr, 1000), 9u);
        Take();
        EXPECT_EQ(row.call(HandleOf(closed), key), 9u);
        EXPECT_EQ(Take(), (Lines{start, EndingLine(name, PhraseOf(9), 9)}));
        EXPECT_EQ(row.call(HandleOf(closed), 1000), 9u);
        Take();
        EXPECT_EQ(row.call(HandleOf(held), key), 9u);
        EXPECT_EQ(Take(),
                  (Lines{start, name + " - " + kHeldRemark, EndingLine(name, PhraseOf(9), 9)}));
        EXPECT_EQ(row.call(HandleOf(held), 1000), 9u);
        Take();
        EXPECT_EQ(row.call(HandleOf(*camera), key), 0u);
        EXPECT_EQ(Take(), (Lines{start, EndLine(name)}));
        EXPECT_EQ(row.call(HandleOf(*camera), 1000), 1u);
        Take();
        EXPECT_EQ(diag::ZLogDepth(), 0);
    }
}

// These four tell nothing but whether the library is loaded.
TEST_F(ParamStates, OfTheListsOfWiderKeys)
{
    Put<uint32_t>(&current, 252, 264, 0);
    int32_t size = 3;
    EXPECT_EQ(Zerix_IsSparseTableS32(nullptr, 1000), 1u);
    EXPECT_EQ(Zerix_IsSparseTable64(&current, 0), 1u);
    EXPECT_EQ(Zerix_GetParamSparseTableS32(&current, 1000, nullptr, &size), 1u);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(Zerix_GetParamSparseTable64(nullptr, 0, nullptr, nullptr), 1u);
    EXPECT_EQ(Take(), (Lines{
                          "Zerix_IsSparseTableS32 start (InternalParamS32KeyAsString() - Unknown "
                          "parameter)",
                          EndingLine("Zerix_IsSparseTableS32", kNotSupportedPhrase, 1),
                          "Zerix_IsSparseTable64 start (zprm64Exposure)",
                          EndingLine("Zerix_IsSparseTable64", kNotSupportedPhrase, 1),
                          "Zerix_GetParamSparseTableS32 start (InternalParamS32KeyAsString() - "
                          "Unknown parameter)",
                          EndingLine("Zerix_GetParamSparseTableS32", kNotSupportedPhrase, 1),
                          "Zerix_GetParamSparseTable64 start (zprm64Exposure)",
                          EndingLine("Zerix_GetParamSparseTable64", kNotSupportedPhrase, 1),
                      }));
    Zerix_ReleaseDriver();
    size = 3;
    EXPECT_EQ(Zerix_GetParamSparseTableS32(nullptr, 0, nullptr, &size), 8u);
    EXPECT_EQ(size, 3);
}

} // namespace
} // namespace zerix::api
