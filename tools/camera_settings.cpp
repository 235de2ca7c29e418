// Three families of calls behind one kind of row.
#include "tools/camera_settings.h"

#include <algorithm>
#include <array>
#include <limits>

#include <fmt/format.h>

#include "tools/answer_limit.h"
#include "tools/command_error.h"
#include "tools/parameter_values.h"

namespace zerix::tool {

namespace {

// The same question of each family.
template <typename T>
using Reader = uint32_t (*)(const Zerix_Settings *settings, uint32_t key, T *value);

struct Readers {
    Reader<uint32_t> unsigned32;
    Reader<int32_t> signed32;
    Reader<uint64_t> unsigned64;
};

constexpr Readers kValue{Zerix_GetParam, Zerix_GetParamS32, Zerix_GetParam64};
constexpr Readers kMinimum{Zerix_GetParamMin, Zerix_GetParamS32Min, Zerix_GetParam64Min};
constexpr Readers kMaximum{Zerix_GetParamMax, Zerix_GetParamS32Max, Zerix_GetParam64Max};

// A number beyond the tool's own range shows as its end.
template <typename T>
int64_t Narrowed(T value)
{
    if constexpr (sizeof(T) == sizeof(uint64_t))
        return static_cast<int64_t>(std::min<uint64_t>(value, std::numeric_limits<int64_t>::max()));
    else
        return value;
}

template <typename T>
std::optional<int64_t> Ask(Reader<T> reader, const Zerix_Settings *settings, uint32_t key)
{
    T value{};
    if (reader(settings, key, &value) != ZERIX_SUCCESS)
        return std::nullopt;
    return Narrowed(value);
}

std::optional<int64_t> Read(const Readers &readers, const Zerix_Settings *settings,
                            const ParameterRow &row)
{
    switch (row.kind) {
    case ParameterKind::kSigned:
        return Ask(readers.signed32, settings, row.key);
    case ParameterKind::kUnsigned64:
        return Ask(readers.unsigned64, settings, row.key);
    case ParameterKind::kUnsigned:
        break;
    }
    return Ask(readers.unsigned32, settings, row.key);
}

uint32_t Write(Zerix_Settings *settings, const ParameterRow &row, int64_t value)
{
    switch (row.kind) {
    case ParameterKind::kSigned:
        return Zerix_SetParamS32(settings, row.key, static_cast<int32_t>(value));
    case ParameterKind::kUnsigned64:
        return Zerix_SetParam64(settings, row.key, static_cast<uint64_t>(value));
    case ParameterKind::kUnsigned:
        break;
    }
    return Zerix_SetParam(settings, row.key, static_cast<uint32_t>(value));
}

// What the number's width holds, whatever the camera says.
bool Fits(const ParameterRow &row, int64_t value)
{
    switch (row.kind) {
    case ParameterKind::kSigned:
        return value == static_cast<int32_t>(value);
    case ParameterKind::kUnsigned64:
        return value >= 0;
    case ParameterKind::kUnsigned:
        break;
    }
    return value == static_cast<uint32_t>(value);
}

bool IsAllowed(const ParameterRow &row, const ParameterState &state, int64_t value)
{
    if (!Fits(row, value))
        return false;
    if (!state.allowed.empty())
        return std::find(state.allowed.begin(), state.allowed.end(), value) != state.allowed.end();
    return value >= state.minimum.value_or(value) && value <= state.maximum.value_or(value);
}

void Check(uint32_t error, const char *what)
{
    if (error != ZERIX_SUCCESS)
        Fail(what, error);
}

} // namespace

CameraSettings::CameraSettings(const OpenCamera &camera) : m_camera(camera)
{
    Check(Zerix_CreateCameraSettingsStruct(&m_record), "a settings record can't be made");
    try {
        ReadPresent();
    } catch (...) {
        Zerix_ReleaseCameraSettingsStruct(&m_record);
        throw;
    }
}

CameraSettings::~CameraSettings() { Zerix_ReleaseCameraSettingsStruct(&m_record); }

bool CameraSettings::IsSupported(const ParameterRow &row) const
{
    switch (row.kind) {
    case ParameterKind::kSigned:
        return Zerix_IsParamS32Supported(m_camera.Handle(), row.key) == ZERIX_SUCCESS;
    case ParameterKind::kUnsigned64:
        return Zerix_IsParam64Supported(m_camera.Handle(), row.key) == ZERIX_SUCCESS;
    case ParameterKind::kUnsigned:
        break;
    }
    return Zerix_IsParamSupported(m_camera.Handle(), row.key) == ZERIX_SUCCESS;
}

std::optional<int64_t> CameraSettings::Value(const ParameterRow &row) const
{
    return Read(kValue, &m_record, row);
}

ParameterState CameraSettings::State(const ParameterRow &row) const
{
    ParameterState state;
    state.isSupported = IsSupported(row);
    if (!state.isSupported)
        return state;
    state.value = Value(row);
    ReadLimits(row, state);
    ReadList(row, state);
    return state;
}

void CameraSettings::ReadLimits(const ParameterRow &row, ParameterState &state) const
{
    state.minimum = Read(kMinimum, &m_record, row);
    state.maximum = Read(kMaximum, &m_record, row);
}

void CameraSettings::ReadList(const ParameterRow &row, ParameterState &state) const
{
    std::array<uint32_t, 100> list{};
    auto count = static_cast<int32_t>(list.size());
    const bool isList =
        row.kind == ParameterKind::kUnsigned &&
        Zerix_IsSparseTable(&m_record, row.key) == ZERIX_SUCCESS &&
        Zerix_GetParamSparseTable(&m_record, row.key, list.data(), &count) == ZERIX_SUCCESS;
    if (isList)
        state.allowed.assign(list.begin(), list.begin() + count);
    else
        state.allowed = ValuesOf(row.unit);
}

void CameraSettings::Set(const ParameterRow &row, int64_t value)
{
    const ParameterState state = State(row);
    if (!state.isSupported)
        Fail(fmt::format("{} can't be set on this camera", row.name), ZERIX_ERROR_NOT_SUPPORTED);
    if (!IsAllowed(row, state, value)) {
        const std::string allowed = AllowedText(row, state);
        throw CommandError(fmt::format("{} can't be {}: {}.", row.name, ValueText(row.unit, value),
                                       allowed.empty() ? "the number is too large for this setting"
                                                       : "the camera allows " + allowed));
    }
    if (const uint32_t error = Write(&m_record, row, value))
        Fail(fmt::format("{} can't be set to {}", row.name, ValueText(row.unit, value)), error);
}

void CameraSettings::Send()
{
    const AnswerLimit limit;
    Check(Zerix_SendSettingsToCam(m_camera.Handle(), &m_record),
          "the settings can't be sent to the camera");
}

void CameraSettings::ReadPresent()
{
    Check(Zerix_ReadSettingsFromCam(m_camera.Handle(), &m_record),
          "the camera's settings can't be read");
}

void CameraSettings::ReadDefaults()
{
    Check(Zerix_ReadDefaultSettings(m_camera.Handle(), &m_record),
          "the camera's defaults can't be read");
}

std::vector<ParameterState> StatesOf(const OpenCamera &camera)
{
    CameraSettings settings(camera);
    settings.ReadDefaults();
    std::vector<std::optional<int64_t>> defaults;
    defaults.reserve(std::size(kParameters));
    for (const ParameterRow &row : kParameters)
        defaults.push_back(settings.Value(row));
    // Reading the defaults switches the library's own copy to them; this brings it back.
    settings.ReadPresent();
    std::vector<ParameterState> states;
    for (size_t i = 0; i < kParameters.size(); ++i) {
        states.push_back(settings.State(kParameters[i]));
        states.back().defaultValue = defaults[i];
    }
    return states;
}

std::string AllowedText(const ParameterRow &row, const ParameterState &state)
{
    std::string text;
    for (const int64_t value : state.allowed)
        text += (text.empty() ? "" : ", ") + ValueText(row.unit, value);
    if (text.empty() && state.minimum && state.maximum)
        text = fmt::format("{} to {}", ValueText(row.unit, *state.minimum),
                           ValueText(row.unit, *state.maximum));
    return text;
}

} // namespace zerix::tool
