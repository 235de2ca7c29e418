// What the port does on POSIX systems alone: where it finds the configuration and what it reads
// there, where debug output goes, forced ends that unwind, and threads that the system refuses.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/configuration_places.h"
#include "platform/file_path.h"
#include "platform/os.h"
#include "tests/support/environment_variable.h"
#include "tests/support/refused_threads.h"
#include "tests/support/temporary_folder.h"

namespace zerix::os {
namespace {

using test::EnvironmentVariable;
using test::TemporaryFolder;

// A configuration file of its own.
class ConfigurationFile : public testing::Test {
protected:
    std::unique_ptr<Configuration> Open(const std::string &contents)
    {
        m_path = m_folder.Write("test.conf", contents);
        m_config.emplace("ZERIX_CONFIG", m_path);
        return Configuration::Open();
    }

    TemporaryFolder m_folder;
    std::string m_path;
    std::optional<EnvironmentVariable> m_config;
};

TEST_F(ConfigurationFile, HoldsNumbersAndTexts)
{
    const auto values = Open("# all of it\n"
                             "outputEnabled = 1\n"
                             "  packets=0x1F # in hexadecimal\n"
                             "outputFilePath = \"/tmp/a file #1.log\"  # quoted\n"
                             "\n"
                             "Bus = simulated\r\n"
                             "SimulatedBus = /racks/two#three.toml # the rack\n"
                             "quotedNumber = \"12\"\n"
                             "largest = 4294967295\n"
                             "tooLarge = 4294967296\n"
                             "empty = \"\"\n"
                             "unfinished = 7");
    ASSERT_NE(values, nullptr);
    EXPECT_EQ(values->Number("outputEnabled"), 1u);
    EXPECT_EQ(values->Number("packets"), 31u);
    EXPECT_EQ(values->Text("outputFilePath"), "/tmp/a file #1.log");
    EXPECT_EQ(values->Text("Bus"), "simulated");
    EXPECT_EQ(values->Text("SimulatedBus"), "/racks/two#three.toml");
    EXPECT_EQ(values->Text("quotedNumber"), "12");
    EXPECT_EQ(values->Number("quotedNumber"), std::nullopt);
    EXPECT_EQ(values->Number("largest"), 4294967295u);
    EXPECT_EQ(values->Number("tooLarge"), std::nullopt);
    EXPECT_EQ(values->Text("empty"), "");
    EXPECT_EQ(values->Number("unfinished"), 7u);
}

TEST_F(ConfigurationFile, GivesNothingForAnAbsentValueOrAnotherType)
{
    const auto values = Open("a = 1\nb = text\n");
    EXPECT_EQ(values->Number("c"), std::nullopt);
    EXPECT_EQ(values->Text("c"), std::nullopt);
    EXPECT_EQ(values->Text("a"), std::nullopt);
    EXPECT_EQ(values->Number("b"), std::nullopt);
}

TEST_F(ConfigurationFile, TakesNamesWithoutCaseAndTheLastOfTwo)
{
    const auto values = Open("BUS = kernel\nbus = auto\n");
    EXPECT_EQ(values->Text("Bus"), "auto");
}

TEST_F(ConfigurationFile, CutsATextAt1023Bytes)
{
    const auto values =
        Open("a = " + std::string(2000, 'x') + "\nb = \"" + std::string(2000, 'y') + "\"\n");
    EXPECT_EQ(values->Text("a"), std::string(1023, 'x'));
    EXPECT_EQ(values->Text("b"), std::string(1023, 'y'));
}

TEST_F(ConfigurationFile, TellsEachMalformedLineOnceAndUsesTheRest)
{
    const std::string contents = "outputReads = 1\n"
                                 "nonsense here\n"
                                 "outputWrites = 2\n"
                                 "= 3\n"
                                 "two words = 4\n"
                                 "c =\n"
                                 "d = \"open\n"
                                 "e = \"closed\" and more\n"
                                 "outputFrame = 5\n";
    testing::internal::CaptureStderr();
    const auto values = Open(contents);
    const std::string told = testing::internal::GetCapturedStderr();
    const std::string expected = ": expected \"name = value\", found ";
    EXPECT_EQ(told, m_path + ":2" + expected + "\"nonsense here\"\n" +     //
                        m_path + ":4" + expected + "\"= 3\"\n" +           //
                        m_path + ":5" + expected + "\"two words = 4\"\n" + //
                        m_path + ":6" + expected + "\"c =\"\n" +           //
                        m_path + ":7" + expected + "\"d = \"open\"\n" +    //
                        m_path + ":8" + expected + "\"e = \"closed\" and more\"\n");
    EXPECT_EQ(values->Number("outputReads"), 1u);
    EXPECT_EQ(values->Number("outputWrites"), 2u);
    EXPECT_EQ(values->Number("outputFrame"), 5u);
    EXPECT_EQ(values->Text("d"), std::nullopt);

    testing::internal::CaptureStderr();
    EXPECT_NE(Configuration::Open(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ConfigurationPlaces, TheFirstFileFoundIsTheConfiguration)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path() + "/xdg/zerix");
    std::filesystem::create_directories(folder.Path() + "/home/.config/zerix");
    folder.Write("named.conf", "a = 1\n");
    folder.Write("xdg/zerix/zerix.conf", "a = 2\n");
    folder.Write("home/.config/zerix/zerix.conf", "a = 3\n");
    const EnvironmentVariable home("HOME", folder.Path() + "/home");
    const EnvironmentVariable xdg("XDG_CONFIG_HOME", folder.Path() + "/xdg");
    {
        const EnvironmentVariable named("ZERIX_CONFIG", folder.Path() + "/named.conf");
        EXPECT_EQ(Configuration::Open()->Number("a"), 1u);
    }
    {
        // The null device is an empty file.
        const EnvironmentVariable none("ZERIX_CONFIG", "/dev/null");
        EXPECT_EQ(Configuration::Open()->Number("a"), std::nullopt);
    }
    const EnvironmentVariable noName("ZERIX_CONFIG", std::nullopt);
    const EnvironmentVariable noXdg("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(Configuration::Open()->Number("a"), 3u);
}

// The one that ZERIX_CONFIG names: the places where there may be one are passed over in silence.
TEST(ConfigurationPlaces, ANamedFileThatCannotBeReadIsReportedOnceAndTheNextIsUsed)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path() + "/xdg/zerix");
    folder.Write("xdg/zerix/zerix.conf", "outputReads = 2\n");
    folder.Write("long.conf", std::string((1 << 20) + 1, '#'));
    ASSERT_EQ(mkfifo((folder.Path() + "/pipe").c_str(), 0600), 0);
    const EnvironmentVariable home("HOME", folder.Path() + "/homeless");
    const EnvironmentVariable xdg("XDG_CONFIG_HOME", folder.Path() + "/xdg");
    const std::pair<const char *, const char *> kFiles[] = {
        {"/missing.conf", "No such file or directory"},
        {"/long.conf/zerix.conf", "Not a directory"},
        {"", "Is a directory"},
        {"/long.conf", "File too large"},
        {"/pipe", "it is no regular file"},
    };
    for (const auto &[name, reason] : kFiles) {
        const std::string path = folder.Path() + name;
        const EnvironmentVariable named("ZERIX_CONFIG", path);
        testing::internal::CaptureStderr();
        const auto quiet = OpenConfigurationQuietly();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << name;
        EXPECT_EQ(quiet->Number("outputReads"), 2u) << name;
        testing::internal::CaptureStderr();
        EXPECT_EQ(Configuration::Open()->Number("outputReads"), 2u) << name;
        EXPECT_EQ(Configuration::Open()->Number("outputReads"), 2u) << name;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  path + ": the configuration can't be read: " + reason + "\n");
    }
}

TEST(ConfigurationPlaces, APipeIsReportedAndPassedOverWhereverItIs)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path() + "/xdg/zerix");
    const std::string pipe = folder.Path() + "/xdg/zerix/zerix.conf";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const EnvironmentVariable named("ZERIX_CONFIG", std::nullopt);
    const EnvironmentVariable xdg("XDG_CONFIG_HOME", folder.Path() + "/xdg");
    testing::internal::CaptureStderr();
    auto opening = std::async(std::launch::async, [] { return Configuration::Open(); });
    EXPECT_EQ(opening.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    const int writer = open(pipe.c_str(), O_RDWR | O_NONBLOCK); // lets a waiting reader go on
    opening.wait();
    close(writer);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              pipe + ": the configuration can't be read: it is no regular file\n");
}

TEST_F(ConfigurationFile, ReportsNamesThatTheLibraryDoesNotKnowAndTheOtherType)
{
    testing::internal::CaptureStderr();
    const auto values = Open("Bus = auto\n"
                             "outputEnable = 1\n"
                             "OUTPUTENABLED = yes # please\n"
                             "SimulatedBus = 7\n"
                             "DebugOutput = \"8\"\n"
                             "outputReads = \"1\"\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              m_path + ":2: the library knows no value named \"outputEnable\"\n" + //
                  m_path + ":3: outputEnabled takes a number, found \"yes\"\n" +   //
                  m_path + ":4: SimulatedBus takes a text: put a text of digits only in quotes\n" +
                  m_path + ":6: outputReads takes a number, found \"\"1\"\"\n");
    EXPECT_EQ(values->Text("SimulatedBus"), std::nullopt);
    EXPECT_EQ(values->Text("DebugOutput"), "8");
}

TEST(WholeFiles, AreReadUpToTheirLargestSize)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("text", std::string(5000, 'x'));
    std::error_code error;
    EXPECT_EQ(ReadWholeFile(path, 5000, error), std::string(5000, 'x'));
    EXPECT_FALSE(error);
    EXPECT_EQ(ReadWholeFile(path, 4999, error), std::nullopt);
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_EQ(ReadWholeFile("/dev/zero", 10, error), "");
    EXPECT_FALSE(error);
    EXPECT_EQ(ReadWholeFile("/proc/self/comm", 100, error)->back(), '\n') << "its size is 0";
}

mode_t ModeOf(const std::string &path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

TEST(OwnersAndModes, AreTakenFromAnotherFile)
{
    const TemporaryFolder folder;
    const std::string from = folder.Write("from", "");
    const std::string to = folder.Write("to", "");
    for (const mode_t mode : {0600u, 0640u, 0444u, 0755u}) {
        ASSERT_EQ(chmod(from.c_str(), mode), 0);
        TakeOwnerAndMode(from, to);
        EXPECT_EQ(ModeOf(to), mode);
    }
    TakeOwnerAndMode(folder.Path() + "/missing", to);
    EXPECT_EQ(ModeOf(to), 0755u);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(from.c_str(), 4711, 4712), 0);
        TakeOwnerAndMode(from, to);
        struct stat status = {};
        ASSERT_EQ(stat(to.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, 4711u);
        EXPECT_EQ(status.st_gid, 4712u);
    }
}

TEST_F(ConfigurationFile, SendsDebugOutputToAFile)
{
    const std::string target = m_folder.Path() + "/debug.log";
    static_cast<void>(Open("DebugOutput = " + target + "\n"));
    DebugOutput("one");
    DebugOutput("two\n");
    EXPECT_EQ(m_folder.Read("debug.log"), "one\ntwo\n");
}

TEST_F(ConfigurationFile, SendsDebugOutputToTheStandardError)
{
    static_cast<void>(Open("DebugOutput = stderr\n"));
    testing::internal::CaptureStderr();
    DebugOutput("a line of %d");
    ShowFailureBox("Title", "text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a line of %d\nTitle: text\n");
}

TEST_F(ConfigurationFile, SendsDebugOutputNowhereByDefault)
{
    static_cast<void>(Open("# nothing\n"));
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    DebugOutput("a line");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// The system's loader would wait for a writer.
TEST(DynamicLibraries, ArentLoadedFromAPipe)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe.so";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(DynamicLibrary::Load(pipe), nullptr);
    EXPECT_EQ(LastError(), static_cast<uint32_t>(ENOENT));
}

TEST(DynamicLibraries, LoadedOnesGiveTheirSymbols)
{
    const auto library = DynamicLibrary::Load("libm.so.6");
    ASSERT_NE(library, nullptr);
    const auto squareRoot = reinterpret_cast<double (*)(double)>(library->Symbol("sqrt"));
    ASSERT_NE(squareRoot, nullptr);
    EXPECT_EQ(squareRoot(9.0), 3.0);
    EXPECT_EQ(library->Symbol("there_is_no_such_symbol"), nullptr);
}

TEST(DynamicLibraries, TheProgramLiesInItsOwnFolder)
{
    static const int inThisProgram = 0;
    EXPECT_EQ(FolderOfModuleWith(&inThisProgram),
              std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
    EXPECT_EQ(FolderOfModuleWith(nullptr), "");
}

TEST(ErrorTexts, OfThisSystemAreItsOwn)
{
    EXPECT_EQ(ErrorText(11), std::string(strerror(11)) + "\n");
    EXPECT_EQ(ErrorText(1450), "Insufficient system resources exist to complete the request.\n");
    EXPECT_EQ(ErrorText(1167), "The device is not connected.\n");
}

TEST(ErrorTexts, EndInOneLineFeed)
{
    for (const uint32_t number :
         {0u, 2u, 5u, 6u, 31u, 32u, 50u, 87u, 170u, 995u, 1167u, 1450u, 1u, 77u, 4'000'000'000u}) {
        const std::string text = ErrorText(number);
        EXPECT_GT(text.size(), 1u) << number;
        EXPECT_EQ(text.find_first_of("\r\n"), text.size() - 1) << number;
        EXPECT_TRUE(text.ends_with('\n')) << number;
    }
}

// A pipe that nobody reads would otherwise hold its writer up for ever.
TEST(AppendedFiles, NeverWaitForAReader)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    auto opening = std::async(std::launch::async, [&] { return OpenToAppend(pipe); });
    const bool isBack = opening.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    EXPECT_TRUE(isBack);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    std::FILE *const unread = opening.get();
    EXPECT_EQ(isBack ? unread : nullptr, nullptr);
    if (unread != nullptr)
        std::fclose(unread);
    std::FILE *const file = OpenToAppend(pipe);
    ASSERT_NE(file, nullptr);
    std::fputs("heard", file);
    std::fclose(file);
    char text[8] = {};
    EXPECT_EQ(read(reader, text, sizeof text), 5);
    EXPECT_STREQ(text, "heard");
    close(reader);
}

TEST(Threads, ThatTheSystemRefusesAreNull)
{
    const test::RefusedThreads refused;
    SetLastError(0);
    EXPECT_EQ(Thread::Start([](void *) {}, nullptr), nullptr);
    EXPECT_NE(LastError(), 0u);
}

// The guard and the mutex of a thread that is ended in its wait let go.
struct Held {
    std::unique_ptr<Mutex> mutex = Mutex::Create();
    std::unique_ptr<Event> entered = Event::Create(ResetMode::kManual);
    std::unique_ptr<Event> never = Event::Create(ResetMode::kAutomatic);
};

TEST(ForcedEnds, UnwindWhatTheThreadHolds)
{
    Held held;
    const auto thread = Thread::Start(
        [](void *parameter) {
            auto *const own = static_cast<Held *>(parameter);
            const std::lock_guard lock(*own->mutex);
            own->entered->Signal();
            static_cast<void>(own->never->Wait());
        },
        &held);
    ASSERT_EQ(held.entered->Wait(10'000), WaitResult::kSignalled);
    EXPECT_TRUE(thread->ForceEnd());
    held.mutex->lock(); // would never come back if the thread still held it
    held.mutex->unlock();
    held.never->Signal();
    EXPECT_EQ(held.never->Wait(0), WaitResult::kSignalled);
}

TEST(ForcedEnds, GiveUpOnAThreadThatNeverWaits)
{
    std::atomic<bool> mayLeave{false};
    const auto thread = Thread::Start(
        [](void *parameter) {
            while (!static_cast<std::atomic<bool> *>(parameter)->load()) {
            }
        },
        &mayLeave);
    EXPECT_FALSE(thread->ForceEnd());
    mayLeave = true;
    EXPECT_EQ(thread->Join(10'000), WaitResult::kSignalled);
}

TEST(ForcedEnds, DoNotStrikeInsideDebugOutput)
{
    // A destructor may write debug output: a thread ended there could not be unwound.
    std::atomic<int> written{0};
    const auto listening = Event::Create(ResetMode::kManual);
    SetDebugOutputForTest([&](const std::string &) {
        listening->Signal();
        SleepMilliseconds(50);
        ++written;
    });
    struct WritesAtEnd {
        ~WritesAtEnd() { DebugOutput("at the end"); }
    };
    const auto thread = Thread::Start([](void *) { const WritesAtEnd writes; }, nullptr);
    EXPECT_EQ(listening->Wait(10'000), WaitResult::kSignalled);
    EXPECT_TRUE(thread->ForceEnd());
    SetDebugOutputForTest({});
    EXPECT_EQ(written, 1);
}

} // namespace
} // namespace zerix::os
