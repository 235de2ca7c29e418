// Every version of every block, and versions to come: what is asked of a camera, and that nothing
// is read or written beyond what its block has.
#include <algorithm>
#include <string>
#include <vector>

#include "tests/camera/register_bus_fixture.h"

namespace zerix::test {
namespace {

constexpr uint32_t kModel = 18u << 16;
constexpr uint16_t kBusError = 9;

constexpr BlockShape Shape(uint32_t major, uint32_t minor, uint32_t words)
{
    return {major << 16 | minor, words};
}

struct VersionsOf {
    Block block;
    std::vector<BlockShape> known;
    // Close to the known ones, far from them, and no version at all. The block has 300 words.
    std::vector<uint32_t> unknown;
};

const std::vector<VersionsOf> kVersions = {
    {Block::kConfiguration, {Shape(1, 1, 11)}, {0, 0x00010000, 0x00010002, 0x00020001, 0xFFFFFFFF}},
    {Block::kInformation,
     {Shape(1, 1, 29), Shape(1, 2, 30), Shape(2, 1, 42), Shape(2, 2, 44), Shape(2, 3, 62),
      Shape(2, 4, 67), Shape(2, 5, 68), Shape(2, 6, 79), Shape(2, 7, 176), Shape(2, 8, 178),
      Shape(2, 9, 202), Shape(2, 10, 209), Shape(2, 11, 215)},
     {0, 0x00010000, 0x00010003, 0x00020000, 0x0002000C, 0x00030000, 0x00030001, 0xFFFFFFFF}},
    {Block::kControl,
     {Shape(1, 1, 15), Shape(1, 2, 16), Shape(2, 1, 20), Shape(2, 2, 20), Shape(2, 3, 21),
      Shape(2, 4, 21), Shape(2, 5, 24), Shape(2, 6, 26), Shape(2, 7, 34), Shape(2, 8, 43)},
     {0, 0x00010000, 0x00010003, 0x00020000, 0x00020009, 0x00030001, 0xFFFFFFFF}},
    {Block::kCommand,
     {Shape(1, 1, 3), Shape(1, 2, 4)},
     {0, 0x00010000, 0x00010003, 0x00020001, 0xFFFFFFFF}},
    {Block::kStatus,
     {Shape(1, 1, 2), Shape(1, 2, 2), Shape(1, 3, 4)},
     {0, 0x00010000, 0x00010004, 0x00020001, 0xFFFFFFFF}},
    {Block::kStreaming, {Shape(1, 2, 4)}, {0, 0x00010001, 0x00010003, 0x00020001, 0xFFFFFFFF}},
};

// Which blocks are read whole; of the others the version word alone.
bool IsReadWhole(Block block)
{
    return block == Block::kConfiguration || block == Block::kInformation ||
           block == Block::kStatus;
}

class BlockVersions : public RegisterBusTest {
protected:
    // Everything newest, an Astrel C2 of 640 x 480.
    void MakeNewest()
    {
        bus.modelWord = kModel;
        Make(Block::kConfiguration, kConfiguration11);
        Make(Block::kInformation, Shape(2, 11, 215));
        Make(Block::kControl, Shape(2, 8, 43));
        Make(Block::kCommand, kCommand12);
        Make(Block::kStatus, kStatus13);
        Make(Block::kStreaming, kStreaming12);
        Inform({{0x08, 0x25800000},
                {0x10, 0x028001E0},
                {0x14, 0x014000F0},
                {0x38, kModel},
                {0x40, 114},
                {0x78, 0x0000FFF0},
                {0x108, 8'337'793}});
        bus.TakeReads();
        bus.TakeWrites();
    }

    // The most quadlets that were read at once.
    uint32_t LongestRead(Block block)
    {
        uint32_t longest = 0;
        for (const auto &read : bus.TakeReads())
            if (read.block == block)
                longest = std::max(longest, read.quadlets);
        return longest;
    }

    void Free() { EXPECT_EQ(ZX::ZCamera::FreeCameraList(cameras), 0); }
};

// Reads of the first block's first words at other addresses would be strays.
TEST_F(BlockVersions, AreReadToTheirLengthAndNoFurther)
{
    for (const VersionsOf &versions : kVersions) {
        for (const BlockShape &shape : versions.known) {
            SCOPED_TRACE(testing::Message() << "block " << static_cast<int>(versions.block)
                                            << std::hex << " version " << shape.version);
            MakeNewest();
            // What this version has of the newest block, or the words that only this test has.
            bus.Words(versions.block).resize(shape.words);
            bus.Words(versions.block)[0] = shape.version;
            ASSERT_EQ(List(), 0);
            EXPECT_EQ(LongestRead(versions.block), IsReadWhole(versions.block) ? shape.words : 1);
            EXPECT_STREQ(Camera().GetModelString(), "Astrel C2");
            EXPECT_EQ(Camera().GetCCDWidth(), 640u);
            EXPECT_EQ(bus.StrayCount(), 0u);
            Free();
        }
    }
}

TEST_F(BlockVersions, GiveTheShadowItsLength)
{
    for (const BlockShape &shape : kVersions[2].known) {
        MakeNewest();
        Make(Block::kControl, shape);
        ASSERT_EQ(List(), 0);
        const RegisterBlock &shadow = CameraAccess::ControlOf(Camera());
        EXPECT_EQ(shadow.WordCount(), shape.words);
        EXPECT_FALSE(shadow.HasWord(shape.words * 4));
        EXPECT_TRUE(shadow.HasWord(shape.words * 4 - 4));
        Free();
    }
}

// A word that a version lacks reads as 0, also where the camera has something behind its block.
TEST_F(BlockVersions, TellNothingBeyondTheirLength)
{
    for (const BlockShape &shape : kVersions[1].known) {
        SCOPED_TRACE(testing::Message() << std::hex << shape.version);
        MakeNewest();
        bus.Words(Block::kInformation).assign(300, 0xFFFFFFFF);
        bus.Words(Block::kInformation)[0] = shape.version;
        // Sizes that are none too large, and gains that can be set up.
        Inform({{0x08, 0x25800000}, {0x10, 0x028001E0}, {0x14, 0x014000F0}, {0x2A4, 0xFFFFFFBF}});
        ASSERT_EQ(List(), 0);
        const RegisterBlock &block = CameraAccess::InformationOf(Camera());
        EXPECT_EQ(block.WordCount(), shape.words);
        EXPECT_NE(block.Word(shape.words * 4 - 4), 0u);
        for (uint32_t offset = shape.words * 4; offset < 1200; offset += 4)
            EXPECT_EQ(block.Word(offset), 0u) << offset;
        EXPECT_EQ(bus.StrayCount(), 0u);
        Free();
    }
}

// A block whose version no table has is left alone: of length 0, whatever the camera has there.
TEST_F(BlockVersions, ToComeHaveNoLength)
{
    for (const VersionsOf &versions : kVersions) {
        for (const uint32_t version : versions.unknown) {
            if (versions.block == Block::kConfiguration)
                continue;
            SCOPED_TRACE(testing::Message() << "block " << static_cast<int>(versions.block)
                                            << std::hex << " version " << version);
            MakeNewest();
            bus.Words(versions.block).resize(300, 0xFFFFFFFF);
            bus.Words(versions.block)[0] = version;
            ASSERT_EQ(List(), 0);
            EXPECT_EQ(LongestRead(versions.block), 1u);
            EXPECT_STREQ(Camera().GetModelString(), "Astrel C2");
            EXPECT_EQ(Camera().GetCCDWidth(), versions.block == Block::kInformation ? 0u : 640u);
            EXPECT_EQ(Camera().GetROIWidth(),
                      versions.block == Block::kInformation || versions.block == Block::kControl
                          ? 0u
                          : 640u);
            EXPECT_FALSE(Camera().GetRegulatedCoolingTemperatureLock());
            for (const RegisterWrite &write : bus.TakeWrites())
                EXPECT_TRUE(write == CommitWrite() || write.block == Block::kControl) << write;
            EXPECT_EQ(bus.StrayCount(), 0u);
            Free();
        }
    }
}

// A directory of a version to come tells no addresses. The information block is then looked for at
// address 0, where nothing is.
TEST_F(BlockVersions, OfADirectoryToComeAreRefused)
{
    for (const uint32_t version : kVersions[0].unknown) {
        MakeNewest();
        bus.Words(Block::kConfiguration)[0] = version;
        testing::internal::CaptureStdout();
        EXPECT_EQ(List(), kBusError) << version;
        testing::internal::GetCapturedStdout();
        EXPECT_TRUE(cameras.empty());
        EXPECT_EQ(LongestRead(Block::kConfiguration), 1u);
        EXPECT_TRUE(bus.TakeWrites().empty());
    }
}

// A camera whose block is shorter than its version says answers with a bus error.
TEST_F(BlockVersions, ThatPromiseTooMuchAreRefused)
{
    const struct {
        Block block;
        uint32_t words;
        bool isPrinted;
    } kCuts[] = {{Block::kConfiguration, 10, false}, {Block::kInformation, 214, false},
                 {Block::kStatus, 3, false},         {Block::kInformation, 0, false},
                 {Block::kStatus, 0, true},          {Block::kStreaming, 0, true},
                 {Block::kCommand, 0, true},         {Block::kControl, 0, true},
                 {Block::kCommand, 1, true},         {Block::kControl, 20, true}};
    for (const auto &cut : kCuts) {
        MakeNewest();
        bus.Words(cut.block).resize(cut.words);
        testing::internal::CaptureStdout();
        EXPECT_EQ(List(), kBusError);
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(!printed.empty(), cut.isPrinted)
            << static_cast<int>(cut.block) << " " << cut.words << printed;
        EXPECT_TRUE(cameras.empty());
        EXPECT_EQ(bus.OpenHandles(), 0u);
    }
}

// Between two looks the camera may have got another firmware.
TEST_F(BlockVersions, MayChangeWhileTheCameraIsListed)
{
    MakeNewest();
    ASSERT_EQ(List(), 0);
    ASSERT_EQ(Camera().OpenCamera(), 0);
    for (const BlockShape &shape : kVersions[1].known) {
        bus.Words(Block::kInformation)[0] = shape.version;
        EXPECT_EQ(Camera().ReadCameraInfo(), 0);
        EXPECT_EQ(CameraAccess::InformationOf(Camera()).WordCount(), shape.words);
    }
    bus.Words(Block::kInformation)[0] = 0x00030000;
    EXPECT_EQ(Camera().ReadCameraInfo(), 0);
    EXPECT_EQ(CameraAccess::InformationOf(Camera()).WordCount(), 0u);
    EXPECT_EQ(Camera().GetCCDWidth(), 0u);
    EXPECT_EQ(bus.StrayCount(), 0u);
}

} // namespace
} // namespace zerix::test
