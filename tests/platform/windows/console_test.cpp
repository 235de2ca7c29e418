// The standard output on the process's console, and on nothing else that it was sent to.
#include <cstdio>
#include <io.h>
#include <string>
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/os.h"
#include "tests/platform/windows/without_screen.h"
#include "tests/support/standard_output_capture.h"

namespace zerix::os {
namespace {

constexpr const char *kIsOnDesktop = "ZERIX_TEST_ON_DESKTOP";

// A new console in the place of the process's own, and the standard output on none. At the end it
// is where it was.
class NewConsole {
public:
    NewConsole()
    {
        FreeConsole();
        EXPECT_NE(AllocConsole(), 0);
        m_screen =
            CreateFileA("CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                        nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_NE(m_screen, INVALID_HANDLE_VALUE);
    }
    ~NewConsole()
    {
        std::fflush(stdout);
        _dup2(m_output, _fileno(stdout));
        _close(m_output);
        CloseHandle(m_screen);
        FreeConsole();
    }
    NewConsole(const NewConsole &) = delete;
    NewConsole &operator=(const NewConsole &) = delete;

    // So many letters from the beginning of its second line.
    [[nodiscard]] std::string SecondLine(DWORD letters) const
    {
        std::string text(letters, '\0');
        DWORD found = 0;
        ReadConsoleOutputCharacterA(m_screen, text.data(), letters, {0, 1}, &found);
        text.resize(found);
        return text;
    }

private:
    const int m_output = _dup(_fileno(stdout));
    HANDLE m_screen = nullptr;
};

// The test of this name, in a process of its own on another desktop. Its exit code.
DWORD RunOnDesktop(const std::string &test)
{
    const test::UnseenDesktop desktop;
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    std::string line = std::string("\"") + program + "\" --gtest_brief=1 --gtest_filter=" + test;
    std::string name = test::UnseenDesktop::kName;
    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.lpDesktop = name.data();
    PROCESS_INFORMATION process{};
    SetEnvironmentVariableA(kIsOnDesktop, "1");
    const BOOL isRunning = CreateProcessA(program, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                          nullptr, &start, &process);
    SetEnvironmentVariableA(kIsOnDesktop, nullptr);
    if (isRunning == 0)
        return GetLastError();
    DWORD code = STILL_ACTIVE;
    WaitForSingleObject(process.hProcess, 60'000);
    GetExitCodeProcess(process.hProcess, &code);
    TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

TEST(Console, TakesTheStandardOutputOfAProcessThatHasOne)
{
    if (!EnvironmentVariable(kIsOnDesktop)) {
        EXPECT_EQ(RunOnDesktop("Console.TakesTheStandardOutputOfAProcessThatHasOne"), 0u);
        return;
    }
    const NewConsole console;
    ReopenStandardOutputOnConsole();
    std::printf("one\ntwo \n");
    std::fflush(stdout);
    EXPECT_EQ(console.SecondLine(5), "two  ");
}

TEST(Console, ThatIsRedirectedStaysSo)
{
    const test::StandardOutputCapture capture;
    ReopenStandardOutputOnConsole();
    std::printf("still here\n");
    EXPECT_EQ(capture.Text(), "still here\n");
    EXPECT_FALSE(StandardOutputIsTerminal());
}

} // namespace
} // namespace zerix::os
