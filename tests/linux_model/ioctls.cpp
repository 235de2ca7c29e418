// Takes the records apart as the kernel does: by the number and the size that the request carries,
// which differs between 32-bit and 64-bit programs.
#include "tests/linux_model/ioctls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace zerix::linux_model {
namespace {

union Records {
    fw_cdev_get_info info;
    fw_cdev_send_request send;
    fw_cdev_initiate_bus_reset reset;
    fw_cdev_create_iso_context create;
    fw_cdev_queue_iso queue;
    fw_cdev_start_iso start;
    fw_cdev_stop_iso stop;
    fw_cdev_flush_iso flush;
    fw_cdev_get_cycle_timer timer;
    fw_cdev_get_cycle_timer2 timer2;
    fw_cdev_allocate_iso_resource allocate;
    fw_cdev_deallocate deallocate;
};

uint8_t *MemoryAt(uint64_t address)
{
    return reinterpret_cast<uint8_t *>(static_cast<uintptr_t>(address));
}

int GetInfo(const Machine &machine, DeviceFile &file, fw_cdev_get_info &info)
{
    const std::vector<uint32_t> &rom = file.node->rom;
    const auto have = static_cast<uint32_t>(rom.size() * sizeof rom[0]);
    file.version = info.version;
    info.version = machine.options.interfaceVersion;
    info.card = 0;
    if (info.rom != 0)
        std::memcpy(MemoryAt(info.rom), rom.data(), std::min(info.rom_length, have));
    info.rom_length = have;
    file.resetClosure = info.bus_reset_closure;
    if (info.bus_reset != 0) {
        const Event event = machine.BusResetEvent(file).Take();
        std::memcpy(MemoryAt(info.bus_reset), event.data(), kBusResetFieldBytes);
    }
    file.hasInfo = true;
    return 0;
}

// The monotonic clock is the model's own.
int GetCycleTimer2(const Machine &machine, fw_cdev_get_cycle_timer2 &timer)
{
    timer.cycle_timer = machine.streams.CycleTimer();
    timespec now{};
    if (timer.clk_id == CLOCK_REALTIME)
        ::clock_gettime(CLOCK_REALTIME, &now);
    else if (timer.clk_id != CLOCK_MONOTONIC && timer.clk_id != CLOCK_MONOTONIC_RAW)
        return -EINVAL;
    timer.tv_sec = now.tv_sec;
    timer.tv_nsec = static_cast<int32_t>(now.tv_nsec);
    if (timer.clk_id != CLOCK_REALTIME) {
        timer.tv_sec = machine.clock.Now().count() / 1'000'000'000;
        timer.tv_nsec = static_cast<int32_t>(machine.clock.Now().count() % 1'000'000'000);
    }
    return 0;
}

int GetCycleTimer(const Machine &machine, fw_cdev_get_cycle_timer &timer)
{
    fw_cdev_get_cycle_timer2 timer2{};
    timer2.clk_id = CLOCK_REALTIME;
    GetCycleTimer2(machine, timer2);
    timer.cycle_timer = timer2.cycle_timer;
    timer.local_time = static_cast<uint64_t>(timer2.tv_sec) * 1'000'000 +
                       static_cast<uint64_t>(timer2.tv_nsec) / 1000;
    return 0;
}

int Serve(Machine &machine, Lock &lock, const std::shared_ptr<DeviceFile> &file, uint32_t number,
          Records &records)
{
    switch (number) {
    case _IOC_NR(FW_CDEV_IOC_GET_INFO):
        return GetInfo(machine, *file, records.info);
    case _IOC_NR(FW_CDEV_IOC_SEND_REQUEST):
        return machine.transactions.Send(file, records.send);
    case _IOC_NR(FW_CDEV_IOC_INITIATE_BUS_RESET):
        machine.bus.Reset();
        return 0;
    case _IOC_NR(FW_CDEV_IOC_CREATE_ISO_CONTEXT):
        return machine.streams.Create(*file, records.create);
    case _IOC_NR(FW_CDEV_IOC_QUEUE_ISO):
        return machine.streams.Queue(*file, records.queue);
    case _IOC_NR(FW_CDEV_IOC_START_ISO):
        return machine.streams.Start(*file, records.start);
    case _IOC_NR(FW_CDEV_IOC_STOP_ISO):
        return machine.streams.Stop(lock, *file, records.stop.handle);
    case _IOC_NR(FW_CDEV_IOC_FLUSH_ISO):
        return IsoStreams::Flush(*file, records.flush.handle);
    case _IOC_NR(FW_CDEV_IOC_GET_CYCLE_TIMER):
        return GetCycleTimer(machine, records.timer);
    case _IOC_NR(FW_CDEV_IOC_GET_CYCLE_TIMER2):
        return GetCycleTimer2(machine, records.timer2);
    case _IOC_NR(FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE):
        return machine.resources.Allocate(*file, records.allocate);
    case _IOC_NR(FW_CDEV_IOC_DEALLOCATE_ISO_RESOURCE):
        return machine.resources.Deallocate(*file, records.deallocate.handle);
    case _IOC_NR(FW_CDEV_IOC_GET_SPEED):
        return static_cast<int>(file->node->speed);
    default:
        return -ENOTTY; // the kernel has more
    }
}

} // namespace

int ServeIoctl(Machine &machine, Lock &lock, const std::shared_ptr<DeviceFile> &file,
               unsigned long request, void *record)
{
    if (file->IsShutDown())
        return -ENODEV;
    Records records{};
    const size_t bytes = _IOC_SIZE(request);
    if (_IOC_TYPE(request) != '#' || bytes > sizeof records)
        return -ENOTTY;
    if ((_IOC_DIR(request) & _IOC_WRITE) != 0)
        std::memcpy(&records, record, bytes);
    const int result = Serve(machine, lock, file, _IOC_NR(request), records);
    if (result >= 0 && (_IOC_DIR(request) & _IOC_READ) != 0)
        std::memcpy(record, &records, bytes);
    return result;
}

} // namespace zerix::linux_model
