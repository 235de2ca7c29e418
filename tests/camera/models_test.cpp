// The model table: every list and rule of every model, and which class a number selects.
#include <string>
#include <typeinfo>
#include <vector>

#include "camera/models/models.h"
#include "tests/camera/camera_access.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kUnassigned = 11;

using Frequencies = std::vector<float>;
using Triggers = std::vector<uint32_t>;
using Binnings = std::vector<uint16_t>;

const Frequencies kBaseReadouts = {2.5f, 5.0f, 10.0f, 20.0f};
const Triggers kBaseTriggers = {0, 1, 2, 3, 4, 5};
const Triggers kExtendedTriggers = {0, 1, 2, 3, 4, 5, 6, 7};
const Binnings kTo8 = {1, 2, 4, 8};

struct ModelFacts {
    uint32_t number;
    const std::type_info &type;
    const char *name;
    Frequencies readouts;
    float readoutDefault;
    Triggers triggers;
    Binnings binnings;      // firmware 114, not eight-fold capable
    Binnings eightBinnings; // firmware 114, eight-fold capable
    uint32_t boardType;     // firmware 114
    uint16_t tag;
};

// All but those that ask the bus for its speed: 26, 31 and 33.
std::vector<ModelFacts> FactsAwayFromTheBus()
{
    using namespace ZX;
    const Frequencies from5 = {5.0f, 10.0f, 20.0f};
    const Frequencies from10 = {10.0f, 20.0f};
    const Frequencies to30 = {10.0f, 20.0f, 30.0f};
    const Binnings to4 = {1, 2, 3, 4};
    return {
        {5, typeid(AstrelA1), "Astrel A1", kBaseReadouts, 20, kBaseTriggers, to4, kTo8, 2, 1},
        {6, typeid(AstrelA2), "Astrel A2", kBaseReadouts, 20, kBaseTriggers, to4, kTo8, 2, 1},
        {7, typeid(SparrowB), "Sparrow B", kBaseReadouts, 20, kBaseTriggers, to4, kTo8, 2, 1},
        {8, typeid(Benchmate), "Benchmate", kBaseReadouts, 20, {0, 5}, {}, {}, 1, 1},
        {9,
         typeid(AstrelIntensified),
         "Astrel Intensified",
         kBaseReadouts,
         20,
         kBaseTriggers,
         {1, 2},
         kTo8,
         2,
         1},
        {10,
         typeid(SparrowIR),
         "Sparrow IR",
         kBaseReadouts,
         20,
         kBaseTriggers,
         {1, 2},
         {1, 2},
         2,
         1},
        {12, typeid(AstrelC1), "Astrel C1", from10, 20, kBaseTriggers, kTo8, kTo8, 2, 1},
        {13, typeid(AstrelB1), "Astrel B1", from10, 20, kBaseTriggers, kTo8, kTo8, 2, 1},
        {14,
         typeid(NoctisA1),
         "NoctisA1",
         kBaseReadouts,
         20,
         kBaseTriggers,
         {1, 2, 4, 3},
         kTo8,
         2,
         1},
        {15, typeid(AstrelE1), "Astrel E1", from5, 20, kExtendedTriggers, kTo8, kTo8, 2, 1},
        {16, typeid(AstrelD1), "OEM Camera 3", kBaseReadouts, 20, kExtendedTriggers, kTo8, kTo8, 2,
         1},
        {18, typeid(AstrelC2), "Astrel C2", from5, 20, kExtendedTriggers, kTo8, kTo8, 2, 1},
        {19, typeid(AstrelB2), "Astrel B2", from5, 20, kExtendedTriggers, kTo8, kTo8, 2, 1},
        {25,
         typeid(NoctisB1),
         "Noctis C1",
         {40.0f, 10.0f, 20.0f},
         40,
         kExtendedTriggers,
         kTo8,
         kTo8,
         2,
         0},
        {27,
         typeid(NoctisA2),
         "Noctis A2",
         to30,
         20,
         kExtendedTriggers,
         {1, 2, 4},
         {1, 2, 4},
         2,
         0},
        {28, typeid(AstrelE2), "Astrel E2", to30, 20, kExtendedTriggers, kTo8, kTo8, 2, 0},
        {29, typeid(AstrelC3), "Astrel C3", from5, 20, kExtendedTriggers, kTo8, kTo8, 2, 1},
        {30, typeid(AstrelB3), "Astrel B3", from5, 20, kExtendedTriggers, kTo8, kTo8, 2, 1},
        {32, typeid(MeridTeal), "Merid Teal", from10, 20, kExtendedTriggers, kTo8, kTo8, 2, 0},
        {1001,
         typeid(AstrelOem1),
         "OXA",
         kBaseReadouts,
         20,
         kBaseTriggers,
         {1, 2, 4, 3},
         kTo8,
         1,
         1},
        {1002, typeid(Metrol), "MT1", {5.0f}, 5, kBaseTriggers, {}, {}, 2, 0},
        {kUnassigned,
         typeid(Unknown),
         "Unknown",
         kBaseReadouts,
         20,
         kBaseTriggers,
         {1, 2, 4, 3},
         kTo8,
         2,
         1},
    };
}

std::unique_ptr<ZX::TolvaneFWCamera> MakeModel(uint32_t model, uint16_t firmware, bool isEightFold)
{
    return MakeLooseCamera(model, VersionWord(2, 11),
                           {{0x40, firmware}, {0xA8, isEightFold ? 1 : 0}});
}

std::unique_ptr<ZX::TolvaneFWCamera> MakeModel(uint32_t model)
{
    return MakeModel(model, 114, false);
}

Binnings BinningsOf(ZX::TolvaneFWCamera &camera)
{
    Binnings modes = {99};
    camera.GetSymmetricalBinningModes(modes);
    return modes;
}

Triggers TriggersOf(ZX::TolvaneFWCamera &camera)
{
    Triggers modes = {99};
    camera.GetTriggerModes(modes);
    return modes;
}

Frequencies ReadoutsOf(ZX::TolvaneFWCamera &camera)
{
    Frequencies modes = {99.0f};
    camera.GetReadoutFrequencyModes(modes);
    return modes;
}

TEST(ModelTable, HasTheFactsOfEveryModel)
{
    for (const ModelFacts &facts : FactsAwayFromTheBus()) {
        SCOPED_TRACE(facts.name);
        auto camera = MakeModel(facts.number);
        EXPECT_EQ(typeid(*camera), facts.type);
        EXPECT_STREQ(camera->GetModelString(), facts.name);
        EXPECT_EQ(ReadoutsOf(*camera), facts.readouts);
        EXPECT_EQ(camera->GetReadoutFrequencyDefault(), facts.readoutDefault);
        EXPECT_EQ(TriggersOf(*camera), facts.triggers);
        EXPECT_EQ(BinningsOf(*camera), facts.binnings);
        EXPECT_EQ(BinningsOf(*MakeModel(facts.number, 114, true)), facts.eightBinnings);
        EXPECT_EQ(camera->GetAnalogBoardType(), facts.boardType);
        EXPECT_EQ(camera->GetTagCode(), facts.tag);
    }
}

TEST(ModelTable, HasTheFactsOfTheModelsThatDependOnTheBus)
{
    const std::pair<uint32_t, const char *> models[] = {
        {26, "Astrel F1"}, {31, "Merid Cobalt"}, {33, "Astrel G1"}};
    for (const auto &[number, name] : models) {
        SCOPED_TRACE(name);
        auto camera = MakeModel(number);
        EXPECT_STREQ(camera->GetModelString(), name);
        EXPECT_EQ(camera->GetReadoutFrequencyDefault(), 20.0f);
        EXPECT_EQ(TriggersOf(*camera), kExtendedTriggers);
        EXPECT_EQ(BinningsOf(*camera), kTo8);
        EXPECT_EQ(camera->GetAnalogBoardType(), 2u);
        EXPECT_EQ(camera->GetTagCode(), 0);
    }
    EXPECT_EQ(typeid(*MakeModel(26)), typeid(ZX::AstrelF1));
    EXPECT_EQ(typeid(*MakeModel(31)), typeid(ZX::MeridCobalt));
    EXPECT_EQ(typeid(*MakeModel(33)), typeid(ZX::AstrelG1));
}

TEST(ModelTable, GivesEveryOtherNumberToUnknown)
{
    for (const uint32_t number :
         {0u, 1u, 4u, 11u, 17u, 20u, 21u, 22u, 23u, 24u, 34u, 1000u, 1003u, 65535u}) {
        auto camera = MakeModel(number);
        EXPECT_EQ(typeid(*camera), typeid(ZX::Unknown)) << number;
        EXPECT_STREQ(camera->GetModelString(), "Unknown") << number;
    }
}

TEST(ModelTable, ShrinksTheTriggersWhileTheFilterWheelTurns)
{
    for (const uint32_t number : {5u, 13u, 18u, 25u, 8u, kUnassigned}) {
        auto camera = MakeModel(number);
        CameraAccess::ControlOf(*camera).Store(0x30, 1);
        EXPECT_EQ(TriggersOf(*camera), (Triggers{0, 5})) << number;
    }
}

TEST(ModelTable, KnowsOldBoardsByTheirFirmware)
{
    for (const uint32_t number : {5u, 7u, 12u, 13u, 14u}) {
        EXPECT_EQ(MakeModel(number, 99, false)->GetAnalogBoardType(), 1u) << number;
        EXPECT_EQ(MakeModel(number, 100, false)->GetAnalogBoardType(), 2u) << number;
    }
    EXPECT_EQ(MakeModel(6, 5, false)->GetAnalogBoardType(), 1u);
    EXPECT_EQ(MakeModel(6, 6, false)->GetAnalogBoardType(), 2u);
    for (const uint32_t number : {8u, 1001u})
        EXPECT_EQ(MakeModel(number, 200, false)->GetAnalogBoardType(), 1u) << number;
    for (const uint32_t number : {9u, 10u, 15u, 18u, 19u, 1002u})
        EXPECT_EQ(MakeModel(number, 1, false)->GetAnalogBoardType(), 2u) << number;
}

TEST(ModelTable, BinsByTwoAloneBeforeFirmware102)
{
    for (const uint32_t number : {14u, 1001u, kUnassigned}) {
        EXPECT_EQ(BinningsOf(*MakeModel(number, 101, true)), (Binnings{1, 2})) << number;
        EXPECT_EQ(BinningsOf(*MakeModel(number, 102, false)), (Binnings{1, 2, 4, 3})) << number;
        EXPECT_EQ(BinningsOf(*MakeModel(number, 102, true)), kTo8) << number;
    }
}

// The bit that tells it came with information 2.2.
TEST(ModelTable, BinsByEightNotBeforeInformation22)
{
    for (const uint32_t number : {5u, 6u, 7u}) {
        auto camera = MakeLooseCamera(number, VersionWord(2, 1), {{0x40, 114}});
        EXPECT_EQ(BinningsOf(*camera), (Binnings{1, 2, 3, 4})) << number;
        auto capable = MakeLooseCamera(number, VersionWord(2, 2), {{0x40, 114}, {0xA8, 1}});
        EXPECT_EQ(BinningsOf(*capable), kTo8) << number;
        auto incapable =
            MakeLooseCamera(number, VersionWord(2, 2), {{0x40, 114}, {0xA8, 0xFFFFFFFE}});
        EXPECT_EQ(BinningsOf(*incapable), (Binnings{1, 2, 3, 4})) << number;
    }
}

TEST(ModelTable, HasNoFilterWheelForTwoMonochromeModels)
{
    for (const uint32_t number : {10u, 14u})
        EXPECT_FALSE(MakeModel(number)->IsRGBFilterSupported()) << number;
    for (const uint32_t number : {5u, 18u, 19u, kUnassigned})
        EXPECT_TRUE(MakeModel(number)->IsRGBFilterSupported()) << number;
}

TEST(ModelTable, ExposesTwoModelsLongerByDefault)
{
    for (const uint32_t number : {8u, 1002u})
        EXPECT_EQ(MakeModel(number)->GetDefaultExposure(), 100'000'000u) << number;
    for (const uint32_t number : {5u, 9u, 18u, 19u, kUnassigned})
        EXPECT_EQ(MakeModel(number)->GetDefaultExposure(), 16'384'000u) << number;
}

TEST(AstrelB1, IsModel13WhateverTheRegistersSay)
{
    auto camera = MakeLooseCamera(13, VersionWord(2, 11), {{0x38, 5u << 16}});
    EXPECT_EQ(camera->GetModel(), 13);
    EXPECT_EQ(camera->ReturnMasqueradedModel(), 13);
}

TEST(AstrelA1, MasqueradesByItsSensor)
{
    for (const uint32_t sensor : {46u, 53u}) {
        auto camera =
            MakeLooseCamera(5, VersionWord(2, 11), {{0x38, 5u << 16}, {0x44, sensor << 16}});
        EXPECT_EQ(camera->GetModel(), 5);
        EXPECT_EQ(camera->ReturnMasqueradedModel(), 13) << sensor;
    }
    for (const uint32_t sensor : {45u, 47u, 52u, 54u, 6u}) {
        auto camera =
            MakeLooseCamera(5, VersionWord(2, 11), {{0x38, 5u << 16}, {0x44, sensor << 16}});
        EXPECT_EQ(camera->ReturnMasqueradedModel(), 5) << sensor;
    }
}

TEST(ModelTable, MasqueradesNoOther)
{
    auto camera = MakeLooseCamera(6, VersionWord(2, 11), {{0x38, 6u << 16}, {0x44, 46u << 16}});
    EXPECT_EQ(camera->ReturnMasqueradedModel(), 6);
}

class Models : public VirtualBusTest {};

TEST_F(Models, ReadOutAt30OnAFastBusAlone)
{
    for (const uint32_t number : {26u, 31u, 33u}) {
        EXPECT_EQ(ReadoutsOf(OpenOne(Describe(number, 21), 800)),
                  (Frequencies{10.0f, 20.0f, 30.0f}))
            << number;
        FreeCameras();
        EXPECT_EQ(ReadoutsOf(OpenOne(Describe(number, 21), 400)), (Frequencies{10.0f, 20.0f}))
            << number;
        FreeCameras();
    }
}

TEST_F(Models, SayThatTheyAreUnknown)
{
    auto camera = MakeModel(kUnassigned);
    const std::string before = DebugText();
    BinningsOf(*camera);
    EXPECT_EQ(DebugText().substr(before.size()),
              "GetSymmetricalBinningModes() - unkown camera type being used\n");
    const std::string between = DebugText();
    camera->GetAnalogBoardType();
    EXPECT_EQ(DebugText().substr(between.size()),
              "GetAnalogBoardType() - unkown camera type being used\n");
}

// Every model goes through its whole set-up on a camera of its own.
TEST_F(Models, CanAllBeListed)
{
    for (const uint32_t number : {5u,  6u,  7u,  8u,  9u,  10u, 12u, 13u, 14u, 15u, 16u,   18u,
                                  19u, 25u, 26u, 27u, 28u, 29u, 30u, 31u, 32u, 33u, 1001u, 1002u}) {
        UseCameras({Describe(number, 6)});
        ListCameras();
        ASSERT_EQ(cameras.size(), 1u) << number;
        EXPECT_EQ(cameras[0]->GetModel(), number);
        FreeCameras();
    }
}

} // namespace
} // namespace zerix::test
