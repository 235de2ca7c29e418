#include "rack_program.h"

#include "rack_nodes.h"
#include "zerix/zerix_sim.h"

#include <cstdio>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace linux_kernel {

int RunWithRack(const char *rack, char **program)
{
    if (ZerixSim_ChooseRack(rack) != 0) {
        std::fprintf(stderr, "%s\n", ZerixSim_LastErrorText());
        return 1;
    }
    RackNodes nodes;
    pid_t process = 0;
    if (!nodes.Settle() ||
        posix_spawnp(&process, program[0], nullptr, nullptr, program, environ) != 0) {
        std::fprintf(stderr, "%s can't be run with the rack %s\n", program[0], rack);
        return 1;
    }
    int status = 0;
    waitpid(process, &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace linux_kernel
