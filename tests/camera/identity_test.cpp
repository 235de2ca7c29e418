// What the information block says about a camera: numbers, texts, sensor figures, capabilities.
#include <algorithm>
#include <string>
#include <vector>

#include "tests/camera/camera_access.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kNewest = VersionWord(2, 11);
constexpr uint32_t kModel = 18;

auto MakeCamera(uint32_t version, Words information)
{
    return MakeLooseCamera(kModel, version, information);
}

class Identity : public VirtualBusTest {};

TEST_F(Identity, IsWhatTheRackSays)
{
    auto description = Describe(19, 53);
    description.serial = "ZV-B2-2017-0019 and 27 lett";
    description.uniqueId = 0x00A1B2C3D4E5F601;
    description.firmwareVersion = 112;
    description.firmwareBuild = 4;
    description.hardwareVersion = 3;
    description.streamingVersion = 2;
    auto &camera = OpenOne(description);
    EXPECT_EQ(camera.GetModel(), 19);
    EXPECT_STREQ(camera.GetModelString(), "Astrel B2");
    EXPECT_STREQ(camera.GetSerialNumberString(), "ZV-B2-2017-0019 and 27 lett");
    EXPECT_EQ(camera.GetUniqueID(), 0x00A1B2C3D4E5F601u);
    EXPECT_EQ(camera.GetFirmwareVersion(), 112);
    EXPECT_EQ(camera.GetFirmwareBuildNumber(), 4);
    EXPECT_EQ(camera.GetHardwareVersion(), 3);
    EXPECT_EQ(camera.GetHardwareProfile(), 3);
    EXPECT_EQ(camera.GetStreamingVersion(), 2);
    EXPECT_EQ(camera.GetCCDModel(), 53);
    EXPECT_STREQ(camera.GetCCDModelString(), "KAI-2020CM AR Glass");
    EXPECT_EQ(camera.GetPixelSize(), 7400u);
    EXPECT_EQ(camera.GetDistanceBetweenPixels(), 7400u);
    EXPECT_EQ(camera.GetFullWellCapacity(), 80000u);
    EXPECT_FALSE(camera.IsRGBFilterSupported());
}

TEST(CameraIdentity, TakesItsFieldsApart)
{
    auto camera = MakeCamera(VersionWord(2, 8), {{0x30, 0x01234567},
                                                 {0x34, 0x89ABCDEF},
                                                 {0x38, 0x00120345},
                                                 {0x3C, 0xFFFF0102},
                                                 {0x40, 0x00070072},
                                                 {0x44, 0x00060000},
                                                 {0x80, 0x0005FFFF},
                                                 {0xA4, 1}});
    EXPECT_EQ(camera->GetUniqueID(), 0x0123456789ABCDEFu);
    EXPECT_EQ(camera->GetModel(), 0x12);
    EXPECT_EQ(camera->GetHardwareVersion(), 0x0102);
    EXPECT_EQ(camera->GetFirmwareVersion(), 0x72);
    EXPECT_EQ(camera->GetFirmwareBuildNumber(), 7);
    EXPECT_EQ(camera->GetCCDModel(), 6);
    EXPECT_EQ(camera->GetIntensifierModel(), 5);
    EXPECT_EQ(camera->GetStreamingVersion(), 1);
}

// The set-up switches to little-endian data; before it, the words are as they lie in memory.
TEST(CameraIdentity, TurnsTheSerialNumberOnceTheCameraIsLittleEndian)
{
    auto camera = MakeCamera(kNewest, {{0x48, 0x41424344}, {0x4C, 0x45460000}});
    EXPECT_STREQ(camera->GetSerialNumberString(), "DCBA");
    CameraAccess::ControlOf(*camera).Store(0x04, 4);
    EXPECT_STREQ(camera->GetSerialNumberString(), "ABCDEF");
}

TEST(CameraIdentity, EndsALongSerialNumberBehind28Letters)
{
    auto camera = MakeCamera(kNewest, {{0x48, 0x61616161},
                                       {0x4C, 0x61616161},
                                       {0x50, 0x61616161},
                                       {0x54, 0x61616161},
                                       {0x58, 0x61616161},
                                       {0x5C, 0x61616161},
                                       {0x60, 0x61616161},
                                       {0x64, 0x61616161}});
    EXPECT_EQ(std::string(camera->GetSerialNumberString()), std::string(28, 'a'));
}

TEST(CameraIdentity, HasAHardwareProfileFromInformation29On)
{
    EXPECT_EQ(MakeCamera(VersionWord(2, 9), {})->GetHardwareProfile(), 0);
    for (const uint32_t profile : {1u, 2u, 3u}) {
        auto camera = MakeLooseCamera(kModel, VersionWord(2, 9), {{0x324, profile}, {0x3C, 9}});
        EXPECT_EQ(camera->GetHardwareProfile(), profile);
        EXPECT_EQ(camera->GetHardwareVersion(), profile);
    }
    for (const uint32_t odd : {4u, 5u, 0xFFFFu})
        EXPECT_EQ(MakeLooseCamera(kModel, VersionWord(2, 9), {{0x324, odd}})->GetHardwareProfile(),
                  0);
    auto older = MakeCamera(VersionWord(2, 8), {{0x3C, 9}});
    EXPECT_EQ(older->GetHardwareProfile(), 0);
    EXPECT_EQ(older->GetHardwareVersion(), 9);
}

TEST(CameraIdentity, HasAStreamingVersionFromInformation21On)
{
    EXPECT_EQ(MakeCamera(VersionWord(2, 1), {})->GetStreamingVersion(), 0);
    EXPECT_EQ(MakeCamera(VersionWord(2, 1), {{0xA4, 2}})->GetStreamingVersion(), 2);
    EXPECT_EQ(MakeCamera(VersionWord(1, 2), {})->GetStreamingVersion(), 0);
}

TEST(CameraIdentity, HasNothingInABlockOfUnknownVersion)
{
    auto camera = MakeCamera(VersionWord(3, 0), {});
    EXPECT_EQ(camera->GetModel(), 0);
    EXPECT_EQ(camera->GetUniqueID(), 0u);
    EXPECT_STREQ(camera->GetSerialNumberString(), "");
    EXPECT_EQ(camera->GetCCDWidth(), 0u);
    EXPECT_STREQ(camera->GetCCDModelString(), "KAF1400");
    EXPECT_TRUE(camera->IsTweekingRegisterSupported());
    EXPECT_FALSE(camera->IsFanControlAvailable());
}

// The sensor --------------------------------------------------------------------------------------

auto MakeSensor(uint32_t ccdModel) { return MakeCamera(kNewest, {{0x44, ccdModel << 16}}); }

TEST(CameraSensor, HasAText)
{
    EXPECT_STREQ(MakeSensor(0)->GetCCDModelString(), "KAF1400");
    EXPECT_STREQ(MakeSensor(6)->GetCCDModelString(), "ICX285AL");
    EXPECT_STREQ(MakeSensor(15)->GetCCDModelString(), "VQE3618L");
    EXPECT_STREQ(MakeSensor(46)->GetCCDModelString(), "KAI-2020M AR Glass");
    EXPECT_STREQ(MakeSensor(75)->GetCCDModelString(), "KAI-4021CM No Glass");
    EXPECT_STREQ(MakeSensor(76)->GetCCDModelString(), "KAF-3200");
    EXPECT_STREQ(MakeSensor(77)->GetCCDModelString(), "KAF-3200");
}

TEST(CameraSensor, HasNoTextBeyondTheTable)
{
    EXPECT_STREQ(MakeSensor(78)->GetCCDModelString(), "Unknown");
    EXPECT_STREQ(MakeSensor(65535)->GetCCDModelString(), "Unknown");
}

TEST(CameraSensor, HasItsFigures)
{
    struct Figures {
        uint32_t first;
        uint32_t last;
        uint32_t pixelSize;
        uint32_t fullWell;
    };
    const Figures all[] = {{0, 3, 0, 0},          {4, 5, 6700, 36000},   {6, 7, 6450, 22000},
                           {8, 9, 4650, 10000},   {10, 10, 3450, 0},     {11, 11, 0, 0},
                           {12, 12, 3400, 0},     {13, 14, 0, 0},        {15, 15, 13700, 22000},
                           {16, 19, 0, 0},        {20, 23, 7400, 80000}, {24, 33, 0, 0},
                           {34, 39, 7400, 80000}, {40, 45, 0, 0},        {46, 75, 7400, 80000},
                           {76, 77, 6800, 55000}, {78, 78, 16000, 0},    {79, 80, 0, 0}};
    for (const Figures &figures : all)
        for (uint32_t ccdModel = figures.first; ccdModel <= figures.last; ++ccdModel) {
            auto camera = MakeSensor(ccdModel);
            EXPECT_EQ(camera->GetPixelSize(), figures.pixelSize) << ccdModel;
            EXPECT_EQ(camera->GetDistanceBetweenPixels(), figures.pixelSize) << ccdModel;
            EXPECT_EQ(camera->GetFullWellCapacity(), figures.fullWell) << ccdModel;
        }
}

// Capabilities ------------------------------------------------------------------------------------

struct CapabilityFacts {
    const char *name;
    uint32_t bit;
    uint16_t sinceMinor;
    bool (ZX::TolvaneFWCamera::*test)();
};

const CapabilityFacts kCapabilities[] = {
    {"high sensitivity", 1, 7, &ZX::TolvaneFWCamera::IsHighSensitivityModeAvailable},
    {"blackout", 2, 7, &ZX::TolvaneFWCamera::IsBlackoutModeAvailable},
    {"fan control", 3, 7, &ZX::TolvaneFWCamera::IsFanControlAvailable},
    {"regulated cooling", 4, 7, &ZX::TolvaneFWCamera::IsRegulatedCoolingAvailable},
    {"EM gain", 6, 7, &ZX::TolvaneFWCamera::IsEMGainAvailable},
    {"shutter close delay", 8, 7, &ZX::TolvaneFWCamera::IsShutterCloseDelayAvailable},
    {"dither", 9, 7, &ZX::TolvaneFWCamera::IsDitherControlAvailable},
    {"high gain", 10, 7, &ZX::TolvaneFWCamera::IsHighGainModeAvailable},
    {"vertical clock", 11, 7, &ZX::TolvaneFWCamera::IsVClockControlAvailable},
    {"dual channel", 12, 7, &ZX::TolvaneFWCamera::IsDualChannelSupported},
    {"KeelEM", 13, 11, &ZX::TolvaneFWCamera::IsKeelEmModeSupported},
    {"locked gain", 14, 11, &ZX::TolvaneFWCamera::IsLockedGainModeSupported},
};

TEST(CameraCapability, IsItsBitAlone)
{
    for (const CapabilityFacts &facts : kCapabilities) {
        const uint32_t bit = 1u << facts.bit;
        EXPECT_TRUE((*MakeCamera(kNewest, {{0x2A4, bit}}).*facts.test)()) << facts.name;
        EXPECT_FALSE((*MakeCamera(kNewest, {{0x2A4, ~bit}}).*facts.test)()) << facts.name;
    }
}

TEST(CameraCapability, NeedsItsVersion)
{
    for (const CapabilityFacts &facts : kCapabilities) {
        const uint16_t since = facts.sinceMinor;
        const auto before = static_cast<uint16_t>(since - 1);
        auto camera = MakeCamera(VersionWord(2, since), {{0x2A4, 0xFFFFFFFF}});
        EXPECT_TRUE((*camera.*facts.test)()) << facts.name;
        CameraAccess::InformationOf(*camera).SetVersion(VersionWord(2, before));
        EXPECT_FALSE((*camera.*facts.test)()) << facts.name;
    }
}

TEST(CameraCapability, OfACoolerIsBit31)
{
    EXPECT_TRUE(MakeCamera(VersionWord(1, 1), {{0x28, 0x80000000}})->IsCoolerAvailable());
    EXPECT_FALSE(MakeCamera(VersionWord(1, 1), {{0x28, 0x7FFFFFFF}})->IsCoolerAvailable());
}

TEST(CameraCapability, OfADoubleShotNeedsMoreThan11)
{
    EXPECT_TRUE(MakeCamera(VersionWord(1, 2), {{0x74, 1}})->IsDoubleShotSupported());
    EXPECT_FALSE(MakeCamera(VersionWord(1, 2), {{0x74, 0xFFFFFFFE}})->IsDoubleShotSupported());
    auto camera = MakeCamera(VersionWord(1, 2), {{0x74, 1}});
    CameraAccess::InformationOf(*camera).SetVersion(VersionWord(1, 1));
    EXPECT_FALSE(camera->IsDoubleShotSupported());
}

TEST(CameraCapability, OfTweakingComesWith210)
{
    EXPECT_TRUE(MakeCamera(VersionWord(2, 10), {})->IsTweekingRegisterSupported());
    EXPECT_FALSE(MakeCamera(VersionWord(2, 9), {})->IsTweekingRegisterSupported());
}

TEST(CameraCapability, OfAFilterWheelIsThatOfAMonochromeSensor)
{
    EXPECT_TRUE(MakeCamera(kNewest, {{0x44, 0x000}})->IsRGBFilterSupported());
    EXPECT_FALSE(MakeCamera(kNewest, {{0x44, 0x100}})->IsRGBFilterSupported());
    EXPECT_FALSE(MakeCamera(kNewest, {{0x44, 0x200}})->IsRGBFilterSupported());
}

// What most models leave alone --------------------------------------------------------------------

using Camera = ZX::TolvaneFWCamera;

// A model that behaves otherwise is left out of the row that it overrides.
struct BaseBehaviour {
    const char *operation;
    uint64_t result;
    uint64_t (*call)(Camera &camera);
    std::vector<uint32_t> overriders;
};

constexpr uint32_t kBenchmate = 8;
constexpr uint32_t kIntensified = 9;
constexpr uint32_t kD1 = 16;
constexpr uint32_t kNoctisB1 = 25;
constexpr uint32_t kMetrol = 1002;

#define BASE_BEHAVIOUR(call, result, ...)                                                          \
    {                                                                                              \
#call, result, [](Camera & camera) -> uint64_t { return camera.call; }, { __VA_ARGS__ }    \
    }

const std::vector<BaseBehaviour> kBaseBehaviours = {
    BASE_BEHAVIOUR(IsLVWModeSupported(), 0, kBenchmate),
    BASE_BEHAVIOUR(IsHorizontalBinningSupported(), 0, kMetrol),
    BASE_BEHAVIOUR(IsVerticalBinningSupported(), 0, kMetrol, kBenchmate),
    BASE_BEHAVIOUR(IsIntensifierAvailable(), 0, kIntensified),
    BASE_BEHAVIOUR(IsTriggerDelayAvialable(), 0, kIntensified),
    BASE_BEHAVIOUR(IsMetrolShutterDelaySupported(), 0, kMetrol),
    BASE_BEHAVIOUR(IsReadoutPortSupported(), 0),
    BASE_BEHAVIOUR(DoesSupportExternalBuffers(), 0),
    BASE_BEHAVIOUR(IsInterlaced(), 0, kBenchmate),
    BASE_BEHAVIOUR(GetLVWMode(), 0, kBenchmate),
    BASE_BEHAVIOUR(GetReadoutPort(), 0, kNoctisB1),
    BASE_BEHAVIOUR(GetAbsoluteOffsetDefault() == 0, 1),
    BASE_BEHAVIOUR(GetMetrolShutterDelay(), 0, kMetrol),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGain(), 0, kIntensified),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGainMin(), 0, kIntensified),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGainMax(), 0, kIntensified),
    BASE_BEHAVIOUR(GetIntensifierGain(), 0, kIntensified),
    BASE_BEHAVIOUR(GetIntensifierGainMin(), 0, kIntensified),
    BASE_BEHAVIOUR(GetIntensifierGainMax(), 0, kIntensified),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGaindB(), 0, kIntensified),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGaindBMin(), 0, kIntensified),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGaindBMax(), 0, kIntensified),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGaindBResolution(), 0, kIntensified),
    BASE_BEHAVIOUR(GetNormalizedIntensifierGainSignificantFigures(), 0, kIntensified),
    BASE_BEHAVIOUR(SetupNormalizedIntensifiedGain(), 0, kIntensified),
    BASE_BEHAVIOUR(IsSymmetricalBinningSupported(), 1, kMetrol, kBenchmate),
    BASE_BEHAVIOUR(IsSyncBSupported(), 1, kBenchmate),
    BASE_BEHAVIOUR(GetROIMaxWidthForLVWMode(), 1, kBenchmate),
    BASE_BEHAVIOUR(GetROIMaxHeightForLVWMode(), 1, kBenchmate),
    BASE_BEHAVIOUR(GetNormalizedGainDefault(), 1),
    BASE_BEHAVIOUR(GetTagCode(), 1, kNoctisB1, 26, 27, 28, 31, 32, 33, kMetrol),
    BASE_BEHAVIOUR(SetHorizontalBinning(1), 15, kMetrol),
    BASE_BEHAVIOUR(SetVerticalBinning(1), 15, kMetrol, kBenchmate, kD1),
    BASE_BEHAVIOUR(SetLVWMode(false), 15, kBenchmate),
    BASE_BEHAVIOUR(SetReadoutPort(0), 15, kNoctisB1),
    BASE_BEHAVIOUR(SetMetrolShutterDelay(50), 15, kMetrol),
    BASE_BEHAVIOUR(SetNormalizedIntensifierGain(1'000'000), 15, kIntensified),
};

#undef BASE_BEHAVIOUR

TEST(CameraDefaults, AreThoseOfEveryModelThatLeavesThemAlone)
{
    for (const uint32_t model : {5u,  6u,  7u,  8u,  9u,  10u, 11u, 12u, 13u, 14u, 15u,   16u,  18u,
                                 19u, 25u, 26u, 27u, 28u, 29u, 30u, 31u, 32u, 33u, 1001u, 1002u}) {
        auto camera = MakeLooseCamera(model, kNewest, {});
        for (const BaseBehaviour &base : kBaseBehaviours)
            if (std::find(base.overriders.begin(), base.overriders.end(), model) ==
                base.overriders.end()) {
                EXPECT_EQ(base.call(*camera), base.result)
                    << base.operation << " of model " << model;
            }
    }
}

} // namespace
} // namespace zerix::test
