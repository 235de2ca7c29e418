// Whether a value is one that a parameter key may have, by the key's class. Each answers 0, 2 for a
// value that is refused, or the error of the calls that it asks: that one it tells in the log, as a
// phrase under its own name beside the end line of the call that checks. The call has checked the
// record, and that the camera supports the key.
#pragma once

#include <cstdint>

#include "api/param_rows.h"

namespace zerix::api {

uint32_t CheckSparseTableEntry(const ReadRecord &record, uint32_t key, uint32_t value);
uint32_t CheckRangeTableEntry(const ReadRecord &record, uint32_t key, uint32_t value);

} // namespace zerix::api
