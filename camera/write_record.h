// Which words of a block the camera is known to hold as the shadow has them. A word whose write
// failed, or was given up, may have reached the camera or not: it counts as unknown until a write
// of it succeeds. Setters compare only what is known. Any thread; relaxed, for no word guards
// another.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

#include "camera/register_map.h"

namespace zerix {

class WriteRecord {
public:
    explicit WriteRecord(std::span<const registers::regVersionEntry> lengthTable)
        : m_count(registers::LongestOf(lengthTable)), m_words(new Word[m_count]())
    {
    }

    [[nodiscard]] bool IsKnown(uint32_t offset) const
    {
        if (offset / 4 >= m_count)
            return true;
        const Word &word = m_words[offset / 4];
        return word.settled.load(std::memory_order_relaxed) ==
               word.begun.load(std::memory_order_relaxed);
    }

    // Begins a write of a word that is there; the number is for Succeeded.
    [[nodiscard]] uint32_t Begin(uint32_t offset)
    {
        return m_words[offset / 4].begun.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    void Succeeded(uint32_t offset, uint32_t number)
    {
        m_words[offset / 4].settled.store(number, std::memory_order_relaxed);
    }
    // Takes a number of its own, so that the success of a write that was under way at the same
    // time, and may lack this one's field, doesn't settle the word.
    void Failed(uint32_t offset) { static_cast<void>(Begin(offset)); }

    // For a shadow that begins anew.
    void Forget()
    {
        for (uint32_t index = 0; index < m_count; ++index)
            m_words[index].settled.store(m_words[index].begun.load(std::memory_order_relaxed),
                                         std::memory_order_relaxed);
    }

private:
    struct Word {
        std::atomic<uint32_t> begun = 0;
        std::atomic<uint32_t> settled = 0; // the number of the last write that succeeded
    };

    uint32_t m_count;
    std::unique_ptr<Word[]> m_words;
};

} // namespace zerix
