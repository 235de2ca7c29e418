// Cameras of the first years: the oldest stream format, short register blocks, binning by three,
// firmware that bins by two alone.
#include <gtest/gtest.h>

#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

struct OldCamera {
    const char *test;
    const char *keys;
    uint32_t sensor;
    uint32_t streamFormat;
    std::vector<uint16_t> listed;  // symmetrical binnings
    std::vector<uint16_t> factors; // what they are
};

void PrintTo(const OldCamera &camera, std::ostream *stream) { *stream << camera.test; }

const std::vector<uint16_t> kTo4 = {1, 2, 3, 4};
const std::vector<uint16_t> kTo8 = {1, 2, 4, 8};
// Without the word that tells it, 8 is set and 3 is what comes of it.
const std::vector<uint16_t> k3For8 = {1, 2, 4, 3};

const OldCamera kCameras[] = {
    {"TheOldestBlocks",
     "model = 5\nsensor = 4\ninformation = \"1.1\"\ncontrol = \"1.1\"\ncommand = \"1.1\"\n"
     "status = \"1.1\"\nfirmware = 50\nstream-format = 0\nbit-depth = 12\n",
     4, 0, kTo4, kTo4},
    {"TheSecondBlocks",
     "model = 6\nsensor = 5\ninformation = \"1.2\"\ncontrol = \"1.2\"\ncommand = \"1.1\"\n"
     "status = \"1.2\"\nfirmware = 5\nstream-format = 0\nbit-depth = 12\n",
     5, 0, kTo4, kTo4},
    {"TheFirstBlocksThatTellTheFormat",
     "model = 7\nsensor = 8\ninformation = \"2.1\"\ncontrol = \"2.1\"\nfirmware = 99\n"
     "stream-format = 1\nbit-depth = 12\n",
     8, 1, kTo4, kTo4},
    {"TheFirstBlocksThatBinByEight",
     "model = 7\nsensor = 9\ninformation = \"2.2\"\ncontrol = \"2.2\"\nfirmware = 101\n"
     "stream-format = 1\nbit-depth = 10\n",
     9, 1, kTo8, kTo8},
    {"FirmwareThatBinsByTwoAlone",
     "model = 14\nsensor = 13\ninformation = \"2.3\"\ncontrol = \"2.3\"\nfirmware = 101\n"
     "stream-format = 0\nbit-depth = 12\n",
     13,
     0,
     {1, 2},
     {1, 2}},
    {"FirmwareThatBinsByThree",
     "model = 1001\nsensor = 0\ninformation = \"2.1\"\ncontrol = \"2.2\"\nfirmware = 102\n"
     "stream-format = 0\nbit-depth = 12\n",
     0,
     0,
     {1, 2, 4, 3},
     {1, 2, 4, 3}},
    {"ABinningThatItHasNot",
     "model = 12\nsensor = 6\ninformation = \"2.1\"\ncontrol = \"2.3\"\nfirmware = 113\n"
     "stream-format = 1\nbit-depth = 14\n",
     6, 1, kTo8, k3For8},
    {"TheNewestBlocksWithTheOldestFormat",
     "model = 18\nsensor = 7\nstream-format = 0\nbit-depth = 14\n", 7, 0, kTo8, kTo8},
};

class OldCameras : public FamilySession, public testing::WithParamInterface<OldCamera> {
protected:
    uint16_t Depth()
    {
        uint32_t depth = 0;
        EXPECT_EQ(Zerix_GetInfo(handle, zinfBitDepth, &depth), 0u);
        return static_cast<uint16_t>(depth);
    }

    void ExpectPictures(uint16_t factor, bool isInBytes)
    {
        const uint16_t depth = Depth();
        ASSERT_EQ(Camera().SetBitDepth(isInBytes ? 8 : depth), 0u);
        View view = WholeView(sensor, depth, isInBytes);
        view.columnsPerPixel = view.rowsPerPixel = factor;
        view.width /= factor;
        view.height /= factor;
        const bool hasMosaic = sensor.mosaic != Mosaic::kNone && factor == 1;
        const uint16_t told = isInBytes ? 8 : depth;
        const FrameFacts facts{FormatOf(hasMosaic, told), told, factor, 0};
        ASSERT_EQ(Camera().SetROI(0, 0, view.width, view.height), 0u);
        ExpectPicture(view, facts);
        view.x = 33;
        view.y = 20;
        view.width = 101;
        view.height = 43;
        ASSERT_EQ(Camera().SetROI(view.x, view.y, view.width, view.height), 0u);
        ExpectPicture(view, facts);
    }

    const Sensor sensor = SensorOf(GetParam().sensor);
};

TEST_P(OldCameras, ShowTheScene)
{
    OpenOnly(std::string(GetParam().keys) + "scene = \"positions\"\n");
    uint32_t format = 99;
    EXPECT_EQ(Zerix_GetInfo(handle, zinfStreamVersion, &format), 0u);
    EXPECT_EQ(format, GetParam().streamFormat);
    std::vector<uint16_t> listed;
    Camera().GetSymmetricalBinningModes(listed);
    ASSERT_EQ(listed, GetParam().listed);
    for (size_t index = 0; index < listed.size(); ++index) {
        SCOPED_TRACE(listed[index]);
        ASSERT_EQ(Camera().SetSymmetricalBinning(listed[index]), 0u);
        for (const bool isInBytes : {true, false})
            ExpectPictures(GetParam().factors[index], isInBytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Family, OldCameras, testing::ValuesIn(kCameras),
                         [](const auto &row) { return std::string(row.param.test); });

} // namespace
} // namespace zerix::family
