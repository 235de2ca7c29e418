// Environment of the process and terminals.
#include <cstdlib>
#include <windows.h>

#include "platform/os.h"

namespace zerix::os {

namespace {

bool IsConsole(DWORD standardHandle)
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(standardHandle), &mode) != 0;
}

} // namespace

// The system's environment, and not the C library's copy of it: the copy doesn't see what an
// application sets by the system's call, and can't hold an empty value.
std::optional<std::string> EnvironmentVariable(const char *name)
{
    std::string value(256, '\0');
    for (;;) {
        ::SetLastError(ERROR_SUCCESS);
        const DWORD length =
            GetEnvironmentVariableA(name, value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND)
            return std::nullopt;
        const bool isWhole = length < value.size();
        value.resize(length);
        if (isWhole)
            return value;
    }
}

void SetEnvironment(const char *name, const char *value)
{
    _putenv_s(name, value != nullptr ? value : "");
    SetEnvironmentVariableA(name, value);
}

void ReserveStandardStreams() {}

bool StandardOutputIsTerminal() { return IsConsole(STD_OUTPUT_HANDLE); }

bool StandardErrorIsTerminal() { return IsConsole(STD_ERROR_HANDLE); }

} // namespace zerix::os
