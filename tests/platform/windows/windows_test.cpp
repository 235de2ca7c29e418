// What the port does on Windows alone: libraries by paths of any kind, the system's texts, its
// environment, and forced ends.
#include <atomic>
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/os.h"
#include "tests/support/places.h"
#include "tests/support/refused_threads.h"

namespace zerix::os {
namespace {

TEST(DynamicLibraries, LoadedOnesGiveTheirSymbols)
{
    const auto library = DynamicLibrary::Load("kernel32.dll");
    ASSERT_NE(library, nullptr);
    const auto ticks = reinterpret_cast<DWORD(WINAPI *)()>(library->Symbol("GetTickCount"));
    ASSERT_NE(ticks, nullptr);
    EXPECT_GT(ticks(), 0u);
    EXPECT_EQ(library->Symbol("there_is_no_such_symbol"), nullptr);
}

TEST(DynamicLibraries, TellTheSystemsError)
{
    SetLastError(0);
    EXPECT_EQ(DynamicLibrary::Load("there is no such library.dll"), nullptr);
    EXPECT_EQ(LastError(), 126u);
}

// With spaces and letters of the code page, and slashes of either kind.
TEST(DynamicLibraries, LoadFromAnyFolder)
{
    char temporary[MAX_PATH];
    ASSERT_NE(GetTempPathA(sizeof temporary, temporary), 0u);
    const std::string folder =
        std::string(temporary) + "a f\xF6lder " + std::to_string(GetCurrentProcessId());
    ASSERT_NE(CreateDirectoryA(folder.c_str(), nullptr), 0);
    const std::string file = folder + "\\pl\xFCg in.dll";
    ASSERT_NE(CopyFileA(test::PluginPath().c_str(), file.c_str(), TRUE), 0);
    {
        const auto library = DynamicLibrary::Load(folder + "/pl\xFCg in.dll");
        ASSERT_NE(library, nullptr) << ErrorText(LastError());
        void *const symbol = library->Symbol("IPC_callin");
        ASSERT_NE(symbol, nullptr);
        EXPECT_EQ(FolderOfModuleWith(symbol), folder);
    }
    EXPECT_NE(DeleteFileA(file.c_str()), 0) << "it is still loaded";
    EXPECT_NE(RemoveDirectoryA(folder.c_str()), 0);
}

TEST(DynamicLibraries, TheProgramLiesInItsOwnFolder)
{
    static const int inThisProgram = 0;
    char path[MAX_PATH];
    ASSERT_NE(GetModuleFileNameA(nullptr, path, sizeof path), 0u);
    const std::string program = path;
    EXPECT_EQ(FolderOfModuleWith(&inThisProgram) + "\\platform_tests.exe", program);
    EXPECT_EQ(FolderOfModuleWith(nullptr), "");
}

TEST(ErrorTexts, AreTheSystems)
{
    char *text = nullptr;
    ASSERT_NE(FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                             1450, 0, reinterpret_cast<char *>(&text), 0, nullptr),
              0u);
    EXPECT_EQ(ErrorText(1450), text);
    EXPECT_TRUE(ErrorText(1450).ends_with("\r\n")) << text;
    LocalFree(text);
    EXPECT_EQ(ErrorText(4'000'000'000u), "");
}

// The system's own last error is lost to whatever is called in between.
TEST(LastErrors, OutliveTheCallsBetween)
{
    EXPECT_EQ(DynamicLibrary::Load("there is no such library.dll"), nullptr);
    const auto event = Event::Create(ResetMode::kAutomatic);
    event->Signal();
    ::SetLastError(5);
    DebugOutput("a line");
    EXPECT_EQ(LastError(), 126u);
}

TEST(Environment, IsTheSystemsAndMayHoldNothing)
{
    constexpr const char *kName = "ZERIX_TEST_OF_THE_SYSTEM";
    ASSERT_NE(SetEnvironmentVariableA(kName, "set by the application"), 0);
    EXPECT_EQ(EnvironmentVariable(kName), "set by the application");
    SetEnvironment(kName, "");
    EXPECT_EQ(EnvironmentVariable(kName), "");
    const std::string longValue(5000, 'x');
    SetEnvironment(kName, longValue.c_str());
    EXPECT_EQ(EnvironmentVariable(kName), longValue);
    SetEnvironment(kName, nullptr);
    EXPECT_EQ(EnvironmentVariable(kName), std::nullopt);
}

TEST(Threads, ThatTheSystemRefusesAreNull)
{
    const test::RefusedThreads refused;
    SetLastError(0);
    EXPECT_EQ(Thread::Start([](void *) {}, nullptr), nullptr);
    EXPECT_NE(LastError(), 0u);
}

TEST(ForcedEnds, StrikeEvenAThreadThatNeverWaits)
{
    std::atomic<bool> isRunning{false};
    const auto thread = Thread::Start(
        [](void *parameter) {
            for (;;)
                static_cast<std::atomic<bool> *>(parameter)->store(true);
        },
        &isRunning);
    while (!isRunning)
        SleepMilliseconds(1);
    EXPECT_TRUE(thread->ForceEnd());
}

// A mutex that such a thread held counts as free.
TEST(ForcedEnds, LeaveMutexesFree)
{
    struct Held {
        std::unique_ptr<Mutex> mutex = Mutex::Create();
        std::unique_ptr<Event> entered = Event::Create(ResetMode::kManual);
    } held;
    const auto thread = Thread::Start(
        [](void *parameter) {
            auto *const own = static_cast<Held *>(parameter);
            own->mutex->lock();
            own->entered->Signal();
            SleepMilliseconds(1'000'000);
        },
        &held);
    ASSERT_EQ(held.entered->Wait(10'000), WaitResult::kSignalled);
    EXPECT_TRUE(thread->ForceEnd());
    held.mutex->lock(); // would never come back if the thread still held it
    held.mutex->unlock();
}

} // namespace
} // namespace zerix::os
