// The last system error of a thread, and the system's texts for the numbers.
#include <windows.h>

#include "platform/os.h"

namespace zerix::os {

namespace {

// Apart from the system's own, which its successful calls may clear, the language's reach for a
// thread's variables among them.
thread_local uint32_t lastError = 0;

} // namespace

uint32_t LastError() { return lastError; }

void SetLastError(uint32_t systemError)
{
    lastError = systemError;
    ::SetLastError(systemError);
}

std::string ErrorText(uint32_t systemError)
{
    char *text = nullptr;
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, systemError, 0, reinterpret_cast<char *>(&text), 0, nullptr);
    if (length == 0)
        return {};
    const std::unique_ptr<char, void (*)(void *)> owner(text,
                                                        [](void *block) { LocalFree(block); });
    return {text, length};
}

} // namespace zerix::os
