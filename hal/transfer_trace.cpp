// The trace of a register transfer. Goes out as one text, so that two threads don't mix theirs.
#include "hal/transfer_trace.h"

#include <string>

#include "hal/debug_text.h"
#include "platform/os.h"

namespace zerix::hal {

namespace {

std::string Heading(uint32_t kind, uint32_t address)
{
    if (kind == kTransferWrite)
        return Formatted("Async write to address 0x%x\n", address);
    if (kind == kTransferRead)
        return Formatted("Async read from address 0x%x\n", address);
    return "\n";
}

std::string Contents(const uint32_t *data, uint32_t count)
{
    if (count == 0)
        return "Packet data is not available because the length is 0 bytes.\n";
    std::string text =
        Formatted("Length in bytes: %d\n", static_cast<int>(count * 4)) + "Hex data: ";
    for (uint32_t i = 0; data != nullptr && i < count; ++i)
        text += Formatted("%08x ", data[i]);
    return text;
}

} // namespace

void TraceTransfer(uint32_t kind, uint32_t address, const uint32_t *data, uint32_t count)
{
    const os::WallTime now = os::WallClock();
    const auto milliseconds = static_cast<unsigned short>(now.microseconds / 1000);
    os::DebugOutput("\n---\n" +
                    Formatted("%s.%hu\n", os::TimeOfDayText(now).c_str(), milliseconds) +
                    Heading(kind, address) + Contents(data, count) + "\n");
}

} // namespace zerix::hal
