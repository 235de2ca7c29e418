// docs/cameras.md has a row for every camera of the family's racks, and the row is right.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "sim/camera_traits.h"
#include "sim/capabilities.h"
#include "sim/rack.h"
#include "sim/register_map.h"
#include "sim/sensor.h"

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

std::string LineThatBegins(const std::string &document, const std::string &beginning)
{
    std::istringstream lines(document);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(beginning))
            return line;
    }
    return {};
}

TEST(CameraDocument, HasEveryCameraOfTheFamily)
{
    std::ifstream file(ZERIX_SOURCE_FOLDER "/docs/cameras.md");
    std::stringstream document;
    document << file.rdbuf();
    for (const std::string name : {"family-1", "family-2", "family-3"}) {
        Rack rack;
        std::string error;
        ASSERT_TRUE(LoadRack(name, &rack, &error)) << error;
        for (size_t i = 0; i < rack.cameras.size(); ++i) {
            const CameraDescription &camera = rack.cameras[i];
            const std::string beginning = "| " + name + " | " + std::to_string(i) + " | " +
                                          std::to_string(camera.model) + " | ";
            const std::string line = LineThatBegins(document.str(), beginning);
            EXPECT_TRUE(line.ends_with(EndOfRow(camera)))
                << "expected: " << beginning << "`CLASS` | NAME " << EndOfRow(camera);
        }
    }
}

} // namespace
} // namespace zerix::sim
