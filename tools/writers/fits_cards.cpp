// Values in the fixed format: numbers end in column 30, texts begin in column 11.
#include "tools/writers/fits_cards.h"

#include <fmt/format.h>

namespace zerix::tool {

namespace {

std::string CardOf(std::string_view name, std::string_view value, std::string_view comment)
{
    std::string card = fmt::format("{:<8}= {}", name, value);
    if (!comment.empty())
        card += fmt::format(" / {}", comment);
    card.resize(kFitsCard, ' ');
    return card;
}

} // namespace

std::string FitsNumberCard(std::string_view name, int64_t value, std::string_view comment)
{
    return CardOf(name, fmt::format("{:>20}", value), comment);
}

void FitsCards::Card(std::string_view name, std::string_view value, std::string_view comment)
{
    m_cards += CardOf(name, value, comment);
}

void FitsCards::Flag(std::string_view name, bool value, std::string_view comment)
{
    Card(name, fmt::format("{:>20}", value ? 'T' : 'F'), comment);
}

void FitsCards::Number(std::string_view name, int64_t value, std::string_view comment)
{
    m_cards += FitsNumberCard(name, value, comment);
}

void FitsCards::Real(std::string_view name, double value, std::string_view comment)
{
    std::string text = fmt::format("{:.15G}", value);
    if (text.find_first_of(".E") == std::string::npos)
        text += ".0";
    Card(name, fmt::format("{:>20}", text), comment);
}

void FitsCards::Text(std::string_view name, std::string_view value, std::string_view comment)
{
    constexpr size_t kLongest = 50; // what surely fits between its quotes
    std::string quoted;
    for (const char c : value.substr(0, kLongest)) {
        const bool isPrintable = c >= ' ' && c <= '~';
        quoted += isPrintable ? c : '?';
        if (c == '\'')
            quoted += c;
    }
    Card(name, fmt::format("{:<20}", fmt::format("'{:<8}'", quoted)), comment);
}

std::string FitsCards::Header() const
{
    std::string header = m_cards + "END";
    header.resize(m_cards.size() + kFitsCard, ' ');
    header.resize(header.size() + FitsFill(header.size()), ' ');
    return header;
}

} // namespace zerix::tool
