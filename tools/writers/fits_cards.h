// The header of a FITS unit: cards of 80 characters, in blocks of 2880 bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zerix::tool {

inline constexpr size_t kFitsCard = 80;
inline constexpr size_t kFitsBlock = 2880;

// Bytes that are missing to a whole block.
inline size_t FitsFill(uint64_t size)
{
    return (kFitsBlock - static_cast<size_t>(size % kFitsBlock)) % kFitsBlock;
}

class FitsCards {
public:
    void Flag(std::string_view name, bool value, std::string_view comment = "");
    void Number(std::string_view name, int64_t value, std::string_view comment = "");
    void Real(std::string_view name, double value, std::string_view comment = "");
    void Text(std::string_view name, std::string_view value, std::string_view comment = "");

    // With the END card, filled up to a whole block.
    [[nodiscard]] std::string Header() const;

private:
    void Card(std::string_view name, std::string_view value, std::string_view comment);

    std::string m_cards;
};

// One card with a whole number, for putting a header right in place.
std::string FitsNumberCard(std::string_view name, int64_t value, std::string_view comment);

} // namespace zerix::tool
