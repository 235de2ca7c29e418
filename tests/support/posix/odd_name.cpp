// Names are in UTF-8, as everywhere.
#include "tests/support/temporary_folder.h"

namespace zerix::test {

std::string TemporaryFolder::OddName() { return "a n\xC3\xA4me \xC3\xA9t\xC3\xA9"; }

} // namespace zerix::test
