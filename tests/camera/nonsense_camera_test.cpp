// Cameras that report nonsense: listed or refused, never a crash, and never an access that their
// blocks have no room for. Meant to run under the sanitizers too.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "tests/camera/every_operation.h"
#include "tests/camera/register_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kRandomCameras = 10'000;
constexpr uint32_t kListedEvery = 10; // the others are made alone, which is faster

// A fixed sequence for each seed.
class Dice {
public:
    explicit Dice(uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15u + 1) {}

    uint64_t Long()
    {
        m_state += 0x9E3779B97F4A7C15u;
        uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }
    uint32_t Word() { return static_cast<uint32_t>(Long() >> 32); }
    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(uint64_t{Word()} * limit >> 32); }

    template <typename Container>
    auto OneOf(const Container &container)
    {
        return std::data(container)[Below(static_cast<uint32_t>(std::size(container)))];
    }

    // What registers tend to hold when they hold nothing sensible.
    uint32_t OddWord()
    {
        switch (Below(8)) {
        case 0:
            return 0;
        case 1:
            return 0xFFFFFFFF;
        case 2:
            return 1u << Below(32);
        case 3:
            return Below(256);
        case 4:
            return Below(65536);
        case 5:
            return Word() & 0x0FFF0FFF;
        case 6:
            return 0x7FFFFFFFu + Below(3);
        default:
            return Word();
        }
    }

private:
    uint64_t m_state;
};

const uint32_t kModels[] = {5,  6,  7,  8,  9,  10, 12, 13, 14, 15, 16,   18,   19,   25,
                            26, 27, 28, 29, 30, 31, 32, 33, 0,  11, 1001, 1002, 65535};
const BlockShape kInformation[] = {
    {0x00010001, 29},  {0x00010002, 30},  {0x00020001, 42},  {0x00020002, 44},
    {0x00020003, 62},  {0x00020004, 67},  {0x00020005, 68},  {0x00020006, 79},
    {0x00020007, 176}, {0x00020008, 178}, {0x00020009, 202}, {0x0002000A, 209},
    {0x0002000B, 215}, {0x0002000B, 215}, {0x0002000C, 260}, {0x00030000, 260}};
const BlockShape kControl[] = {{0x00010001, 15}, {0x00010002, 16}, {0x00020001, 20},
                               {0x00020002, 20}, {0x00020003, 21}, {0x00020004, 21},
                               {0x00020005, 24}, {0x00020006, 26}, {0x00020007, 34},
                               {0x00020008, 43}, {0x00020009, 60}};
const BlockShape kCommand[] = {{0x00010001, 3}, {0x00010002, 4}, {0xFFFFFFFF, 4}};
const BlockShape kStatus[] = {{0x00010001, 2}, {0x00010002, 2}, {0x00010003, 4}, {0, 4}};
const BlockShape kStreaming[] = {{0x00010002, 4}, {0x00010003, 4}};

const uint16_t kHalfExtremes[] = {0, 1, 2, 3, 4, 5, 8, 10, 12, 14, 16, 64, 255, 256, 257, 65535};
const uint32_t kWordExtremes[] = {0,     1,          2,          3,          4,
                                  5,     7,          100,        4095,       4096,
                                  65535, 65536,      1'000'000,  4'000'000,  26208,
                                  26209, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
const int32_t kSignedExtremes[] = {
    std::numeric_limits<int32_t>::min(), -100'000'000, -56, -55, -1, 0, 1, 49, 50, 100'000'000,
    std::numeric_limits<int32_t>::max()};
const uint64_t kLongExtremes[] = {0,          1,          999,
                                  1000,       1'000'000,  0xFFFFFFFF,
                                  1ull << 32, 1ull << 63, std::numeric_limits<uint64_t>::max()};
const float kFloatExtremes[] = {0.0f,
                                2.5f,
                                5.0f,
                                10.0f,
                                20.0f,
                                30.0f,
                                40.0f,
                                -1.0f,
                                1e38f,
                                std::numeric_limits<float>::infinity(),
                                std::numeric_limits<float>::quiet_NaN()};

// Reading -----------------------------------------------------------------------------------------

template <typename Getters>
uint64_t ReadAll(AnyCamera &camera, const Getters &getters)
{
    uint64_t sum = 0;
    for (const auto getter : getters)
        sum += static_cast<uint64_t>((camera.*getter)());
    return sum;
}

// A figure that is no number is nobody's limit.
template <typename Getters>
void ReadNumbers(AnyCamera &camera, const Getters &getters)
{
    for (const auto getter : getters)
        ASSERT_TRUE(std::isfinite((camera.*getter)()));
}

template <typename Listers, typename Mode>
void ReadLists(AnyCamera &camera, const Listers &listers, Mode unset)
{
    for (const auto lister : listers) {
        std::vector<Mode> modes(100, unset);
        (camera.*lister)(modes);
        ASSERT_LE(modes.size(), 64u);
        ASSERT_EQ(std::set<Mode>(modes.begin(), modes.end()).size(), modes.size());
    }
}

uint64_t ReadEverything(AnyCamera &camera)
{
    ReadNumbers(camera, kFloatGetters);
    ReadNumbers(camera, kDoubleGetters);
    ReadLists(camera, kHalfListers, uint16_t{99});
    ReadLists(camera, kWordListers, 99u);
    ReadLists(camera, kFloatListers, 99.0f);
    uint64_t sum = 0;
    for (const auto getter : kTextGetters)
        sum += std::string((camera.*getter)()).size();
    for (const uint16_t mode : kHalfExtremes)
        sum +=
            camera.GetMaxCCDWidthForBinningMode(mode) + camera.GetMaxCCDHeightForBinningMode(mode) +
            camera.GetROIMaxWidthForBinningMode(mode) + camera.GetROIMaxHeightForBinningMode(mode);
    for (const uint32_t index : {0u, 1u, 2u, 7u, 0xFFFFFFFFu})
        sum += camera.Get100XEmGain(index);
    return sum + ReadAll(camera, kBoolGetters) + ReadAll(camera, kByteGetters) +
           ReadAll(camera, kHalfGetters) + ReadAll(camera, kWordGetters) +
           ReadAll(camera, kSignedGetters) + ReadAll(camera, kLongGetters);
}

uint64_t ConvertEverything(AnyCamera &camera, Dice &dice)
{
    const uint32_t word = dice.OneOf(kWordExtremes);
    const int32_t number = dice.OneOf(kSignedExtremes);
    return camera.ConvertGainToNormGain(word) + camera.ConvertNormGainToGain(word) +
           camera.ConvertNormGaindBToGain(number) + camera.ConvertNormGaindBToNormGain(number) +
           camera.ConvertAbsoluteOffsetToOffset(number) +
           static_cast<uint64_t>(camera.ConvertGainToNormGaindB(word)) +
           static_cast<uint64_t>(camera.ConvertNormGainToNormGaindB(word)) +
           static_cast<uint64_t>(camera.RoundNormGaindB(number)) +
           static_cast<uint64_t>(camera.ConvertOffsetToAbsoluteOffset(word)) +
           camera.CalculateRequiredPacketSize(true) + camera.CalculateRequiredPacketSize(false) +
           camera.CalculateRequiredPacketSize(dice.OneOf(kHalfExtremes), dice.OneOf(kHalfExtremes),
                                              dice.OneOf(kFloatExtremes));
}

// Setting -----------------------------------------------------------------------------------------

// What a setter may answer on a bus that works: done, no, no such feature, not while streaming.
void ExpectAnswer(uint16_t status)
{
    static const std::set<uint16_t> kAnswers = {0, 1, 3, 15};
    ASSERT_TRUE(kAnswers.contains(status)) << status;
}

template <typename Setters, typename Values>
void SetAll(AnyCamera &camera, Dice &dice, const Setters &setters, const Values &values)
{
    for (const auto setter : setters)
        ExpectAnswer((camera.*setter)(dice.OneOf(values)));
}

void SetEverything(AnyCamera &camera, Dice &dice)
{
    SetAll(camera, dice, kBoolSetters, std::array{false, true});
    SetAll(camera, dice, kByteSetters, std::array<uint8_t, 4>{0, 1, 2, 255});
    SetAll(camera, dice, kHalfSetters, kHalfExtremes);
    SetAll(camera, dice, kWordSetters, kWordExtremes);
    SetAll(camera, dice, kSignedSetters, kSignedExtremes);
    SetAll(camera, dice, kLongSetters, kLongExtremes);
    SetAll(camera, dice, kFloatSetters, kFloatExtremes);
    ExpectAnswer(camera.SetROI(dice.OneOf(kWordExtremes), dice.OneOf(kWordExtremes),
                               dice.OneOf(kWordExtremes), dice.OneOf(kWordExtremes)));
    // To the ends that the camera itself tells.
    ExpectAnswer(camera.SetROI(0, 0, camera.GetCCDWidth(), camera.GetCCDHeight()));
    ExpectAnswer(
        camera.SetExposure(dice.Below(2) ? camera.GetMinExposure() : camera.GetMaxExposure()));
    ExpectAnswer(camera.SetGain(dice.Below(2) ? camera.GetGainMin() : camera.GetGainMax()));
    ExpectAnswer(camera.SetEMGain(dice.Below(2) ? camera.GetEMGainMin() : camera.GetEMGainMax()));
    ExpectAnswer(camera.SetNormalizedIntensifierGain(
        dice.Below(2) ? camera.GetNormalizedIntensifierGainMin()
                      : camera.GetNormalizedIntensifierGainMax()));
    ExpectAnswer(camera.UpdateSettingsOnCamera());
}

// The test ----------------------------------------------------------------------------------------

class NonsenseCamera : public RegisterBusTest {
protected:
    // Sizes are mostly small: a listing makes buffers for them.
    void MakeRandom(Dice &dice)
    {
        const uint32_t model = dice.OneOf(kModels);
        bus.modelWord = model << 16 | dice.Below(65536);
        Make(Block::kInformation, dice.OneOf(kInformation));
        Make(Block::kControl, dice.OneOf(kControl));
        Make(Block::kCommand, dice.OneOf(kCommand));
        Make(Block::kStatus, dice.OneOf(kStatus));
        Make(Block::kStreaming, dice.OneOf(kStreaming));
        std::vector<uint32_t> &words = bus.Words(Block::kInformation);
        const bool isZeros = dice.Below(4) == 0; // with a few words among them
        for (size_t index = 1; index < words.size(); ++index)
            if (!isZeros || dice.Below(8) == 0)
                words[index] = dice.OddWord();
        if (dice.Below(2) == 0)
            words[0x38 / 4] = bus.modelWord;
        words[0x10 / 4] &= 0x007F007F;
        for (uint32_t &word : bus.Words(Block::kStatus))
            word = &word == bus.Words(Block::kStatus).data() ? word : dice.OddWord();
    }

    // What the shadow holds is what the camera was told, but for two words that setters are known
    // to change without a write.
    void ExpectShadowOnTheCamera(AnyCamera &camera)
    {
        const RegisterBlock &shadow = CameraAccess::ControlOf(camera);
        const std::vector<uint32_t> &told = bus.Words(Block::kControl);
        ASSERT_LE(shadow.WordCount(), told.size());
        for (uint32_t index = 3; index < shadow.WordCount(); ++index)
            ASSERT_EQ(shadow.Word(index * 4), told[index]) << index;
    }

    void UseEverything(AnyCamera &camera, Dice &dice)
    {
        const uint64_t before = ReadEverything(camera);
        ASSERT_EQ(ReadEverything(camera), before);
        ConvertEverything(camera, dice);
        SetEverything(camera, dice);
        ReadEverything(camera);
        ConvertEverything(camera, dice);
        ExpectShadowOnTheCamera(camera);
    }

    // An object without a listing and without its threads, which cost the most: connected, set up,
    // used and closed. What its set-up answered.
    uint16_t UseAlone(Dice &dice)
    {
        HALCamera *devices = nullptr;
        uint32_t count = 0;
        EXPECT_EQ(HAL_CameraGetList(&devices, 0, 0, 10, &count), 0u);
        EXPECT_EQ(HAL_CameraConnect(&devices[0], 100, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr),
                  0u);
        auto camera = models::MakeCamera(devices[0], bus.modelWord >> 16);
        HAL_MemoryFree(devices);
        EXPECT_EQ(camera->ReadCameraInfo(), 0);
        const uint16_t status = camera->SetupCamera();
        UseEverything(*camera, dice);
        EXPECT_EQ(camera->CloseCamera(), 0);
        return status;
    }

    uint16_t UseListed(Dice &dice)
    {
        const uint16_t status = List();
        EXPECT_EQ(cameras.size(), status == 0 ? 1u : 0u);
        if (status == 0 && cameras.size() == 1) {
            EXPECT_EQ(Camera().OpenCamera(), 0);
            UseEverything(Camera(), dice);
        }
        EXPECT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
        return status;
    }
};

// All of it for every one. A set-up ends well, or for a reason: 2 for gains without a range, 3 for
// a default that isn't among the allowed.
TEST_F(NonsenseCamera, IsListedOrRefusedWhateverItsRegistersSay)
{
    std::array<uint32_t, 16> answers{};
    for (uint32_t seed = 0; seed < kRandomCameras && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Dice dice(seed);
        MakeRandom(dice);
        const uint16_t status = seed % kListedEvery == 0 ? UseListed(dice) : UseAlone(dice);
        ASSERT_LT(status, answers.size());
        ++answers[status];
        ASSERT_EQ(bus.OpenHandles(), 0u);
        ASSERT_EQ(bus.StrayCount(), 0u);
        bus.TakeReads();
        bus.TakeWrites();
        tap.Reset();
    }
    // Most can be used, and each way to be refused has been gone.
    EXPECT_EQ(answers[0] + answers[2] + answers[3], kRandomCameras);
    EXPECT_GT(answers[0], kRandomCameras / 2);
    EXPECT_GT(answers[2], 0u);
    EXPECT_GT(answers[3], 0u);
}

// A directory of odd addresses, and blocks that are not what their place should hold. A camera is
// listed where all that is read of it is there, and refused as one that can't be read otherwise.
class NonsenseDirectory : public NonsenseCamera {
protected:
    static uint32_t OddAddress(Dice &dice)
    {
        static const uint32_t kBases[] = {0xD0000000, 0xE3000000, 0xE1000000,
                                          0xE2000000, 0xE4000000, 0xE5000000};
        switch (dice.Below(6)) {
        case 0:
            return dice.OneOf(std::array<uint32_t, 6>{0, 1, 4, 0xFFFFFFFC, 0xFFFFFFFF, 0xFFFFFF00});
        case 1:
            return dice.OneOf(kBases) + dice.Below(4);
        case 2:
            return dice.OneOf(kBases) + 4 * dice.Below(20);
        case 3:
            return dice.Word();
        default:
            return dice.OneOf(kBases); // another's block, or two on one
        }
    }

    void MakeRandomDirectory(Dice &dice)
    {
        MakeRandom(dice);
        static const uint32_t kVersions[] = {0,          0x00010001, 0x00010002, 0x00020001,
                                             0x00020004, 0x0002000B, 0x00030000, 0xFFFFFFFF};
        const uint32_t length = dice.Below(3) == 0 ? dice.Below(12) : 11;
        Make(Block::kConfiguration, kConfiguration11);
        std::vector<uint32_t> &words = bus.Words(Block::kConfiguration);
        if (dice.Below(2) == 0)
            words[0] = dice.OneOf(kVersions);
        for (size_t entry = 2; entry < words.size(); entry += 2)
            if (dice.Below(3) == 0)
                words[entry] = OddAddress(dice);
        words.resize(length);
    }
};

TEST_F(NonsenseDirectory, IsListedOrRefusedWhereverItPoints)
{
    constexpr uint32_t kDirectories = 5'000;
    std::array<uint32_t, 16> answers{};
    for (uint32_t seed = 0; seed < kDirectories && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Dice dice(seed);
        MakeRandomDirectory(dice);
        const uint16_t status = List();
        ASSERT_LT(status, answers.size());
        ++answers[status];
        ASSERT_EQ(cameras.size(), status == 0 ? 1u : 0u);
        if (status == 0) {
            ASSERT_EQ(Camera().OpenCamera(), 0);
            ReadEverything(Camera());
        }
        ASSERT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
        ASSERT_EQ(bus.OpenHandles(), 0u);
        bus.TakeReads();
        bus.TakeWrites();
        tap.Reset();
    }
    EXPECT_EQ(answers[0] + answers[2] + answers[3] + answers[9], kDirectories);
    EXPECT_GT(answers[0], 0u);
    EXPECT_GT(answers[9], kDirectories / 10);
}

// Single kinds of nonsense ------------------------------------------------------------------------

constexpr uint32_t kGains = 0x0000FFF0; // 0 to 4095

class OddCamera : public NonsenseCamera {
protected:
    void Describe(uint32_t model)
    {
        bus.modelWord = model << 16;
        Inform({{0x08, 0x25800000},
                {0x10, 0x028001E0},
                {0x14, 0x014000F0},
                {0x38, model << 16},
                {0x40, 114},
                {0x78, kGains},
                {0x108, 8'337'793}});
    }
};

TEST_F(OddCamera, WithAModelWordOfAllOnesIsUnknown)
{
    bus.modelWord = 0xFFFFFFFF;
    ASSERT_EQ(List(), 0);
    EXPECT_STREQ(Camera().GetModelString(), "Unknown");
    EXPECT_EQ(Camera().GetHalCamera().modelWord, 0xFFFFFFFFu);
    EXPECT_EQ(bus.StrayCount(), 0u);
}

TEST_F(OddCamera, OfZerosIsListed)
{
    for (const uint32_t model : kModels) {
        if (model == 9)
            continue; // it has no range of intensifier gains
        bus.modelWord = model << 16;
        Make(Block::kInformation, {0x0002000B, 215});
        Make(Block::kControl, {0x00020008, 43});
        ASSERT_EQ(List(), 0) << model;
        EXPECT_EQ(Camera().GetCCDWidth(), 0u);
        EXPECT_EQ(Camera().GetROIWidth(), 0u);
        EXPECT_EQ(Camera().GetImageSize(), 0u);
        Dice dice(model);
        ASSERT_EQ(Camera().OpenCamera(), 0);
        UseEverything(Camera(), dice);
        ASSERT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
    }
    EXPECT_EQ(bus.StrayCount(), 0u);
}

TEST_F(OddCamera, OfOnesIsListed)
{
    for (const uint32_t model : kModels) {
        if (model == 9)
            continue; // the same: from 4095 to 4095
        bus.modelWord = model << 16;
        Make(Block::kControl, {0x00020008, 43});
        bus.Words(Block::kInformation).assign(215, 0xFFFFFFFF);
        bus.Words(Block::kInformation)[0] = 0x0002000B;
        ASSERT_EQ(List(), 0) << model;
        EXPECT_EQ(Camera().GetCCDWidth(), 65535u);
        EXPECT_EQ(Camera().GetMaxBitDepth(), 16);
        EXPECT_STREQ(Camera().GetCCDModelString(), "Unknown");
        Dice dice(model);
        ASSERT_EQ(Camera().OpenCamera(), 0);
        UseEverything(Camera(), dice);
        ASSERT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
    }
    EXPECT_EQ(bus.StrayCount(), 0u);
}

TEST_F(OddCamera, WithoutARangeOfIntensifierGainsIsRefused)
{
    Describe(9);
    for (const uint32_t limits : {0u, 0xFFFFFFFFu, 0x00800070u, 0x00800080u}) {
        Inform({{0x88, limits}});
        EXPECT_EQ(List(), 2) << limits;
        EXPECT_TRUE(cameras.empty());
    }
}

// The default multiplication must be one that can be set.
TEST_F(OddCamera, WithReversedMultiplicationLimitsIsRefused)
{
    Describe(18);
    Inform({{0x2A4, 1u << 6}, {0x2C0, 100}, {0x300, 3200}, {0x304, 50}});
    EXPECT_EQ(List(), 3);
    EXPECT_TRUE(cameras.empty());
    Inform({{0x300, 50}, {0x304, 99}});
    EXPECT_EQ(List(), 3);
    Inform({{0x304, 100}});
    EXPECT_EQ(List(), 0);
}

// Version 2.8 of the block has the default, and not yet the limits.
TEST_F(OddCamera, WithoutMultiplicationLimitsIsListed)
{
    bus.modelWord = 18u << 16;
    Make(Block::kInformation, {0x00020008, 178});
    Inform({{0x08, 0x25800000},
            {0x10, 0x028001E0},
            {0x78, 0x0000FFF0},
            {0x108, 8'337'793},
            {0x2A4, 1u << 6 | 1u << 8},
            {0x2C0, 100},
            {0x2C4, 500}});
    ASSERT_EQ(List(), 0);
    EXPECT_EQ(Camera().GetEMGainDefault(), 100u);
    EXPECT_EQ(Camera().GetEMGain(), 0u);
    const auto writes = bus.TakeWrites();
    for (const RegisterWrite &write : writes)
        EXPECT_FALSE(write.block == Block::kControl && write.offset == 0x60) << write;
    // And is set up to its end.
    EXPECT_EQ(std::count(writes.begin(), writes.end(), ControlWrite(0x64, 500)), 1);
    EXPECT_EQ(writes.back(), CommitWrite());
}

// 50 degrees can be told, but not be set.
TEST_F(OddCamera, ThatCannotBeCooledToItsOwnLimitIsRefused)
{
    Describe(18);
    Inform({{0x2A4, 1u << 4}, {0x29C, 4097}});
    EXPECT_EQ(List(), 3);
    EXPECT_TRUE(cameras.empty());
    Inform({{0x29C, 4095}});
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(Camera().GetMinRegulatedCoolingTemp(), 49);
}

TEST_F(OddCamera, WithReversedLimitsIsListed)
{
    Describe(18);
    Inform({{0x0C, 0xFFFFFFFF},
            {0x9C, 0xFFFFFFFF},
            {0x68, 0},
            {0xA0, 0},
            {0x78, 0xFFF00000},
            {0x7C, 0xFFF00000},
            {0x90, 0},
            {0x94, 0xFFFFFFFF}});
    ASSERT_EQ(List(), 0);
    EXPECT_EQ(Camera().GetGainMin(), 4095u);
    EXPECT_EQ(Camera().GetGainMax(), 0u);
    EXPECT_GT(Camera().GetMinExposure(), Camera().GetMaxExposure());
    ASSERT_EQ(Camera().OpenCamera(), 0);
    Dice dice(1);
    UseEverything(Camera(), dice);
}

// A depth that no list of the model has.
TEST_F(OddCamera, OfADepthOfOneBitOrSixteenIsListed)
{
    const std::pair<uint32_t, uint16_t> depths[] = {{0, 1}, {7, 8}, {15, 16}, {0xFFFFFFF0, 1}};
    for (const auto &[word, depth] : depths) {
        Describe(8);
        Inform({{0x20, word}});
        ASSERT_EQ(List(), 0);
        EXPECT_EQ(Camera().GetMaxBitDepth(), depth);
        ASSERT_EQ(Camera().OpenCamera(), 0);
        EXPECT_EQ(Camera().SetBitDepth(16), 0);
        EXPECT_EQ(Camera().GetBitDepth(), depth);
        EXPECT_EQ(Camera().GetImageSize(), 640u * 480u * (depth == 16 ? 2u : 1u));
        ASSERT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0);
    }
}

// The answer of a masquerade is asked once: a block that says otherwise the next time ends nothing.
TEST_F(OddCamera, ThatMasqueradesIsBuiltTwiceAtMost)
{
    Describe(5);
    Inform({{0x44, 46u << 16}});
    ASSERT_EQ(List(), 0);
    EXPECT_STREQ(Camera().GetModelString(), "Astrel B1");
    EXPECT_EQ(Camera().GetHalCamera().modelWord, 13u << 16);
}

// Its registers call an Astrel A1 something else: it masquerades for its sensor alone.
TEST_F(OddCamera, ThatContradictsItsModelWordIsWhatTheWordSays)
{
    Describe(18);
    Inform({{0x38, 1002u << 16}});
    ASSERT_EQ(List(), 0);
    EXPECT_STREQ(Camera().GetModelString(), "Astrel C2");
    EXPECT_EQ(Camera().GetModel(), 1002);
}

} // namespace
} // namespace zerix::test
