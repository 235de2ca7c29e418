// The trace log's dumps.
#include "diag/dumps.h"

#include <array>
#include <cstdio>
#include <exception>
#include <span>

#include "diag/key_names.h"
#include "diag/trace_log.h"
#include "tables/camera_models.h"
#include "tables/info_keys.h"
#include "tables/param_keys.h"
#include "tables/settings_accessors.h"

namespace zerix::diag {
namespace {

using tables::KeyRow;
using tables::ValueRule;

std::string OneDecimal(double value, const char *unit)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.1f %s", value, unit);
    return text;
}

std::string ImageFormatText(uint32_t format)
{
    KeyText text;
    InternalImageFormatAsString(format, text);
    return text.data();
}

// What stands for %s in the key's text. Only times have values beyond 32 bits.
std::string ValueText(ValueRule rule, uint64_t value)
{
    const auto narrow = static_cast<uint32_t>(value);
    switch (rule) {
    case ValueRule::kMillisecondsOfThousandths:
        return OneDecimal(narrow / 1000.0, "ms");
    case ValueRule::kMillisecondsOfNanoseconds:
        return OneDecimal(static_cast<double>(value) / 1000000.0, "ms");
    case ValueRule::kReadoutSpeed:
        return OneDecimal(tables::ReadoutSpeedMegahertz(narrow), "MHz");
    case ValueRule::kWheelColour:
        return NameOf(tables::kWheelColourNames, narrow);
    case ValueRule::kSyncb:
        return NameOf(tables::kSyncbNames, narrow);
    case ValueRule::kCameraMode:
        return NameOf(tables::kCameraModeNames, narrow);
    case ValueRule::kBayerAlgorithm:
        return NameOf(tables::kBayerAlgorithmNames, narrow);
    case ValueRule::kFanSpeed:
        return NameOf(tables::kFanSpeedNames, narrow);
    case ValueRule::kImageFormat:
        return ImageFormatText(narrow);
    case ValueRule::kCcdType:
        return NameOf(tables::kCcdTypeNames, narrow);
    case ValueRule::kCameraType:
        return tables::CameraModelName(narrow);
    case ValueRule::kNumber:
    case ValueRule::kNoText:
        break;
    }
    return "";
}

// One line for one value; a key without a text of its own gives the unknown line.
template <typename T>
void WriteValue(const KeyRow *row, T value, const char *unknown)
try {
    if (row == nullptr || row->logText == nullptr) {
        ZLogPrintf(unknown);
        return;
    }
    const std::string text = ValueText(row->rule, static_cast<uint64_t>(value));
    if (row->rule == ValueRule::kReadoutSpeed)
        ZLogPrintf(row->logText, text);
    else
        ZLogPrintf(row->logText, value, text);
} catch (const std::exception &) {
    // No fault of the log ever reaches a call.
}

bool SettingsPass()
{
    return Switches().outputEnabled.IsOn() && Switches().outputSettings.IsOn() &&
           ZLogNestingPasses();
}

} // namespace

void ZerixDebugOutputSetting32(uint32_t key, uint32_t value)
{
    if (SettingsPass())
        WriteValue(tables::FindKey(tables::kParams, key), value,
                   "ZerixDebugOutputSetting32() - Unknown parameter");
}

void ZerixDebugOutputSettingS32(uint32_t key, int32_t value)
{
    if (SettingsPass())
        WriteValue(tables::FindKey(tables::kParamsS32, key), value,
                   "ZerixDebugOutputSettingS32() - Unknown parameter");
}

void ZerixDebugOutputSetting64(uint32_t key, uint64_t value)
{
    if (SettingsPass())
        WriteValue(tables::FindKey(tables::kParams64, key), value,
                   "ZerixDebugOutputSetting64() - Unknown parameter");
}

void ZerixDebugOutputGetInfo(uint32_t key, uint32_t value)
{
    if (Switches().outputEnabled.IsOn() && Switches().outputGetInfo.IsOn())
        WriteValue(tables::FindInfo(key), value, "ZerixDebugOutputGetInfo() - Unknown parameter");
}

void ZerixDebugOutputSettings(const Zerix_Settings *settings)
{
    constexpr uint32_t kLastInOrder = zprmOverSample;
    constexpr std::array<uint32_t, 5> kLastLines = {zprmKeelEmMode, zprmKeelEmGainValue10,
                                                    zprmKeelEmGainValue20, zprmKeelEmGainValue40,
                                                    zprmLockedGainMode};
    if (!SettingsPass())
        return;
    const bool isCurrent = tables::IsCurrentLayout(settings);
    ZLogPrintf("Zerix_Settings structure:");
    for (uint32_t key = 0; key <= kLastInOrder; ++key)
        ZerixDebugOutputSetting32(key, tables::GetSlot32(settings, key, isCurrent));
    for (const uint32_t key : kLastLines)
        ZerixDebugOutputSetting32(key, tables::GetSlot32(settings, key, isCurrent));
    for (uint32_t key = 0; key < tables::kParamS32Count; ++key)
        ZerixDebugOutputSettingS32(key, tables::GetSlotS32(settings, key, isCurrent));
    for (uint32_t key = 0; key < tables::kParam64Count; ++key)
        ZerixDebugOutputSetting64(key, tables::GetSlot64(settings, key, isCurrent));
}

void ZerixDebugOutputChangedSettings(const Zerix_Settings *before, const Zerix_Settings *after)
{
    if (!Switches().outputEnabled.IsOn() || !Switches().outputSettings.IsOn())
        return;
    ZLogPrintf("Settings that changed:");
    bool anyDiffers = false;
    for (uint32_t key = 0; key < tables::kParamCount; ++key) {
        const uint32_t value = tables::GetSlot32(after, key);
        if (tables::GetSlot32(before, key) == value)
            continue;
        anyDiffers = true;
        ZerixDebugOutputSetting32(key, value);
    }
    if (!anyDiffers && SettingsPass())
        ZLogPrintf("Nothing");
}

void ZerixDebugOutputFrame(const Zerix_Frame *frame)
{
    if (!Switches().outputEnabled.IsOn() || !Switches().outputFrame.IsOn())
        return;
    ZLogPrintf("Zerix_Frame structure:");
    ZLogPrintf("pBuffer: %x", frame->pBuffer);
    ZLogPrintf("Buffer size: %lu", frame->bufferSize);
    ZLogPrintf("Format: %lu", frame->format);
    ZLogPrintf("Width: %lu", frame->width);
    ZLogPrintf("Height: %lu", frame->height);
    ZLogPrintf("Size: %lu", frame->size);
    ZLogPrintf("Bit Depth: %u", frame->bitDepth);
    ZLogPrintf("Frame Number: %u", frame->frameNumber);
    ZLogPrintf("Bayer Pattern: %lu", frame->bayerPattern);
    ZLogPrintf("Error Code: %lu", frame->errorCode);
    ZLogPrintf("Time Stamp: %lu", frame->timeStamp);
}

void ZerixDebugOutputSparseTable(uint32_t key, const uint32_t *table, int32_t count)
{
    if (!Switches().outputEnabled.IsOn() || !Switches().outputSparseTable.IsOn() ||
        !ZLogNestingPasses())
        return;
    KeyText name;
    InternalParam32KeyAsString(key, name);
    ZLogPrintf("Sparse Table for %s:", name.data());
    for (const uint32_t value : std::span(table, count > 0 ? static_cast<std::size_t>(count) : 0))
        ZLogPrintf("%lu", value);
}

} // namespace zerix::diag
