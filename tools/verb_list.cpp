// zerix list: one line a camera, or a JSON array.
#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/verbs.h"
#include "tools/writers/json_text.h"

namespace zerix::tool {

namespace {

struct Row {
    ZerixCameraListItem item;
    std::string model;
    std::string serial;
    uint32_t width;
    uint32_t height;
    uint32_t bits;
    bool isColour;
    bool isCooled;
};

Row Describe(const ZerixCameraListItem &item)
{
    const OpenCamera camera(item);
    return Row{.item = item,
               .model = camera.Model(),
               .serial = camera.Serial(),
               .width = camera.Info(zinfCcdWidth).value_or(0),
               .height = camera.Info(zinfCcdHeight).value_or(0),
               .bits = camera.Info(zinfBitDepth).value_or(0),
               .isColour = camera.Info(zinfCcdType).value_or(0) == 1,
               .isCooled = camera.Info(zinfCooled).value_or(0) == 1};
}

void PrintJson(const std::vector<Row> &rows)
{
    auto list = nlohmann::ordered_json::array();
    for (const auto &row : rows)
        list.push_back({{"id", row.item.cameraId},
                        {"model", row.model},
                        {"model_number", row.item.cameraType},
                        {"serial", row.serial},
                        {"unique_id", row.item.uniqueId},
                        {"width", row.width},
                        {"height", row.height},
                        {"bit_depth", row.bits},
                        {"colour", row.isColour},
                        {"cooled", row.isCooled}});
    fmt::print("{}\n", JsonText(list, 2));
}

void PrintTable(const std::vector<Row> &rows)
{
    size_t model = 5;
    size_t serial = 6;
    for (const auto &row : rows) {
        model = std::max(model, row.model.size());
        serial = std::max(serial, row.serial.size());
    }
    fmt::print("{:>2}  {:<{}}  {:<{}}  {:>10}  {:<11}  {:>4}  {:<6}  {}\n", "ID", "MODEL", model,
               "SERIAL", serial, "UNIQUE ID", "SIZE", "BITS", "COLOUR", "COOLED");
    for (const auto &row : rows)
        fmt::print("{:>2}  {:<{}}  {:<{}}  {:>10}  {:<11}  {:>4}  {:<6}  {}\n", row.item.cameraId,
                   row.model, model, row.serial, serial, row.item.uniqueId,
                   fmt::format("{} x {}", row.width, row.height), row.bits,
                   row.isColour ? "Bayer" : "mono", row.isCooled ? "yes" : "no");
}

} // namespace

void ListCameras(const CommonOptions &options)
{
    const Session session(options);
    std::vector<Row> rows;
    if (!options.camera.empty())
        rows.push_back(Describe(session.Chosen()));
    else
        for (const auto &item : session.Cameras())
            rows.push_back(Describe(item));
    options.json ? PrintJson(rows) : PrintTable(rows);
}

} // namespace zerix::tool
