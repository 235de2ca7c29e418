// A settings record of one camera: its parameters read, checked and sent as the tool's rows name
// them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/parameters.h"
#include "tools/session.h"

namespace zerix::tool {

// What the camera says of one parameter, in the key's unit. Nothing where it says nothing.
struct ParameterState {
    bool isSupported = false;
    std::optional<int64_t> value;
    std::optional<int64_t> defaultValue;
    std::optional<int64_t> minimum;
    std::optional<int64_t> maximum;
    std::vector<int64_t> allowed; // goes before the limits; empty for none
};

class CameraSettings {
public:
    // Filled with the camera's present settings.
    explicit CameraSettings(const OpenCamera &camera);
    ~CameraSettings();
    CameraSettings(const CameraSettings &) = delete;
    CameraSettings &operator=(const CameraSettings &) = delete;

    [[nodiscard]] bool IsSupported(const ParameterRow &row) const;
    [[nodiscard]] std::optional<int64_t> Value(const ParameterRow &row) const;
    // Without the default, which takes a record of its own.
    [[nodiscard]] ParameterState State(const ParameterRow &row) const;

    // These throw CommandError. A value is checked before it is stored, and reaches the camera with
    // Send alone.
    void Set(const ParameterRow &row, int64_t value);
    void Send();
    void ReadPresent();
    void ReadDefaults();

    // For the library's calls that fill in a record of their own accord.
    [[nodiscard]] Zerix_Settings *Record() { return &m_record; }

private:
    void ReadLimits(const ParameterRow &row, ParameterState &state) const;
    void ReadList(const ParameterRow &row, ParameterState &state) const;

    const OpenCamera &m_camera;
    // The library writes the private block through this pointer, also where a call only reads.
    Zerix_Settings m_record{};
};

// The states of all rows, defaults too. Leaves the camera's settings as they are.
std::vector<ParameterState> StatesOf(const OpenCamera &camera);

// "10 us to 17.9 min", "raw8, mono8", or empty.
std::string AllowedText(const ParameterRow &row, const ParameterState &state);

} // namespace zerix::tool
