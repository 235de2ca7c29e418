// The zerix tool run as a person runs it, in an empty folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>

#include "tests/support/places.h"
#include "tests/support/temporary_folder.h"

namespace zerix::test {

inline std::string Contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

class ToolTest : public testing::Test {
protected:
    struct Outcome {
        int status;
        std::string out;
        std::string err;
    };

    // Runs the tool with no configuration but what `environment` says. `runner` stands before the
    // tool, and ends it where that takes too long.
    Outcome Run(const std::string &arguments, const std::string &environment = "",
                const std::string &runner = "timeout 60")
    {
        return RunInto("out.txt", arguments, environment, runner);
    }

    // The same with the standard output to `target`.
    Outcome RunInto(const std::string &target, const std::string &arguments,
                    const std::string &environment = "", const std::string &runner = "timeout 60")
    {
        const std::string command = "cd '" + m_folder.Path() +
                                    "' && env -u ZERIX_BUS ZERIX_CONFIG=/dev/null " + environment +
                                    " " + runner + " '" + ToolPath() + "' " + arguments + " >" +
                                    target + " 2>err.txt </dev/null";
        const int status = std::system(command.c_str());
        return {WEXITSTATUS(status), target == "out.txt" ? Contents(Path("out.txt")) : "",
                Contents(Path("err.txt"))};
    }

    // What a terminal shows of it; script(1) makes one.
    std::string ShownOnATerminal(const std::string &arguments)
    {
        Write("run.sh", "exec '" + ToolPath() + "' " + arguments + "\n");
        const std::string command =
            "cd '" + m_folder.Path() +
            "' && env -u ZERIX_BUS ZERIX_CONFIG=/dev/null timeout 60 script -qec "
            "'sh run.sh' shown >/dev/null 2>&1 </dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return Contents(Path("shown"));
    }

    std::string Path(const std::string &name) { return m_folder.Path() + "/" + name; }

    void Write(const std::string &name, const std::string &text)
    {
        std::ofstream(Path(name)) << text;
    }

    TemporaryFolder m_folder;
};

} // namespace zerix::test
