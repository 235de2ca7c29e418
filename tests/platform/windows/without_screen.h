// Windows, boxes and consoles on a machine without a screen.
#pragma once

#include <windows.h>

namespace zerix::test {

// A desktop of the tests' own. Wine asks for a desktop's driver when the first window on it is
// made.
class UnseenDesktop {
public:
    static constexpr const char *kName = "zerix tests";

    UnseenDesktop()
    {
        HKEY key = nullptr;
        RegCreateKeyA(HKEY_CURRENT_USER, "Software\\Wine\\Drivers", &key);
        RegSetValueExA(key, "Graphics", 0, REG_SZ, reinterpret_cast<const BYTE *>("null"), 5);
        RegCloseKey(key);
        m_desktop = CreateDesktopA(kName, nullptr, nullptr, 0, GENERIC_ALL, nullptr);
    }
    ~UnseenDesktop() { CloseDesktop(m_desktop); }
    UnseenDesktop(const UnseenDesktop &) = delete;
    UnseenDesktop &operator=(const UnseenDesktop &) = delete;

    // For the windows of the calling thread.
    [[nodiscard]] bool Enter() const { return SetThreadDesktop(m_desktop) != 0; }

private:
    HDESK m_desktop = nullptr;
};

} // namespace zerix::test
