// The rules of the primitives in small numbers, worked by hand.
#include <cstdint>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "image/kernels/primitives.h"

namespace zerix::test {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(Add, SaturatesAtTheTop)
{
    const Bytes source = {200, 1, 255, 0};
    Bytes target = {100, 2, 255, 0};
    EXPECT_EQ(ZPrimAdd8uInPlace(source.data(), 4, target.data(), 4, 4, 1, 0), kPrimOk);
    EXPECT_EQ(target, (Bytes{255, 3, 255, 0}));
}

} // namespace
} // namespace zerix::test
