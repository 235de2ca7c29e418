// Every list and rule of the models, as tables: each table names every model once.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/camera/model_camera.h"

namespace zerix::test {
namespace {

using Models = std::vector<uint32_t>;
using Frequencies = std::vector<float>;
using Triggers = std::vector<uint32_t>;
using Binnings = std::vector<uint16_t>;

enum Model : uint32_t {
    kAstrelA1 = 5,
    kAstrelA2 = 6,
    kSparrowB = 7,
    kBenchmate = 8,
    kAstrelIntensified = 9,
    kSparrowIR = 10,
    kUnknown = 11, // not assigned
    kAstrelC1 = 12,
    kAstrelB1 = 13,
    kNoctisA1 = 14,
    kAstrelE1 = 15,
    kAstrelD1 = 16,
    kAstrelC2 = 18,
    kAstrelB2 = 19,
    kNoctisB1 = 25,
    kAstrelF1 = 26,
    kNoctisA2 = 27,
    kAstrelE2 = 28,
    kAstrelC3 = 29,
    kAstrelB3 = 30,
    kMeridCobalt = 31,
    kMeridTeal = 32,
    kAstrelG1 = 33,
    kAstrelOem1 = 1001,
    kMetrol = 1002,
};

const Models kAll = {5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,   16,  18,
                     19, 25, 26, 27, 28, 29, 30, 31, 32, 33, 1001, 1002};

template <typename Result>
struct Row {
    Result result;
    Models models;
};

// `ask` gets a model's answer. Every model must be in exactly one row.
template <typename Result, typename Ask>
void ExpectRows(const std::vector<Row<Result>> &rows, Ask ask)
{
    Models told;
    for (const Row<Result> &row : rows)
        for (const uint32_t model : row.models) {
            EXPECT_EQ(ask(model), row.result) << "model " << model;
            told.push_back(model);
        }
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told, kAll);
}

// Readout -----------------------------------------------------------------------------------------

Frequencies ReadoutsOf(uint32_t model, Wire wire)
{
    ModelCamera camera(model, kNewestInformation, kNewestControl, wire);
    Frequencies modes = {99.0f};
    camera->GetReadoutFrequencyModes(modes);
    return modes;
}

std::vector<Row<Frequencies>> ReadoutRows(const Frequencies &whereTheBusDecides)
{
    return {
        {{2.5f, 5.0f, 10.0f, 20.0f},
         {kUnknown, kAstrelOem1, kAstrelD1, kNoctisA1, kSparrowIR, kAstrelIntensified, kBenchmate,
          kSparrowB, kAstrelA2, kAstrelA1}},
        {{5.0f, 10.0f, 20.0f}, {kAstrelB2, kAstrelB3, kAstrelC2, kAstrelC3, kAstrelE1}},
        {{10.0f, 20.0f}, {kAstrelB1, kAstrelC1, kMeridTeal}},
        {whereTheBusDecides, {kAstrelG1, kAstrelF1, kMeridCobalt}},
        {{10.0f, 20.0f, 30.0f}, {kNoctisA2, kAstrelE2}},
        {{40.0f, 10.0f, 20.0f}, {kNoctisB1}},
        {{5.0f}, {kMetrol}},
    };
}

TEST(ModelReadouts, AreThoseOfTheModelOnAFastBus)
{
    ExpectRows(ReadoutRows({10.0f, 20.0f, 30.0f}),
               [](uint32_t model) { return ReadoutsOf(model, Wire::kFast); });
}

TEST(ModelReadouts, AreThoseOfTheModelOnASlowBus)
{
    ExpectRows(ReadoutRows({10.0f, 20.0f}),
               [](uint32_t model) { return ReadoutsOf(model, Wire::kBroken); });
}

// A bus that is neither.
TEST(ModelReadouts, AreThoseOfTheModelOnNoBus)
{
    ExpectRows(ReadoutRows({10.0f, 20.0f}),
               [](uint32_t model) { return ReadoutsOf(model, Wire::kNowhere); });
}

// On a fast bus, where the highest of three models is not their default.
TEST(ModelReadouts, HaveTheirDefault)
{
    ExpectRows<float>(
        {{20.0f, {kAstrelG1, kAstrelF1, kAstrelE2, kNoctisA2, kMeridCobalt, kMeridTeal}},
         {20.0f,
          {kUnknown, kAstrelOem1, kAstrelD1, kNoctisA1, kSparrowIR, kAstrelIntensified, kBenchmate,
           kSparrowB, kAstrelA2, kAstrelA1, kAstrelB2, kAstrelB3, kAstrelC2, kAstrelC3, kAstrelE1,
           kAstrelB1, kAstrelC1}},
         {40.0f, {kNoctisB1}},
         {5.0f, {kMetrol}}},
        [](uint32_t model) {
            return ModelCamera(model, kNewestInformation, kNewestControl, Wire::kFast)
                ->GetReadoutFrequencyDefault();
        });
}

TEST(ModelReadouts, HaveTheirHighestAndLowest)
{
    ExpectRows<std::pair<float, float>>(
        {{{2.5f, 20.0f},
          {kUnknown, kAstrelOem1, kAstrelD1, kNoctisA1, kSparrowIR, kAstrelIntensified, kBenchmate,
           kSparrowB, kAstrelA2, kAstrelA1}},
         {{5.0f, 20.0f}, {kAstrelB2, kAstrelB3, kAstrelC2, kAstrelC3, kAstrelE1}},
         {{10.0f, 20.0f}, {kAstrelB1, kAstrelC1, kMeridTeal}},
         {{10.0f, 30.0f}, {kAstrelG1, kAstrelF1, kMeridCobalt, kNoctisA2, kAstrelE2}},
         {{10.0f, 40.0f}, {kNoctisB1}},
         {{5.0f, 5.0f}, {kMetrol}}},
        [](uint32_t model) {
            ModelCamera camera(model, kNewestInformation, kNewestControl, Wire::kFast);
            return std::pair(camera->GetReadoutFrequencyMin(), camera->GetReadoutFrequencyMax());
        });
}

// Triggers ----------------------------------------------------------------------------------------

Triggers TriggersOf(uint32_t model, bool isWheelTurning)
{
    ModelCamera camera(model);
    camera.SetControl(0x30, isWheelTurning ? 1 : 0);
    Triggers modes = {99};
    camera->GetTriggerModes(modes);
    return modes;
}

TEST(ModelTriggers, AreThoseOfTheModel)
{
    ExpectRows<Triggers>(
        {{{0, 1, 2, 3, 4, 5},
          {kUnknown, kMetrol, kAstrelOem1, kNoctisA1, kAstrelC1, kAstrelB1, kSparrowIR,
           kAstrelIntensified, kSparrowB, kAstrelA2, kAstrelA1}},
         {{0, 1, 2, 3, 4, 5, 6, 7},
          {kAstrelG1, kMeridTeal, kMeridCobalt, kAstrelB2, kAstrelB3, kAstrelC2, kAstrelC3,
           kAstrelD1, kAstrelE1, kAstrelE2, kAstrelF1, kNoctisA2, kNoctisB1}},
         {{0, 5}, {kBenchmate}}},
        [](uint32_t model) { return TriggersOf(model, false); });
}

TEST(ModelTriggers, ShrinkWhileTheFilterWheelTurns)
{
    ExpectRows<Triggers>({{{0, 5}, kAll}}, [](uint32_t model) { return TriggersOf(model, true); });
}

// Binning -----------------------------------------------------------------------------------------

Binnings BinningsOf(uint32_t model, uint32_t information, uint32_t firmware, uint32_t word0xA8)
{
    ModelCamera camera(model, information);
    camera.SetInformation(0x40, firmware);
    if (information >= Version(2, 2))
        camera.SetInformation(0xA8, word0xA8);
    Binnings modes = {99};
    camera->GetSymmetricalBinningModes(modes);
    return modes;
}

const Models kBinBy8 = {kAstrelG1, kMeridTeal, kMeridCobalt, kAstrelB1, kAstrelB2,
                        kAstrelB3, kAstrelC1,  kAstrelC2,    kAstrelC3, kAstrelD1,
                        kAstrelE1, kAstrelE2,  kAstrelF1,    kNoctisB1};

std::vector<Row<Binnings>> IncapableRows(const Binnings &byFirmware)
{
    return {{{1, 2, 4, 8}, kBinBy8},
            {{1, 2, 4}, {kNoctisA2}},
            {{1, 2}, {kSparrowIR}},
            {{1, 2}, {kAstrelIntensified}},
            {{1, 2, 3, 4}, {kAstrelA1, kAstrelA2, kSparrowB}},
            {byFirmware, {kNoctisA1, kAstrelOem1, kUnknown}},
            {{}, {kMetrol, kBenchmate}}};
}

std::vector<Row<Binnings>> CapableRows(const Binnings &byFirmware)
{
    return {{{1, 2, 4, 8}, kBinBy8},
            {{1, 2, 4}, {kNoctisA2}},
            {{1, 2}, {kSparrowIR}},
            {{1, 2, 4, 8}, {kAstrelIntensified}},
            {{1, 2, 4, 8}, {kAstrelA1, kAstrelA2, kSparrowB}},
            {byFirmware, {kNoctisA1, kAstrelOem1, kUnknown}},
            {{}, {kMetrol, kBenchmate}}};
}

TEST(ModelBinnings, AreThoseOfTheModelWithoutEightFold)
{
    for (const uint32_t firmware : {102u, 114u, 65535u})
        ExpectRows(IncapableRows({1, 2, 4, 3}), [firmware](uint32_t model) {
            return BinningsOf(model, Version(2, 2), firmware, 0xFFFFFFFE);
        });
    for (const uint32_t firmware : {0u, 101u})
        ExpectRows(IncapableRows({1, 2}), [firmware](uint32_t model) {
            return BinningsOf(model, Version(2, 11), firmware, 0);
        });
}

TEST(ModelBinnings, AreThoseOfTheModelWithEightFold)
{
    for (const uint32_t firmware : {102u, 114u, 65535u})
        ExpectRows(CapableRows({1, 2, 4, 8}), [firmware](uint32_t model) {
            return BinningsOf(model, Version(2, 2), firmware, 1);
        });
    for (const uint32_t firmware : {0u, 101u})
        ExpectRows(CapableRows({1, 2}), [firmware](uint32_t model) {
            return BinningsOf(model, Version(2, 11), firmware, 0xFFFFFFFF);
        });
}

// The bit that tells it came with information 2.2.
TEST(ModelBinnings, HaveNoEightFoldBeforeInformation22)
{
    for (const uint32_t information : {Version(1, 1), Version(1, 2), Version(2, 1)})
        ExpectRows(IncapableRows({1, 2, 4, 3}), [information](uint32_t model) {
            return BinningsOf(model, information, 114, 1);
        });
}

// Boards and tags ---------------------------------------------------------------------------------

TEST(ModelBoards, FollowTheFirmware)
{
    const Models newBoards = {kAstrelG1, kMeridTeal, kMeridCobalt, kAstrelB2,
                              kAstrelB3, kAstrelC2,  kAstrelC3,    kAstrelD1,
                              kAstrelE1, kAstrelE2,  kAstrelF1,    kAstrelIntensified,
                              kNoctisA2, kNoctisB1,  kMetrol,      kSparrowIR};
    const Models from100 = {kAstrelA1, kAstrelB1, kAstrelC1, kNoctisA1, kSparrowB};
    struct Boards {
        uint32_t firmware, of100, of6;
    };
    for (const Boards &boards : std::vector<Boards>{
             {0, 1, 1}, {5, 1, 1}, {6, 1, 2}, {99, 1, 2}, {100, 2, 2}, {101, 2, 2}, {65535, 2, 2}})
        ExpectRows<uint32_t>({{2, newBoards},
                              {1, {kAstrelOem1, kBenchmate}},
                              {boards.of100, from100},
                              {boards.of6, {kAstrelA2}},
                              {2, {kUnknown}}},
                             [&boards](uint32_t model) {
                                 ModelCamera camera(model);
                                 camera.SetInformation(0x40, 0x00070000 | boards.firmware);
                                 return camera->GetAnalogBoardType();
                             });
}

TEST(ModelTags, Are0ForTheNewerModels)
{
    ExpectRows<uint32_t>({{0,
                           {kAstrelG1, kMeridTeal, kMeridCobalt, kNoctisA2, kAstrelE2, kAstrelF1,
                            kNoctisB1, kMetrol}},
                          {1,
                           {kAstrelA1, kAstrelA2, kSparrowB, kBenchmate, kAstrelIntensified,
                            kSparrowIR, kUnknown, kAstrelC1, kAstrelB1, kNoctisA1, kAstrelE1,
                            kAstrelD1, kAstrelC2, kAstrelB2, kAstrelC3, kAstrelB3, kAstrelOem1}}},
                         [](uint32_t model) { return uint32_t{ModelCamera(model)->GetTagCode()}; });
}

// Single differences ------------------------------------------------------------------------------

// All but those named.
Models AllBut(const Models &named)
{
    Models others;
    std::set_difference(kAll.begin(), kAll.end(), named.begin(), named.end(),
                        std::back_inserter(others));
    return others;
}

// `ask` answers `result` for the models named, in order, and `other` for all else.
template <typename Result, typename Ask>
void ExpectOf(const Models &named, Result result, Result other, Ask ask)
{
    ExpectRows<Result>({{result, named}, {other, AllBut(named)}}, ask);
}

TEST(ModelDifferences, AreTheModelNumberOfOne)
{
    ExpectOf<uint32_t>({kAstrelB1}, 13, 0xABCD, [](uint32_t model) {
        ModelCamera camera(model);
        camera.SetInformation(0x38, 0xABCD1234);
        return uint32_t{camera->GetModel()};
    });
}

TEST(ModelDifferences, AreTheFilterWheelOfTwoAlsoWithAMonochromeSensor)
{
    ExpectOf({kSparrowIR, kNoctisA1}, false, true,
             [](uint32_t model) { return ModelCamera(model)->IsRGBFilterSupported(); });
}

TEST(ModelDifferences, AreTheShutterOfOneWithoutTheCapability)
{
    ExpectOf({kAstrelD1}, true, false,
             [](uint32_t model) { return ModelCamera(model)->IsShutterCloseDelayAvailable(); });
}

TEST(ModelDifferences, AreTheVerticalBinningsOfThree)
{
    ExpectRows<uint32_t>({{0, {kAstrelD1}},
                          {15, AllBut({kBenchmate, kAstrelD1, kMetrol})},
                          {3, {kBenchmate}},
                          {0, {kMetrol}}},
                         [](uint32_t model) { return ModelCamera(model)->SetVerticalBinning(7); });
}

TEST(ModelDifferences, AreTheReadoutPortOfOne)
{
    ExpectOf<uint32_t>({kNoctisB1}, 1, 0,
                       [](uint32_t model) { return ModelCamera(model)->GetReadoutPort(); });
    ExpectOf<uint32_t>({kNoctisB1}, 0, 15,
                       [](uint32_t model) { return ModelCamera(model)->SetReadoutPort(2); });
}

TEST(ModelDifferences, AreTheDefaultExposuresOfTwo)
{
    ExpectOf<uint64_t>({kBenchmate, kMetrol}, 100'000'000, 16'384'000,
                       [](uint32_t model) { return ModelCamera(model)->GetDefaultExposure(); });
}

TEST(ModelDifferences, AreTheIntensifierOfOne)
{
    ExpectOf({kAstrelIntensified}, true, false,
             [](uint32_t model) { return ModelCamera(model)->IsIntensifierAvailable(); });
    ExpectOf({kAstrelIntensified}, true, false,
             [](uint32_t model) { return ModelCamera(model)->IsTriggerDelayAvialable(); });
}

TEST(ModelDifferences, AreTheSensorsThatMasquerade)
{
    for (const uint32_t sensor : {46u, 53u})
        ExpectRows<uint32_t>({{13, {kAstrelA1, kAstrelB1}}, {77, AllBut({kAstrelA1, kAstrelB1})}},
                             [sensor](uint32_t model) {
                                 ModelCamera camera(model);
                                 camera.SetInformation(0x38, 77u << 16);
                                 camera.SetInformation(0x44, sensor << 16);
                                 return uint32_t{camera->ReturnMasqueradedModel()};
                             });
    for (const uint32_t sensor : {0u, 45u, 47u, 52u, 54u, 65535u})
        ExpectRows<uint32_t>({{13, {kAstrelB1}}, {77, AllBut({kAstrelB1})}},
                             [sensor](uint32_t model) {
                                 ModelCamera camera(model);
                                 camera.SetInformation(0x38, 77u << 16);
                                 camera.SetInformation(0x44, sensor << 16);
                                 return uint32_t{camera->ReturnMasqueradedModel()};
                             });
}

} // namespace
} // namespace zerix::test
