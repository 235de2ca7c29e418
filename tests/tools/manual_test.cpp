// The manual pages, held complete against what the tool says and the document of the configuration.
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include "platform/configuration_names.h"
#include "tests/support/places.h"
#include "tests/tools/tool_help.h"

namespace {

using zerix::test::Found;
using zerix::test::Words;
using ToolManual = zerix::test::ToolHelpTest;

std::string Document(const std::string &name)
{
    return zerix::test::Contents(zerix::test::SourceFolder() + "/docs/" + name);
}

// The tags of the lists, by the heading above them: ".SS grab" is "grab", ".SH OPTIONS" "OPTIONS".
std::map<std::string, std::string> TagsOf(const std::string &page)
{
    std::map<std::string, std::string> tags;
    std::istringstream lines(
        std::regex_replace(Document("man/" + page), std::regex(R"(\\-)"), "-"));
    const std::regex heading(R"(\.S[HS] (trace \w+|\w+).*)");
    std::string section;
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, match, heading)) {
            section = match[1];
            tags[section];
        } else if (line == ".TP" && std::getline(lines, line)) {
            tags[section] += line + "\n";
        }
    }
    return tags;
}

TEST_F(ToolManual, TellsEveryOptionOfEveryVerb)
{
    const std::string option = R"((?:[ "])(--?[a-z][a-z-]*))";
    auto tags = TagsOf("zerix.1");
    EXPECT_EQ(Found(tags["OPTIONS"], option), OptionsOf(""));
    const Words verbs = AllVerbs();
    EXPECT_GE(verbs.size(), 14U);
    for (const auto &verb : verbs) {
        ASSERT_TRUE(tags.contains(verb)) << verb;
        Words expected = OptionsOf(verb);
        expected.erase("-h");
        expected.erase("--help");
        EXPECT_EQ(Found(tags[verb], option), expected) << verb;
    }
}

TEST_F(ToolManual, TellsEveryValueOfTheConfiguration)
{
    auto tags = TagsOf("zerix.conf.5");
    const std::string value = R"re(\.BR (\w+ "? ?\(\w+\)))re";
    Words told;
    for (const char *section : {"THE", "OUTPUT"})
        for (const auto &found : Found(tags[section], value))
            told.insert(std::regex_replace(found, std::regex(R"([^\w]+(\w+)\))"), " $1"));
    Words known;
    for (const auto &row : zerix::os::kConfigurationNames)
        known.insert(std::string(row.name) + (row.isNumber ? " number" : " text"));
    Words documented;
    std::istringstream rows(Document("configuration.md"));
    for (std::string row; std::getline(rows, row);) {
        std::smatch match;
        if (!std::regex_match(row, match, std::regex(R"(\| `.*\| (text|number) \|.*)")))
            continue;
        for (const auto &name : Found(row.substr(0, row.find('|', 1)), R"(`(\w+)`)"))
            documented.insert(name + " " + match[1].str());
    }
    EXPECT_EQ(documented, known);
    EXPECT_EQ(told, documented);
}

TEST_F(ToolManual, NamesTheVersion)
{
    const std::string version = Run("--version").out; // "zerix 2.1.0\n"
    ASSERT_GT(version.size(), 7U);
    const std::string expected = "\"Zerix " + version.substr(6, version.size() - 7) + "\"";
    for (const std::string page : {"zerix.1", "zerix.conf.5"})
        EXPECT_NE(Document("man/" + page).find(expected), std::string::npos) << page;
}

} // namespace
