// Environment of the process and terminals.
#include <cstdlib>
#include <fcntl.h>
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

// The streams' own descriptors are the lowest; each is opened for what is never done to it.
void ReserveStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1)
            static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

bool StandardOutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

} // namespace zerix::os
