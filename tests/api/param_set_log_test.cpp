// What the log shows of writing single values: the value, the calls that check it, and why they
// failed.
#include <string>

#include "api/table_checks.h"
#include "tests/api/param_set_fixture.h"

namespace zerix::api {
namespace {

class ParamSetLog : public ParamSetTest {};

TEST_F(ParamSetLog, ShowsTheValueInTheLogBeforeItIsRefused)
{
    ShowSettings();
    Zerix_SetParam(&current, zprmFan, 2);
    EXPECT_EQ(Take(), (Lines{"Zerix_SetParam start (zprmFan)", "Fan Speed: 2 (Medium)",
                             EndLine("Zerix_SetParam")}));
    Zerix_SetParam(&current, zprmBinning, 3);
    EXPECT_EQ(Take(), (Lines{"Zerix_SetParam start (zprmBinning)", "Symmetrical Binning: 3",
                             EndingLine("Zerix_SetParam", kNotSupportedPhrase, 1)}));
    Zerix_SetParam(Legacy(), zprmKeelEmMode, 1);
    EXPECT_EQ(Take(), (Lines{"Zerix_SetParam start (zprmKeelEmMode)", "KeelEM Gain: 1",
                             EndingLine("Zerix_SetParam", kNotSupportedPhrase, 1)}));
    Zerix_SetParam(&current, zprmShutterState, 1); // not asked for
    EXPECT_EQ(Take(), (Lines{"Zerix_SetParam start (zprmShutterState)",
                             EndingLine("Zerix_SetParam", kNotSupportedPhrase, 1)}));
    Zerix_SetParamS32(&current, 2, 11);
    EXPECT_EQ(Take(), (Lines{"Zerix_SetParamS32 start (zprmS32RegulatedCoolingTemp)",
                             "Regulated Cooling Temp: 11 C",
                             EndingLine("Zerix_SetParamS32", kBadParameterPhrase, 2)}));
    Zerix_SetParam64(&current, 1, 1'234'567);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_SetParam64 start (zprm64ExposureRed)",
                     "Red Exposure (64-bit): 1234567 ns (1.2 ms)", EndLine("Zerix_SetParam64")}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

TEST_F(ParamSetLog, NestsItsChecksInTheLog)
{
    ShowNestedCalls();
    Zerix_SetParam(&current, zprmFan, 5);
    const auto supported = [](const std::string &key) {
        return Lines{"Zerix_IsParamSupported start (" + key + ")",
                     "Zerix_IsParamSupported end (error code 0)\n"};
    };
    Lines expected = {"Zerix_SetParam start (zprmFan)"};
    const auto append = [&](const Lines &lines) {
        expected.insert(expected.end(), lines.begin(), lines.end());
    };
    append(supported("zprmFan"));
    append({"Fan Speed: 5 (Unknown)", "Zerix_IsSparseTable start (zprmFan)"});
    append(supported("zprmFan"));
    append(
        {"Zerix_IsSparseTable end (error code 0)\n", "Zerix_GetParamSparseTable start (zprmFan)"});
    append(supported("zprmFan"));
    append({"Zerix_GetParamSparseTable end (error code 0)\n",
            EndingLine("Zerix_SetParam", kBadParameterPhrase, 2)});
    EXPECT_EQ(Take(), expected);

    Zerix_SetParam(&current, zprmGain, 9);
    expected = {"Zerix_SetParam start (zprmGain)"};
    append(supported("zprmGain"));
    append({"Gain: 9", "Zerix_SetParamS32 start (zprmS32NormalizedGaindB)",
            "Zerix_IsParamS32Supported start (zprmS32NormalizedGaindB)",
            "Zerix_IsParamS32Supported end (error code 0)\n", "Normalized Gain dB: 0",
            "Zerix_SetParamS32 end (error code 0)\n", EndLine("Zerix_SetParam")});
    EXPECT_EQ(Take(), expected);
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

// One call within another, with what it asks itself.
Lines Nested(const std::string &name, const std::string &key, const Lines &inside, bool isYes)
{
    Lines lines = {name + " start (" + key + ")"};
    lines.insert(lines.end(), inside.begin(), inside.end());
    lines.push_back(isYes ? name + " end (error code 0)\n"
                          : name + " ending because " + kNotSupportedPhrase + " (error 1)");
    return lines;
}

Lines Joined(std::initializer_list<Lines> parts)
{
    Lines lines;
    for (const Lines &part : parts)
        lines.insert(lines.end(), part.begin(), part.end());
    return lines;
}

// The class is asked for, then the maximum, then the minimum, each of which asks for the class
// again.
TEST_F(ParamSetLog, NestsTheCheckOfARangeInTheLog)
{
    ShowNestedCalls();
    const std::string key = "zprmEMGain";
    const Lines supported = Nested("Zerix_IsParamSupported", key, {}, true);
    const Lines isNoList = Nested("Zerix_IsSparseTable", key, supported, false);
    const Lines isRange = Nested("Zerix_IsRangeTable", key, supported, true);
    const auto limit = [&](const std::string &name, const std::string &value) {
        return Nested(name, key, Joined({supported, isNoList, {"EM Gain: " + value}}), true);
    };
    for (const auto &[value, end] :
         {std::pair{2048u, EndLine("Zerix_SetParam")},
          {2049u, EndingLine("Zerix_SetParam", kBadParameterPhrase, 2)}}) {
        Zerix_SetParam(&current, zprmEMGain, value);
        EXPECT_EQ(Take(), Joined({{"Zerix_SetParam start (zprmEMGain)"},
                                  supported,
                                  {"EM Gain: " + std::to_string(value)},
                                  isNoList,
                                  isRange,
                                  limit("Zerix_GetParamMax", "2048"),
                                  limit("Zerix_GetParamMin", "3"),
                                  {end}}));
    }
}

// The format goes by its list and the frame buffers by their range, whatever their class.
TEST_F(ParamSetLog, AsksForNoClassWhereTheCheckIsKnown)
{
    ShowNestedCalls();
    Zerix_SetParam(&current, zprmImageFormat, 2);
    const Lines format = Nested("Zerix_IsParamSupported", "zprmImageFormat", {}, true);
    EXPECT_EQ(Take(), Joined({{"Zerix_SetParam start (zprmImageFormat)"},
                              format,
                              {"Image Format: 2 (Mono 8-Bit)"},
                              Nested("Zerix_GetParamSparseTable", "zprmImageFormat", format, true),
                              {EndLine("Zerix_SetParam")}}));
    Zerix_SetParam(&current, zprmFrameBufferLength, 100);
    const std::string key = "zprmFrameBufferLength";
    const std::string dump = "ZerixDebugOutputSetting32() - Unknown parameter";
    const Lines supported = Nested("Zerix_IsParamSupported", key, {}, true);
    const Lines isNoList = Nested("Zerix_IsSparseTable", key, supported, false);
    const Lines limit = Joined({supported, isNoList, {dump}});
    EXPECT_EQ(Take(), Joined({{"Zerix_SetParam start (zprmFrameBufferLength)"},
                              supported,
                              {dump},
                              Nested("Zerix_GetParamMax", key, limit, true),
                              Nested("Zerix_GetParamMin", key, limit, true),
                              {EndLine("Zerix_SetParam")}}));
}

TEST_F(ParamSetLog, LooksAtTheKeyBeforeItAsksForSupport)
{
    ShowNestedCalls();
    Zerix_SetParam(&current, 53, 1);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_SetParam start (InternalParam32KeyAsString() - Unknown parameter)",
                     EndingLine("Zerix_SetParam", kNotSupportedPhrase, 1)}));
    Zerix_SetParamS32(&current, 3, 1);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_SetParamS32 start (InternalParamS32KeyAsString() - Unknown parameter)",
                     EndingLine("Zerix_SetParamS32", kNotSupportedPhrase, 1)}));
    Zerix_SetParam64(&current, 4, 1);
    EXPECT_EQ(Take(),
              (Lines{"Zerix_SetParam64 start (InternalParam64KeyAsString() - Unknown parameter)",
                     EndingLine("Zerix_SetParam64", kNotSupportedPhrase, 1)}));
}

// The checks tell a failure of what they ask under their own names, beside the call's own lines.
TEST_F(ParamSetLog, ChecksTellWhyTheyFailed)
{
    const ReadRecord record = {&current, *camera, true};
    EXPECT_EQ(CheckSparseTableEntry(record, zprmFan, 4), 0u);
    EXPECT_EQ(CheckSparseTableEntry(record, zprmFan, 5), 2u);
    EXPECT_EQ(CheckRangeTableEntry(record, zprmEMGain, 2048), 0u);
    EXPECT_EQ(CheckRangeTableEntry(record, zprmEMGain, 2049), 2u);
    EXPECT_EQ(CheckRangeTableEntry(record, zprmEMGain, 2), 2u);
    Take();
    EXPECT_EQ(CheckSparseTableEntry(record, zprmGain, 1), 1u);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParamSparseTable start (zprmGain)",
                             EndingLine("Zerix_GetParamSparseTable", kNotSupportedPhrase, 1),
                             EndingLine("CheckSparseTableEntry", kNotSupportedPhrase, 1)}));
    EXPECT_EQ(CheckRangeTableEntry(record, zprmDoPostProcessing, 1), 1u);
    EXPECT_EQ(Take(), (Lines{"Zerix_GetParamMax start (zprmDoPostProcessing)",
                             EndingLine("Zerix_GetParamMax", kNotSupportedPhrase, 1),
                             EndingLine("CheckRangeTableEntry", kNotSupportedPhrase, 1)}));
    EXPECT_EQ(diag::ZLogDepth(), 0);
}

} // namespace
} // namespace zerix::api
