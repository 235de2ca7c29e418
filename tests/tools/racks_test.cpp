// What the tool tells of racks before one is chosen, and of a bus whose camera can't be read.
#include "tests/tools/tool_fixture.h"

namespace {

class ToolRacks : public zerix::test::ToolTest {};

TEST_F(ToolRacks, TellTheSpeedAndTheClockOfTheirBus)
{
    Write("slow.toml", "speed = 400\nclock = \"real\"\n[[camera]]\nmodel = \"Astrel C2\"\n");
    Write("worse.toml", "[[camera]]\nmodel = \"Astrel Z9\"\n");
    const Outcome outcome = Run("racks", "ZERIX_RACKS='" + Path("") + "'");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    for (const auto &[rack, bus] :
         {std::pair{"family-1: ", "\n    400 Mb/s, fast clock\n"},
          std::pair{"family-2: ", "\n    800 Mb/s, fast clock\n"},
          std::pair{"slow: ", "\n    400 Mb/s, real clock\n"}, std::pair{"worse: ", "\n\n"}}) {
        const size_t begin = outcome.out.find(rack);
        ASSERT_NE(begin, std::string::npos) << rack;
        EXPECT_EQ(outcome.out.find(bus, begin), outcome.out.find('\n', begin)) << rack;
    }
}

// Whoever plugs in what can't be set up is told so, and what to do.
TEST_F(ToolRacks, ACameraThatCannotBeReadIsRefusedWithAMessage)
{
    Write("broken.toml", "[[camera]]\nmodel = \"Astrel C2\"\n"
                         "faults = [\"read error 31 from then on\"]\n");
    const Outcome outcome = Run("--rack broken.toml list");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("zerix: the cameras can't be listed: general internal error "
                               "occurred (driver fault) (error 16). Check the cable and the "
                               "camera's power, and that no other program holds it."),
              std::string::npos)
        << outcome.err;
}

} // namespace
