// The tool's use of the library: choosing the bus, loading the driver, listing, one open camera.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zerix/zerix.h"

namespace zerix::tool {

// The options that every verb has.
struct CommonOptions {
    bool simulated = false;
    std::string rack;   // file or name; implies simulated
    std::string camera; // number of the list, or unique identifier; empty for the first
    bool json = false;
};

class OpenCamera {
public:
    OpenCamera(const ZerixCameraListItem &item);
    ~OpenCamera();
    OpenCamera(const OpenCamera &) = delete;
    OpenCamera &operator=(const OpenCamera &) = delete;

    [[nodiscard]] ZerixHandle Handle() const { return m_handle; }
    [[nodiscard]] const ZerixCameraListItem &Item() const { return m_item; }
    // Nothing where the camera has no such value.
    [[nodiscard]] std::optional<uint32_t> Info(uint32_t key) const;
    [[nodiscard]] std::string Serial() const;
    [[nodiscard]] std::string Model() const;
    // The camera's present settings. Also what makes its frames carry their true format.
    [[nodiscard]] ZerixLegacySettings ReadSettings() const;

private:
    ZerixCameraListItem m_item;
    ZerixHandle m_handle = nullptr;
};

// The driver, loaded for as long as the object lives. Throws CommandError.
class LoadedDriver {
public:
    explicit LoadedDriver(const CommonOptions &options);
    ~LoadedDriver();
    LoadedDriver(const LoadedDriver &) = delete;
    LoadedDriver &operator=(const LoadedDriver &) = delete;

    [[nodiscard]] bool IsSimulated() const { return m_simulated; }
    // The nodes of the bus; nothing where its driver shows cameras alone.
    [[nodiscard]] std::optional<std::vector<ZerixBusNode>> Nodes() const;

private:
    bool m_simulated = false;
};

// The driver, and the cameras that it lists. Throws CommandError.
class Session {
public:
    explicit Session(const CommonOptions &options);

    // The cameras on the bus; throws if there is none.
    [[nodiscard]] const std::vector<ZerixCameraListItem> &Cameras() const { return m_cameras; }
    // The camera that --camera names, or the first.
    [[nodiscard]] const ZerixCameraListItem &Chosen() const;
    [[nodiscard]] bool IsSimulated() const { return m_driver.IsSimulated(); }

private:
    void List();

    CommonOptions m_options;
    LoadedDriver m_driver;
    std::vector<ZerixCameraListItem> m_cameras;
};

} // namespace zerix::tool
