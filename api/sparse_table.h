// A list of allowed values in the making, in memory of the caller.
#pragma once

#include <cstdint>

namespace zerix::api {

class SparseTable {
public:
    // Room for `size` entries, not negative.
    SparseTable(uint32_t *entries, int32_t size) : m_entries(entries), m_size(size) {}

    // What no longer fits is left out without a word: the table comes back cut.
    void Add(uint32_t value)
    {
        if (m_count < m_size)
            m_entries[m_count++] = value;
    }

    [[nodiscard]] int32_t Count() const { return m_count; }

private:
    uint32_t *m_entries;
    int32_t m_size;
    int32_t m_count = 0;
};

} // namespace zerix::api
