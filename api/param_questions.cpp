// The questions of parameter calls to each other, and their answers.
#include "api/param_questions.h"

#include <array>

#include "api/sparse_table.h"

namespace zerix::api {
namespace {

// The first or the last entry; an empty list has neither.
uint32_t FindLimitInTable(const ReadRecord &record, uint32_t key, Side side, uint32_t &value)
{
    std::array<uint32_t, 100> entries;
    int32_t count = entries.size();
    if (const auto error = AskTable(record, key, entries.data(), count))
        return error;
    if (count == 0)
        return ZERIX_ERROR_NOT_SUPPORTED;
    value = entries[side == Side::kMinimum ? 0 : static_cast<std::size_t>(count) - 1];
    return ZERIX_SUCCESS;
}

} // namespace

bool IsSparse(const Zerix_Settings *settings, uint32_t key)
{
    if (IsTraced())
        return Zerix_IsSparseTable(settings, key) == ZERIX_SUCCESS;
    return kParamRows[key].list != nullptr;
}

bool IsRange(const Zerix_Settings *settings, uint32_t key)
{
    if (IsTraced())
        return Zerix_IsRangeTable(settings, key) == ZERIX_SUCCESS;
    const ParamRow<uint32_t> &row = kParamRows[key];
    return row.isRange && HasKey(row, tables::IsCurrentLayout(settings));
}

uint32_t AskTable(const ReadRecord &record, uint32_t key, uint32_t *entries, int32_t &size)
{
    if (IsTraced())
        return Zerix_GetParamSparseTable(record.settings, key, entries, &size);
    return FindTable(record, key, entries, size);
}

uint32_t AskLimit(const ReadRecord &record, uint32_t key, Side side, uint32_t &value)
{
    if (IsTraced())
        return side == Side::kMinimum ? Zerix_GetParamMin(record.settings, key, &value)
                                      : Zerix_GetParamMax(record.settings, key, &value);
    return FindLimit(record, key, side, value);
}

uint32_t FindTable(const ReadRecord &record, uint32_t key, uint32_t *entries, int32_t &size)
{
    const ParamList list = kParamRows[key].list;
    if (list == nullptr)
        return ZERIX_ERROR_NOT_SUPPORTED;
    SparseTable table(entries, size);
    list(record.camera, table);
    size = table.Count();
    return ZERIX_SUCCESS;
}

uint32_t FindLimit(const ReadRecord &record, uint32_t key, Side side, uint32_t &value)
{
    if (IsSparse(record.settings, key) && !IsRange(record.settings, key))
        return FindLimitInTable(record, key, side, value);
    return FindLimitInRow(record, key, side, value);
}

} // namespace zerix::api
