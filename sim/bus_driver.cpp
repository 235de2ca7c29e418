// Handles, paths and waiting; what the requests do stands in bus_requests.cpp.
#include "sim/bus_driver.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sim/bus_requests.h"
#include "sim/virtual_bus.h"
#include "zerix/zerix_export.h"

namespace zerix::sim {

using namespace kernel;

namespace {

ControlResult Failed(uint32_t error) { return {Completion::kFailed, error, 0}; }
VirtualBus &Bus() { return VirtualBus::Instance(); }

uint32_t OpenDevice(const char *devicePath, DeviceHandle *device)
{
    const std::lock_guard lock(Bus().Lock());
    return Bus().Open(devicePath, device);
}

std::vector<std::string> PresentPaths()
{
    const std::lock_guard lock(Bus().Lock());
    Bus().FinishReturns();
    return Bus().PresentPaths();
}

// Memory is the one thing that can be lacking here: the driver then has no resources, as the real
// one. What ends a thread by force is no exception of the standard's, and passes.
template <typename Answer, typename Work>
Answer OrWithoutResources(Answer withoutResources, Work work)
{
    try {
        return work();
    } catch (const std::exception &) {
        return withoutResources;
    }
}

} // namespace

uint32_t BusDriver::Enumerate(DevicePath *paths, uint32_t maximumCount, uint32_t *count)
{
    if (count == nullptr || (paths == nullptr && maximumCount > 0))
        return kErrorInvalidParameter;
    return OrWithoutResources(uint32_t{kErrorNoSystemResources}, [&]() -> uint32_t {
        const std::vector<std::string> present = PresentPaths();
        *count = 0;
        for (const std::string &path : present) {
            if (*count == maximumCount)
                break;
            std::snprintf(paths[*count].text, sizeof(paths[*count].text), "%s", path.c_str());
            ++*count;
        }
        return 0;
    });
}

uint32_t BusDriver::Open(const char *devicePath, DeviceHandle *device)
{
    if (devicePath == nullptr || device == nullptr)
        return kErrorInvalidParameter;
    return OrWithoutResources(uint32_t{kErrorNoSystemResources},
                              [&] { return OpenDevice(devicePath, device); });
}

ControlResult BusDriver::Control(DeviceHandle device, uint32_t code, const void *in,
                                 uint32_t inSize, void *out, uint32_t outSize,
                                 Overlapped *overlapped)
{
    std::unique_ptr<CameraStream> ended;
    std::unique_lock lock(Bus().Lock());
    const auto opened = Bus().Device(device);
    if (opened == nullptr)
        return Failed(kErrorInvalidHandle);
    if (overlapped != nullptr && RequestBook::IsPending(*overlapped))
        return Failed(kErrorInvalidParameter);
    Overlapped ours;
    Overlapped &used = overlapped != nullptr ? *overlapped : ours;
    const Call call{
        ended,   *opened, static_cast<const uint8_t *>(in), inSize, static_cast<uint8_t *>(out),
        outSize, used};
    const ControlResult result = OrWithoutResources(Failed(kErrorNoSystemResources),
                                                    [&] { return HandleRequest(code, call); });
    if (result.completion != Completion::kPending) {
        Bus().Requests().Finish(used, result);
        return result;
    }
    return overlapped != nullptr ? result : Bus().Requests().Wait(lock, ours);
}

ControlResult BusDriver::Wait(DeviceHandle, Overlapped *overlapped)
{
    if (overlapped == nullptr)
        return Failed(kErrorInvalidParameter);
    std::unique_lock lock(Bus().Lock());
    return Bus().Requests().Wait(lock, *overlapped);
}

void BusDriver::CancelPending(DeviceHandle device)
{
    const std::lock_guard lock(Bus().Lock());
    if (const auto opened = Bus().Device(device))
        opened->EndPending(kErrorOperationAborted);
}

void BusDriver::Close(DeviceHandle device) { Bus().Close(device); }

void BusDriver::Cancel(DeviceHandle device, Overlapped *overlapped)
{
    const std::lock_guard lock(Bus().Lock());
    if (const auto opened = Bus().Device(device))
        opened->EndOne(overlapped, kErrorOperationAborted);
}

ControlResult BusDriver::WaitFor(DeviceHandle, Overlapped *overlapped, uint32_t timeoutMilliseconds)
{
    if (overlapped == nullptr)
        return Failed(kErrorInvalidParameter);
    std::unique_lock lock(Bus().Lock());
    return Bus().Requests().WaitFor(lock, *overlapped,
                                    std::chrono::milliseconds(timeoutMilliseconds));
}

} // namespace zerix::sim

// The kernel driver that this library stands for. A null rack keeps the one that an application has
// chosen, or else the built-in one. A rack that can't be used is told once, on the standard error,
// and leaves a bus without cameras.
extern "C" ZERIX_API zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull);

namespace {

void TellOnce(const std::string &sentence)
{
    static std::mutex lock;
    static std::string told;
    const std::lock_guard guard(lock);
    if (sentence != told)
        std::fprintf(stderr, "zerix: %s\n", sentence.c_str());
    told = sentence;
}

void ChooseRackOrTell(const char *rackOrNull)
{
    auto &bus = zerix::sim::VirtualBus::Instance();
    if (rackOrNull == nullptr)
        return bus.EnsureRack();
    std::string error;
    const uint32_t result = bus.ChooseRack(rackOrNull, &error);
    if (result != ZERIX_SIM_OK)
        TellOnce(error);
    if (result == ZERIX_SIM_BAD_RACK)
        bus.Clear();
}

} // namespace

extern "C" zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull)
{
    static zerix::sim::BusDriver driver;
    try {
        ChooseRackOrTell(rackOrNull);
    } catch (const std::exception &) {
        std::fputs("zerix: the virtual bus has no memory for its rack.\n", stderr);
    }
    return &driver;
}
