// One register block of a camera: where it is, which version, and its words in host order. Setters
// run on the caller's thread while the receive thread and the run loop read, so every shared word
// is atomic; relaxed, for no word guards another. The storage never moves, whatever is reloaded.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

#include "camera/register_map.h"

namespace zerix {

class RegisterBlock {
public:
    explicit RegisterBlock(std::span<const registers::regVersionEntry> lengthTable)
        : table(lengthTable),
          m_words(new std::atomic<uint32_t>[registers::LongestOf(lengthTable)]())
    {
    }

    // 0 for a word that this version of the block lacks.
    [[nodiscard]] uint32_t Word(uint32_t offset) const
    {
        return HasWord(offset) ? m_words[offset / 4].load(std::memory_order_relaxed) : 0;
    }
    // The word must be there.
    void Store(uint32_t offset, uint32_t value)
    {
        m_words[offset / 4].store(value, std::memory_order_relaxed);
    }
    [[nodiscard]] bool HasWord(uint32_t offset) const { return offset / 4 < WordCount(); }
    [[nodiscard]] uint32_t WordCount() const { return m_count.load(std::memory_order_relaxed); }

    [[nodiscard]] uint32_t Read(registers::Field field) const
    {
        return registers::Extract(Word(field.offset), field);
    }
    [[nodiscard]] bool Has(registers::Field field) const { return HasWord(field.offset); }
    [[nodiscard]] bool IsAtLeast(uint16_t needMajor, uint16_t needMinor) const
    {
        return registers::IsVersionAtLeast(major, minor, needMajor, needMinor);
    }

    void SetVersion(uint32_t word)
    {
        version = word;
        major = registers::MajorOf(word);
        minor = registers::MinorOf(word);
    }
    // Words that this version of the block has; 0 for a version without a row.
    [[nodiscard]] uint32_t LengthOfVersion() const
    {
        return registers::CalculateRegisterLength(table, version);
    }
    // Takes a whole block as it was read, LengthOfVersion() words.
    void Fill(std::span<const uint32_t> words)
    {
        for (uint32_t index = 0; index < words.size(); ++index)
            m_words[index].store(words[index], std::memory_order_relaxed);
        m_count.store(static_cast<uint32_t>(words.size()), std::memory_order_relaxed);
    }
    // LengthOfVersion() words of 0.
    void FillWithZeros()
    {
        m_count.store(0, std::memory_order_relaxed);
        for (uint32_t index = 0; index < LengthOfVersion(); ++index)
            m_words[index].store(0, std::memory_order_relaxed);
        m_count.store(LengthOfVersion(), std::memory_order_relaxed);
    }

    std::span<const registers::regVersionEntry> table;
    std::atomic<uint32_t> address = 0;
    std::atomic<uint32_t> version = 0;
    std::atomic<uint16_t> major = 0;
    std::atomic<uint16_t> minor = 0;

private:
    std::unique_ptr<std::atomic<uint32_t>[]> m_words;
    std::atomic<uint32_t> m_count = 0;
};

} // namespace zerix
