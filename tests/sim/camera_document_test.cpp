// docs/cameras.md has a row for every camera of the family's racks, and the row is right.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "sim/camera_traits.h"
#include "sim/capabilities.h"
#include "sim/rack.h"
#include "sim/register_map.h"
#include "sim/sensor.h"
#include "tests/support/places.h"

namespace zerix::sim {
namespace {

std::string Text(BlockVersion version)
{
    return std::to_string(version.major) + "." + std::to_string(version.minor);
}

// What the information block of its version can tell, and what needs no telling.
uint32_t Told(const CameraDescription &camera)
{
    uint32_t bits = CapabilitiesOf(camera);
    if (!IsAtLeast(camera.information, 2, 11))
        bits &= ~uint32_t{kKeelEm | kLockedGain};
    if (!IsAtLeast(camera.information, 2, 7))
        bits &= ~kCapabilityWord;
    if (!IsAtLeast(camera.information, 1, 2))
        bits &= ~uint32_t{kDoubleShot};
    return bits;
}

std::string CanDo(const CameraDescription &camera, const SensorType &sensor)
{
    std::string text;
    const auto add = [&text](std::string_view name) {
        text += (text.empty() ? "" : ", ") + std::string(name);
    };
    if (camera.cooler)
        add(HasRegulatedCooling(camera) ? "regulated cooling" : "cooler");
    if (HasWheel(camera, sensor))
        add("wheel");
    for (const CapabilityName &capability : kCapabilityNames) {
        if ((Told(camera) & capability.bit) != 0)
            add(capability.name);
    }
    return text;
}

struct Model {
    uint32_t number;
    const char *className;
    const char *shownAs;
};

// What drivers make of the numbers.
constexpr Model kModels[] = {
    {5, "AstrelA1", "Astrel A1"},
    {6, "AstrelA2", "Astrel A2"},
    {7, "SparrowB", "Sparrow B"},
    {8, "Benchmate", "Benchmate"},
    {9, "AstrelIntensified", "Astrel Intensified"},
    {10, "SparrowIR", "Sparrow IR"},
    {11, "Unknown", "Unknown"},
    {12, "AstrelC1", "Astrel C1"},
    {13, "AstrelB1", "Astrel B1"},
    {14, "NoctisA1", "NoctisA1"},
    {15, "AstrelE1", "Astrel E1"},
    {16, "AstrelD1", "OEM Camera 3"},
    {18, "AstrelC2", "Astrel C2"},
    {19, "AstrelB2", "Astrel B2"},
    {25, "NoctisB1", "Noctis C1"},
    {26, "AstrelF1", "Astrel F1"},
    {27, "NoctisA2", "Noctis A2"},
    {28, "AstrelE2", "Astrel E2"},
    {29, "AstrelC3", "Astrel C3"},
    {30, "AstrelB3", "Astrel B3"},
    {31, "MeridCobalt", "Merid Cobalt"},
    {32, "MeridTeal", "Merid Teal"},
    {33, "AstrelG1", "Astrel G1"},
    {1001, "AstrelOem1", "OXA"},
    {1002, "Metrol", "MT1"},
};

// A model 5 with the sensor of an Astrel B1 is one to its driver.
std::string ClassAndName(const CameraDescription &camera)
{
    const bool isChanged = camera.model == 5 && (camera.ccdModel == 46 || camera.ccdModel == 53);
    const uint32_t number = isChanged ? 13 : camera.model;
    for (const Model &model : kModels)
        if (model.number == number)
            return std::string("`") + model.className + "` | " + model.shownAs + " ";
    return "no such model";
}

std::string EndOfRow(const CameraDescription &camera)
{
    const SensorType &sensor = *FindSensorType(camera.ccdModel);
    std::ostringstream row;
    row << "| " << sensor.name << " | " << sensor.columns << " x " << sensor.rows << " | "
        << camera.bitDepth << " | " << Text(camera.information) << " | " << Text(camera.control)
        << " | " << Text(camera.command) << " | " << Text(camera.status) << " | "
        << camera.streamingVersion << " | " << camera.firmwareVersion << " | "
        << CanDo(camera, sensor) << " |";
    return row.str();
}

using Lines = std::set<std::string>;

// The rows of the table of cameras.
Lines RowsOf(std::istream &document)
{
    Lines rows;
    for (std::string line; std::getline(document, line);)
        if (line.starts_with("| family-"))
            rows.insert(line);
    return rows;
}

Lines RowsOf(const std::string &name)
{
    Rack rack;
    std::string error;
    EXPECT_TRUE(LoadRack(name, &rack, &error)) << error;
    Lines rows;
    for (size_t i = 0; i < rack.cameras.size(); ++i) {
        const CameraDescription &camera = rack.cameras[i];
        rows.insert("| " + name + " | " + std::to_string(i) + " | " + std::to_string(camera.model) +
                    " | " + ClassAndName(camera) + EndOfRow(camera));
    }
    return rows;
}

TEST(CameraDocument, HasEveryCameraOfTheFamilyAndNoOther)
{
    std::ifstream document(test::SourceFolder() + "/docs/cameras.md");
    Lines expected;
    for (const char *const name : {"family-1", "family-2", "family-3"})
        expected.merge(RowsOf(std::string(name)));
    EXPECT_EQ(RowsOf(document), expected);
}

} // namespace
} // namespace zerix::sim
