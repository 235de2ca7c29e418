// The register blocks: lengths by version, how they are read, single writes, the commit.
#include "image/z_image_filter.h"
#include "image/z_image_pipeline.h"
#include "platform/os.h"
#include "tests/camera/camera_access.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

namespace zerix::test {
namespace {

namespace registers = zerix::registers;

constexpr uint32_t kSystemError = kernel::kErrorGenFailure;
constexpr uint32_t kDirectory = 0xD0000000;

// Lengths -----------------------------------------------------------------------------------------

struct Length {
    uint16_t major;
    uint16_t minor;
    uint32_t words;
};

void ExpectLengths(std::span<const registers::regVersionEntry> table,
                   std::initializer_list<Length> lengths)
{
    EXPECT_EQ(table.size(), lengths.size() + 1);
    for (const auto &[major, minor, words] : lengths)
        EXPECT_EQ(registers::CalculateRegisterLength(table, VersionWord(major, minor)), words)
            << major << "." << minor;
}

TEST(RegisterLengths, FollowTheVersion)
{
    ExpectLengths(registers::kConfigurationLengths, {{1, 1, 11}});
    ExpectLengths(registers::kInformationLengths, {{1, 1, 29},
                                                   {1, 2, 30},
                                                   {2, 1, 42},
                                                   {2, 2, 44},
                                                   {2, 3, 62},
                                                   {2, 4, 67},
                                                   {2, 5, 68},
                                                   {2, 6, 79},
                                                   {2, 7, 176},
                                                   {2, 8, 178},
                                                   {2, 9, 202},
                                                   {2, 10, 209},
                                                   {2, 11, 215}});
    ExpectLengths(registers::kControlLengths, {{1, 1, 15},
                                               {1, 2, 16},
                                               {2, 1, 20},
                                               {2, 2, 20},
                                               {2, 3, 21},
                                               {2, 4, 21},
                                               {2, 5, 24},
                                               {2, 6, 26},
                                               {2, 7, 34},
                                               {2, 8, 43}});
    ExpectLengths(registers::kStreamingLengths, {{1, 2, 4}});
    ExpectLengths(registers::kCommandLengths, {{1, 1, 3}, {1, 2, 4}});
    ExpectLengths(registers::kStatusLengths, {{1, 1, 2}, {1, 2, 2}, {1, 3, 4}});
}

TEST(RegisterLengths, AreZeroForAVersionWithoutARow)
{
    EXPECT_EQ(registers::CalculateRegisterLength(registers::kControlLengths, VersionWord(2, 9)),
              0u);
    EXPECT_EQ(registers::CalculateRegisterLength(registers::kControlLengths, VersionWord(1, 0)),
              0u);
    EXPECT_EQ(registers::CalculateRegisterLength(registers::kControlLengths, 0), 0u);
    EXPECT_EQ(registers::CalculateRegisterLength(registers::kInformationLengths, VersionWord(3, 1)),
              0u);
}

TEST(RegisterVersions, CompareMajorBeforeMinor)
{
    using ZX::TolvaneFWCamera;
    EXPECT_TRUE(TolvaneFWCamera::CheckVersionAtLeast(2, 2, 2, 2));
    EXPECT_TRUE(TolvaneFWCamera::CheckVersionAtLeast(2, 3, 2, 2));
    EXPECT_FALSE(TolvaneFWCamera::CheckVersionAtLeast(2, 1, 2, 2));
    EXPECT_TRUE(TolvaneFWCamera::CheckVersionAtLeast(3, 0, 2, 2));
    EXPECT_FALSE(TolvaneFWCamera::CheckVersionAtLeast(1, 9, 2, 2));
}

TEST(RegisterVersions, OfTheInformationBlockAreChecked)
{
    auto camera = MakeLooseCamera(18, VersionWord(2, 7), {});
    EXPECT_TRUE(camera->CheckConfigRegVersion(2, 7));
    EXPECT_TRUE(camera->CheckConfigRegVersion(1, 9));
    EXPECT_FALSE(camera->CheckConfigRegVersion(2, 8));
    EXPECT_FALSE(camera->CheckConfigRegVersion(3, 0));
}

// The shadow --------------------------------------------------------------------------------------

TEST(RegisterBlock, ReadsAsZeroWhatItsVersionLacks)
{
    RegisterBlock block(registers::kControlLengths);
    FillBlock(block, VersionWord(2, 1), {{0x4C, 0xFFFFFFFF}});
    EXPECT_EQ(block.Word(0x4C), 0xFFFFFFFFu);
    EXPECT_TRUE(block.HasWord(0x4C));
    EXPECT_EQ(block.Word(0x50), 0u);
    EXPECT_FALSE(block.HasWord(0x50));
    EXPECT_EQ(block.Read({0x4C, 4, 8}), 0xFFu);
    FillBlock(block, VersionWord(2, 9), {});
    EXPECT_EQ(block.WordCount(), 0u);
    EXPECT_FALSE(block.HasWord(0));
}

TEST(RegisterFields, AreInsertedBesideTheirNeighbours)
{
    EXPECT_EQ(registers::Insert(0xFFFFFFFF, {0, 8, 4}, 0), 0xFFFFF0FFu);
    EXPECT_EQ(registers::Insert(0, {0, 20, 12}, 0x258), 0x25800000u);
    // What exceeds the field reaches the bits above it.
    EXPECT_EQ(registers::Insert(0, {0, 8, 4}, 0x12), 0x1200u);
    EXPECT_EQ(registers::Insert(0x12345678, {0, 0, 32}, 0x9ABCDEF0), 0x9ABCDEF0u);
    EXPECT_EQ(registers::Extract(0x12345678, {0, 8, 8}), 0x56u);
    EXPECT_EQ(registers::Join(0x01234567, 0x89ABCDEF), 0x0123456789ABCDEFu);
    EXPECT_EQ(registers::HighOf(0x0123456789ABCDEF), 0x01234567u);
    EXPECT_EQ(registers::LowOf(0x0123456789ABCDEF), 0x89ABCDEFu);
    EXPECT_EQ(registers::SwapBytes(0x12345678), 0x78563412u);
}

class Registers : public VirtualBusTest {
protected:
    uint32_t Control(uint32_t offset) { return AddressOf(Block::kControl) + offset; }
};

TEST_F(Registers, ArePrintedAsOneLine)
{
    auto camera = MakeLooseCamera(18, VersionWord(2, 11), {});
    FillBlock(CameraAccess::ControlOf(*camera), VersionWord(1, 1), {{0x04, 0x00ABCDEF}, {0x38, 1}});
    const size_t before = DebugText().size();
    camera->PrintOutControlRegisters();
    EXPECT_EQ(
        DebugText().substr(before),
        "---\nLength in control registers: 15\nControl registers: 00000000 00abcdef 00000000 "
        "00000000 "
        "00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 "
        "00000001 \n");
}

// Reading -----------------------------------------------------------------------------------------

TEST_F(Registers, AreReadFromTheDirectoryOn)
{
    auto &camera = OpenOne(Describe(18, 6));
    tap.TakeReads();
    EXPECT_EQ(camera.ReadCameraInfo(), 0);
    const uint32_t information = AddressOf(Block::kInformation);
    const uint32_t status = AddressOf(Block::kStatus);
    const std::vector<BusTap::Read> expected = {{kDirectory, 1},
                                                {kDirectory, 11},
                                                {information, 1},
                                                {information, 215},
                                                {AddressOf(Block::kStreaming), 1},
                                                {AddressOf(Block::kCommand), 1},
                                                {AddressOf(Block::kControl), 1},
                                                {status, 1},
                                                {status, 1},
                                                {status, 4}};
    EXPECT_EQ(tap.TakeReads(), expected);
}

TEST_F(Registers, FailToBeReadWithAStatus)
{
    auto &camera = OpenOne(Describe(18, 6));
    const std::pair<Block, bool> blocks[] = {
        {Block::kConfiguration, false}, {Block::kInformation, false}, {Block::kStreaming, true},
        {Block::kCommand, true},        {Block::kControl, true},      {Block::kStatus, true}};
    for (const auto &[block, isPrinted] : blocks) {
        tap.FailAccess(kernel::kControlAsyncRead, AddressOf(block), kSystemError);
        testing::internal::CaptureStdout();
        EXPECT_EQ(camera.ReadCameraInfo(), 9);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  isPrinted ? os::ErrorText(kSystemError) : "")
            << static_cast<int>(block);
        EXPECT_EQ(camera.ReadCameraInfo(), 0);
    }
}

// The whole status block, behind its version.
TEST_F(Registers, FailInSilenceAtTheSecondReadOfTheStatus)
{
    auto &camera = OpenOne(Describe(18, 6));
    tap.FailRequest(kernel::kControlAsyncRead, kSystemError, 9);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.ReadCameraInfo(), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Registers, AreEmptyInABlockOfUnknownVersion)
{
    auto &camera = OpenOne(Describe(18, 6));
    tap.OverrideRegister(AddressOf(Block::kInformation), VersionWord(9, 9));
    tap.TakeReads();
    EXPECT_EQ(camera.ReadCameraInfo(), 0);
    EXPECT_EQ(tap.TakeReads().size(), 9u);
    EXPECT_EQ(camera.GetModel(), 0);
    EXPECT_EQ(camera.GetCCDWidth(), 0u);
    EXPECT_EQ(camera.GetUniqueID(), 0u);
}

// A control block that this library doesn't know is left alone, and the camera listed all the same.
TEST_F(Registers, AreNotWrittenInABlockOfUnknownVersion)
{
    UseCameras({Describe(18, 6)});
    tap.OverrideRegister(AddressOf(Block::kControl), VersionWord(2, 9));
    ListCameras();
    for (const RegisterWrite &write : TakeWrites())
        EXPECT_EQ(write, CommitWrite());
    ASSERT_EQ(Camera().OpenCamera(), 0);
    EXPECT_EQ(Camera().SetTriggerMode(1), 15);
    EXPECT_TRUE(TakeWrites().empty());
    EXPECT_TRUE(Shadow(Camera()).empty());
}

// Both ways of a read's end give the same words.
TEST_F(Registers, ReadAlikeHoweverTheBusAnswers)
{
    for (const char *reads : {"pending", "immediate", "mixed"}) {
        auto description = Describe(18, 6);
        description.reads = reads;
        auto &camera = OpenOne(description);
        EXPECT_EQ(camera.GetModel(), 18) << reads;
        EXPECT_EQ(camera.GetCCDWidth(), 1392u) << reads;
        EXPECT_STREQ(camera.GetSerialNumberString(), "T-18") << reads;
        FreeCameras();
    }
}

// Writing -----------------------------------------------------------------------------------------

TEST_F(Registers, AreNotWrittenWithoutAChange)
{
    auto &camera = OpenOne(Describe(18, 6));
    EXPECT_EQ(camera.SetTriggerMode(0), 0);
    EXPECT_EQ(camera.SetBitDepth(8), 0);
    EXPECT_EQ(camera.SetReadoutFrequency(20.0f), 0);
    EXPECT_EQ(camera.SetExposure(16'384'000), 0);
    EXPECT_EQ(camera.SetOffset(0), 0);
    EXPECT_EQ(camera.SetROI(0, 0, 1392, 1040), 0);
    EXPECT_EQ(camera.SetSymmetricalBinning(1), 0);
    EXPECT_EQ(camera.SetSyncBMode(1), 0);
    EXPECT_EQ(camera.SetCoolerStatus(true), 0);
    EXPECT_EQ(camera.SetCompression(0), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
}

TEST_F(Registers, KeepTheNewValueAfterAFailedWrite)
{
    auto &camera = OpenOne(Describe(18, 6));
    tap.FailAccess(kernel::kControlAsyncWrite, Control(0x14), kSystemError);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.SetOffset(0x123), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), os::ErrorText(kSystemError));
    EXPECT_EQ(camera.GetOffset(), 0x123u);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
    EXPECT_EQ(camera.SetOffset(0x124), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{ControlWrite(0x14, 0x25801240)});
}

TEST_F(Registers, TellASystemWithoutResourcesApart)
{
    auto &camera = OpenOne(Describe(18, 6));
    tap.FailAccess(kernel::kControlAsyncWrite, Control(0x14), kernel::kErrorNoSystemResources);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.SetOffset(0x123), 33);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              os::ErrorText(kernel::kErrorNoSystemResources));
}

// Of a 64-bit value, the upper half goes first, and the lower one not at all if that fails.
TEST_F(Registers, WriteTheUpperHalfFirst)
{
    auto &camera = OpenOne(Describe(18, 6));
    EXPECT_EQ(camera.SetExposure(0x1'00000002), 0);
    EXPECT_EQ(TakeWrites(),
              (std::vector<RegisterWrite>{ControlWrite(0x18, 1), ControlWrite(0x3C, 2)}));
    tap.FailAccess(kernel::kControlAsyncWrite, Control(0x18), kSystemError);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.SetExposure(0x3'00000004), 9);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{});
}

TEST_F(Registers, FailOnAClosedCamera)
{
    auto &camera = OpenOne(Describe(18, 6));
    EXPECT_EQ(camera.CloseCamera(), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.SetOffset(1), 9);
    EXPECT_EQ(camera.ReadCameraInfo(), 9);
    testing::internal::GetCapturedStdout();
}

// The commit --------------------------------------------------------------------------------------

class CountingFilter final : public ZX::ZImageFilter {
public:
    int16_t Process(ZX::ZInImageBufferStruct *, ZX::ZOutImageBufferStruct *) override { return 31; }
    int16_t Init(uint32_t, uint32_t) override { return 0; }
    int16_t SetOutputFormat(uint32_t) override { return 0; }
    void Reset() override
    {
        ++resets;
        writesBefore = tap.CountOf(kernel::kControlAsyncWrite);
    }
    explicit CountingFilter(BusTap &onBus) : tap(onBus) {}

    BusTap &tap;
    int resets = 0;
    uint32_t writesBefore = 0;
};

TEST_F(Registers, AreCommittedWithOneWrite)
{
    auto &camera = OpenOne(Describe(18, 6));
    CountingFilter filter(tap);
    camera.GetImagePipeline()->AddFilter(&filter);
    tap.TakeReads();
    const uint32_t writesBefore = tap.CountOf(kernel::kControlAsyncWrite);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(TakeWrites(), std::vector<RegisterWrite>{CommitWrite()});
    EXPECT_TRUE(tap.TakeReads().empty());
    EXPECT_EQ(filter.resets, 1);
    EXPECT_EQ(filter.writesBefore, writesBefore);
    EXPECT_EQ(tap.CountOf(kernel::kControlAsyncWrite), writesBefore + 1);
    camera.GetImagePipeline()->RemoveFilter(&filter);
}

// The semaphores are given back: the next commit doesn't wait.
TEST_F(Registers, CanBeCommittedAgainAfterAFailure)
{
    auto &camera = OpenOne(Describe(18, 6));
    tap.FailAccess(kernel::kControlAsyncWrite, AddressOf(Block::kCommand) + 4, kSystemError, 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 9);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 9);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              os::ErrorText(kSystemError) + os::ErrorText(kSystemError));
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
}

TEST_F(Registers, ReloadTheInformationBlockAfterAChangeOfMiscCtrlAlone)
{
    auto &camera = OpenOne(Describe(18, 6));
    const uint32_t information = AddressOf(Block::kInformation);
    tap.TakeReads();
    EXPECT_EQ(camera.SetSubCpAd(1), 0);
    EXPECT_EQ(camera.SetMiscCtrlAd(0), 0);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_TRUE(tap.TakeReads().empty());
    // A camera that shows less of its sensor from now on.
    EXPECT_EQ(camera.SetMiscCtrlAd(0x10), 0);
    tap.OverrideRegister(information + 0x10, 1000u << 16 | 900);
    TakeWrites();
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_EQ(tap.TakeReads(),
              (std::vector<BusTap::Read>{{.address = information, .quadlets = 1},
                                         {.address = information, .quadlets = 215}}));
    EXPECT_EQ(camera.GetCCDWidth(), 1000u);
    EXPECT_EQ(TakeWrites(),
              (std::vector<RegisterWrite>{CommitWrite(), ControlWrite(0x0C, 1392u << 16 | 900),
                                          ControlWrite(0x0C, 1000u << 16 | 900)}));
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_TRUE(tap.TakeReads().empty());
}

// A change that stops the stream is followed by a new start at the commit, with a tag of its own.
TEST_F(Registers, RestartTheStreamAtTheCommit)
{
    auto &camera = OpenOne(Describe(18, 6));
    ASSERT_EQ(camera.StartStreamingImages(nullptr, nullptr, false, nullptr), 0);
    const uint8_t tag = camera.GetPSN();
    EXPECT_EQ(camera.SetROI(0, 0, 640, 480), 0);
    EXPECT_FALSE(camera.IsCameraStreaming());
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_TRUE(camera.IsCameraStreaming());
    EXPECT_EQ(camera.GetPSN(), tag + 1);
    EXPECT_EQ(camera.StopStreamingImages(), 0);
    EXPECT_EQ(camera.UpdateSettingsOnCamera(), 0);
    EXPECT_FALSE(camera.IsCameraStreaming());
}

} // namespace
} // namespace zerix::test
