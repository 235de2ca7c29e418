// The last system error of a thread, and texts for the numbers.
#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "platform/os.h"

namespace zerix::os {

namespace {

struct ErrorRow {
    uint32_t number;
    std::string_view text;
};

// The bus speaks in the kernel driver's numbers wherever it runs; this system's own numbers don't
// know them, or mean something else.
constexpr std::array kBusErrors = {
    ErrorRow{0, "The operation completed successfully."},
    ErrorRow{2, "The device cannot be found."},
    ErrorRow{5, "Access is denied."},
    ErrorRow{6, "The handle is invalid."},
    ErrorRow{31, "The device does not respond as expected."},
    ErrorRow{32, "The device is in use by another process."},
    ErrorRow{50, "The request is not supported."},
    ErrorRow{87, "The parameter is incorrect."},
    ErrorRow{170, "The requested resource is in use."},
    ErrorRow{995, "The request was aborted."},
    ErrorRow{1167, "The device is not connected."},
    ErrorRow{1450, "Insufficient system resources exist to complete the request."},
};
static_assert(std::is_sorted(kBusErrors.begin(), kBusErrors.end(),
                             [](const ErrorRow &a, const ErrorRow &b) {
                                 return a.number < b.number;
                             }));

thread_local uint32_t lastError = 0;

std::string Sentence(uint32_t systemError)
{
    for (const ErrorRow &row : kBusErrors)
        if (row.number == systemError)
            return std::string(row.text);
    char buffer[256] = {};
    const char *text = strerror_r(static_cast<int>(systemError), buffer, sizeof buffer);
    return text[0] != '\0' ? std::string(text) : "error " + std::to_string(systemError);
}

} // namespace

uint32_t LastError() { return lastError; }

void SetLastError(uint32_t systemError) { lastError = systemError; }

std::string ErrorText(uint32_t systemError) { return Sentence(systemError) + '\n'; }

} // namespace zerix::os
