// What the requests do on the virtual bus.
#include "sim/bus_driver.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "sim/bus_nodes.h"
#include "sim/virtual_bus.h"
#include "zerix/zerix_export.h"

namespace zerix::sim {

using namespace kernel;

namespace {

VirtualBus &Bus() { return VirtualBus::Instance(); }
BusDevice &DeviceOf(const Request &request) { return *Bus().Device(request.device); }
VirtualCamera &CameraOf(const Request &request) { return DeviceOf(request).Camera(); }

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

void PutBigEndian(uint8_t *bytes, uint32_t value)
{
    for (uint32_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

} // namespace

BusDriver &BusDriver::Instance()
{
    static BusDriver &driver = *new BusDriver;
    return driver;
}

uint32_t BusDriver::Enumerate(DevicePath *paths, uint32_t maximumCount, uint32_t *count)
{
    if (count == nullptr || (paths == nullptr && maximumCount > 0))
        return kErrorInvalidParameter;
    return OrWithoutResources([&]() -> uint32_t {
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
    return OrWithoutResources([&] { return OpenDevice(devicePath, device); });
}

uint32_t BusDriver::DescribeNodes(ZerixBusNode *nodes, uint32_t maximumCount, uint32_t *count)
{
    return OrWithoutResources([&]() -> uint32_t {
        const std::lock_guard lock(Bus().Lock());
        const std::vector<ZerixBusNode> described = DescribeBus(Bus());
        *count = static_cast<uint32_t>(described.size());
        std::copy_n(described.begin(), std::min(maximumCount, *count), nodes);
        return 0;
    });
}

// Handles ----------------------------------------------------------------------------------------

// A stream that ends is joined without the lock.
ControlResult BusDriver::Serve(const RawRequest &raw)
{
    std::unique_ptr<CameraStream> ended;
    const std::lock_guard lock(Bus().Lock());
    const ControlResult result = RequestServer::Serve(raw);
    ended = std::move(m_ended);
    return result;
}

bool BusDriver::IsHandle(DeviceHandle device)
{
    const std::lock_guard lock(Bus().Lock());
    return Bus().Device(device) != nullptr;
}

uint32_t BusDriver::CheckDevice(DeviceHandle device, bool givesBack)
{
    const auto opened = Bus().Device(device);
    if (opened == nullptr)
        return kErrorInvalidHandle;
    const bool needsCamera = !givesBack || opened->HasLostDriver();
    return needsCamera && !opened->IsConnected() ? uint32_t{kErrorDeviceNotConnected} : 0;
}

void BusDriver::CloseDevice(DeviceHandle device) { Bus().Close(device); }

bool BusDriver::Drop(DeviceHandle device, RequestId id)
{
    const std::lock_guard lock(Bus().Lock());
    if (const auto opened = Bus().Device(device))
        opened->DropBuffer(id);
    return true;
}

// Register accesses ------------------------------------------------------------------------------

// An access that pends is over before anybody waits for it; its result then comes from the wait.
ControlResult BusDriver::Answer(const Request &request, bool pends, ControlResult result)
{
    if (!pends)
        return result;
    Book().Finish(request.id, result);
    return Pending();
}

// What the plan of faults makes of an access; true if it has decided the answer.
bool BusDriver::DecidedByFault(const Request &request, const AccessFault &fault, bool pends,
                               ControlResult *result)
{
    if (fault.unplug != Unplugging::kNone) {
        Bus().Unplug(CameraOf(request), fault.unplug);
        *result = Answer(request, pends, Failed(kErrorDeviceNotConnected));
    } else if (fault.hang) {
        *result = Pending();
    } else if (fault.systemError != 0) {
        *result = Answer(request, pends, Failed(fault.systemError));
    } else {
        return false;
    }
    return true;
}

// Data of an access that completes at once is in host order, of one that pends as it is on the bus.
ControlResult BusDriver::AsyncRead(const Request &request, uint32_t address,
                                   std::span<uint8_t> data)
{
    VirtualCamera &camera = CameraOf(request);
    const bool pends = camera.NextAccessPends();
    ControlResult result{};
    if (DecidedByFault(request, camera.Faults().OnRead(), pends, &result))
        return result;
    std::vector<uint32_t> words(data.size() / 4);
    if (const uint32_t error = camera.Read(address, words))
        return Answer(request, pends, Failed(error));
    for (size_t i = 0; i < words.size(); ++i) {
        if (pends)
            PutBigEndian(data.data() + 4 * i, words[i]);
        else
            std::memcpy(data.data() + 4 * i, &words[i], 4);
    }
    return Answer(request, pends, Done(static_cast<uint32_t>(data.size())));
}

ControlResult BusDriver::AsyncWrite(const Request &request, uint32_t address,
                                    std::span<const uint8_t> data)
{
    VirtualCamera &camera = CameraOf(request);
    const bool pends = camera.NextAccessPends();
    ControlResult result{};
    if (DecidedByFault(request, camera.Faults().OnWrite(), pends, &result))
        return result;
    std::vector<uint32_t> words(data.size() / 4);
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = BigEndianAt(data.data() + 4 * i);
    if (const uint32_t error = camera.Write(address, words))
        return Answer(request, pends, Failed(error));
    if (const uint32_t error = Bus().FollowStreamingRegister(DeviceOf(request), m_ended))
        return Answer(request, pends, Failed(error));
    return Answer(request, pends, Done(0));
}

// The bus and its resources ----------------------------------------------------------------------

uint32_t BusDriver::IsOpen(const Request &request, bool &isOpen)
{
    isOpen = Bus().IsClaimed(CameraOf(request));
    return 0;
}

uint32_t BusDriver::AllocateBandwidth(const Request &request, BandwidthRequest &booking)
{
    BusDevice &device = DeviceOf(request);
    const BusDevice *owner = Bus().OwnerOf(device.Camera());
    const bool heldElsewhere = Bus().IsClaimed(device.Camera()) && owner == nullptr;
    if (heldElsewhere || (owner != nullptr && owner != &device))
        return kErrorBusy;
    if (device.Camera().Faults().OnBandwidth())
        return kErrorNoSystemResources;
    return device.AllocateBandwidth(booking.slotBytes, booking.speedFlag, &booking.handle);
}

uint32_t BusDriver::FreeBandwidth(const Request &request, uint32_t handle)
{
    return DeviceOf(request).FreeBandwidth(handle);
}

uint32_t BusDriver::AllocateChannel(const Request &request, ChannelRequest &booking)
{
    if (CameraOf(request).Faults().OnChannel())
        return kErrorNoSystemResources;
    return DeviceOf(request).AllocateChannel(booking.request, &booking.channel);
}

uint32_t BusDriver::FreeChannel(const Request &request, uint32_t channel)
{
    return DeviceOf(request).FreeChannel(channel);
}

uint32_t BusDriver::AllocateResources(const Request &request, ResourcesRequest &booking)
{
    if (CameraOf(request).Faults().OnResources(booking.speedFlag == kSpeedFlag800))
        return kErrorNoSystemResources;
    return DeviceOf(request).AllocateResources(booking, &booking.handle);
}

uint32_t BusDriver::FreeResources(const Request &request, uint32_t handle)
{
    return DeviceOf(request).FreeResources(handle);
}

ControlResult BusDriver::QueueBuffer(const Request &request, std::span<uint8_t> buffer)
{
    const uint32_t error = DeviceOf(request).QueueBuffer(buffer, request.id);
    return error == 0 ? Pending() : Failed(error);
}

uint32_t BusDriver::DetachBuffers(const Request &request, uint32_t resources)
{
    return DeviceOf(request).DetachBuffers(resources);
}

uint32_t BusDriver::Listen(const Request &request, uint32_t resources)
{
    return DeviceOf(request).Listen(resources);
}

uint32_t BusDriver::StopListen(const Request &request, uint32_t resources)
{
    return DeviceOf(request).StopListen(resources);
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
    try {
        ChooseRackOrTell(rackOrNull);
    } catch (const std::exception &) {
        std::fputs("zerix: the virtual bus has no memory for its rack.\n", stderr);
    }
    return &zerix::sim::BusDriver::Instance();
}
