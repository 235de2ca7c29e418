// Channels and bandwidth that the clients of device files book. Under the model's lock.
#pragma once

#include <cstdint>

#include "tests/linux_model/device_file.h"
#include "tests/linux_model/iso_accounts.h"

namespace zerix::linux_model {

class Machine;

class IsoResources {
public:
    explicit IsoResources(Machine &machine) : m_machine(machine) {}

    // The ioctls: 0 or an error. What becomes of it is an event.
    int Allocate(DeviceFile &file, fw_cdev_allocate_iso_resource &request);
    int Deallocate(DeviceFile &file, uint32_t handle);

    void RunDue();
    [[nodiscard]] nanoseconds NextDue() const;

    // A bus reset has cleared the accounts. What stays on the bus books its resources again.
    void ForgetBookings();
    void Renew(DeviceFile &file);
    // The same on the virtual bus, on a link that is new.
    void BookAnew(DeviceFile &file);
    // At the file's end.
    void FreeAll(DeviceFile &file);

    [[nodiscard]] const IsoAccounts &Accounts() const { return m_accounts; }
    // Somebody else on the bus books, until the next reset.
    void Occupy(uint64_t channels, uint32_t units);

private:
    void Work(DeviceFile &file, uint32_t handle);
    void AnswerAllocation(DeviceFile &file, uint32_t handle);
    void AnswerDeallocation(DeviceFile &file, uint32_t handle);
    bool Book(DeviceFile &file, IsoResource &resource);
    void Return(IsoResource &resource);
    static bool BookOnVirtualBus(DeviceFile &file, IsoResource &resource, uint64_t channels);
    static void Report(DeviceFile &file, uint32_t type, uint64_t closure, uint32_t handle,
                       const IsoAnswer &answer);

    Machine &m_machine;
    IsoAccounts m_accounts;
};

} // namespace zerix::linux_model
