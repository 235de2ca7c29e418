// After every test of these programs: the driver has done nothing to a virtual camera that no
// correct driver would do. A test that does it on purpose takes its number itself.
#include <gtest/gtest.h>

#include "zerix/zerix_sim.h"

namespace zerix::test {
namespace {

class NoMistakes final : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo &) override
    {
        ZerixSimMistakes forgotten = {};
        ZerixSim_TakeMistakes(&forgotten);
    }

    void OnTestEnd(const ::testing::TestInfo &) override
    {
        ZerixSimMistakes mistakes = {};
        EXPECT_EQ(ZerixSim_TakeMistakes(&mistakes), uint32_t{ZERIX_SIM_OK});
        EXPECT_EQ(mistakes.registersOutside, 0u) << mistakes.first;
        EXPECT_EQ(mistakes.valuesReserved, 0u) << mistakes.first;
        EXPECT_EQ(mistakes.regionsOutside, 0u) << mistakes.first;
    }
};

[[maybe_unused]] const bool kIsListening = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new NoMistakes);
    return true;
}();

} // namespace
} // namespace zerix::test
