// The library's configuration while this lives: at first it is empty, and later exactly what was
// put. Not while other threads read the configuration; one at a time.
#pragma once

#include <memory>
#include <string>

namespace zerix::test {

class ConfigurationValues {
public:
    ConfigurationValues();
    explicit ConfigurationValues(const std::string &lines) : ConfigurationValues() { Put(lines); }
    ~ConfigurationValues();
    ConfigurationValues(const ConfigurationValues &) = delete;
    ConfigurationValues &operator=(const ConfigurationValues &) = delete;

    // Lines "name = value" with a decimal number, a text, or a text in double quotes. What was
    // there before is gone.
    void Put(const std::string &lines) const;

private:
    struct Store;
    const std::unique_ptr<Store> m_store;
};

} // namespace zerix::test
