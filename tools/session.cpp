// Choosing the bus, loading the driver, listing, one open camera.
#include "tools/session.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "platform/configuration_places.h"
#include "platform/os.h"
#include "tools/answer_limit.h"
#include "tools/bus_nodes.h"
#include "tools/command_error.h"
#include "zerix/zerix_sim.h"

namespace zerix::tool {

namespace {

constexpr uint32_t kMostCameras = 10; // what a bus lists
constexpr uint32_t kMostNodes = 256;  // 63 on each of some cards

// True if this process uses the virtual bus, whoever said so.
bool ChooseBus(const CommonOptions &options)
{
    if (!options.simulated && options.rack.empty()) {
        const auto bus = os::EnvironmentVariable("ZERIX_BUS");
        if (bus)
            return bus->starts_with("simulated");
        // The driver reads it too, and tells what is wrong with it.
        const auto configuration = os::OpenConfigurationQuietly();
        return configuration != nullptr && configuration->Text("Bus").value_or("") == "simulated";
    }
    os::SetEnvironment("ZERIX_BUS", "simulated");
    if (ZerixSim_ChooseRack(options.rack.empty() ? nullptr : options.rack.c_str()) != ZERIX_SIM_OK)
        throw CommandError(ZerixSim_LastErrorText());
    return true;
}

std::string TextOf(uint32_t (*read)(ZerixHandle, char *, uint32_t), ZerixHandle camera)
{
    std::array<char, 256> text{};
    const uint32_t error = read(camera, text.data(), static_cast<uint32_t>(text.size()));
    if (error != ZERIX_SUCCESS)
        Fail("the camera's name can't be read", error);
    return text.data();
}

} // namespace

OpenCamera::OpenCamera(const ZerixCameraListItem &item) : m_item(item)
{
    const AnswerLimit limit;
    const uint32_t error = Zerix_OpenCamera(item.cameraId, &m_handle);
    if (error != ZERIX_SUCCESS)
        Fail(fmt::format("camera {} can't be opened", item.cameraId), error);
}

OpenCamera::~OpenCamera()
{
    const AnswerLimit limit;
    Zerix_CloseCamera(m_handle);
}

std::optional<uint32_t> OpenCamera::Info(uint32_t key) const
{
    const AnswerLimit limit; // some values are read from the camera
    uint32_t value = 0;
    if (Zerix_GetInfo(m_handle, key, &value) != ZERIX_SUCCESS)
        return std::nullopt;
    return value;
}

std::string OpenCamera::Serial() const { return TextOf(Zerix_GetSerialString, m_handle); }

std::string OpenCamera::Model() const { return TextOf(Zerix_GetCameraModelString, m_handle); }

ZerixLegacySettings OpenCamera::ReadSettings() const
{
    ZerixLegacySettings settings{};
    const uint32_t error =
        Zerix_ReadSettingsFromCam(m_handle, reinterpret_cast<Zerix_Settings *>(&settings));
    if (error != ZERIX_SUCCESS)
        Fail("the camera's settings can't be read", error);
    return settings;
}

LoadedDriver::LoadedDriver(const CommonOptions &options) : m_simulated(ChooseBus(options))
{
    const uint32_t error = Zerix_LoadDriver();
    if (error != ZERIX_SUCCESS)
        Fail("the driver can't be loaded", error);
}

LoadedDriver::~LoadedDriver()
{
    const AnswerLimit limit;
    Zerix_ReleaseDriver();
}

std::optional<std::vector<ZerixBusNode>> LoadedDriver::Nodes() const
{
    const AnswerLimit limit;
    std::vector<ZerixBusNode> nodes(kMostNodes);
    auto count = kMostNodes;
    const uint32_t error = Zerix_ListBusNodes(nodes.data(), &count);
    if (error == ZERIX_ERROR_NOT_SUPPORTED)
        return std::nullopt;
    if (error != ZERIX_SUCCESS)
        Fail("the bus can't be looked at", error);
    nodes.resize(std::min(count, kMostNodes));
    return nodes;
}

Session::Session(const CommonOptions &options) : m_options(options), m_driver(options) { List(); }

void Session::List()
{
    const AnswerLimit limit;
    std::array<ZerixCameraListItem, kMostCameras> table{};
    auto count = static_cast<uint32_t>(table.size());
    const uint32_t error = Zerix_ListCameras(table.data(), &count);
    if (error != ZERIX_SUCCESS)
        Fail("the cameras can't be listed", error);
    m_cameras.assign(table.begin(), table.begin() + std::min<uint32_t>(count, kMostCameras));
    if (!m_cameras.empty())
        return;
    if (IsSimulated())
        throw CommandError("The virtual bus has no camera that is free: "
                           "its rack is empty, or its cameras are unplugged or in use.");
    if (const auto nodes = m_driver.Nodes())
        throw CommandError(WhyNoCamera(*nodes));
    throw CommandError("There is no FireWire camera at hand: connect one and switch it on, or use "
                       "--sim for virtual cameras (--rack FILE for your own).");
}

const ZerixCameraListItem &Session::Chosen() const
{
    if (m_options.camera.empty())
        return m_cameras.front();
    for (const auto number : {&ZerixCameraListItem::cameraId, &ZerixCameraListItem::uniqueId}) {
        for (const auto &item : m_cameras) {
            if (m_options.camera == std::to_string(item.*number))
                return item;
        }
    }
    std::string known;
    for (const auto &item : m_cameras) {
        known += fmt::format("{}{} (unique identifier {})", known.empty() ? "" : ", ",
                             item.cameraId, item.uniqueId);
    }
    throw CommandError(
        fmt::format("There is no camera \"{}\"; the bus has {}.", m_options.camera, known));
}

} // namespace zerix::tool
