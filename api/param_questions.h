// What one parameter call asks of another about a record that it has checked already. While calls
// are traced the exported function is asked, so that the log has its lines; otherwise only the
// answer is looked up, as a value is checked by a dozen questions.
#pragma once

#include <cstdint>

#include "api/param_checks.h"

namespace zerix::api {

enum class Side { kMinimum, kMaximum };

// The class of a key.
bool IsSparse(const Zerix_Settings *settings, uint32_t key);
bool IsRange(const Zerix_Settings *settings, uint32_t key);

// The list of a key: 0 with as much of it as there is room for, or an error.
uint32_t AskTable(const ReadRecord &record, uint32_t key, uint32_t *entries, int32_t &size);

// A limit of a key: 0, or an error with nothing written.
uint32_t AskLimit(const ReadRecord &record, uint32_t key, Side side, uint32_t &value);

// The answers themselves.
uint32_t FindTable(const ReadRecord &record, uint32_t key, uint32_t *entries, int32_t &size);
uint32_t FindLimit(const ReadRecord &record, uint32_t key, Side side, uint32_t &value);

// The limit that stands in the key's row.
template <typename T>
uint32_t FindLimitInRow(const ReadRecord &record, uint32_t key, Side side, T &value)
{
    const ParamRow<T> &row = ParamFamily<T>::Rows()[key];
    const ParamLimit<T> limit = side == Side::kMinimum ? row.minimum : row.maximum;
    if (limit == nullptr || !HasKey(row, record.isCurrent))
        return ZERIX_ERROR_NOT_SUPPORTED;
    const auto found = limit(record.camera);
    if (!found.has_value())
        return ZERIX_ERROR_NOT_SUPPORTED;
    value = *found;
    return ZERIX_SUCCESS;
}

} // namespace zerix::api
