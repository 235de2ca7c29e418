// What docs/windows.md says is what the configuration, the library and its files are.
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/guide/documents.h"

namespace zerix {
namespace {

using test::Contents;

std::string RegistryExample()
{
    const std::string document = Contents("docs/windows.md");
    const std::string begin = "```reg\n";
    const size_t at = document.find(begin);
    if (at == std::string::npos)
        return {};
    return document.substr(at + begin.size(), document.find("```", at + 1) - at - begin.size());
}

// The names of the configuration's table by their type.
std::map<std::string, std::string> DocumentedTypes()
{
    const std::string document = Contents("docs/configuration.md");
    const std::regex row("\n\\| (`[^|]+`) \\| (text|number) \\|");
    const std::regex name("`(\\w+)`");
    std::map<std::string, std::string> types;
    for (std::sregex_iterator at(document.begin(), document.end(), row), end; at != end; ++at) {
        const std::string names = (*at)[1];
        for (std::sregex_iterator one(names.begin(), names.end(), name); one != end; ++one)
            types.emplace((*one)[1], (*at)[2]);
    }
    return types;
}

TEST(WindowsDocument, SetsKnownValuesOfTheirTypesInTheRegistry)
{
    const std::string example = RegistryExample();
    ASSERT_TRUE(example.starts_with("Windows Registry Editor Version 5.00\n\n["));
    const auto types = DocumentedTypes();
    const std::regex value("\n\"(\\w+)\"=(dword:[0-9a-f]{8}|\"[^\n]*\")(?=\n)");
    int count = 0;
    for (std::sregex_iterator at(example.begin(), example.end(), value), end; at != end;
         ++at, ++count) {
        const auto type = types.find((*at)[1]);
        ASSERT_NE(type, types.end()) << (*at)[1];
        EXPECT_EQ(type->second, (*at)[2].str()[0] == 'd' ? "number" : "text") << (*at)[1];
    }
    EXPECT_EQ(count, 7);
}

TEST(WindowsDocument, NamesTheLibrarysKeyInBothViews)
{
    const std::string source = Contents("platform/windows/configuration.cpp");
    ASSERT_NE(source.find("\"SOFTWARE\\\\Tolvane\\\\Zerix\""), std::string::npos);
    const std::string example = RegistryExample();
    EXPECT_NE(example.find("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tolvane\\Zerix]\n"), std::string::npos);
    EXPECT_NE(example.find("[HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\Tolvane\\Zerix]\n"),
              std::string::npos);
}

// The files of the DLLs are compared with the same sheet by check_windows_file.py.
TEST(WindowsDocument, NamesTheOldestWindowsThatTheFilesState)
{
    EXPECT_NE(Contents("tests/exports/windows_imports.txt").find("\noldest 6.0\n"),
              std::string::npos);
    EXPECT_NE(Contents("docs/windows.md").find("Windows Vista and Windows Server 2008 (6.0)."),
              std::string::npos);
}

} // namespace
} // namespace zerix
