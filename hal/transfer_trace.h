// The trace of a register transfer on the debug output.
#pragma once

#include <cstdint>

namespace zerix::hal {

enum TransferKind : uint32_t { kTransferWrite = 1, kTransferRead = 2 };

// Writes one transfer of `count` quadlets as the caller sees them. Null data has no quadlets to
// show.
void TraceTransfer(uint32_t kind, uint32_t address, const uint32_t *data, uint32_t count);

} // namespace zerix::hal
