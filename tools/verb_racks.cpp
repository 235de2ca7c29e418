// zerix racks: the racks of virtual cameras that are known by name, and the scenes.
#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/command_error.h"
#include "tools/verbs.h"
#include "tools/writers/json_text.h"
#include "zerix/zerix_sim.h"

namespace zerix::tool {

namespace {

struct RackRow {
    ZerixSimRack rack{};
    std::vector<ZerixSimRackCamera> cameras;
};

void Check(uint32_t result)
{
    if (result != ZERIX_SIM_OK)
        throw CommandError(ZerixSim_LastErrorText());
}

RackRow ReadRack(uint32_t index)
{
    RackRow row;
    Check(ZerixSim_GetRack(index, &row.rack));
    row.cameras.resize(row.rack.cameraCount);
    for (uint32_t camera = 0; camera < row.rack.cameraCount; ++camera)
        Check(ZerixSim_GetRackCamera(index, camera, &row.cameras[camera]));
    return row;
}

std::vector<RackRow> ReadRacks()
{
    uint32_t count = 0;
    Check(ZerixSim_RackCount(&count));
    std::vector<RackRow> rows;
    for (uint32_t index = 0; index < count; ++index)
        rows.push_back(ReadRack(index));
    return rows;
}

std::vector<ZerixSimScene> ReadScenes()
{
    uint32_t count = 0;
    Check(ZerixSim_SceneCount(&count));
    std::vector<ZerixSimScene> scenes(count);
    for (uint32_t index = 0; index < count; ++index)
        Check(ZerixSim_GetScene(index, &scenes[index]));
    return scenes;
}

std::string ModelOf(const ZerixSimRackCamera &camera)
{
    return camera.modelName[0] != '\0' ? camera.modelName : fmt::format("model {}", camera.model);
}

const char *ClockOf(const ZerixSimRack &rack) { return rack.isFastClock != 0 ? "fast" : "real"; }

nlohmann::ordered_json JsonOf(const ZerixSimRackCamera &camera)
{
    return {{"model", camera.modelName}, {"model_number", camera.model},
            {"serial", camera.serial},   {"unique_id", camera.uniqueId},
            {"sensor", camera.sensor},   {"width", camera.width},
            {"height", camera.height},   {"scene", camera.scene}};
}

void PrintJson(const std::vector<RackRow> &rows, const std::vector<ZerixSimScene> &scenes)
{
    nlohmann::ordered_json json{{"racks", nlohmann::ordered_json::array()},
                                {"scenes", nlohmann::ordered_json::array()}};
    for (const RackRow &row : rows) {
        auto cameras = nlohmann::ordered_json::array();
        for (const auto &camera : row.cameras)
            cameras.push_back(JsonOf(camera));
        json["racks"].push_back({{"name", row.rack.name},
                                 {"meaning", row.rack.meaning},
                                 {"built_in", row.rack.isBuiltIn != 0},
                                 {"speed", row.rack.speed},
                                 {"clock", ClockOf(row.rack)},
                                 {"cameras", cameras}});
    }
    for (const auto &scene : scenes)
        json["scenes"].push_back({{"usage", scene.usage}, {"meaning", scene.meaning}});
    fmt::print("{}\n", JsonText(json, 2));
}

void PrintTable(const std::vector<RackRow> &rows, const std::vector<ZerixSimScene> &scenes)
{
    for (const RackRow &row : rows) {
        fmt::print("{}: {}\n", row.rack.name, row.rack.meaning);
        if (!row.cameras.empty()) // a file that can't be read has neither
            fmt::print("    {} Mb/s, {} clock\n", row.rack.speed, ClockOf(row.rack));
        for (const auto &camera : row.cameras)
            fmt::print("    {:<18}  {:<25}  {:>11}  {}\n", ModelOf(camera), camera.sensor,
                       fmt::format("{} x {}", camera.width, camera.height), camera.scene);
        fmt::print("\n");
    }
    fmt::print("Scenes, for the key \"scene\" of a camera in a rack file:\n");
    for (const auto &scene : scenes)
        fmt::print("    {:<16}  {}\n", scene.usage, scene.meaning);
}

} // namespace

void ListRacks(const CommonOptions &options)
{
    const auto rows = ReadRacks();
    const auto scenes = ReadScenes();
    options.json ? PrintJson(rows, scenes) : PrintTable(rows, scenes);
}

} // namespace zerix::tool
