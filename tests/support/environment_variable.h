// Sets an environment variable, or takes it away, and puts it back as it was. Not while other
// threads read the environment.
#pragma once

#include <optional>
#include <string>

#include "platform/os.h"

namespace zerix::test {

class EnvironmentVariable {
public:
    EnvironmentVariable(std::string name, const std::optional<std::string> &value)
        : m_name(std::move(name)), m_before(os::EnvironmentVariable(m_name.c_str()))
    {
        Put(value);
    }
    ~EnvironmentVariable() { Put(m_before); }
    EnvironmentVariable(const EnvironmentVariable &) = delete;
    EnvironmentVariable &operator=(const EnvironmentVariable &) = delete;

private:
    void Put(const std::optional<std::string> &value)
    {
        os::SetEnvironment(m_name.c_str(), value ? value->c_str() : nullptr);
    }

    const std::string m_name;
    const std::optional<std::string> m_before;
};

} // namespace zerix::test
