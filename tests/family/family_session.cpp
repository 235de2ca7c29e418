// Opening a camera and comparing its frames.
#include "tests/family/family_session.h"

#include <algorithm>

#include "tests/api/behind_a_handle.h"
#include "tests/support/places.h"

namespace zerix::family {
namespace {

constexpr uint8_t kPoison = 0xA5;
constexpr size_t kGuardBytes = 64;

} // namespace

uint32_t FormatOf(bool hasMosaic, uint16_t bitDepth)
{
    return (hasMosaic ? 4u : 2u) + (bitDepth > 8 ? 1u : 0u);
}

// A byte a pixel at 20 MHz is half of the bus: a packet of 2520 bytes. Twice that is 5000, which is
// what the bus is said to carry, and more than the 4888 that can be booked.
bool FitsSlowBus(bool isInBytes, uint32_t binning, float megahertz)
{
    return (isInBytes ? 1 : 2) * megahertz < 40 * static_cast<float>(binning);
}

void FamilySession::UseFamilyRack(const std::string &name) const
{
    const std::string path = test::SourceFolder() + "/racks/" + name + ".toml";
    ASSERT_EQ(ZerixSim_ChooseRack(path.c_str()), 0u) << ZerixSim_LastErrorText();
}

void FamilySession::OpenAt(uint32_t place)
{
    m_place = place;
    m_framesBefore = 0;
    m_lastTimeStamp = 0;
    handle = LoadAndOpen(place);
    ASSERT_NE(handle, nullptr);
    ASSERT_EQ(ZerixSim_GiveCredit(place, 0), 0u);
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    EXPECT_EQ(Zerix_ReadSettingsFromCam(handle, &settings), 0u);
    Zerix_ReleaseCameraSettingsStruct(&settings);
}

void FamilySession::OpenOnly(const std::string &keys, uint32_t speed)
{
    UseRack("speed = " + std::to_string(speed) + "\n[[camera]]\n" + keys);
    OpenAt(0);
}

ZX::ZCamera &FamilySession::Camera() { return *api::CameraOf(handle); }

void FamilySession::Grab()
{
    const uint32_t size = Camera().GetImageSize();
    pixels.assign(size + kGuardBytes, kPoison);
    frame = {};
    frame.pBuffer = pixels.data();
    frame.bufferSize = size;
    frame.reserved44 = frame.reserved60 = frame.reserved64 = api::kPatternWord;
    ASSERT_EQ(ZerixSim_GiveCredit(m_place, 1), 0u);
    ASSERT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
    Take(); // what was traced
    EXPECT_TRUE(std::all_of(pixels.end() - kGuardBytes, pixels.end(),
                            [](uint8_t byte) { return byte == kPoison; }));
    EXPECT_EQ(frame.frameNumber, m_framesBefore++);
    EXPECT_GE(frame.timeStamp, m_lastTimeStamp);
    m_lastTimeStamp = frame.timeStamp;
}

void FamilySession::ExpectPicture(const View &view, const std::vector<uint8_t> &expected,
                                  const FrameFacts &facts)
{
    const auto tag = static_cast<uint8_t>(Camera().GetPSN() + 1);
    ASSERT_NO_FATAL_FAILURE(Grab());
    EXPECT_EQ(Camera().GetPSN(), tag); // each start of the stream has its own
    ExpectRecord(view, facts);
    ASSERT_EQ(frame.size, expected.size());
    EXPECT_EQ(Difference(view, expected, pixels.data()), "");
}

void FamilySession::ExpectPicture(const View &view, const FrameFacts &facts)
{
    ExpectPicture(view, ExpectedBytes(view), facts);
}

void FamilySession::ExpectRecord(const View &view, const FrameFacts &facts)
{
    const uint32_t pattern = ExpectedPattern(view);
    const uint32_t size = view.width * view.height * (view.isInBytes ? 1 : 2);
    EXPECT_EQ(frame.pBuffer, pixels.data());
    EXPECT_EQ(frame.bufferSize, size);
    EXPECT_EQ(frame.format, facts.format);
    EXPECT_EQ(frame.width, view.width);
    EXPECT_EQ(frame.height, view.height);
    EXPECT_EQ(frame.size, size);
    EXPECT_EQ(frame.bitDepth, facts.bitDepth);
    EXPECT_EQ(frame.bayerPattern, pattern == 0 ? 0 : pattern - 5);
    EXPECT_EQ(frame.errorCode, 0u);
    EXPECT_EQ(frame.camera, handle);
    EXPECT_EQ(frame.binning, facts.binning);
    EXPECT_EQ(frame.isLvw, facts.isLvw);
    EXPECT_EQ(frame.colourPattern, pattern);
    EXPECT_EQ(frame.filled, 1u);
    EXPECT_EQ(frame.reserved44, api::kPatternWord);
    EXPECT_EQ(frame.reserved60, api::kPatternWord);
    EXPECT_EQ(frame.reserved64, api::kPatternWord);
}

} // namespace zerix::family
