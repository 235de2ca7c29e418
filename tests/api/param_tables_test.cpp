// The classes of the parameter keys and the lists of their allowed values.
#include <set>
#include <vector>

#include "tests/api/param_fixture.h"

namespace zerix::api {
namespace {

using Entries = std::vector<uint32_t>;

const std::set<uint32_t> kSparse = {3,  4,  5,  6,  7,  8,  9,  12, 20,
                                    24, 31, 32, 33, 34, 35, 36, 42, 43};
const std::set<uint32_t> kRange = {0,  1,  6,  8,  9,  13, 14, 15, 16, 19, 20, 21,
                                   22, 23, 25, 26, 31, 33, 34, 35, 37, 39, 44, 52};

class ParamTables : public ParamTest {
protected:
    // The table with room for so many entries; the words behind must stay.
    Entries TableOf(const Zerix_Settings *settings, uint32_t key, int32_t room = 60)
    {
        Entries entries(100, kUntouched);
        int32_t size = room;
        EXPECT_EQ(Zerix_GetParamSparseTable(settings, key, entries.data(), &size), 0u) << key;
        EXPECT_LE(size, room);
        for (std::size_t index = static_cast<std::size_t>(size); index < entries.size(); ++index)
            EXPECT_EQ(entries[index], kUntouched);
        entries.resize(static_cast<std::size_t>(size));
        return entries;
    }

    // The answer and what it made of the size; nothing may be written.
    std::pair<uint32_t, int32_t> Refused(const Zerix_Settings *settings, uint32_t key, int32_t size)
    {
        uint32_t entry = kUntouched;
        const uint32_t code = Zerix_GetParamSparseTable(settings, key, &entry, &size);
        EXPECT_EQ(entry, kUntouched);
        return {code, size};
    }
};

using Answer = std::pair<uint32_t, int32_t>;

TEST_F(ParamTables, HaveAClassForEachKey)
{
    TracedAndNot([&] {
        for (Zerix_Settings *const settings : Both()) {
            for (uint32_t key = 0; key < 60; ++key) {
                const bool isKnown = IsCurrent(settings) || key < 47;
                EXPECT_EQ(Zerix_IsSparseTable(settings, key), kSparse.count(key) != 0 ? 0u : 1u)
                    << key;
                EXPECT_EQ(Zerix_IsRangeTable(settings, key),
                          kRange.count(key) != 0 && isKnown ? 0u : 1u)
                    << key;
            }
        }
    });
}

TEST_F(ParamTables, HaveNoClassForWhatTheCameraLacks)
{
    SetEveryCapability(*camera, false);
    const std::set<uint32_t> always = {0,  1,  2,  6,  7,  12, 13, 14, 15,
                                       16, 25, 27, 28, 29, 30, 31, 32, 52};
    for (uint32_t key = 0; key < 60; ++key) {
        const bool isKnown = always.count(key) != 0;
        EXPECT_EQ(Zerix_IsSparseTable(&current, key), kSparse.count(key) != 0 && isKnown ? 0u : 1u)
            << key;
        EXPECT_EQ(Zerix_IsRangeTable(&current, key), kRange.count(key) != 0 && isKnown ? 0u : 1u)
            << key;
    }
}

TEST_F(ParamTables, OfTheWiderKeysAreRangesOfTheSupportedOnes)
{
    for (Zerix_Settings *const settings : Both()) {
        for (uint32_t key = 0; key < 6; ++key) {
            EXPECT_EQ(Zerix_IsRangeTableS32(settings, key), key < 3 ? 0u : 1u);
            EXPECT_EQ(Zerix_IsRangeTable64(settings, key), key < 4 ? 0u : 1u);
            EXPECT_EQ(Zerix_IsSparseTableS32(settings, key), 1u);
            EXPECT_EQ(Zerix_IsSparseTable64(settings, key), 1u);
        }
    }
    SetEveryCapability(*camera, false);
    for (uint32_t key = 0; key < 6; ++key) {
        EXPECT_EQ(Zerix_IsRangeTableS32(&current, key), key < 2 ? 0u : 1u);
        EXPECT_EQ(Zerix_IsRangeTable64(&current, key), key < 1 ? 0u : 1u);
    }
}

TEST_F(ParamTables, OfTheWiderKeysAreEmptyAndRefused)
{
    for (const Zerix_Settings *settings :
         std::initializer_list<const Zerix_Settings *>{&current, Legacy(), nullptr}) {
        int32_t entry = 77;
        int32_t size = 5;
        EXPECT_EQ(Zerix_GetParamSparseTableS32(settings, 0, &entry, &size), 1u);
        EXPECT_EQ(size, 0);
        EXPECT_EQ(entry, 77);
        uint64_t entry64 = 77;
        size = 5;
        EXPECT_EQ(Zerix_GetParamSparseTable64(settings, 0, &entry64, &size), 1u);
        EXPECT_EQ(size, 0);
        EXPECT_EQ(entry64, 77u);
    }
}

TEST_F(ParamTables, ListTheSameValuesOnEveryCamera)
{
    for (Zerix_Settings *const settings : Both()) {
        EXPECT_EQ(TableOf(settings, zprmColorWheel), (Entries{0, 1, 3}));
        EXPECT_EQ(TableOf(settings, zprmCoolerActive), (Entries{0, 1}));
        EXPECT_EQ(TableOf(settings, zprmPostProcessBayerAlgorithm), (Entries{1, 2, 3, 4}));
        EXPECT_EQ(TableOf(settings, zprmFan), (Entries{1, 2, 3, 4}));
        EXPECT_EQ(TableOf(settings, zprmBlackoutMode), (Entries{0, 1}));
        EXPECT_EQ(TableOf(settings, zprmHighSensitivityMode), (Entries{0, 1}));
        EXPECT_EQ(TableOf(settings, zprmReadoutPort), Entries{1});
        EXPECT_EQ(TableOf(settings, zprmDither), (Entries{0, 1}));
        EXPECT_EQ(TableOf(settings, zprmHighGainMode), (Entries{0, 1}));
        EXPECT_EQ(TableOf(settings, zprmCameraMode), (Entries{0, 1}));
    }
}

TEST_F(ParamTables, ListTheCamerasOwnModesInTheirOrder)
{
    camera->getSymmetricalBinningModes = {1, 2, 4, 8};
    camera->getHorizontalBinningModes = {3, 2, 1};
    camera->getVerticalBinningModes = {};
    camera->getTriggerModes = {0, 5, 1};
    camera->getSyncBModes = {1, 0};
    for (Zerix_Settings *const settings : Both()) {
        EXPECT_EQ(TableOf(settings, zprmBinning), (Entries{1, 2, 4, 8}));
        EXPECT_EQ(TableOf(settings, zprmHorizontalBinning), (Entries{3, 2, 1}));
        EXPECT_EQ(TableOf(settings, zprmVerticalBinning), Entries{});
        EXPECT_EQ(TableOf(settings, zprmTriggerType), (Entries{0, 5, 1}));
        EXPECT_EQ(TableOf(settings, zprmSyncb), (Entries{1, 0}));
    }
}

TEST_F(ParamTables, ListTheCamerasReadoutSpeedsBackwards)
{
    camera->getReadoutFrequencyModes = {40.0f, 30.0f, 24.0f, 20.0f, 10.0f, 5.0f, 2.5f, 1.0f};
    EXPECT_EQ(TableOf(&current, zprmReadoutSpeed), (Entries{3, 2, 1, 0, 8, 7}));
    camera->getReadoutFrequencyModes = {10.0f, 20.0f};
    EXPECT_EQ(TableOf(&current, zprmReadoutSpeed), (Entries{0, 1}));
    camera->getReadoutFrequencyModes = {13.5f};
    EXPECT_EQ(TableOf(&current, zprmReadoutSpeed), Entries{});
}

TEST_F(ParamTables, ListImageFormatsByDepthAndColour)
{
    const struct {
        uint16_t sensor;
        bool hasWheel;
        uint16_t depth;
        Entries formats;
        Entries postProcessed;
    } kCases[] = {
        {1, true, 8, {0, 2, 6, 7, 8, 9, 10, 11, 12}, {0, 2, 6, 8, 9, 11, 12}},
        {1, true, 12, {0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12}, {0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12}},
        {1, false, 8, {0, 2, 4, 5}, {0, 2}},
        {1, false, 14, {0, 1, 2, 3, 4, 5}, {0, 1, 2, 3}},
        {2, false, 8, {0, 2, 4, 5}, {0, 2, 4, 8, 9, 11, 12}},
        {2, false, 12, {0, 1, 2, 3, 4, 5}, {0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12}},
        {2, true, 12, {0, 1, 2, 3, 4, 5}, {0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12}},
        {3, true, 9, {0, 1, 2, 3, 4, 5}, {0, 1, 2, 3}},
    };
    for (const auto &row : kCases) {
        SCOPED_TRACE(testing::Message() << row.sensor << row.hasWheel << ' ' << row.depth);
        camera->getCCDImageFormat = row.sensor;
        camera->isRGBFilterSupported = row.hasWheel;
        camera->getMaxBitDepth = row.depth;
        camera->getBitDepth = 8; // what is set at present doesn't matter
        EXPECT_EQ(TableOf(&current, zprmImageFormat), row.formats);
        EXPECT_EQ(TableOf(&current, zprmPostProcessImageFormat), row.postProcessed);
    }
}

TEST_F(ParamTables, ComeBackCutWhereTheRoomEnds)
{
    camera->getMaxBitDepth = 12;
    camera->getCCDImageFormat = 1;
    EXPECT_EQ(TableOf(&current, zprmImageFormat, 2), (Entries{0, 1}));
    EXPECT_EQ(TableOf(Legacy(), zprmImageFormat, 1), Entries{0});
    EXPECT_EQ(TableOf(&current, zprmImageFormat, 10), (Entries{0, 1, 2, 3, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(TableOf(&current, zprmFan, 4), (Entries{1, 2, 3, 4}));
}

TEST_F(ParamTables, OfNoEntriesAreGoodForAnyKey)
{
    for (Zerix_Settings *const settings : Both()) {
        for (const uint32_t key : {0u, 12u, 17u, 18u, 53u, 0xFFFFFFFFu}) {
            EXPECT_EQ(Refused(settings, key, 0), (Answer{0, 0})) << key;
            EXPECT_EQ(Refused(settings, key, -1), (Answer{1, -1})) << key;
            EXPECT_EQ(Refused(settings, key, INT32_MIN), (Answer{1, INT32_MIN})) << key;
        }
    }
}

TEST_F(ParamTables, OfOtherKeysAreRefusedAndTheSizeIsLeftAlone)
{
    for (Zerix_Settings *const settings : Both()) {
        for (uint32_t key = 0; key < 60; ++key) {
            if (kSparse.count(key) != 0)
                continue;
            EXPECT_EQ(Refused(settings, key, 1), (Answer{1, 1})) << key;
        }
    }
    SetEveryCapability(*camera, false);
    for (const uint32_t key : {3u, 8u, 9u, 20u, 24u, 33u, 34u, 35u, 36u, 42u, 43u})
        EXPECT_EQ(Refused(&current, key, 1), (Answer{1, 1})) << key;
}

TEST_F(ParamTables, AreShownInTheLog)
{
    Configure("outputEnabled = 1\noutputSparseTable = 1\n");
    diag::ZLogOpen();
    TableOf(&current, zprmFan, 2);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_GetParamSparseTable start (zprmFan)", "Sparse Table for zprmFan:", "1",
                     "2", EndLine("Zerix_GetParamSparseTable")}));
    Refused(&current, zprmFan, 0);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParamSparseTable start (zprmFan)",
                             EndLine("Zerix_GetParamSparseTable")}));
    Refused(&current, zprmGain, 1);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParamSparseTable start (zprmGain)",
                             EndingLine("Zerix_GetParamSparseTable", kNotSupportedPhrase, 1)}));
}

// The one query asks for the key first, the other for the support.
TEST_F(ParamTables, AskForSupportInTheLog)
{
    ShowNestedCalls();
    const std::string unknown = "InternalParam32KeyAsString() - Unknown parameter";
    Zerix_IsSparseTable(&current, 53);
    EXPECT_EQ(Take(), (Lines{"Zerix_IsSparseTable start (" + unknown + ")",
                             EndingLine("Zerix_IsSparseTable", kNotSupportedPhrase, 1)}));
    Zerix_IsRangeTable(&current, 53);
    EXPECT_EQ(Take(), (Lines{"Zerix_IsRangeTable start (" + unknown + ")",
                             "Zerix_IsParamSupported start (" + unknown + ")",
                             "Zerix_IsParamSupported ending because the function is not supported "
                             "for this device. (error 1)",
                             EndingLine("Zerix_IsRangeTable", kNotSupportedPhrase, 1)}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

} // namespace
} // namespace zerix::api
