// The operating-system port: everything that the library asks of the system beside the FireWire
// bus. Every implementation (posix/, windows/) holds the same classes and functions in the same
// order, and passes the same conformance test. All of it may be called from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zerix::os {

inline constexpr uint32_t kWaitForever = 0xFFFFFFFFu;

enum class WaitResult { kSignalled, kTimedOut, kFailed };

// Threads ----------------------------------------------------------------------------------------

using ThreadRoutine = void (*)(void *parameter);

// A running thread. Destroying the object gives up the handle; it neither ends nor joins the
// thread.
class Thread {
public:
    // Starts a thread. Null if the system has none to give (the last error then tells why).
    [[nodiscard]] static std::unique_ptr<Thread> Start(ThreadRoutine routine, void *parameter);

    virtual ~Thread() = default;

    // The system's number of the thread; never 0.
    [[nodiscard]] virtual uint32_t Id() const = 0;

    // Waits until the routine has returned or been ended. May be called again after a time-out.
    [[nodiscard]] virtual WaitResult Join(uint32_t timeoutMilliseconds) = 0;

    // Ends the thread against its will at its next wait, and waits for that up to a second. Last
    // resort: what the routine holds is unwound where the system can, lost where it cannot.
    // True if the thread has ended.
    virtual bool ForceEnd() = 0;
};

// Priorities as the hardware layer names them; 15 is time critical. A system that refuses them to
// this user is no error: the call then returns false and nothing has changed.
bool SetCurrentThreadPriority(int priority);

// 0x20 is the normal class, 0x100 the real-time class. The same rule for a refusal.
bool SetProcessPriorityClass(uint32_t priorityClass);

void SleepMilliseconds(uint32_t milliseconds);
void SleepMicroseconds(uint64_t microseconds);

// Synchronisation --------------------------------------------------------------------------------

// A counting semaphore. Has no owner: any thread may signal.
class Semaphore {
public:
    // Null if the system has none to give.
    [[nodiscard]] static std::unique_ptr<Semaphore> Create(uint32_t initialCount,
                                                           uint32_t maximumCount);
    virtual ~Semaphore() = default;
    [[nodiscard]] virtual WaitResult Wait(uint32_t timeoutMilliseconds = kWaitForever) = 0;
    // False, and the count unchanged, when it stands at its maximum.
    virtual bool Signal() = 0;
};

enum class ResetMode { kAutomatic, kManual };

// An event, created unsignalled. Automatic: a signal releases exactly one waiter and is used up by
// it. Manual: it stays signalled, for every waiter, until Reset.
class Event {
public:
    [[nodiscard]] static std::unique_ptr<Event> Create(ResetMode mode);
    virtual ~Event() = default;
    [[nodiscard]] virtual WaitResult Wait(uint32_t timeoutMilliseconds = kWaitForever) = 0;
    virtual bool Signal() = 0;
    virtual void Reset() = 0;
};

// A mutex that one thread holds at a time; not recursive. Meets BasicLockable.
class Mutex {
public:
    [[nodiscard]] static std::unique_ptr<Mutex> Create();
    virtual ~Mutex() = default;
    virtual void lock() = 0;
    virtual void unlock() = 0;
};

// Time -------------------------------------------------------------------------------------------

// Ticks since some fixed moment, and ticks a second (at least 1,000,000; it never changes).
uint64_t PerformanceCounter();
uint64_t PerformanceFrequency();

struct WallTime {
    int64_t seconds;       // since 1970-01-01 00:00 UTC
    uint32_t microseconds; // 0 to 999,999
};
WallTime WallClock();

// "hh:mm:ss" of the moment in local time.
std::string TimeOfDayText(const WallTime &moment);

// Tests put a clock of their own in the place of WallClock; an empty function brings the real one
// back.
void SetWallClockForTest(std::function<WallTime()> clock);

// Errors and messages ----------------------------------------------------------------------------

// The system error of the calling thread's last failed call, kept until the next failure. The
// numbers are those of kernel_driver.h for the bus, and the system's own otherwise.
uint32_t LastError();
void SetLastError(uint32_t systemError);

// The system's text for a number, in its default language. It ends in one line end of the system:
// CR LF on Windows, a line feed elsewhere. On Windows it is empty for a number without a text.
std::string ErrorText(uint32_t systemError);

// One line of the hardware layer's running commentary. Goes where the configuration value
// DebugOutput says: off (the default away from Windows), stderr, syslog, or the path of a file that
// is appended to. On Windows the default is the debugger, and syslog is, too.
void DebugOutput(const std::string &text);

// Tests listen in here; an empty function takes the listener away. While there is one, nothing goes
// to the configured place, and the failure box comes here as the line that it is elsewhere.
void SetDebugOutputForTest(std::function<void(const std::string &)> listener);

// A modal box with one button on Windows; elsewhere one line of debug output, "title: text".
void ShowFailureBox(const std::string &title, const std::string &text);

// Reopens the standard output on the process's console where there is one and the output is not
// redirected; elsewhere it does nothing. The stream stays as it is at the end.
void ReopenStandardOutputOnConsole();

// Dynamic libraries ------------------------------------------------------------------------------

class DynamicLibrary {
public:
    // Null if it cannot be loaded. A name without a folder is looked up the system's way.
    [[nodiscard]] static std::unique_ptr<DynamicLibrary> Load(const std::string &path);
    // Unloads.
    virtual ~DynamicLibrary() = default;
    // Null if there is no such symbol.
    [[nodiscard]] virtual void *Symbol(const char *name) const = 0;
};

// "Zerix_IPC_Plugin" becomes "Zerix_IPC_Plugin.dll" or "Zerix_IPC_Plugin.so".
std::string PluginFileName(const std::string &stem);

// The folder of the module (library or program) that holds the given address, without a final
// slash; empty if it can't be told.
std::string FolderOfModuleWith(const void *address);

// Configuration ----------------------------------------------------------------------------------

// A snapshot of the library's configuration values: on Windows the registry key
// SOFTWARE\Tolvane\Zerix under HKEY_LOCAL_MACHINE; elsewhere the lines "name = value" of the first
// file found of $ZERIX_CONFIG, $XDG_CONFIG_HOME/zerix/zerix.conf (or ~/.config/zerix/zerix.conf)
// and /etc/zerix/zerix.conf. Reported on the standard error, each once: a malformed line, a value
// that the library doesn't have or of the other type, with file and line (the rest of the file is
// used); a file that $ZERIX_CONFIG names and that can't be read (the next one is used).
class Configuration {
public:
    // Null if there is no configuration at all.
    [[nodiscard]] static std::unique_ptr<Configuration> Open();
    virtual ~Configuration() = default;
    // Nothing if the value is absent or of another type.
    [[nodiscard]] virtual std::optional<uint32_t> Number(const char *name) const = 0;
    // At most 1023 bytes.
    [[nodiscard]] virtual std::optional<std::string> Text(const char *name) const = 0;
};

// The value of an environment variable; nothing if it isn't set.
std::optional<std::string> EnvironmentVariable(const char *name);

// Sets it for this process; a null value takes it away. Call it before other threads run.
void SetEnvironment(const char *name, const char *value);

// Terminal ---------------------------------------------------------------------------------------

// Takes the places of standard streams that the process was started without, so that no file that
// is opened later becomes one of them: what is written to that stream would end up in the file.
// Using such a stream fails as it does without. A program calls it first; nothing to do on Windows.
void ReserveStandardStreams();

bool StandardOutputIsTerminal();
bool StandardErrorIsTerminal();

} // namespace zerix::os
