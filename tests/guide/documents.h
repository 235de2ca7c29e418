// The documents of the tree, as text.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/places.h"

namespace zerix::test {

// `path` begins at the top of the tree.
inline std::string Contents(const std::string &path)
{
    std::ifstream file(SourceFolder() + "/" + path);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace zerix::test
