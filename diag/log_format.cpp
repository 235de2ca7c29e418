// The log's two formatters.
#include "diag/log_format.h"

#include <algorithm>
#include <charconv>

namespace zerix::diag {
namespace {

// Hands out the arguments in order; past the end there is none.
class ArgumentReader {
public:
    explicit ArgumentReader(std::span<const LogArgument> arguments) : m_arguments(arguments) {}

    const LogArgument *Next()
    {
        return m_next < m_arguments.size() ? &m_arguments[m_next++] : nullptr;
    }

private:
    std::span<const LogArgument> m_arguments;
    std::size_t m_next = 0;
};

struct Conversion {
    bool padsWithZeros = false;
    std::size_t width = 0;
    int longs = 0;
    char letter = 0;
    std::size_t length = 0; // characters after the percent sign
};

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

// `text` begins behind the percent sign.
Conversion ParseConversion(std::string_view text)
{
    constexpr std::size_t kWidest = 64;
    Conversion conversion;
    std::size_t at = 0;
    if (at < text.size() && text[at] == '0') {
        conversion.padsWithZeros = true;
        ++at;
    }
    for (; at < text.size() && IsDigit(text[at]); ++at)
        conversion.width =
            std::min(kWidest, conversion.width * 10 + static_cast<std::size_t>(text[at] - '0'));
    for (; at < text.size() && text[at] == 'l'; ++at)
        ++conversion.longs;
    if (at < text.size())
        conversion.letter = text[at++];
    conversion.length = at;
    return conversion;
}

template <typename T>
std::string Digits(T value, int base = 10)
{
    char buffer[24];
    const auto end = std::to_chars(std::begin(buffer), std::end(buffer), value, base).ptr;
    return {std::begin(buffer), end};
}

std::string NumberText(const Conversion &conversion, const LogArgument &argument)
{
    const uint64_t number = argument.Number();
    const bool isWide = conversion.longs >= 2;
    switch (conversion.letter) {
    case 'd':
        return isWide ? Digits(static_cast<int64_t>(number))
                      : Digits(static_cast<int32_t>(static_cast<uint32_t>(number)));
    case 'x':
        return Digits(number, 16);
    default:
        return isWide ? Digits(number) : Digits(static_cast<uint32_t>(number));
    }
}

std::string Padded(const Conversion &conversion, std::string digits)
{
    if (digits.size() >= conversion.width)
        return digits;
    const std::size_t missing = conversion.width - digits.size();
    if (!conversion.padsWithZeros)
        return std::string(missing, ' ') + digits;
    const std::size_t behindSign = !digits.empty() && digits.front() == '-' ? 1 : 0;
    return digits.insert(behindSign, missing, '0');
}

std::string CharacterText(const LogArgument &argument)
{
    return std::string(1, static_cast<char>(argument.Number()));
}

std::string TextOf(const LogArgument &argument) { return argument.IsText() ? argument.Text() : ""; }

std::string Expand(const Conversion &conversion, ArgumentReader &arguments)
{
    if (conversion.letter == '%')
        return "%";
    const LogArgument *argument = arguments.Next();
    if (argument == nullptr)
        return "";
    switch (conversion.letter) {
    case 'd':
    case 'u':
    case 'x':
        return argument->IsText() ? "" : Padded(conversion, NumberText(conversion, *argument));
    case 'c':
        return CharacterText(*argument);
    case 's':
        return TextOf(*argument);
    default:
        return "";
    }
}

std::string SixtyFourBits(const LogArgument *argument)
{
    if (argument == nullptr || argument->IsText())
        return "";
    return argument->IsSigned() ? Digits(static_cast<int64_t>(argument->Number()))
                                : Digits(argument->Number());
}

// The length of "l", "ll", "ld", "lu", "lld" or "llu" at the front of the text.
std::size_t LongFormLength(std::string_view text)
{
    std::size_t length = text.substr(0, 2) == "ll" ? 2 : 1;
    if (length < text.size() && (text[length] == 'd' || text[length] == 'u'))
        ++length;
    return length;
}

// Expands one conversion of a remark, `text` beginning behind the percent sign, and returns the
// characters that it took.
std::size_t AppendRemarkConversion(std::string_view text, ArgumentReader &arguments,
                                   std::string &result)
{
    const char letter = text.empty() ? '\0' : text.front();
    if (letter == 'l') {
        result += SixtyFourBits(arguments.Next());
        return LongFormLength(text);
    }
    if (letter == 's' || letter == 'c' || letter == 'd') {
        const Conversion conversion{.letter = letter, .length = 1};
        result += Expand(conversion, arguments);
        return 1;
    }
    result += '%';
    if (letter != '\0')
        result += letter;
    return text.empty() ? 0 : 1;
}

} // namespace

std::string FormatText(std::string_view format, std::span<const LogArgument> arguments)
{
    ArgumentReader reader(arguments);
    std::string result;
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%') {
            result += format[at];
            continue;
        }
        const Conversion conversion = ParseConversion(format.substr(at + 1));
        result += Expand(conversion, reader);
        at += conversion.length;
    }
    result.resize(std::min(result.size(), kLongestMessage));
    return result;
}

std::string FormatRemark(std::string_view format, std::span<const LogArgument> arguments)
{
    ArgumentReader reader(arguments);
    std::string result;
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] == '\\') {
            result += format.substr(at, 2);
            ++at;
        } else if (format[at] == '%') {
            at += AppendRemarkConversion(format.substr(at + 1), reader, result);
        } else {
            result += format[at];
        }
    }
    result.resize(std::min(result.size(), kLongestMessage));
    return result;
}

} // namespace zerix::diag
