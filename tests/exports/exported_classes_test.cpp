// The named camera classes are exported from the built library: whoever was built against them
// finds their constructors and tables there.
#include <gtest/gtest.h>

#include <string>

#include "platform/os.h"
#include "tests/support/places.h"

namespace zerix {
namespace {

const char *const kClasses[] = {
    "AstrelA1",  "AstrelA2", "SparrowB",   "Benchmate", "AstrelIntensified",
    "SparrowIR", "AstrelC1", "AstrelB1",   "NoctisA1",  "AstrelE1",
    "AstrelD1",  "AstrelC2", "AstrelB2",   "NoctisB1",  "AstrelF1",
    "NoctisA2",  "AstrelE2", "AstrelC3",   "AstrelB3",  "MeridCobalt",
    "MeridTeal", "AstrelG1", "AstrelOem1", "Metrol",    "Unknown"};
static_assert(std::size(kClasses) == 25);

// As compilers with the common C++ ABI write "ZX::NAME".
std::string Mangled(const std::string &name) { return "N2ZX" + std::to_string(name.size()) + name; }

TEST(ExportedClasses, AreAllThereByTheirNames)
{
    const auto library = os::DynamicLibrary::Load(test::LibraryPath());
    ASSERT_NE(library, nullptr) << os::ErrorText(os::LastError());
    for (const std::string name : kClasses) {
        const std::string constructor = "_Z" + Mangled(name) + "C1E9HALCamera";
        const std::string table = "_ZTV" + Mangled(name) + "E";
        const std::string type = "_ZTI" + Mangled(name) + "E";
        for (const std::string &symbol : {constructor, table, type})
            EXPECT_NE(library->Symbol(symbol.c_str()), nullptr) << symbol;
    }
    EXPECT_EQ(library->Symbol("_ZN2ZX8AstrelZ9C1E9HALCamera"), nullptr);
}

} // namespace
} // namespace zerix
