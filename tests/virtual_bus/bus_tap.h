// The kernel driver of the test programs: the virtual bus behind a tap that can fail a request,
// change a register as it is read, and count what passes. Requests of any thread.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "hal/kernel_driver.h"

namespace zerix::test {

// Stands between the hardware layer and the virtual bus. All devices alike.
class BusTap {
public:
    // After `skip` more requests of this code, the next `times` fail with the system error and
    // never reach the bus.
    void FailRequest(uint32_t code, uint32_t systemError, uint32_t skip = 0, uint32_t times = 1);
    // The same for reads or writes that begin at one address.
    void FailAccess(uint32_t code, uint32_t address, uint32_t systemError, uint32_t times = 1);
    // Opening a device fails, until Reset.
    void FailOpen(uint32_t systemError);
    // The is-open request answers that somebody else has the device, until `inUse` is false.
    void PretendInUse(bool inUse);
    // It answers that nobody has the device, until Reset.
    void PretendFree();
    // From now on the quadlet at the address reads as `value`, whatever the camera holds.
    void OverrideRegister(uint32_t address, uint32_t value);
    // Requests of this code since Reset, failed ones too.
    uint32_t CountOf(uint32_t code);
    // Addresses and quadlet counts of the reads since Reset or the last call.
    struct Read {
        uint32_t address;
        uint32_t quadlets;
        bool operator==(const Read &) const = default;
    };
    std::vector<Read> TakeReads();
    // Tags of the streams that resources were asked for, since Reset or the last call.
    std::vector<uint32_t> TakeTags();
    // Called by every thread as its request or wait passes to the bus and as it comes back; null
    // for none.
    void WatchPassages(void (*watch)(bool isGoingIn));
    // Forgets all of the above.
    void Reset();
    // Puts another bus behind the tap, and returns the one that was there. While no device is open.
    static kernel::KernelDriver &Replace(kernel::KernelDriver &bus);
};

std::ostream &operator<<(std::ostream &stream, const BusTap::Read &read);

} // namespace zerix::test
