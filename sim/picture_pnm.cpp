// PGM and PPM files of one byte a sample.
#include <charconv>
#include <optional>
#include <utility>

#include "sim/picture_file.h"

namespace zerix::sim {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

// The header: numbers, between them blanks and comments up to the end of a line.
class Header {
public:
    explicit Header(std::string_view rest) : m_rest(rest) {}

    std::optional<uint32_t> Number()
    {
        SkipBlanks();
        uint32_t number = 0;
        const auto [end, failed] =
            std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), number);
        if (failed != std::errc())
            return std::nullopt;
        m_rest.remove_prefix(static_cast<size_t>(end - m_rest.data()));
        return number;
    }

    // The samples, behind a single blank.
    std::optional<std::string_view> Samples() const
    {
        if (m_rest.empty() || kBlanks.find(m_rest.front()) == std::string_view::npos)
            return std::nullopt;
        return m_rest.substr(1);
    }

private:
    void SkipBlanks()
    {
        while (!m_rest.empty()) {
            const size_t count =
                m_rest.front() == '#' ? m_rest.find('\n') : m_rest.find_first_not_of(kBlanks);
            if (count == 0)
                return;
            m_rest.remove_prefix(count < m_rest.size() ? count : m_rest.size());
        }
    }

    std::string_view m_rest;
};

uint8_t Level(char sample, uint32_t highest)
{
    const auto value = static_cast<uint32_t>(static_cast<uint8_t>(sample));
    return static_cast<uint8_t>(value < highest ? (value * 255 + highest / 2) / highest : 255);
}

} // namespace

bool DecodePnm(std::string_view file, DecodedPicture *picture)
{
    const bool isGrey = file.starts_with("P5");
    if (!isGrey && !file.starts_with("P6"))
        return false;
    Header header(file.substr(2));
    const auto width = header.Number();
    const auto height = header.Number();
    const auto highest = header.Number();
    if (!width || !height || !highest || !IsDecodable(*width, *height))
        return false;
    const auto samples = header.Samples();
    const size_t pixels = size_t{*width} * *height;
    if (*highest < 1 || *highest > 255 || !samples || samples->size() < pixels * (isGrey ? 1 : 3))
        return false;
    std::vector<uint8_t> levels(pixels * 3);
    for (size_t i = 0; i < levels.size(); ++i)
        levels[i] = Level((*samples)[isGrey ? i / 3 : i], *highest);
    *picture = {.width = *width, .height = *height, .levels = std::move(levels)};
    return true;
}

} // namespace zerix::sim
