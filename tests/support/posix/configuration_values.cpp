// A configuration file of its own.
#include "tests/support/configuration_values.h"

#include "tests/support/environment_variable.h"
#include "tests/support/temporary_folder.h"

namespace zerix::test {

// A named file that is missing would be reported.
struct ConfigurationValues::Store {
    Store() { folder.Write("zerix.conf", ""); }
    TemporaryFolder folder;
    EnvironmentVariable name{"ZERIX_CONFIG", folder.Path() + "/zerix.conf"};
};

ConfigurationValues::ConfigurationValues() : m_store(std::make_unique<Store>()) {}

ConfigurationValues::~ConfigurationValues() = default;

void ConfigurationValues::Put(const std::string &lines) const
{
    m_store->folder.Write("zerix.conf", lines);
}

} // namespace zerix::test
