// The trace log: switches, streams, time prefix, and the lines of a call.
#include "diag/trace_log.h"

#include <atomic>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <string>

#include "diag/key_names.h"
#include "platform/file_path.h"
#include "platform/os.h"
#include "tables/error_phrases.h"

namespace zerix::diag {
namespace {

LogSwitches g_switches;

// Overlapping calls of several threads disturb it; that only changes which messages pass.
std::atomic<int32_t> g_depth = 0;

// Microseconds of the start moment, counted as the prefix counts them: in 32 bits that wrap.
std::atomic<uint32_t> g_startMicroseconds = 0;

uint32_t WrappedMicroseconds(const os::WallTime &moment)
{
    return static_cast<uint32_t>(moment.seconds) * 1'000'000u + moment.microseconds;
}

// The log file. Guarded by a lock of its own, so that a message beside a close is lost and no more.
class LogFile {
public:
    bool Open(const std::string &path)
    {
        const std::lock_guard lock(m_mutex);
        m_stream.reset(os::OpenToAppend(path));
        return m_stream != nullptr;
    }

    // The text with its NUL byte. Write errors are ignored: no fault of the log reaches a call.
    void Write(const std::string &text)
    {
        const std::lock_guard lock(m_mutex);
        if (m_stream == nullptr)
            return;
        std::fwrite(text.c_str(), 1, text.size() + 1, m_stream.get());
        std::fflush(m_stream.get());
    }

    void Close()
    {
        const std::lock_guard lock(m_mutex);
        m_stream.reset();
    }

private:
    struct Closer {
        void operator()(std::FILE *stream) const { std::fclose(stream); }
    };
    std::mutex m_mutex;
    std::unique_ptr<std::FILE, Closer> m_stream;
};

// Never destroyed: streaming threads may still write while the process ends.
LogFile &File()
{
    static auto *const file = new LogFile;
    return *file;
}

struct NamedSwitch {
    const char *name;
    Switch LogSwitches::*target;
};

constexpr std::array<NamedSwitch, 9> kNamedSwitches = {{
    {"outputEnabled", &LogSwitches::outputEnabled},
    {"outputSettings", &LogSwitches::outputSettings},
    {"outputGetInfo", &LogSwitches::outputGetInfo},
    {"outputFrame", &LogSwitches::outputFrame},
    {"outputSparseTable", &LogSwitches::outputSparseTable},
    {"outputNestedCalls", &LogSwitches::outputNestedCalls},
    {"outputToFile", &LogSwitches::outputToFile},
    {"outputReads", &LogSwitches::outputReads},
    {"outputWrites", &LogSwitches::outputWrites},
}};

// Sets the switches and returns the path of the log file. What the configuration lacks is off.
std::string ReadConfiguration()
{
    const auto configuration = os::Configuration::Open();
    for (const NamedSwitch &row : kNamedSwitches) {
        const uint32_t value =
            configuration != nullptr ? configuration->Number(row.name).value_or(0) : 0;
        (g_switches.*row.target).Set(value != 0);
    }
    return configuration != nullptr ? configuration->Text("outputFilePath").value_or("") : "";
}

// The signed 32-bit count turns negative after 35 minutes 47 seconds, and the prefix shows it. The
// middle field is all seconds since the start, not those within the minute.
std::string TimePrefix()
{
    const auto elapsed = static_cast<int32_t>(WrappedMicroseconds(os::WallClock()) -
                                              g_startMicroseconds.load(std::memory_order_relaxed));
    const std::array<LogArgument, 3> fields = {elapsed / 60'000'000, elapsed / 1'000'000,
                                               elapsed / 1000 % 1000};
    return FormatText("%02d:%02d.%03d ", fields);
}

void WriteStart(const char *function, uint32_t key, void (*keyAsString)(uint32_t, KeyText &))
{
    g_depth.fetch_add(1, std::memory_order_relaxed);
    if (!g_switches.outputEnabled.IsOn() || !ZLogNestingPasses())
        return;
    KeyText name;
    keyAsString(key, name);
    ZLogPrintf("%s start (%s)", function, name.data());
}

} // namespace

const LogSwitches &Switches() { return g_switches; }

void ZLogOpen()
try {
    g_startMicroseconds.store(WrappedMicroseconds(os::WallClock()), std::memory_order_relaxed);
    os::ReopenStandardOutputOnConsole();
    const std::string path = ReadConfiguration();
    File().Close();
    if (!g_switches.outputToFile.IsOn() || !g_switches.outputEnabled.IsOn() || File().Open(path))
        return;
    const std::array<LogArgument, 1> arguments = {path};
    os::DebugOutput(
        FormatText("ZLog() - cannot output to file.  The file path %s is invalid or not "
                   "accessable",
                   arguments));
} catch (const std::exception &) {
}

void ZLogClose()
{
    if (!g_switches.outputToFile.IsOn())
        return;
    File().Write("\n------------------------------------------------\n\n");
    File().Close();
}

void ZLogWrite(std::string_view format, std::span<const LogArgument> arguments)
try {
    // Prefix and format are joined before they are expanded, and each step has room for so much
    // only.
    const std::string whole = (TimePrefix() += format).substr(0, kLongestMessage);
    const std::string text = FormatText(whole, arguments);
    if (g_switches.outputToFile.IsOn())
        File().Write(text);
    else
        os::DebugOutput(text);
} catch (const std::exception &) {
    // No fault of the log ever reaches a call.
}

void ZLogRemark(const char *function, std::string_view format,
                std::span<const LogArgument> arguments)
try {
    if (g_switches.outputEnabled.IsOn())
        ZLogPrintf("%s - %s", function, FormatRemark(format, arguments));
} catch (const std::exception &) {
}

void ZLogStart(const char *function)
{
    g_depth.fetch_add(1, std::memory_order_relaxed);
    if (g_switches.outputEnabled.IsOn() && ZLogNestingPasses())
        ZLogPrintf("%s start", function);
}

void ZLogStartParam32(const char *function, uint32_t key)
{
    WriteStart(function, key, InternalParam32KeyAsString);
}

void ZLogStartParamS32(const char *function, uint32_t key)
{
    WriteStart(function, key, InternalParamS32KeyAsString);
}

void ZLogStartParam64(const char *function, uint32_t key)
{
    WriteStart(function, key, InternalParam64KeyAsString);
}

void ZLogStartGetInfo(const char *function, uint32_t key)
{
    WriteStart(function, key, InternalGetInfoKeyAsString);
}

void ZLogEnd(const char *function, uint16_t error)
{
    if (g_switches.outputEnabled.IsOn() && ZLogNestingPasses()) {
        if (error != 0)
            ZLogEndError(function, error);
        else if (ZLogDepth() > 1)
            ZLogPrintf("%s end (error code %u)\n", function, error);
        else
            ZLogPrintf("%s end (error code %u)\n\n", function, error);
    }
    g_depth.fetch_sub(1, std::memory_order_relaxed);
}

void ZLogEndError(const char *function, uint16_t error)
try {
    if (!g_switches.outputEnabled.IsOn())
        return;
    const std::array<LogArgument, 1> arguments = {function};
    const std::string text =
        FormatText("%s ending because ", arguments) + tables::ErrorPhrase(error);
    ZLogPrintf(ZLogDepth() < 2 ? "%s (error %u)\n\n" : "%s (error %u)", text, error);
} catch (const std::exception &) {
}

bool ZLogShouldOutputReads() { return g_switches.outputReads.IsOn(); }

bool ZLogShouldOutputWrites() { return g_switches.outputWrites.IsOn(); }

bool ZLogShouldOutputFrame() { return g_switches.outputFrame.IsOn(); }

int32_t ZLogDepth() { return g_depth.load(std::memory_order_relaxed); }

bool ZLogNestingPasses() { return g_switches.outputNestedCalls.IsOn() || ZLogDepth() < 2; }

void ZLogResetForTest()
{
    File().Close();
    for (const NamedSwitch &row : kNamedSwitches)
        (g_switches.*row.target).Set(false);
    g_depth.store(0, std::memory_order_relaxed);
}

} // namespace zerix::diag
