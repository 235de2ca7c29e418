// zerix trace: the driver's log of calls, switched, shown and followed. In its file one message
// follows another, each ended by a NUL byte.
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <fmt/format.h>

#include "platform/file_path.h"
#include "tools/command_error.h"
#include "tools/interrupts.h"
#include "tools/trace_configuration.h"
#include "tools/verbs.h"

namespace zerix::tool {

namespace {

struct Kind {
    const char *name;
    const char *switchName;
};

constexpr std::array kKinds = {
    Kind{"settings", "outputSettings"},  Kind{"info", "outputGetInfo"},
    Kind{"frames", "outputFrame"},       Kind{"tables", "outputSparseTable"},
    Kind{"nested", "outputNestedCalls"},
};

bool IsWanted(const TraceOptions &trace, std::string_view kind)
{
    return std::any_of(trace.kinds.begin(), trace.kinds.end(), [&](const std::string &wanted) {
        return wanted == kind || wanted == "all";
    });
}

void SwitchOn(const TraceOptions &trace)
{
    const auto absolute =
        std::filesystem::absolute(trace.file.empty() ? TraceFileToBe() : trace.file)
            .lexically_normal();
    const std::string file = absolute.string();
    if (file.find_first_of("\"\n") != std::string::npos)
        throw CommandError("the log's file can't have a quote or a line's end in its name.");
    std::error_code ignored;
    std::filesystem::create_directories(absolute.parent_path(), ignored);
    errno = 0;
    std::FILE *const log = os::OpenToAppend(file);
    if (log == nullptr)
        throw CommandError(
            fmt::format("the log {} can't be written: {}.", file, std::strerror(errno)));
    std::fclose(log);
    std::vector<ConfigurationValue> values = {{"outputEnabled", "1"},
                                              {"outputToFile", "1"},
                                              {"outputFilePath", fmt::format("\"{}\"", file)}};
    for (const Kind &kind : kKinds)
        values.push_back({kind.switchName, IsWanted(trace, kind.name) ? "1" : "0"});
    const std::string configuration = SetInConfiguration(values);
    fmt::print("The log is on and goes to {}; {} says so. Programs that run already begin when "
               "they load the driver anew.\n",
               file, configuration);
}

void SwitchOff()
{
    const std::string configuration = SetInConfiguration({{"outputEnabled", "0"}});
    fmt::print("The log is off; {} says so. What was logged stays in {}.\n", configuration,
               TraceFile());
}

// A message without its line ends, and a blank line behind the end of an outermost call, which the
// log marks by a second line end.
std::string Readable(std::string message)
{
    const bool endsCall = message.ends_with("\n\n");
    while (message.ends_with('\n'))
        message.pop_back();
    return message + (endsCall ? "\n\n" : "\n");
}

// A pipe would have the tool wait for a writer.
std::ifstream Opened(const std::string &file)
{
    std::error_code ignored;
    const auto status = std::filesystem::status(file, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw CommandError(fmt::format("the log {} can't be read: it is no regular file.", file));
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw CommandError(
            fmt::format("there is no log {} yet: \"zerix trace on\" begins one.", file));
    return stream;
}

void Show(const std::string &file, uint32_t count)
{
    auto stream = Opened(file);
    std::deque<std::string> last;
    for (std::string message; std::getline(stream, message, '\0');) {
        if (count == 0) {
            fmt::print("{}", Readable(message));
            continue;
        }
        last.push_back(message);
        if (last.size() > count)
            last.pop_front();
    }
    for (const auto &message : last)
        fmt::print("{}", Readable(message));
}

// Prints whole messages behind `position`, and moves it behind them.
void PrintNew(const std::string &file, std::streamoff &position)
{
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    if (!stream)
        return;
    if (stream.tellg() < position)
        position = 0; // it was begun anew
    stream.seekg(position);
    for (std::string message; std::getline(stream, message, '\0') && !stream.eof();) {
        fmt::print("{}", Readable(message));
        position += static_cast<std::streamoff>(message.size()) + 1;
    }
    std::fflush(stdout);
}

void Follow(const std::string &file, double seconds)
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const auto isOver = [&] {
        const std::chrono::duration<double> elapsed = Clock::now() - begin;
        return seconds > 0 && elapsed.count() >= seconds;
    };
    auto stream = Opened(file);
    stream.seekg(0, std::ios::end);
    std::streamoff position = stream.tellg();
    const Interrupts interrupts;
    while (!Interrupts::Came() && !isOver()) {
        PrintNew(file, position);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    PrintNew(file, position);
}

} // namespace

void Trace(const TraceOptions &trace)
{
    if (trace.action == "on")
        return SwitchOn(trace);
    if (trace.action == "off")
        return SwitchOff();
    const std::string file = trace.file.empty() ? TraceFile() : trace.file;
    if (trace.action == "show")
        Show(file, trace.lines);
    else
        Follow(file, trace.seconds);
}

} // namespace zerix::tool
