// What a program can learn of racks and scenes before it chooses one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>
#include <string>

#include "zerix/zerix_sim.h"

namespace {

std::map<std::string, ZerixSimRack> Racks()
{
    uint32_t count = 0;
    EXPECT_EQ(ZerixSim_RackCount(&count), 0U);
    std::map<std::string, ZerixSimRack> racks;
    for (uint32_t index = 0; index < count; ++index) {
        ZerixSimRack rack;
        EXPECT_EQ(ZerixSim_GetRack(index, &rack), 0U);
        racks[rack.name] = rack;
    }
    return racks;
}

TEST(Catalogue, HasTheBuiltInRacksFirst)
{
    const char *const kNames[] = {"default", "family-1", "family-2", "family-3"};
    constexpr uint32_t kSpeeds[] = {800, 400, 800, 800};
    constexpr uint32_t kCameras[] = {3, 10, 8, 10};
    for (uint32_t index = 0; index < 4; ++index) {
        ZerixSimRack rack;
        ASSERT_EQ(ZerixSim_GetRack(index, &rack), 0U);
        EXPECT_STREQ(rack.name, kNames[index]);
        EXPECT_GT(std::string(rack.meaning).size(), 20U);
        EXPECT_EQ(rack.speed, kSpeeds[index]);
        EXPECT_EQ(rack.isFastClock, 1U);
        EXPECT_EQ(rack.isBuiltIn, 1U);
        EXPECT_EQ(rack.cameraCount, kCameras[index]);
    }
    EXPECT_EQ(Racks().count("family-4"), 0U);
}

TEST(Catalogue, TellsTheCamerasOfARack)
{
    ZerixSimRackCamera camera;
    ASSERT_EQ(ZerixSim_GetRackCamera(3, 8, &camera), 0U);
    EXPECT_EQ(camera.model, 1002U);
    EXPECT_EQ(camera.uniqueId, 1002U);
    EXPECT_EQ(camera.width, 1024U);
    EXPECT_EQ(camera.height, 58U);
    EXPECT_STREQ(camera.modelName, "MT1");
    EXPECT_STREQ(camera.serial, "ZV-MT1-2000-1002");
    EXPECT_STREQ(camera.sensor, "S70311006");
    EXPECT_STREQ(camera.scene, "gradient");
    ASSERT_EQ(ZerixSim_GetRackCamera(3, 9, &camera), 0U);
    EXPECT_EQ(camera.model, 11U);
    EXPECT_STREQ(camera.modelName, "") << "no model has this number";
}

TEST(Catalogue, TellsTheScenes)
{
    uint32_t count = 0;
    ASSERT_EQ(ZerixSim_SceneCount(&count), 0U);
    std::set<std::string> usages;
    for (uint32_t index = 0; index < count; ++index) {
        ZerixSimScene scene;
        ASSERT_EQ(ZerixSim_GetScene(index, &scene), 0U);
        EXPECT_GT(std::string(scene.meaning).size(), 10U);
        EXPECT_LT(std::string(scene.meaning).size(), sizeof(scene.meaning) - 1) << "cut off";
        usages.insert(scene.usage);
    }
    EXPECT_EQ(usages, (std::set<std::string>{"cells", "stars", "resolution-chart", "colour-chart",
                                             "gradient", "flat[:PHOTONS]", "picture:FILE",
                                             "position", "positions"}));
}

TEST(Catalogue, SaysWhatIsNotThere)
{
    ZerixSimRack rack;
    ZerixSimRackCamera camera;
    ZerixSimScene scene;
    EXPECT_EQ(ZerixSim_GetRack(1000, &rack), uint32_t{ZERIX_SIM_NOT_KNOWN});
    EXPECT_STREQ(ZerixSim_LastErrorText(), "There is no rack number 1000; they count from 0.");
    EXPECT_EQ(ZerixSim_GetRackCamera(1000, 0, &camera), uint32_t{ZERIX_SIM_NOT_KNOWN});
    EXPECT_EQ(ZerixSim_GetRackCamera(0, 3, &camera), uint32_t{ZERIX_SIM_NOT_KNOWN});
    EXPECT_STREQ(ZerixSim_LastErrorText(), "There is no camera number 3; they count from 0.");
    EXPECT_EQ(ZerixSim_GetScene(9, &scene), uint32_t{ZERIX_SIM_NOT_KNOWN});
    EXPECT_STREQ(ZerixSim_LastErrorText(), "There is no scene number 9; they count from 0.");
    EXPECT_EQ(ZerixSim_RackCount(nullptr), uint32_t{ZERIX_SIM_BAD_PARAMETER});
    EXPECT_EQ(ZerixSim_GetRack(0, nullptr), uint32_t{ZERIX_SIM_BAD_PARAMETER});
    EXPECT_EQ(ZerixSim_GetRackCamera(0, 0, nullptr), uint32_t{ZERIX_SIM_BAD_PARAMETER});
    EXPECT_EQ(ZerixSim_SceneCount(nullptr), uint32_t{ZERIX_SIM_BAD_PARAMETER});
    EXPECT_EQ(ZerixSim_GetScene(0, nullptr), uint32_t{ZERIX_SIM_BAD_PARAMETER});
    uint32_t count = 0;
    EXPECT_EQ(ZerixSim_RackCount(&count), 0U);
    EXPECT_STREQ(ZerixSim_LastErrorText(), "");
}

} // namespace
