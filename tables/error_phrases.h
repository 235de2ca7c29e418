// The phrases of the exported interface's error values. Pure data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "zerix/zerix_errors.h"

namespace zerix::tables {

struct ErrorRow {
    uint32_t code;
    const char *phrase;
};

// Some codes that the library does return (9 among them) have no phrase of their own.
#define ZERIX_ERROR_ROW(code, phrase) {code, phrase},
inline constexpr std::array<ErrorRow, 20> kErrorPhrases = {
    {{ZERIX_SUCCESS, ""}, ZERIX_ERROR_PHRASES(ZERIX_ERROR_ROW)}};
#undef ZERIX_ERROR_ROW

inline constexpr const char *kUndefinedErrorPhrase = ZERIX_ERROR_PHRASE_UNKNOWN;

constexpr const char *ErrorPhrase(uint32_t code)
{
    for (const ErrorRow &row : kErrorPhrases) {
        if (row.code == code)
            return row.phrase;
    }
    return kUndefinedErrorPhrase;
}

constexpr bool ErrorPhrasesAscend()
{
    for (std::size_t index = 1; index < kErrorPhrases.size(); ++index) {
        if (kErrorPhrases[index].code <= kErrorPhrases[index - 1].code)
            return false;
    }
    return kErrorPhrases.back().phrase != nullptr;
}
static_assert(ErrorPhrasesAscend());

} // namespace zerix::tables
