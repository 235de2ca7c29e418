// What the guide shows is what the examples are, and it tells every error.
#include <cctype>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/guide/documents.h"
#include "tests/support/places.h"

namespace zerix {
namespace {

using test::Contents;

const std::string kTree = test::SourceFolder();

struct Snippet {
    std::string file; // empty where the guide names none
    std::string text;
};

// The fenced blocks, each with the last "From [FILE]" before it.
std::vector<Snippet> SnippetsOf(const std::string &guide)
{
    std::vector<Snippet> snippets;
    std::istringstream lines(guide);
    const std::regex source("From \\[(examples/[a-z_.]+)\\]\\(\\.\\./(examples/[a-z_.]+)\\):");
    std::string line;
    std::string file;
    while (std::getline(lines, line)) {
        std::smatch match;
        if (std::regex_match(line, match, source)) {
            EXPECT_EQ(match[1], match[2]);
            file = match[1];
        }
        if (!line.starts_with("```"))
            continue;
        Snippet snippet{std::exchange(file, {}), {}};
        while (std::getline(lines, line) && line != "```")
            snippet.text += line + "\n";
        snippets.push_back(std::move(snippet));
    }
    return snippets;
}

std::map<std::string, std::string> Matches(const std::string &text, const std::regex &pattern)
{
    std::map<std::string, std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at)
        EXPECT_TRUE(found.emplace((*at)[1], (*at)[2]).second) << (*at)[1];
    return found;
}

TEST(Guide, ShowsWhatStandsInTheExamples)
{
    const auto snippets = SnippetsOf(Contents("docs/guide.md"));
    EXPECT_GE(snippets.size(), 10u);
    for (const Snippet &snippet : snippets) {
        ASSERT_NE(snippet.file, "") << snippet.text;
        EXPECT_NE(("\n" + Contents(snippet.file)).find("\n" + snippet.text), std::string::npos)
            << snippet.file << " hasn't\n"
            << snippet.text;
    }
}

TEST(Guide, ShowsEveryExample)
{
    std::set<std::string> shown;
    for (const Snippet &snippet : SnippetsOf(Contents("docs/guide.md")))
        shown.insert(snippet.file);
    std::set<std::string> examples;
    for (const auto &entry : std::filesystem::directory_iterator(kTree + "/examples")) {
        if (std::set<std::string>{".c", ".cpp", ".conf"}.contains(
                entry.path().extension().string()))
            examples.insert("examples/" + entry.path().filename().string());
    }
    EXPECT_EQ(shown, examples);
}

// A heading as a link within the document names it: in small letters, with a hyphen for a blank.
bool HasHeading(const std::string &document, const std::string &name)
{
    std::istringstream lines(document);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('#'))
            continue;
        std::string heading = line.substr(line.find_first_not_of("# "));
        for (char &letter : heading)
            letter = letter == ' ' ? '-' : static_cast<char>(std::tolower(letter));
        if (heading == name)
            return true;
    }
    return false;
}

bool IsThere(const std::string &guide, const std::string &target)
{
    return target.starts_with('#') ? HasHeading(guide, target.substr(1))
                                   : std::filesystem::exists(kTree + "/docs/" + target);
}

TEST(Guide, LinksToWhatIsThere)
{
    const std::string guide = Contents("docs/guide.md");
    const std::regex link("\\]\\(([^)]+)\\)");
    int count = 0;
    for (std::sregex_iterator at(guide.begin(), guide.end(), link), end; at != end; ++at, ++count)
        EXPECT_TRUE(IsThere(guide, (*at)[1])) << (*at)[1];
    EXPECT_GE(count, 10);
    EXPECT_FALSE(IsThere(guide, "#no-such-heading"));
}

TEST(Guide, TellsEveryError)
{
    const auto declared = Matches(Contents("include/zerix/zerix_errors.h"),
                                  std::regex("    (ZERIX_[A-Z_]+) = (\\d+)"));
    EXPECT_EQ(declared.size(), 24u);
    std::map<std::string, std::string> told;
    for (const auto &[number, name] :
         Matches(Contents("docs/guide.md"), std::regex("\\n\\| (\\d+) \\| `(ZERIX_[A-Z_]+)` \\|")))
        told.emplace(name, number);
    EXPECT_EQ(told, declared);
}

} // namespace
} // namespace zerix
