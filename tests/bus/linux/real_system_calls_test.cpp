// The system calls themselves, on files that every system has.
#include <cerrno>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "bus/linux_firewire/kernel_records.h"
#include "bus/linux_firewire/system_calls.h"
#include "tests/support/temporary_folder.h"

namespace zerix::bus::linux_firewire {
namespace {

using namespace std::chrono_literals;

class RealCalls : public ::testing::Test {
protected:
    SystemCalls &system = RealSystemCalls();
    const test::TemporaryFolder folder;
};

TEST_F(RealCalls, OpenAndCloseFiles)
{
    const std::string path = folder.Write("fw1", "abc");
    const int file = system.Open(path.c_str());
    ASSERT_GE(file, 0);
    EXPECT_NE(0, fcntl(file, F_GETFD) & FD_CLOEXEC);
    EXPECT_EQ(O_RDWR, fcntl(file, F_GETFL) & O_ACCMODE);
    uint8_t bytes[8] = {};
    EXPECT_EQ(3, system.Read(file, bytes));
    EXPECT_EQ('c', bytes[2]);
    EXPECT_EQ(0, system.Close(file));
    EXPECT_EQ(-EBADF, system.Close(file));
    EXPECT_EQ(-EBADF, system.Read(file, bytes));
    EXPECT_EQ(-ENOENT, system.Open((path + "0").c_str()));
}

TEST_F(RealCalls, GiveTheErrorOfARequest)
{
    const int file = system.Open(folder.Write("fw1", "abc").c_str());
    fw_cdev_get_info info{};
    EXPECT_EQ(-ENOTTY, system.Ioctl(file, FW_CDEV_IOC_GET_INFO, &info));
    system.Close(file);
}

TEST_F(RealCalls, ShareAFilesMemory)
{
    const std::string path = folder.Write("fw1", std::string(5000, 'x'));
    const int file = system.Open(path.c_str());
    int error = 99;
    auto *const memory = static_cast<char *>(system.Map(file, 5000, error));
    ASSERT_NE(nullptr, memory);
    EXPECT_EQ(0, error);
    memory[4999] = 'y';
    EXPECT_EQ(0, system.Unmap(memory, 5000));
    std::string contents;
    EXPECT_EQ(0, system.ReadSmallFile(path.c_str(), contents));
    EXPECT_EQ(std::string(4999, 'x') + "y", contents);
    system.Close(file);
    EXPECT_EQ(nullptr, system.Map(file, 5000, error));
    EXPECT_EQ(-EBADF, error);
}

// Between two open files of one process as between two processes.
TEST_F(RealCalls, LockAFileForOneOfItsUsers)
{
    const std::string path = folder.Write("fw1", "");
    const int first = system.Open(path.c_str());
    const int second = system.Open(path.c_str());
    EXPECT_EQ(0, system.IsLockedElsewhere(first));
    EXPECT_EQ(0, system.Lock(first));
    EXPECT_EQ(0, system.Lock(first)); // has it
    EXPECT_EQ(0, system.IsLockedElsewhere(first));
    EXPECT_EQ(1, system.IsLockedElsewhere(second));
    EXPECT_EQ(-EAGAIN, system.Lock(second));
    EXPECT_EQ(0, system.Unlock(first));
    EXPECT_EQ(0, system.Lock(second));
    system.Close(second);
    EXPECT_EQ(0, system.IsLockedElsewhere(first));
    system.Close(first);
    EXPECT_EQ(-EBADF, system.Lock(first));
    EXPECT_EQ(-EBADF, system.Unlock(first));
    EXPECT_EQ(-EBADF, system.IsLockedElsewhere(first));
}

TEST_F(RealCalls, WakeAPoll)
{
    const int event = system.MakeEvent();
    ASSERT_GE(event, 0);
    pollfd files[2] = {{.fd = event, .events = POLLIN, .revents = 0},
                       {.fd = -1, .events = POLLIN, .revents = 0}};
    EXPECT_EQ(0, system.Poll(files, 0));
    std::thread signaller([&] { system.Signal(event); });
    EXPECT_EQ(1, system.Poll(files, -1));
    signaller.join();
    EXPECT_EQ(POLLIN, files[0].revents);
    EXPECT_EQ(0, files[1].revents);
    EXPECT_LT(0, system.Signal(event)); // two are cleared as one
    EXPECT_LT(0, system.Clear(event));
    EXPECT_EQ(0, system.Poll(files, 0));
    EXPECT_EQ(0, system.Clear(event));
    system.Close(event);
    EXPECT_EQ(-EBADF, system.Signal(event));
}

TEST_F(RealCalls, ListFolders)
{
    const std::string path = folder.Write("fw1", "");
    folder.Write("fw10", "");
    std::vector<std::string> names = {"old"};
    EXPECT_EQ(0, system.ListFolder(path.substr(0, path.rfind('/')).c_str(), names));
    std::sort(names.begin(), names.end());
    EXPECT_EQ((std::vector<std::string>{"fw1", "fw10"}), names);
    EXPECT_EQ(-ENOTDIR, system.ListFolder(path.c_str(), names));
    EXPECT_EQ(-ENOENT, system.ListFolder((path + "x").c_str(), names));
}

TEST_F(RealCalls, ReadFilesUpToALimit)
{
    std::string contents = "old";
    EXPECT_EQ(-ENOENT, system.ReadSmallFile("/nowhere/guid", contents));
    EXPECT_EQ("", contents);
    const std::string large = folder.Write("large", std::string(70000, 'x'));
    EXPECT_EQ(0, system.ReadSmallFile(large.c_str(), contents));
    EXPECT_EQ(65536u, contents.size());
}

TEST_F(RealCalls, KnowTheTime)
{
    const auto before = system.Now();
    system.Sleep(2ms);
    EXPECT_LE(before + 2ms, system.Now());
}

} // namespace
} // namespace zerix::bus::linux_firewire
