// A model of the Linux kernel's FireWire core, as a process sees it through its system calls. The
// nodes of its card are the virtual cameras of the virtual bus, which answer the requests and send
// the packets; what a rack plugs, unplugs and spoils, the model passes on as the kernel does.
//
//     linux_model::KernelModel model;
//     MyDriver driver(model);            // made of SystemCalls
//     BusTap::Replace(driver);
//
// Its clock runs faster than the wall clock, or stands still (HoldClock) and is moved by the test.
// Any thread.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bus/linux_firewire/system_calls.h"
#include "tests/linux_model/model_options.h"

namespace zerix::linux_model {

class Machine;
struct DeviceFile;

class KernelModel final : public bus::linux_firewire::SystemCalls {
public:
    explicit KernelModel(const ModelOptions &options = {});
    ~KernelModel() override;

    // For tests ----------------------------------------------------------------------------------

    // From now on time passes only in Advance, which does on its way whatever falls due. A call
    // that waits for a time then waits for an Advance.
    void HoldClock();
    void Advance(std::chrono::nanoseconds time);
    // Takes note of every camera that has come or gone. The model does so by itself, too, within a
    // few milliseconds.
    void Look();
    // Waits until the nodes are as the rack is: nothing pends on the bus.
    void Settle();

    // Another device resets the bus.
    void ResetBus();
    // Somebody else takes channels and bandwidth, until the next reset.
    void Occupy(uint64_t channels, uint32_t units);
    // Another process takes or gives back the lock of a device file that is there: "fw1".
    void LockElsewhere(const std::string &name, bool isLocked);

    // The next requests are answered with this and don't reach their node.
    void AnswerNext(uint32_t rcode, uint32_t times = 1);
    // The next cameras that come can't be read at first, so often in all.
    void FailRomReads(uint32_t times);
    // The kernel has no memory for the next interrupt events of streams.
    void LoseIsoEvents(uint32_t times);
    // How long the device files of cameras that come can't be opened.
    void DelayPermission(std::chrono::nanoseconds time);
    // The next call of a kind fails.
    enum class Call : uint8_t { kOpen, kMap, kMakeEvent, kPoll, kLock };
    void FailNext(Call call, int error);

    // What the process still has; all zero at its end.
    struct Held {
        uint32_t files = 0; // open, events too
        uint32_t maps = 0;
        uint32_t locks = 0;
        uint32_t contexts = 0;
        uint32_t pendingTransactions = 0;
        uint32_t channels = 0;
        uint32_t units = 0;
        bool operator==(const Held &) const = default;
    };
    Held WhatIsHeld();

    // The system calls ---------------------------------------------------------------------------

    int Open(const char *path) override;
    int Close(int file) override;
    long Read(int file, std::span<uint8_t> bytes) override;
    int Ioctl(int file, unsigned long request, void *record) override;
    void *Map(int file, size_t bytes, int &error) override;
    int Unmap(void *address, size_t bytes) override;
    int Poll(std::span<pollfd> files, int timeoutMilliseconds) override;
    int MakeEvent() override;
    int Signal(int event) override;
    int Clear(int event) override;
    int Lock(int file) override;
    int Unlock(int file) override;
    int IsLockedElsewhere(int file) override;
    int ListFolder(const char *path, std::vector<std::string> &names) override;
    int ReadSmallFile(const char *path, std::string &contents) override;
    std::chrono::nanoseconds Now() override;
    void Sleep(std::chrono::nanoseconds time) override;

private:
    // An open file is a device file or an event.
    struct OpenFile {
        std::shared_ptr<DeviceFile> device;
        bool isSignalled = false;
    };

    int Add(OpenFile file);
    std::shared_ptr<DeviceFile> DeviceAt(int file);
    int SetSignal(int event, bool isSignalled);
    short EventsOf(int file);
    bool FillPoll(std::span<pollfd> files);
    int TakeFailure(Call call);

    std::unique_ptr<Machine> m_machine;
    std::map<int, OpenFile> m_files;
    std::map<Call, int> m_failures;
};

} // namespace zerix::linux_model
