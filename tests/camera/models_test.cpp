// The model table: which class and which name a number selects, and what a row alone makes.
#include <string>
#include <typeinfo>
#include <vector>

#include "camera/models/models.h"
#include "tests/camera/camera_access.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

using Frequencies = std::vector<float>;
using Triggers = std::vector<uint32_t>;
using Binnings = std::vector<uint16_t>;

constexpr uint32_t kUnassigned = 11;

struct ModelFacts {
    uint32_t number;
    const std::type_info &type;
    const char *name;
};

const ModelFacts kModels[] = {
    {5, typeid(ZX::AstrelA1), "Astrel A1"},
    {6, typeid(ZX::AstrelA2), "Astrel A2"},
    {7, typeid(ZX::SparrowB), "Sparrow B"},
    {8, typeid(ZX::Benchmate), "Benchmate"},
    {9, typeid(ZX::AstrelIntensified), "Astrel Intensified"},
    {10, typeid(ZX::SparrowIR), "Sparrow IR"},
    {12, typeid(ZX::AstrelC1), "Astrel C1"},
    {13, typeid(ZX::AstrelB1), "Astrel B1"},
    {14, typeid(ZX::NoctisA1), "NoctisA1"},
    {15, typeid(ZX::AstrelE1), "Astrel E1"},
    {16, typeid(ZX::AstrelD1), "OEM Camera 3"},
    {18, typeid(ZX::AstrelC2), "Astrel C2"},
    {19, typeid(ZX::AstrelB2), "Astrel B2"},
    {25, typeid(ZX::NoctisB1), "Noctis C1"},
    {26, typeid(ZX::AstrelF1), "Astrel F1"},
    {27, typeid(ZX::NoctisA2), "Noctis A2"},
    {28, typeid(ZX::AstrelE2), "Astrel E2"},
    {29, typeid(ZX::AstrelC3), "Astrel C3"},
    {30, typeid(ZX::AstrelB3), "Astrel B3"},
    {31, typeid(ZX::MeridCobalt), "Merid Cobalt"},
    {32, typeid(ZX::MeridTeal), "Merid Teal"},
    {33, typeid(ZX::AstrelG1), "Astrel G1"},
    {1001, typeid(ZX::AstrelOem1), "OXA"},
    {1002, typeid(ZX::Metrol), "MT1"},
};

TEST(ModelTable, HasAClassAndANameForEveryModel)
{
    EXPECT_EQ(std::size(kModels), tables::kCameraModels.size());
    for (const ModelFacts &facts : kModels) {
        auto camera = models::MakeCamera(HALCamera{}, facts.number);
        EXPECT_EQ(typeid(*camera), facts.type) << facts.number;
        EXPECT_STREQ(camera->GetModelString(), facts.name) << facts.number;
    }
}

TEST(ModelTable, GivesEveryOtherNumberToUnknown)
{
    for (const uint32_t number : {0u,  1u,  2u,  3u,  4u,  11u,   17u,   20u,   21u,    22u,   23u,
                                  24u, 34u, 35u, 36u, 40u, 1000u, 1003u, 1004u, 32768u, 65535u}) {
        auto camera = models::MakeCamera(HALCamera{}, number);
        EXPECT_EQ(typeid(*camera), typeid(ZX::Unknown)) << number;
        EXPECT_STREQ(camera->GetModelString(), "Unknown") << number;
    }
}

// But for the helper of one.
TEST(ModelTable, HasObjectsOfOneSize)
{
    using namespace ZX;
    const size_t sizes[] = {
        sizeof(AstrelA1),  sizeof(AstrelA2), sizeof(SparrowB),  sizeof(Benchmate),
        sizeof(SparrowIR), sizeof(AstrelC1), sizeof(AstrelB1),  sizeof(NoctisA1),
        sizeof(AstrelE1),  sizeof(AstrelD1), sizeof(AstrelC2),  sizeof(AstrelB2),
        sizeof(NoctisB1),  sizeof(AstrelF1), sizeof(NoctisA2),  sizeof(AstrelE2),
        sizeof(AstrelC3),  sizeof(AstrelB3), sizeof(MeridTeal), sizeof(MeridCobalt),
        sizeof(AstrelG1),  sizeof(Metrol),   sizeof(AstrelOem1)};
    for (const size_t size : sizes)
        EXPECT_EQ(size, sizeof(Unknown));
    // Padding may take the pointer in.
    EXPECT_LE(sizeof(AstrelIntensified) - sizeof(Unknown), size_t{8});
}

// A row of its own --------------------------------------------------------------------------------

template <typename Mode, typename Ask>
std::vector<Mode> ModesOf(Ask ask)
{
    std::vector<Mode> modes;
    ask(modes);
    return modes;
}

// The model to come that differs in data alone: nothing but a row.
TEST(ModelRow, IsAllThatAModelOfDataAloneNeeds)
{
    static constexpr tables::CameraModelRow kRow{.model = 34,
                                                 .displayName = "Astrel H1",
                                                 .readouts = tables::ReadoutList::kFrom10To30,
                                                 .readoutDefault = tables::ReadoutDefault::k20,
                                                 .triggers = tables::TriggerList::kExtended,
                                                 .binnings = tables::BinningRule::kTo4,
                                                 .gainCurve =
                                                     tables::GainCurve::k1BeforeFirmware100,
                                                 .tagCode = 0};
    auto camera = models::MakeCamera(HALCamera{}, kRow);
    FillBlock(CameraAccess::InformationOf(*camera), VersionWord(2, 11), {{0x38, 34u << 16}});
    EXPECT_EQ(typeid(*camera), typeid(ZX::ModelCamera));
    EXPECT_STREQ(camera->GetModelString(), "Astrel H1");
    EXPECT_EQ(camera->GetModel(), 34);
    EXPECT_EQ(camera->ReturnMasqueradedModel(), 34);
    EXPECT_EQ(ModesOf<float>([&](auto &modes) { camera->GetReadoutFrequencyModes(modes); }),
              (Frequencies{10.0f, 20.0f, 30.0f}));
    EXPECT_EQ(camera->GetReadoutFrequencyDefault(), 20.0f);
    EXPECT_EQ(ModesOf<uint32_t>([&](auto &modes) { camera->GetTriggerModes(modes); }),
              (Triggers{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(ModesOf<uint16_t>([&](auto &modes) { camera->GetSymmetricalBinningModes(modes); }),
              (Binnings{1, 2, 4}));
    EXPECT_EQ(camera->GetAnalogBoardType(), 1u);
    EXPECT_EQ(camera->GetTagCode(), 0);
}

TEST(ModelRow, HasTheUsualWhereItSaysNothing)
{
    static constexpr tables::CameraModelRow kRow{.model = 35, .displayName = "Astrel H2"};
    auto camera = models::MakeCamera(HALCamera{}, kRow);
    EXPECT_STREQ(camera->GetModelString(), "Astrel H2");
    EXPECT_EQ(ModesOf<float>([&](auto &modes) { camera->GetReadoutFrequencyModes(modes); }),
              (Frequencies{2.5f, 5.0f, 10.0f, 20.0f}));
    EXPECT_EQ(camera->GetReadoutFrequencyDefault(), 20.0f);
    EXPECT_EQ(ModesOf<uint32_t>([&](auto &modes) { camera->GetTriggerModes(modes); }),
              (Triggers{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(ModesOf<uint16_t>([&](auto &modes) { camera->GetSymmetricalBinningModes(modes); }),
              (Binnings{1, 2, 4, 8}));
    EXPECT_EQ(camera->GetAnalogBoardType(), 2u);
    EXPECT_EQ(camera->GetTagCode(), 1);
}

// A row of a number that has a class makes that class.
TEST(ModelRow, SelectsTheClassOfItsNumber)
{
    static constexpr tables::CameraModelRow kRow{.model = 8, .displayName = "Benchmate"};
    EXPECT_EQ(typeid(*models::MakeCamera(HALCamera{}, kRow)), typeid(ZX::Benchmate));
}

// On the bus --------------------------------------------------------------------------------------

class Models : public VirtualBusTest {};

TEST_F(Models, ReadOutAt30OnAFastBusAlone)
{
    for (const uint32_t number : {26u, 31u, 33u})
        for (const uint32_t speed : {800u, 400u}) {
            auto &camera = OpenOne(Describe(number, 21), speed);
            EXPECT_EQ(ModesOf<float>([&](auto &modes) { camera.GetReadoutFrequencyModes(modes); }),
                      speed == 800 ? (Frequencies{10.0f, 20.0f, 30.0f})
                                   : (Frequencies{10.0f, 20.0f}))
                << number;
            FreeCameras();
        }
}

TEST_F(Models, SayThatTheyAreUnknown)
{
    auto camera = MakeLooseCamera(kUnassigned, VersionWord(2, 11), {{0x40, 114}});
    const std::string before = DebugText();
    EXPECT_EQ(ModesOf<uint16_t>([&](auto &modes) { camera->GetSymmetricalBinningModes(modes); }),
              (Binnings{1, 2, 4, 3}));
    EXPECT_EQ(DebugText().substr(before.size()),
              "GetSymmetricalBinningModes() - unkown camera type being used\n");
    const std::string between = DebugText();
    EXPECT_EQ(camera->GetAnalogBoardType(), 2u);
    EXPECT_EQ(DebugText().substr(between.size()),
              "GetAnalogBoardType() - unkown camera type being used\n");
}

// Every model goes through its whole set-up on a camera of its own.
TEST_F(Models, CanAllBeListed)
{
    for (const ModelFacts &facts : kModels) {
        UseCameras({Describe(facts.number, 6)});
        ListCameras();
        ASSERT_EQ(cameras.size(), 1u) << facts.number;
        EXPECT_EQ(typeid(Camera()), facts.type);
        EXPECT_EQ(cameras[0]->GetModel(), facts.number);
        FreeCameras();
    }
}

// Either sensor, colour and monochrome.
TEST_F(Models, AreListedAsTheOneThatTheyMasqueradeAs)
{
    for (const uint16_t sensor : {uint16_t{46}, uint16_t{53}}) {
        UseCameras({Describe(5, sensor)});
        ListCameras();
        ASSERT_EQ(cameras.size(), 1u) << sensor;
        EXPECT_EQ(typeid(Camera()), typeid(ZX::AstrelB1));
        EXPECT_EQ(Camera().GetModel(), 13);
        EXPECT_STREQ(Camera().GetModelString(), "Astrel B1");
        FreeCameras();
    }
}

} // namespace
} // namespace zerix::test
