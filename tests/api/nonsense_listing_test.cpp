// What an application is told of cameras that report nonsense: they are listed, or the listing says
// that it failed, in its code and in the log.
#include <gtest/gtest.h>

#include "tests/api/virtual_bus_session.h"
#include "tests/virtual_bus/register_bus.h"

namespace zerix::api {
namespace {

using test::Block;

constexpr uint32_t kDriverFault = 16;

class NonsenseListing : public ApiTest {
protected:
    // The newest version of every block, all zeros.
    NonsenseListing()
    {
        bus.Make(Block::kConfiguration, 0x00010001, 11);
        bus.Make(Block::kInformation, 0x0002000B, 215);
        bus.Make(Block::kControl, 0x00020008, 43);
        bus.Make(Block::kCommand, 0x00010002, 4);
        bus.Make(Block::kStatus, 0x00010003, 4);
        bus.Make(Block::kStreaming, 0x00010002, 4);
    }

    ~NonsenseListing() override
    {
        if (ZX::ZCamera::IsInitalized())
            Zerix_ReleaseDriver();
        EXPECT_EQ(bus.OpenHandles(), 0u);
    }

    // Both the registers and the block say it.
    void SayModel(uint32_t word)
    {
        bus.modelWord = word;
        bus.Words(Block::kInformation)[0x38 / 4] = word;
    }

    void ExpectRefusal()
    {
        uint32_t count = 1;
        row.cameraId = kPatternWord;
        EXPECT_EQ(Zerix_ListCameras(&row, &count), kDriverFault);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(row.cameraId, kPatternWord);
        EXPECT_EQ(Take(), (Lines{"Zerix_ListCameras start", "Zerix_ListCameras - Found 0 cameras",
                                 EndingLine("Zerix_ListCameras",
                                            "general internal error occurred (driver fault).",
                                            kDriverFault)}));
        EXPECT_EQ(bus.OpenHandles(), 0u);
    }

    void ExpectListed(uint32_t model)
    {
        uint32_t count = 1;
        EXPECT_EQ(Zerix_ListCameras(&row, &count), 0u);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(row.cameraType, model);
        Take();
    }

    test::RegisterBus bus;
    ZerixCameraListItem row = {};
};

// Opened, read, asked for its defaults and for a frame that has no pixels.
TEST_F(NonsenseListing, OfZerosIsListedAndCanBeUsed)
{
    SayModel(18u << 16);
    Load();
    ExpectListed(18);
    ZerixHandle handle = nullptr;
    ASSERT_EQ(Zerix_OpenCamera(0, &handle), 0u);
    uint32_t width = kPatternWord;
    EXPECT_EQ(Zerix_GetInfo(handle, zinfCcdWidth, &width), 0u);
    EXPECT_EQ(width, 0u);
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    EXPECT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
}

TEST_F(NonsenseListing, WithAModelWordOfAllOnesIsListedAsWhatItSays)
{
    SayModel(0xFFFFFFFF);
    Load();
    ExpectListed(65535);
    ZerixHandle handle = nullptr;
    ASSERT_EQ(Zerix_OpenCamera(0, &handle), 0u);
    char text[64] = "";
    EXPECT_EQ(Zerix_GetCameraModelString(handle, text, sizeof(text)), 0u);
    EXPECT_STREQ(text, "Unknown");
}

TEST_F(NonsenseListing, WithoutARangeOfIntensifierGainsIsRefused)
{
    SayModel(9u << 16);
    Load();
    ExpectRefusal();
    bus.Words(Block::kInformation)[0x88 / 4] = 0x0000FFF0; // 0 to 4095
    ExpectListed(9);
}

TEST_F(NonsenseListing, WithReversedMultiplicationLimitsIsRefused)
{
    SayModel(18u << 16);
    auto &words = bus.Words(Block::kInformation);
    words[0x2A4 / 4] = 1u << 6;
    words[0x2C0 / 4] = 100;
    words[0x300 / 4] = 3200;
    words[0x304 / 4] = 50;
    Load();
    ExpectRefusal();
}

TEST_F(NonsenseListing, WithABlockShorterThanItsVersionSaysIsRefused)
{
    SayModel(18u << 16);
    bus.Words(Block::kInformation).resize(100);
    Load();
    ExpectRefusal();
}

TEST_F(NonsenseListing, WithADirectoryThatPointsNowhereIsRefused)
{
    SayModel(18u << 16);
    for (const size_t entry : {2u, 4u, 6u, 8u, 10u}) {
        bus.Make(Block::kConfiguration, 0x00010001, 11);
        bus.Words(Block::kConfiguration)[entry] = 0xFFFFFFFC;
        Load();
        ExpectRefusal();
        Zerix_ReleaseDriver();
        Take();
    }
}

// A fixed sequence for each seed.
class Words {
public:
    explicit Words(uint32_t seed) : m_state(seed * 2654435761u + 1) {}
    // What registers tend to hold when they hold nothing sensible.
    uint32_t Next()
    {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        const auto word = static_cast<uint32_t>(m_state >> 32);
        switch (word % 5) {
        case 0:
            return 0;
        case 1:
            return 0xFFFFFFFF;
        case 2:
            return word & 0xFFFF;
        default:
            return word;
        }
    }

private:
    uint64_t m_state;
};

// Listed and then read, sent its own defaults and closed; or refused with the one code that there
// is for it, and no row.
TEST_F(NonsenseListing, OfAnyWordsIsListedOrRefused)
{
    constexpr uint32_t kCameras = 300;
    uint32_t refused = 0;
    Load();
    for (uint32_t seed = 0; seed < kCameras && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Words random(seed);
        const bool hasOddDirectory = seed % 4 == 0;
        bus.Make(Block::kConfiguration, 0x00010001, 11);
        if (hasOddDirectory)
            bus.Words(Block::kConfiguration)[2 + seed % 9] = random.Next();
        for (uint32_t &word : bus.Words(Block::kInformation))
            word = random.Next();
        bus.Words(Block::kInformation)[0] = 0x0002000B;
        bus.Words(Block::kInformation)[0x10 / 4] &= 0x007F007F; // buffers are made for it
        SayModel((seed % 40) << 16);
        uint32_t count = 1;
        const uint32_t error = Zerix_ListCameras(&row, &count);
        Take();
        ASSERT_TRUE(error == 0 || error == kDriverFault) << error;
        ASSERT_EQ(count, error == 0 ? 1u : 0u);
        if (error != 0) {
            ++refused;
            continue;
        }
        ZerixHandle handle = nullptr;
        ASSERT_EQ(Zerix_OpenCamera(0, &handle), 0u);
        for (uint32_t key = 0; key < 27; ++key) {
            uint32_t value = 0;
            Zerix_GetInfo(handle, key, &value);
        }
        Zerix_Settings settings = {};
        Zerix_CreateCameraSettingsStruct(&settings);
        EXPECT_EQ(Zerix_ReadDefaultSettings(handle, &settings), 0u);
        Zerix_SendSettingsToCam(handle, &settings); // some have no legal region, say
        Zerix_ReleaseCameraSettingsStruct(&settings);
        EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
        Take();
    }
    EXPECT_GT(refused, 0u);
    EXPECT_LT(refused, kCameras / 2);
}

} // namespace
} // namespace zerix::api
