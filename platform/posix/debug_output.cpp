// The hardware layer's running commentary, to where the configuration says.
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <syslog.h>
#include <unistd.h>

#include "platform/configuration_places.h"
#include "platform/os.h"
#include "platform/posix/cancellation.h"

namespace zerix::os {

namespace {

enum class Place { kOff, kDescriptor, kSystemLog };

struct Sink {
    // Recursive, so that a listener may call what itself writes debug output.
    std::recursive_mutex mutex;
    std::function<void(const std::string &)> listener;
    bool isChosen = false;
    std::string chosenFrom; // the places of the configuration, when the choice was made
    Place place = Place::kOff;
    int descriptor = -1;
};

// Never destroyed: threads may still write while the process ends.
Sink &TheSink()
{
    static Sink *const sink = new Sink;
    return *sink;
}

void CloseFile(Sink &sink)
{
    if (sink.descriptor > STDERR_FILENO)
        close(sink.descriptor);
    sink.descriptor = -1;
}

void ChooseDescriptor(Sink &sink, int descriptor)
{
    sink.descriptor = descriptor;
    sink.place = descriptor >= 0 ? Place::kDescriptor : Place::kOff;
}

void Choose(Sink &sink)
{
    CloseFile(sink);
    sink.place = Place::kOff;
    const auto configuration = Configuration::Open();
    const auto value = configuration ? configuration->Text("DebugOutput") : std::nullopt;
    if (!value || value->empty() || *value == "off")
        return;
    if (*value == "stderr")
        ChooseDescriptor(sink, STDERR_FILENO);
    else if (*value == "syslog")
        sink.place = Place::kSystemLog;
    else
        ChooseDescriptor(sink, open(value->c_str(),
                                    O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644));
}

// The choice holds as long as the configuration is looked for in the same places.
void ChooseOnce(Sink &sink)
{
    std::string places = ConfigurationPlaces();
    if (sink.isChosen && sink.chosenFrom == places)
        return;
    sink.isChosen = true;
    sink.chosenFrom = std::move(places);
    Choose(sink);
}

void WriteWhole(int descriptor, const std::string &text)
{
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        written += static_cast<size_t>(count);
    }
}

std::string AsOneLine(const std::string &text)
{
    return !text.empty() && text.back() == '\n' ? text : text + "\n";
}

} // namespace

void DebugOutput(const std::string &text)
{
    const CancellationOff noCancellation;
    Sink &sink = TheSink();
    const std::lock_guard lock(sink.mutex);
    if (sink.listener) {
        sink.listener(text);
        return;
    }
    ChooseOnce(sink);
    if (sink.place == Place::kDescriptor)
        WriteWhole(sink.descriptor, AsOneLine(text));
    else if (sink.place == Place::kSystemLog)
        syslog(LOG_USER | LOG_DEBUG, "%s", text.c_str());
}

void SetDebugOutputForTest(std::function<void(const std::string &)> listener)
{
    Sink &sink = TheSink();
    const std::lock_guard lock(sink.mutex);
    sink.listener = std::move(listener);
}

void ShowFailureBox(const std::string &title, const std::string &text)
{
    DebugOutput(title + ": " + text);
}

void ReopenStandardOutputOnConsole() {}

} // namespace zerix::os
