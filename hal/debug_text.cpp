// Formatted lines for the debug output, and the failure box.
#include "hal/debug_text.h"

#include <cstdarg>
#include <cstdio>

#include "platform/os.h"

namespace zerix::hal {

std::string Formatted(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

void ShowFailure(const char *caller)
{
    const uint32_t error = os::LastError();
    os::ShowFailureBox("Error", Formatted("%s failed with error %d: %s", caller,
                                          static_cast<int>(error), os::ErrorText(error).c_str()));
}

} // namespace zerix::hal
