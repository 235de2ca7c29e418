// Names are in the system's code page.
#include "tests/support/temporary_folder.h"

namespace zerix::test {

std::string TemporaryFolder::OddName() { return "a n\xE4me \xE9t\xE9"; }

} // namespace zerix::test
