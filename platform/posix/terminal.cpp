// Environment of the process and terminals.
#include <cstdlib>
#include <unistd.h>

#include "platform/os.h"

namespace zerix::os {

void SetEnvironment(const char *name, const char *value)
{
    if (value != nullptr)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

bool StandardOutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

} // namespace zerix::os
