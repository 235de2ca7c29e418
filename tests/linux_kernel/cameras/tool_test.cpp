// The tool and the libraries as they are installed, in processes of their own: what a user does.
#include "../checks.h"
#include "camera_session.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>

namespace linux_kernel {
namespace {

class Tool : public CameraSession {
protected:
    struct Outcome {
        int status = -1;
        std::string output; // errors too
    };

    // The tool on this bus, as ZERIX_BUS names it.
    static Outcome Run(const std::string &bus, const std::string &arguments)
    {
        const std::string command =
            "ZERIX_BUS='" + bus + "' \"$HERE/zerix\" " + arguments + " 2>&1";
        Outcome outcome;
        FILE *const pipe = popen(command.c_str(), "r");
        std::array<char, 4096> part{};
        while (const std::size_t bytes = std::fread(part.data(), 1, part.size(), pipe))
            outcome.output.append(part.data(), bytes);
        const int status = pclose(pipe);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }

    static bool Has(const std::string &text, const std::string &part)
    {
        return text.find(part) != std::string::npos;
    }
};

TEST_F(Tool, ListsTheCameraAndTheBus)
{
    UseText(kLineRack, Way::kKernel);
    const Outcome list = Run("kernel", "list");
    EXPECT_EQ(list.status, 0) << list.output;
    EXPECT_TRUE(Has(list.output, "Q-18")) << list.output;
    const Outcome bus = Run("kernel", "bus");
    EXPECT_EQ(bus.status, 0) << bus.output;
    for (const char *const part : {"/dev/fw", "card", "camera", "0x00a1b2:0x000101", "800"})
        EXPECT_TRUE(Has(bus.output, part)) << part << " in " << bus.output;
}

TEST_F(Tool, TakesThePictureOfTheVirtualBus)
{
    UseText(kLineRack, Way::kKernel);
    const std::string line = "grab --set format=mono16 -o " + Folder();
    const Outcome found = Run("kernel", line + "/kernel.raw");
    EXPECT_EQ(found.status, 0) << found.output;
    const Outcome direct = Run("simulated:" + Folder() + "/rack.toml", line + "/virtual.raw");
    EXPECT_EQ(direct.status, 0) << direct.output;
    const std::string picture = Read("kernel.raw");
    EXPECT_EQ(picture.size(), 2 * kLineBytes);
    EXPECT_TRUE(picture == Read("virtual.raw"));
}

} // namespace
} // namespace linux_kernel
