// The configuration is the registry key of the library.
#include <algorithm>
#include <atomic>
#include <new>
#include <windows.h>

#include "platform/configuration_places.h"
#include "platform/os.h"
#include "platform/windows/configuration_readings.h"
#include "platform/windows/handle.h"

namespace zerix::os {

namespace {

constexpr const char *kKey = "SOFTWARE\\Tolvane\\Zerix";
constexpr size_t kLongestText = 1023;

std::atomic<uint32_t> readings{0};

class RegistryConfiguration final : public Configuration {
public:
    explicit RegistryConfiguration(HKEY key) : m_key(key) {}
    ~RegistryConfiguration() override { RegCloseKey(m_key); }

    std::optional<uint32_t> Number(const char *name) const override
    {
        DWORD type = 0;
        DWORD value = 0;
        DWORD size = sizeof value;
        const LSTATUS error =
            RegQueryValueExA(m_key, name, nullptr, &type, reinterpret_cast<BYTE *>(&value), &size);
        if (error != ERROR_SUCCESS || type != REG_DWORD || size != sizeof value)
            return std::nullopt;
        return value;
    }

    // The value need not end in a zero.
    std::optional<std::string> Text(const char *name) const override
    {
        DWORD type = 0;
        DWORD size = 0;
        if (RegQueryValueExA(m_key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
            type != REG_SZ)
            return std::nullopt;
        std::string text(size, '\0');
        if (RegQueryValueExA(m_key, name, nullptr, &type, reinterpret_cast<BYTE *>(text.data()),
                             &size) != ERROR_SUCCESS ||
            type != REG_SZ)
            return std::nullopt;
        text.resize(std::min({text.find('\0'), text.size(), kLongestText}));
        return text;
    }

private:
    const HKEY m_key;
};

} // namespace

uint32_t ConfigurationReadings() { return readings.load(std::memory_order_relaxed); }

std::string ConfigurationPlaces() { return {}; }

// The registry has no malformed lines: quiet is that it is not counted.
std::unique_ptr<Configuration> OpenConfigurationQuietly()
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return nullptr;
    std::unique_ptr<Configuration> owner(new (std::nothrow) RegistryConfiguration(key));
    if (!owner)
        RegCloseKey(key);
    return owner;
}

std::unique_ptr<Configuration> Configuration::Open()
{
    readings.fetch_add(1, std::memory_order_relaxed);
    return OpenConfigurationQuietly();
}

} // namespace zerix::os
