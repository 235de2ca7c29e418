// What the tool's help tells of its verbs and options, to compare other documents with.
#pragma once

#include <regex>
#include <set>
#include <string>

#include "tests/tools/tool_fixture.h"

namespace zerix::test {

using Words = std::set<std::string>;

// What the pattern's first group is, wherever it fits.
inline Words Found(const std::string &text, const std::string &pattern)
{
    Words words;
    const std::regex expression(pattern);
    for (std::sregex_iterator found(text.begin(), text.end(), expression), end; found != end;
         ++found)
        words.insert((*found)[1]);
    return words;
}

class ToolHelpTest : public ToolTest {
protected:
    Words VerbsOf(const std::string &verb)
    {
        const std::string help = Run(verb + " --help").out;
        const size_t begin = help.find("Subcommands:");
        EXPECT_NE(begin, std::string::npos) << verb;
        return Found(help.substr(begin, help.find("\n\n", begin) - begin), R"(\n  (\w+) )");
    }

    // Every verb, and every action of trace as "trace ACTION".
    Words AllVerbs()
    {
        Words verbs = VerbsOf("");
        verbs.erase("trace");
        for (const auto &action : VerbsOf("trace"))
            verbs.insert("trace " + action);
        return verbs;
    }

    Words OptionsOf(const std::string &verb)
    {
        return Found(Run(verb + " --help").out, R"((?:\n  |,)(--?[\w-]+))");
    }
};

} // namespace zerix::test
