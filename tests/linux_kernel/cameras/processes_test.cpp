// Two programs and one camera.
#include "../checks.h"
#include "camera_holder.h"
#include "camera_session.h"
#include "hal/kernel_requests.h"

#include <array>
#include <csignal>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace linux_kernel {
namespace {

using namespace zerix;

// The other program, from the moment when it has the camera.
class Holder {
public:
    Holder()
    {
        std::array<int, 2> toIt{}, fromIt{};
        EXPECT_EQ(pipe(toIt.data()), 0);
        EXPECT_EQ(pipe(fromIt.data()), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, toIt[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, fromIt[1], STDOUT_FILENO);
        // All others are closed, the card's among them.
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        char program[] = "/proc/self/exe";
        std::string word = kHoldCommand;
        const std::array<char *, 3> arguments = {program, word.data(), nullptr};
        EXPECT_EQ(posix_spawn(&m_process, program, &actions, nullptr, arguments.data(), environ),
                  0);
        posix_spawn_file_actions_destroy(&actions);
        close(toIt[0]);
        close(fromIt[1]);
        m_input = toIt[1];
        char byte = 0;
        pollfd report{.fd = fromIt[0], .events = POLLIN, .revents = 0};
        m_holds = poll(&report, 1, 10'000) == 1 && read(fromIt[0], &byte, 1) == 1 && byte == 'h';
        close(fromIt[0]);
    }
    ~Holder()
    {
        if (m_process > 0)
            End(SIGKILL);
    }
    Holder(const Holder &) = delete;
    Holder &operator=(const Holder &) = delete;

    [[nodiscard]] bool Holds() const { return m_holds; }
    // Its exit status, or the negative number of the signal that ended it.
    int End(int signal = 0)
    {
        if (signal != 0)
            kill(m_process, signal);
        close(m_input);
        int status = 0;
        waitpid(m_process, &status, 0);
        m_process = 0;
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

private:
    pid_t m_process = 0;
    int m_input = -1;
    bool m_holds = false;
};

class Processes : public CameraSession {
protected:
    void SetUp() override { UseText(kLineRack, Way::kKernel); }

    void ExpectItCanBeUsed()
    {
        const Picture picture = Grab(Open(), kLineBytes);
        EXPECT_EQ(picture.error, 0u);
        EXPECT_EQ(picture.bytes.size(), kLineBytes);
    }

    bool IsMarkedInUse()
    {
        std::array<ZerixBusNode, FWBUS_NODES + 1> nodes{};
        std::uint32_t count = 0;
        EXPECT_EQ(Driver().DescribeNodes(nodes.data(), nodes.size(), &count), 0u);
        for (std::uint32_t i = 0; i < count; ++i)
            if ((nodes[i].flags & ZERIX_NODE_IS_CAMERA) != 0)
                return (nodes[i].flags & ZERIX_NODE_IS_IN_USE) != 0;
        ADD_FAILURE() << "no camera among " << count << " nodes";
        return false;
    }
};

TEST_F(Processes, DontShareACamera)
{
    const auto rows = List();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_FALSE(IsMarkedInUse());
    Holder holder;
    ASSERT_TRUE(holder.Holds());
    EXPECT_TRUE(IsMarkedInUse());
    ZerixHandle camera = nullptr;
    EXPECT_EQ(Zerix_OpenCamera(rows[0].cameraId, &camera), std::uint32_t{ZERIX_ERROR_DRIVER_FAULT});
}

TEST_F(Processes, ListNoCameraThatAnotherHas)
{
    Holder holder;
    ASSERT_TRUE(holder.Holds());
    EXPECT_TRUE(List().empty());
}

TEST_F(Processes, GetTheCameraOfOneThatHasEnded)
{
    Holder holder;
    ASSERT_TRUE(holder.Holds());
    EXPECT_EQ(holder.End(), 0);
    EXPECT_FALSE(IsMarkedInUse());
    ExpectItCanBeUsed();
}

TEST_F(Processes, GetTheCameraOfOneThatWasKilled)
{
    Holder holder;
    ASSERT_TRUE(holder.Holds());
    EXPECT_EQ(holder.End(SIGKILL), -SIGKILL);
    EXPECT_FALSE(IsMarkedInUse());
    ExpectItCanBeUsed();
}

TEST_F(Processes, GetTheCameraOfOneThatHasClosedIt)
{
    EXPECT_EQ(Zerix_CloseCamera(Open()), 0u);
    Holder holder;
    EXPECT_TRUE(holder.Holds());
}

} // namespace
} // namespace linux_kernel
