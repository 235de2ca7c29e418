// A camera that doesn't answer one register access, wherever that is: the tool ends all the same,
// and says why. Most of the time it only waits, so that many tools run at once.
#include <algorithm>
#include <filesystem>
#include <future>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tests/tools/tool_fixture.h"

namespace zerix::test {
namespace {

constexpr size_t kAtOnce = 12;

struct Hang {
    std::string access; // "read" or "write"
    uint32_t number;

    [[nodiscard]] std::string Name() const { return access + " " + std::to_string(number); }
};

class HangingCamera : public ToolTest {
protected:
    static std::vector<Hang> AllOf(std::initializer_list<const char *> accesses, uint32_t first,
                                   uint32_t last)
    {
        std::vector<Hang> hangs;
        for (const char *access : accesses)
            for (uint32_t number = first; number <= last; ++number)
                hangs.push_back({access, number});
        return hangs;
    }

    void ExpectAllToEnd(const std::vector<Hang> &hangs)
    {
        for (const char *verb : {"list", "grab --wait 2s -o p.raw"}) {
            for (size_t first = 0; first < hangs.size(); first += kAtOnce) {
                const size_t end = std::min(first + kAtOnce, hangs.size());
                ExpectToEnd(verb, {hangs.begin() + static_cast<std::ptrdiff_t>(first),
                                   hangs.begin() + static_cast<std::ptrdiff_t>(end)});
            }
        }
    }

private:
    // An access that never comes hinders nothing.
    static void ExpectToEnd(const std::string &verb, const std::vector<Hang> &hangs)
    {
        std::vector<std::unique_ptr<OneTool>> tools;
        std::vector<std::future<Outcome>> outcomes;
        for (const Hang &hang : hangs) {
            OneTool &tool = *tools.emplace_back(std::make_unique<OneTool>());
            outcomes.push_back(std::async(std::launch::async,
                                          [&tool, &verb, &hang] { return tool.Meet(hang, verb); }));
        }
        for (size_t index = 0; index < hangs.size(); ++index) {
            SCOPED_TRACE(verb + ", hang at " + hangs[index].Name());
            const Outcome outcome = outcomes[index].get();
            if (outcome.status == 0) {
                EXPECT_EQ(outcome.err, "");
                continue;
            }
            EXPECT_EQ(outcome.status, 1);
            const bool isListed = outcome.err.starts_with("zerix: no picture came within 2 s: ");
            EXPECT_TRUE(isListed ? verb != "list"
                                 : outcome.err == "zerix: the camera doesn't answer: check its "
                                                  "cable and its power, and switch it off and "
                                                  "on.\n")
                << outcome.err;
        }
    }

    // In a folder of its own.
    struct OneTool : ToolTest {
        void TestBody() override {}
        Outcome Meet(const Hang &hang, const std::string &verb)
        {
            Write("hang.toml", "speed = 800\nclock = \"fast\"\n[[camera]]\nmodel = \"Noctis C1\"\n"
                               "reads = \"pending\"\nfaults = [\"hang at " +
                                   hang.Name() + "\"]\n");
            const Outcome outcome = Run("--rack hang.toml " + verb, "", "timeout 60");
            if (outcome.status != 0) {
                EXPECT_FALSE(std::filesystem::exists(Path("p.raw"))) << hang.Name();
            }
            return outcome;
        }
    };
};

// Of the listing, the opening, and the stream's start in the middle of a grab.
TEST_F(HangingCamera, EndsTheTool)
{
    ExpectAllToEnd(
        {{"read", 1}, {"read", 12}, {"write", 7}, {"write", 40}, {"write", 41}, {"write", 42}});
}

using HangingCameraNight = HangingCamera;

TEST_F(HangingCameraNight, EndsTheToolWhereverItHangs)
{
    ExpectAllToEnd(AllOf({"read", "write"}, 1, 60));
}

} // namespace
} // namespace zerix::test
