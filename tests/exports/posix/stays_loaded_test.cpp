// The built library in a program that unloads it.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include "platform/os.h"
#include "tests/support/places.h"

namespace zerix {
namespace {

// A file of a FireWire device may still be closing, on a thread that runs the library's code.
TEST(Library, StaysWhenItIsUnloaded)
{
    auto library = os::DynamicLibrary::Load(test::LibraryPath());
    ASSERT_NE(library, nullptr);
    const void *const inside = library->Symbol("Zerix_ListCameras");
    ASSERT_NE(inside, nullptr);
    library.reset();
    Dl_info info{};
    EXPECT_NE(dladdr(inside, &info), 0);
}

} // namespace
} // namespace zerix
