// What the speed of the bus changes: which readouts a camera lists, and which fit.
#include <gtest/gtest.h>

#include "tests/family/family_cameras.h"
#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

using Frequencies = std::vector<float>;

constexpr uint32_t kNoBandwidth = 30;

struct FastModel {
    uint32_t model;
    Frequencies at400;
    Frequencies at800;
};

void PrintTo(const FastModel &model, std::ostream *stream) { *stream << model.model; }

class SpeedSession : public FamilySession {
protected:
    void OpenOn(uint32_t speed, uint32_t model, const std::string &more = "")
    {
        OpenOnly("model = " + std::to_string(model) +
                     "\nsensor = 6\nbit-depth = 14\nscene = \"positions\"\n" + more,
                 speed);
    }

    void Set(uint16_t binning, bool isInBytes, float megahertz)
    {
        ASSERT_EQ(Camera().SetSymmetricalBinning(binning), 0u);
        ASSERT_EQ(Camera().SetBitDepth(isInBytes ? 8 : 14), 0u);
        ASSERT_EQ(Camera().SetReadoutFrequency(megahertz), 0u);
    }

    Frequencies Listed()
    {
        Frequencies frequencies;
        Camera().GetReadoutFrequencyModes(frequencies);
        return frequencies;
    }

    void ExpectPictureOf(uint16_t binning, bool isInBytes)
    {
        View view = WholeView(SensorOf(6), 14, isInBytes);
        view.columnsPerPixel = view.rowsPerPixel = binning;
        view.width /= binning;
        view.height /= binning;
        const uint16_t depth = isInBytes ? 8 : 14;
        ExpectPicture(view, {FormatOf(false, depth), depth, binning, 0});
    }

    void ExpectRefusal()
    {
        pixels.assign(Camera().GetImageSize(), 0);
        frame = {};
        frame.pBuffer = pixels.data();
        frame.bufferSize = Camera().GetImageSize();
        EXPECT_EQ(Zerix_GrabFrame(handle, &frame), kNoBandwidth);
        EXPECT_EQ(frame.filled, 0u);
        Take();
    }
};

class BusSpeed : public SpeedSession, public testing::WithParamInterface<FastModel> {};

TEST_P(BusSpeed, AFastBusGivesEveryReadout)
{
    OpenOn(800, GetParam().model);
    EXPECT_EQ(Listed(), GetParam().at800);
    for (const float megahertz : GetParam().at800) {
        for (const bool isInBytes : {true, false}) {
            SCOPED_TRACE(testing::Message() << megahertz << " MHz, in bytes: " << isInBytes);
            Set(1, isInBytes, megahertz);
            EXPECT_EQ(Camera().GetReadoutFrequency(), megahertz);
            ExpectPictureOf(1, isInBytes);
        }
    }
}

// A refused camera holds nothing of the bus; the next picture books what it needs.
TEST_P(BusSpeed, ASlowBusRefusesWhatDoesNotFit)
{
    OpenOn(400, GetParam().model);
    EXPECT_EQ(Listed(), GetParam().at400);
    for (const uint16_t binning : {uint16_t{1}, uint16_t{2}}) {
        for (const float megahertz : GetParam().at400) {
            for (const bool isInBytes : {true, false}) {
                SCOPED_TRACE(testing::Message() << megahertz << " MHz, binning " << binning
                                                << ", in bytes: " << isInBytes);
                Set(binning, isInBytes, megahertz);
                EXPECT_EQ(Camera().GetReadoutFrequency(), megahertz);
                if (FitsSlowBus(isInBytes, binning, megahertz)) {
                    ExpectPictureOf(binning, isInBytes);
                    continue;
                }
                ExpectRefusal();
            }
        }
    }
}

const Frequencies kTo20 = {10, 20};
const Frequencies kTo30 = {10, 20, 30};
const Frequencies k40First = {40, 10, 20};
const Frequencies kFrom5 = {5, 10, 20};
const Frequencies kBase = {2.5f, 5, 10, 20};

INSTANTIATE_TEST_SUITE_P(Family, BusSpeed,
                         testing::Values(FastModel{26, kTo20, kTo30}, FastModel{31, kTo20, kTo30},
                                         FastModel{33, kTo20, kTo30}, FastModel{27, kTo30, kTo30},
                                         FastModel{28, kTo30, kTo30},
                                         FastModel{25, k40First, k40First},
                                         FastModel{32, kTo20, kTo20}, FastModel{18, kFrom5, kFrom5},
                                         FastModel{9, kBase, kBase}, FastModel{10, kBase, kBase}),
                         [](const auto &row) { return "Model" + std::to_string(row.param.model); });

class OneSpeed : public SpeedSession {};

TEST_F(OneSpeed, ARefusedCameraTakesTheNextSmallerPicture)
{
    OpenOn(400, 18);
    Set(1, false, 20);
    ExpectRefusal();
    ExpectRefusal();
    Set(1, true, 10);
    ExpectPictureOf(1, true);
}

TEST_F(OneSpeed, ARefusedCameraClosesAndOpens)
{
    OpenOn(400, 18);
    Set(1, false, 20);
    ExpectRefusal();
    EXPECT_EQ(Zerix_CloseCamera(handle), 0u);
    ASSERT_EQ(Zerix_OpenCamera(0, &handle), 0u);
    ASSERT_EQ(ZerixSim_GiveCredit(0, 0), 0u);
    Zerix_Settings settings = {};
    Zerix_CreateCameraSettingsStruct(&settings);
    EXPECT_EQ(Zerix_ReadSettingsFromCam(handle, &settings), 0u);
    Zerix_ReleaseCameraSettingsStruct(&settings);
    Set(1, true, 20);
    ExpectPictureOf(1, true);
}

TEST_F(OneSpeed, ARefusalThatPassesIsTriedAgain)
{
    for (const char *fault : {"no bandwidth at request 1", "no channel at request 1"}) {
        SCOPED_TRACE(fault);
        OpenOn(800, 18);
        Set(1, false, 20);
        ASSERT_EQ(ZerixSim_InjectFault(0, fault), 0u) << ZerixSim_LastErrorText();
        ExpectRefusal();
        ExpectPictureOf(1, false);
        Zerix_ReleaseDriver();
    }
}

// A camera that can't be told its packet size has packets for 20 MHz at the most, on a fast bus
// too. Binned its pictures may be faster, and going back ends that.
TEST_F(OneSpeed, AnOldControlBlockTurnsFastReadoutsDown)
{
    OpenOn(800, 28, "control = \"2.2\"\n");
    EXPECT_EQ(Listed(), kTo30);
    for (const bool isInBytes : {true, false}) {
        Set(1, isInBytes, 30);
        EXPECT_EQ(Camera().GetReadoutFrequency(), 20.0f);
        ExpectPictureOf(1, isInBytes);
        Set(2, isInBytes, 30);
        EXPECT_EQ(Camera().GetReadoutFrequency(), 30.0f);
        ExpectPictureOf(2, isInBytes);
        ASSERT_EQ(Camera().SetSymmetricalBinning(1), 0u);
        EXPECT_EQ(Camera().GetReadoutFrequency(), 20.0f);
        ExpectPictureOf(1, isInBytes);
    }
}

class SlowRack : public SpeedSession, public testing::WithParamInterface<FamilyCamera> {};

// Every camera of the slow bus has readouts that don't fit on it: words at 20 MHz.
TEST_P(SlowRack, RefusesUnbinnedWordsAt20Megahertz)
{
    UseFamilyRack(GetParam().rack);
    OpenAt(GetParam().place);
    ASSERT_EQ(Camera().SetBitDepth(GetParam().bitDepth), 0u);
    EXPECT_EQ(Camera().GetReadoutFrequency(), 20.0f);
    ExpectRefusal();
}

std::vector<FamilyCamera> CamerasOfTheSlowBus()
{
    std::vector<FamilyCamera> cameras;
    for (const FamilyCamera &camera : FamilyCameras())
        if (IsOnSlowBus(camera))
            cameras.push_back(camera);
    return cameras;
}

INSTANTIATE_TEST_SUITE_P(Family, SlowRack, testing::ValuesIn(CamerasOfTheSlowBus()),
                         [](const auto &row) { return "Place" + std::to_string(row.param.place); });

} // namespace
} // namespace zerix::family
