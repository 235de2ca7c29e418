// The trace log: entry, exit and remarks of every exported call. Off unless the configuration turns
// it on. One process-wide facility; any thread may write at any time, before opening and after
// closing too. Each message is one text with its time prefix; no line break is added to it, and in
// a file a NUL byte ends it.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "diag/log_format.h"
#include "diag/log_switches.h"

namespace zerix::diag {

// Takes the start time, reads the switches and opens the outputs. Doing it again starts afresh.
void ZLogOpen();

// Writes the separator to the file and closes it.
void ZLogClose();

// One message with its time prefix, whatever the switches say of messages; FormatText's
// conversions.
void ZLogWrite(std::string_view format, std::span<const LogArgument> arguments);
template <typename... Arguments>
void ZLogPrintf(std::string_view format, const Arguments &...arguments)
{
    const std::array<LogArgument, sizeof...(Arguments)> packed = {LogArgument(arguments)...};
    ZLogWrite(format, packed);
}

// A remark of a call, "name - text"; FormatRemark's conversions.
void ZLogRemark(const char *function, std::string_view format,
                std::span<const LogArgument> arguments);
template <typename... Arguments>
void ZLogMessage(const char *function, std::string_view format, const Arguments &...arguments)
{
    if (!Switches().outputEnabled.IsOn())
        return;
    const std::array<LogArgument, sizeof...(Arguments)> packed = {LogArgument(arguments)...};
    ZLogRemark(function, format, packed);
}

// The start of a call, with its key where it has one. Raises the call depth, written or not.
void ZLogStart(const char *function);
void ZLogStartParam32(const char *function, uint32_t key);
void ZLogStartParamS32(const char *function, uint32_t key);
void ZLogStartParam64(const char *function, uint32_t key);
void ZLogStartGetInfo(const char *function, uint32_t key);

// The end of a call, or why it failed. Lowers the call depth, written or not.
void ZLogEnd(const char *function, uint16_t error);

// Why it failed, alone; the depth stays.
void ZLogEndError(const char *function, uint16_t error);

bool ZLogShouldOutputReads();
bool ZLogShouldOutputWrites();
bool ZLogShouldOutputFrame();

// Traced calls that are open. A second Zerix_LoadDriver leaves it raised by one.
int32_t ZLogDepth();

// True where calls at the present depth are traced: nested calls are on, or this is the outermost.
bool ZLogNestingPasses();

// Puts every switch, the depth and the streams back to the state before the first ZLogOpen.
void ZLogResetForTest();

} // namespace zerix::diag
