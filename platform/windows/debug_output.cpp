// The hardware layer's running commentary: to the debugger, or where the configuration says. The
// failure box, and the console.
#include <cstdio>
#include <mutex>
#include <windows.h>

#include "platform/configuration_places.h"
#include "platform/os.h"
#include "platform/windows/configuration_readings.h"

namespace zerix::os {

namespace {

struct FileCloser {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

enum class Place { kDebugger, kOff, kStandardError, kFile };

struct Sink {
    // The system's own: a listener may call what itself writes debug output, and a thread that is
    // ended in here leaves it free.
    const std::unique_ptr<Mutex> mutex = Mutex::Create();
    std::function<void(const std::string &)> listener;
    bool isChosen = false;
    uint32_t chosenAt = 0; // the reading of the configuration that was the last then
    Place place = Place::kDebugger;
    std::unique_ptr<std::FILE, FileCloser> file;
};

// Never destroyed: threads may still write while the process ends.
Sink &TheSink()
{
    static Sink *const sink = new Sink;
    return *sink;
}

void Choose(Sink &sink)
{
    sink.file.reset();
    const auto configuration = OpenConfigurationQuietly();
    const std::string value =
        configuration ? configuration->Text("DebugOutput").value_or("") : std::string();
    if (value.empty() || value == "syslog")
        sink.place = Place::kDebugger;
    else if (value == "off")
        sink.place = Place::kOff;
    else if (value == "stderr")
        sink.place = Place::kStandardError;
    else {
        sink.file.reset(std::fopen(value.c_str(), "ab"));
        sink.place = sink.file ? Place::kFile : Place::kOff;
    }
}

// The choice holds until the library reads its configuration again.
void ChooseOnce(Sink &sink)
{
    const uint32_t now = ConfigurationReadings();
    if (sink.isChosen && sink.chosenAt == now)
        return;
    sink.isChosen = true;
    sink.chosenAt = now;
    Choose(sink);
}

void WriteLine(std::FILE *file, const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), file);
    if (text.empty() || text.back() != '\n')
        std::fputc('\n', file);
    std::fflush(file);
}

// True if it was told to a test instead.
bool TellListener(Sink &sink, const std::string &text)
{
    if (!sink.listener)
        return false;
    sink.listener(text);
    return true;
}

bool IsRedirected(HANDLE output)
{
    DWORD mode = 0;
    return output != nullptr && output != INVALID_HANDLE_VALUE &&
           GetConsoleMode(output, &mode) == 0;
}

bool HasConsole()
{
    const HANDLE console = CreateFileA("CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                       nullptr, OPEN_EXISTING, 0, nullptr);
    if (console == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(console);
    return true;
}

} // namespace

void DebugOutput(const std::string &text)
{
    Sink &sink = TheSink();
    const std::lock_guard lock(*sink.mutex);
    if (TellListener(sink, text))
        return;
    ChooseOnce(sink);
    if (sink.place == Place::kDebugger)
        OutputDebugStringA(text.c_str());
    else if (sink.place != Place::kOff)
        WriteLine(sink.place == Place::kFile ? sink.file.get() : stderr, text);
}

void SetDebugOutputForTest(std::function<void(const std::string &)> listener)
{
    Sink &sink = TheSink();
    const std::lock_guard lock(*sink.mutex);
    sink.listener = std::move(listener);
}

void ShowFailureBox(const std::string &title, const std::string &text)
{
    {
        Sink &sink = TheSink();
        const std::lock_guard lock(*sink.mutex);
        if (TellListener(sink, title + ": " + text))
            return;
    }
    MessageBoxA(nullptr, text.c_str(), title.c_str(), MB_OK);
}

void ReopenStandardOutputOnConsole()
{
    if (!IsRedirected(GetStdHandle(STD_OUTPUT_HANDLE)) && HasConsole())
        static_cast<void>(std::freopen("CONOUT$", "wt", stdout));
}

} // namespace zerix::os
