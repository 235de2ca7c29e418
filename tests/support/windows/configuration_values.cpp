// The library's registry key, in a registry that stands in the machine's place for this process
// alone.
#include "tests/support/configuration_values.h"

#include <charconv>
#include <optional>
#include <sstream>
#include <windows.h>

namespace zerix::test {

namespace {

constexpr const char *kLibraryKey = "SOFTWARE\\Tolvane\\Zerix";

HKEY MakeKey(HKEY parent, const char *name)
{
    HKEY key = nullptr;
    RegCreateKeyExA(parent, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return key;
}

std::optional<DWORD> NumberIn(const std::string &text)
{
    DWORD number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

void PutValue(HKEY key, const std::string &name, std::string value)
{
    if (const auto number = NumberIn(value)) {
        RegSetValueExA(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE *>(&*number),
                       sizeof *number);
        return;
    }
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        value = value.substr(1, value.size() - 2);
    RegSetValueExA(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE *>(value.c_str()),
                   static_cast<DWORD>(value.size() + 1));
}

} // namespace

struct ConfigurationValues::Store {
    Store() { RegOverridePredefKey(HKEY_LOCAL_MACHINE, root); }
    ~Store()
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegDeleteTreeA(root, nullptr);
        RegCloseKey(root);
        RegDeleteKeyA(HKEY_CURRENT_USER, name.c_str());
    }
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    const std::string name = "Software\\ZerixTest" + std::to_string(GetCurrentProcessId());
    const HKEY root = MakeKey(HKEY_CURRENT_USER, name.c_str());
};

ConfigurationValues::ConfigurationValues() : m_store(std::make_unique<Store>()) {}

ConfigurationValues::~ConfigurationValues() = default;

void ConfigurationValues::Put(const std::string &lines) const
{
    RegDeleteTreeA(m_store->root, nullptr);
    const HKEY key = MakeKey(m_store->root, kLibraryKey);
    std::istringstream text(lines);
    std::string line;
    while (std::getline(text, line)) {
        const size_t equals = line.find(" = ");
        if (equals != std::string::npos)
            PutValue(key, line.substr(0, equals), line.substr(equals + 3));
    }
    RegCloseKey(key);
}

} // namespace zerix::test
