// Numbers with units are moved by powers of ten as texts are, so that no digit is lost.
#include "tools/parameter_values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <span>

#include <fmt/format.h>

#include "tools/name_match.h"

namespace zerix::tool {

namespace {

struct NamedValue {
    int64_t value;
    std::string_view name;
};

// A way to write a quantity: one of it is factor * 10^power of the key's unit.
struct Suffix {
    std::string_view text;
    int power;
    int64_t factor = 1;
};

struct UnitRow {
    ParameterUnit unit;
    std::string_view name;          // for JSON
    std::string_view waysToWrite;   // for a person
    std::span<const Suffix> scales; // ascending; empty: plain numbers and names
    std::span<const NamedValue> names;
};

using Unit = ParameterUnit;

constexpr std::array kNanoseconds = {Suffix{"ns", 0}, Suffix{"us", 3}, Suffix{"µs", 3},
                                     Suffix{"ms", 6}, Suffix{"s", 9},  Suffix{"min", 10, 6}};
constexpr std::array kMicroseconds = {Suffix{"us", 0}, Suffix{"µs", 0}, Suffix{"ms", 3},
                                      Suffix{"s", 6}, Suffix{"min", 7, 6}};
constexpr std::array kMicrodecibels = {Suffix{"dB", 6}};
constexpr std::array kMillionths = {Suffix{"x", 6}};
constexpr std::array kThousandths = {Suffix{"x", 3}};

constexpr std::array kSwitch = {NamedValue{0, "off"},   NamedValue{1, "on"},
                                NamedValue{0, "no"},    NamedValue{1, "yes"},
                                NamedValue{0, "false"}, NamedValue{1, "true"}};
constexpr std::array kFormats = {
    NamedValue{zfmtRaw8, "raw8"},           NamedValue{zfmtRaw16, "raw16"},
    NamedValue{zfmtMono8, "mono8"},         NamedValue{zfmtMono16, "mono16"},
    NamedValue{zfmtBayer8, "bayer8"},       NamedValue{zfmtBayer16, "bayer16"},
    NamedValue{zfmtRgbPlane8, "rgbplane8"}, NamedValue{zfmtRgbPlane16, "rgbplane16"},
    NamedValue{zfmtBgr24, "bgr24"},         NamedValue{zfmtXrgb32, "xrgb32"},
    NamedValue{zfmtRgb48, "rgb48"},         NamedValue{zfmtBgrx32, "bgrx32"},
    NamedValue{zfmtRgb24, "rgb24"},         NamedValue{zfmtRgbx32, "rgbx32"}};
constexpr std::array kReadoutSpeeds = {NamedValue{0, "20MHz"}, NamedValue{1, "10MHz"},
                                       NamedValue{2, "5MHz"},  NamedValue{3, "2.5MHz"},
                                       NamedValue{7, "40MHz"}, NamedValue{8, "30MHz"}};
constexpr std::array kTriggers = {NamedValue{0, "free"},      NamedValue{1, "hardware1"},
                                  NamedValue{2, "hardware2"}, NamedValue{3, "hardware3"},
                                  NamedValue{4, "hardware4"}, NamedValue{5, "software"},
                                  NamedValue{6, "hardware6"}, NamedValue{7, "hardware7"}};
constexpr std::array kColours = {NamedValue{0, "red"}, NamedValue{1, "green"},
                                 NamedValue{2, "black"}, NamedValue{3, "blue"}};
constexpr std::array kSyncb = {NamedValue{0, "trigger-mask"}, NamedValue{1, "expose"}};
constexpr std::array kCameraModes = {NamedValue{0, "standard"}, NamedValue{1, "live"}};
constexpr std::array kAlgorithms = {NamedValue{1, "average"}, NamedValue{2, "fast"},
                                    NamedValue{3, "bicubic"}, NamedValue{4, "bicubic-faster"}};
constexpr std::array kFans = {NamedValue{1, "low"}, NamedValue{2, "medium"}, NamedValue{3, "high"},
                              NamedValue{4, "full"}};

constexpr std::array kUnits = {
    UnitRow{Unit::kNumber, "", "a whole number", {}, {}},
    UnitRow{Unit::kCounts, "counts", "a whole number", {}, {}},
    UnitRow{Unit::kPixels, "pixels", "a whole number of pixels", {}, {}},
    UnitRow{Unit::kNanoseconds,
            "ns",
            "a time with its unit, such as 20ms, 150us or 1.5s",
            kNanoseconds,
            {}},
    UnitRow{Unit::kMicroseconds,
            "us",
            "a time with its unit, such as 20ms, 150us or 1.5s",
            kMicroseconds,
            {}},
    UnitRow{Unit::kCelsius, "C", "whole degrees Celsius, such as -20 or -20C", {}, {}},
    UnitRow{
        Unit::kMicrodecibels, "udB", "decibels with their unit, such as 6dB", kMicrodecibels, {}},
    UnitRow{Unit::kMillionths, "millionths", "a factor, such as 1.5x", kMillionths, {}},
    UnitRow{Unit::kThousandths, "thousandths", "a factor, such as 1.5x", kThousandths, {}},
    UnitRow{Unit::kSwitch, "", "on or off", {}, kSwitch},
    UnitRow{Unit::kFormat, "", "a format's name, such as mono16", {}, kFormats},
    UnitRow{Unit::kReadoutSpeed, "", "a pixel rate, such as 20MHz", {}, kReadoutSpeeds},
    UnitRow{Unit::kTrigger, "", "a trigger's name, such as software", {}, kTriggers},
    UnitRow{Unit::kColour, "", "a colour, such as green", {}, kColours},
    UnitRow{Unit::kSyncb, "", "trigger-mask or expose", {}, kSyncb},
    UnitRow{Unit::kCameraMode, "", "standard or live", {}, kCameraModes},
    UnitRow{Unit::kAlgorithm, "", "an algorithm's name, such as bicubic", {}, kAlgorithms},
    UnitRow{Unit::kFan, "", "low, medium, high or full", {}, kFans},
};

constexpr bool UnitsAreInOrder()
{
    for (size_t i = 0; i < kUnits.size(); ++i)
        if (kUnits[i].unit != static_cast<Unit>(i))
            return false;
    return true;
}
static_assert(UnitsAreInOrder());

const UnitRow &RowOf(Unit unit) { return kUnits[static_cast<size_t>(unit)]; }

// 16384000 with a power of 6 becomes "16.384".
std::string Decimal(uint64_t magnitude, int power)
{
    uint64_t one = 1;
    for (int i = 0; i < power; ++i)
        one *= 10;
    if (magnitude % one == 0)
        return fmt::format("{}", magnitude / one);
    const std::string places = fmt::format("{:0{}}", magnitude % one, power);
    return fmt::format("{}.{}", magnitude / one,
                       std::string_view(places).substr(0, places.find_last_not_of('0') + 1));
}

std::string QuantityText(std::span<const Suffix> scales, int64_t value)
{
    const auto magnitude = value < 0 ? -static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    const Suffix *best = nullptr;
    for (const Suffix &suffix : scales) {
        uint64_t one = 1;
        for (int i = 0; i < suffix.power; ++i)
            one *= 10;
        const bool isPlain = suffix.factor == 1 && suffix.text != "µs";
        if (isPlain && (best == nullptr || magnitude >= one))
            best = &suffix;
    }
    return fmt::format("{}{}{}{}", value < 0 ? "-" : "", Decimal(magnitude, best->power),
                       best->text == "x" ? "" : " ", best->text);
}

struct Decimals {
    bool isNegative = false;
    std::string digits; // without the point
    size_t places = 0;  // of them behind it
};

// Takes a number off the front of `text`.
std::optional<Decimals> TakeDecimals(std::string_view &text)
{
    Decimals result;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        result.isNegative = text.front() == '-';
        text.remove_prefix(1);
    }
    bool isBehindPoint = false;
    size_t used = 0;
    for (const char c : text) {
        if (c == '.' && !isBehindPoint)
            isBehindPoint = true;
        else if (c >= '0' && c <= '9')
            result.digits += c;
        else
            break;
        result.places += isBehindPoint && c != '.' ? 1 : 0;
        ++used;
    }
    text.remove_prefix(used);
    if (result.digits.empty())
        return std::nullopt;
    return result;
}

// The number times factor * 10^power, rounded to the nearest; nothing where it doesn't fit.
std::optional<int64_t> Scaled(Decimals number, int power, int64_t factor)
{
    const auto places = static_cast<size_t>(power);
    int64_t rounding = 0;
    if (places >= number.places) {
        number.digits.append(places - number.places, '0');
    } else {
        const size_t kept = number.digits.size() - (number.places - places);
        rounding = kept < number.digits.size() && number.digits[kept] >= '5' ? 1 : 0;
        number.digits.resize(kept);
    }
    int64_t value = 0;
    const char *end = number.digits.data() + number.digits.size();
    if (!number.digits.empty() &&
        std::from_chars(number.digits.data(), end, value).ec != std::errc())
        return std::nullopt;
    if (value > (std::numeric_limits<int64_t>::max() - 1) / factor)
        return std::nullopt;
    value = value * factor + rounding;
    return number.isNegative ? -value : value;
}

std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

const Suffix *FindSuffix(std::span<const Suffix> scales, std::string_view text)
{
    for (const Suffix &suffix : scales)
        if (Simplified(suffix.text) == Simplified(text))
            return &suffix;
    return nullptr;
}

} // namespace

std::string ValueText(ParameterUnit unit, int64_t value)
{
    const UnitRow &row = RowOf(unit);
    for (const NamedValue &named : row.names)
        if (named.value == value)
            return std::string(named.name);
    if (!row.scales.empty())
        return QuantityText(row.scales, value);
    return unit == Unit::kCelsius ? fmt::format("{} C", value) : std::to_string(value);
}

std::optional<int64_t> ParseValue(ParameterUnit unit, std::string_view text, bool takesPlainNumbers)
{
    const UnitRow &row = RowOf(unit);
    text = Trimmed(text);
    for (const NamedValue &named : row.names)
        if (!text.empty() && Simplified(named.name) == Simplified(text))
            return named.value;
    auto number = TakeDecimals(text);
    if (!number)
        return std::nullopt;
    const std::string_view suffix = Trimmed(text);
    if (suffix.empty()) {
        const bool isZero = number->digits.find_first_not_of('0') == std::string::npos;
        if (number->places != 0 || (!row.scales.empty() && !takesPlainNumbers && !isZero))
            return std::nullopt;
        return Scaled(*number, 0, 1);
    }
    if (unit == Unit::kCelsius && number->places == 0 && Simplified(suffix) == "c")
        return Scaled(*number, 0, 1);
    const Suffix *scale = FindSuffix(row.scales, suffix);
    return scale == nullptr ? std::nullopt : Scaled(*number, scale->power, scale->factor);
}

std::string WaysToWrite(ParameterUnit unit) { return std::string(RowOf(unit).waysToWrite); }

std::string_view UnitName(ParameterUnit unit) { return RowOf(unit).name; }

std::vector<int64_t> ValuesOf(ParameterUnit unit)
{
    return unit == Unit::kSwitch ? std::vector<int64_t>{0, 1} : std::vector<int64_t>{};
}

} // namespace zerix::tool
