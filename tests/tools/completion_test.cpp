// The completion for bash, held complete against what the tool itself says.
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/support/places.h"
#include "tests/tools/tool_help.h"

namespace {

using zerix::test::Words;

class ToolCompletion : public zerix::test::ToolHelpTest {
protected:
    // What bash offers behind `line`, whose last word is the one to complete.
    Words Offered(const std::string &line)
    {
        const std::string command = "cd '" + m_folder.Path() + "' && bash -c 'source \"" +
                                    zerix::test::SourceFolder() +
                                    "/tools/completion/zerix.bash\"; "
                                    "COMP_WORDS=(" +
                                    line +
                                    "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                                    "_zerix; printf \"%s\\n\" \"${COMPREPLY[@]}\"' >words.txt 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        Words words;
        std::istringstream lines(zerix::test::Contents(Path("words.txt")));
        for (std::string word; std::getline(lines, word);)
            words.insert(word);
        return words;
    }
};

TEST_F(ToolCompletion, OffersEveryVerb)
{
    const Words verbs = VerbsOf("");
    EXPECT_GE(verbs.size(), 11U);
    EXPECT_EQ(Offered("zerix \"\""), verbs);
    EXPECT_EQ(Offered("zerix --sim \"\""), verbs);
    EXPECT_EQ(Offered("zerix --rack family-1 \"\""), verbs);
    EXPECT_EQ(Offered("zerix trace \"\""), VerbsOf("trace"));
    EXPECT_EQ(Offered("zerix mo"), Words{"monitor"});
}

TEST_F(ToolCompletion, OffersEveryOptionOfEveryVerb)
{
    const Words common = OptionsOf("");
    EXPECT_TRUE(common.contains("--rack"));
    EXPECT_EQ(Offered("zerix -"), common);
    Words everywhere = common;
    everywhere.erase("--version");
    for (const auto &verb : AllVerbs()) {
        Words expected = OptionsOf(verb);
        expected.insert(everywhere.begin(), everywhere.end());
        EXPECT_EQ(Offered("zerix " + verb + " -"), expected) << verb;
    }
}

TEST_F(ToolCompletion, OffersEverySetting)
{
    const auto info = nlohmann::json::parse(Run("--sim info --json").out);
    Words names = {"roi", "binning"};
    for (const auto &entry : info["parameters"])
        names.insert(entry["name"]);
    EXPECT_EQ(Offered("zerix get \"\""), names);
    Words assignments;
    for (const auto &name : names)
        assignments.insert(name + "=");
    EXPECT_EQ(Offered("zerix set \"\""), assignments);
    EXPECT_EQ(Offered("zerix grab --set \"\""), assignments);
    EXPECT_EQ(Offered("zerix set ro"),
              (Words{"roi=", "roi-x=", "roi-y=", "roi-width=", "roi-height="}));
    EXPECT_EQ(Offered("zerix trace on \"\""),
              (Words{"settings", "info", "frames", "tables", "nested", "all"}));
}

TEST_F(ToolCompletion, OffersFilesAlsoWithBlanksInTheirNames)
{
    Write("red light.raw", "");
    Write("red.toml", "");
    const Words files = {"red light.raw", "red.toml"};
    EXPECT_EQ(Offered("zerix process red"), files);
    EXPECT_EQ(Offered("zerix grab -o red"), files);
    EXPECT_EQ(Offered("zerix trace show --file red"), files);
    EXPECT_EQ(Offered("zerix --rack red"), files);
    EXPECT_EQ(Offered("zerix --rack fam"), (Words{"family-1", "family-2", "family-3"}));
}

} // namespace
