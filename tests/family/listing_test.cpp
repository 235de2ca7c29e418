// What the racks of the family show before a picture is taken: numbers, names, serials, sensors,
// and what each camera offers.
#include <cstring>

#include <gtest/gtest.h>

#include "tests/family/family_cameras.h"
#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

constexpr uint32_t kMostCameras = 16;

std::vector<FamilyCamera> CamerasOf(const std::string &rack)
{
    std::vector<FamilyCamera> cameras;
    for (const FamilyCamera &camera : FamilyCameras())
        if (camera.rack == rack)
            cameras.push_back(camera);
    return cameras;
}

class Listing : public FamilySession, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override
    {
        FamilySession::SetUp();
        UseFamilyRack(GetParam());
        Load();
    }

    std::string SerialText()
    {
        char text[64] = "";
        EXPECT_EQ(Zerix_GetSerialString(handle, text, sizeof(text)), 0u);
        return text;
    }

    std::string NameText()
    {
        char text[64] = "";
        EXPECT_EQ(Zerix_GetCameraModelString(handle, text, sizeof(text)), 0u);
        return text;
    }

    uint32_t Info(uint32_t key)
    {
        uint32_t value = api::kPatternWord;
        EXPECT_EQ(Zerix_GetInfo(handle, key, &value), 0u) << key;
        return value;
    }

    void ExpectInformation(const FamilyCamera &camera)
    {
        const Sensor sensor = SensorOf(camera.sensor);
        EXPECT_EQ(Info(zinfCameraType), camera.model);
        EXPECT_EQ(Info(zinfUniqueId), camera.uniqueId);
        EXPECT_EQ(Info(zinfCcd), camera.sensor);
        EXPECT_EQ(Info(zinfBitDepth), camera.bitDepth);
        EXPECT_EQ(Info(zinfCcdWidth), sensor.columns);
        EXPECT_EQ(Info(zinfCcdHeight), sensor.rows);
        EXPECT_EQ(Info(zinfImageWidth), sensor.columns);
        EXPECT_EQ(Info(zinfImageHeight), sensor.rows);
        EXPECT_EQ(Info(zinfCcdType), sensor.mosaic == Mosaic::kNone ? 0u : 1u);
        EXPECT_EQ(Info(zinfStreamVersion), camera.streamFormat);
    }
};

TEST_P(Listing, TellsEveryCameraOfTheRack)
{
    const std::vector<FamilyCamera> cameras = CamerasOf(GetParam());
    ZerixCameraListItem table[kMostCameras];
    std::memset(table, 0xA5, sizeof(table));
    uint32_t count = kMostCameras;
    ASSERT_EQ(Zerix_ListCameras(table, &count), 0u);
    ASSERT_EQ(count, cameras.size());
    for (uint32_t row = 0; row < count; ++row) {
        SCOPED_TRACE(cameras[row].name);
        EXPECT_EQ(cameras[row].place, row);
        EXPECT_EQ(table[row].cameraId, row);
        EXPECT_EQ(table[row].cameraType, cameras[row].model);
        EXPECT_EQ(table[row].uniqueId, cameras[row].uniqueId);
        EXPECT_EQ(table[row].isOpen, 0u);
    }
    EXPECT_EQ(table[count].cameraId, api::kPatternWord);
}

TEST_P(Listing, OpensEveryCameraOfTheRackAtOnce)
{
    List();
    for (const FamilyCamera &camera : CamerasOf(GetParam())) {
        SCOPED_TRACE(camera.name);
        handle = OpenListed(camera.place);
        EXPECT_EQ(NameText(), camera.name);
        EXPECT_EQ(SerialText(), camera.serial);
        ExpectInformation(camera);
    }
}

TEST_P(Listing, TellsBinningsAndReadouts)
{
    List();
    for (const FamilyCamera &camera : CamerasOf(GetParam())) {
        SCOPED_TRACE(camera.name);
        handle = OpenListed(camera.place);
        std::vector<uint16_t> binnings = {99};
        Camera().GetSymmetricalBinningModes(binnings);
        EXPECT_EQ(binnings, camera.binnings);
        std::vector<float> readouts = {99};
        Camera().GetReadoutFrequencyModes(readouts);
        EXPECT_EQ(readouts, camera.readouts);
        ASSERT_EQ(Zerix_CloseCamera(handle), 0u);
        Take();
    }
}

INSTANTIATE_TEST_SUITE_P(Family, Listing, testing::Values("family-1", "family-2", "family-3"),
                         [](const auto &row) { return "Rack" + std::string(row.param + 7); });

} // namespace
} // namespace zerix::family
