// The log's two formatters. Arguments are packed with their types, so no format can read a wrong or
// missing one: a conversion without an argument prints nothing.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zerix::diag {

// A message, its prefix included, holds at most this many characters before its end.
inline constexpr std::size_t kLongestMessage = 1023;

class LogArgument {
public:
    enum class Kind : uint8_t { kSigned, kUnsigned, kText };

    template <std::signed_integral T>
    LogArgument(T value) : m_kind(Kind::kSigned), m_number(static_cast<uint64_t>(int64_t{value}))
    {
    }
    template <std::unsigned_integral T>
    LogArgument(T value) : m_kind(Kind::kUnsigned), m_number(value)
    {
    }
    LogArgument(const char *text) : m_kind(Kind::kText), m_text(text != nullptr ? text : "(null)")
    {
    }
    LogArgument(const std::string &text) : LogArgument(text.c_str()) {}
    LogArgument(const void *pointer)
        : m_kind(Kind::kUnsigned), m_number(reinterpret_cast<uintptr_t>(pointer))
    {
    }

    [[nodiscard]] bool IsText() const { return m_kind == Kind::kText; }
    [[nodiscard]] bool IsSigned() const { return m_kind == Kind::kSigned; }
    [[nodiscard]] const char *Text() const { return m_text; }
    [[nodiscard]] uint64_t Number() const { return m_number; }

private:
    Kind m_kind;
    uint64_t m_number = 0;
    const char *m_text = "";
};

// The conversions of printf that the log's texts use: %d %u %x %c %s %%, with a width and the flag
// 0, and l or ll before d, u and x. Without ll a number is narrowed to 32 bits; %x takes it whole.
std::string FormatText(std::string_view format, std::span<const LogArgument> arguments);

// The remarks' formatter knows %s, %c, %d and the %l forms (%l, %ld, %lu, with one or two l), which
// take a 64-bit argument. Any other conversion is copied as it stands and takes no argument, and so
// is whatever follows a backslash.
std::string FormatRemark(std::string_view format, std::span<const LogArgument> arguments);

} // namespace zerix::diag
