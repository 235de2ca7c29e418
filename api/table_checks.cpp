// The two checks of a value against its key's table.
#include "api/table_checks.h"

#include <algorithm>
#include <array>

#include "api/param_questions.h"

namespace zerix::api {
namespace {

uint32_t Failed(const char *check, uint32_t error)
{
    diag::ZLogEndError(check, static_cast<uint16_t>(error));
    return error;
}

} // namespace

uint32_t CheckSparseTableEntry(const ReadRecord &record, uint32_t key, uint32_t value)
{
    std::array<uint32_t, 30> entries;
    int32_t count = entries.size();
    if (const auto error = AskTable(record, key, entries.data(), count))
        return Failed(__func__, error);
    const auto end = entries.begin() + count;
    return std::find(entries.begin(), end, value) != end ? ZERIX_SUCCESS
                                                         : ZERIX_ERROR_BAD_PARAMETER;
}

uint32_t CheckRangeTableEntry(const ReadRecord &record, uint32_t key, uint32_t value)
{
    uint32_t maximum = 0;
    uint32_t minimum = 0;
    if (const auto error = AskLimit(record, key, Side::kMaximum, maximum))
        return Failed(__func__, error);
    if (const auto error = AskLimit(record, key, Side::kMinimum, minimum))
        return Failed(__func__, error);
    return value >= minimum && value <= maximum ? ZERIX_SUCCESS : ZERIX_ERROR_BAD_PARAMETER;
}

} // namespace zerix::api
