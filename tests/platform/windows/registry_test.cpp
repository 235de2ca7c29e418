// The configuration in the registry: its key, the types of its values, and what may be wrong with
// them.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/configuration_places.h"
#include "platform/os.h"
#include "tests/support/configuration_values.h"
#include "tests/support/temporary_folder.h"

namespace zerix::os {
namespace {

class Registry : public testing::Test {
protected:
    ~Registry() override
    {
        if (m_key != nullptr)
            RegCloseKey(m_key);
    }

    void Put(const char *name, DWORD type, const std::string &bytes)
    {
        if (m_key == nullptr) {
            ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tolvane\\Zerix", 0, nullptr, 0,
                                      KEY_ALL_ACCESS, nullptr, &m_key, nullptr),
                      ERROR_SUCCESS);
        }
        ASSERT_EQ(RegSetValueExA(m_key, name, 0, type, reinterpret_cast<const BYTE *>(bytes.data()),
                                 static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }

    // Stands in the machine's place.
    test::ConfigurationValues m_machine;

private:
    HKEY m_key = nullptr;
};

TEST_F(Registry, WithoutTheKeyHoldsNoConfiguration)
{
    EXPECT_EQ(Configuration::Open(), nullptr);
    EXPECT_EQ(ConfigurationPlaces(), "");
}

TEST_F(Registry, HoldsNumbersAndTexts)
{
    Put("outputEnabled", REG_DWORD, std::string("\x01\0\0\0", 4));
    Put("largest", REG_DWORD, "\xFF\xFF\xFF\xFF");
    Put("outputFilePath", REG_SZ, std::string("C:\\a folder\\a file.log\0", 23));
    Put("unterminated", REG_SZ, "C:\\x");
    Put("empty", REG_SZ, "");
    Put("twoZeros", REG_SZ, std::string("one\0two\0", 8));
    const auto values = Configuration::Open();
    ASSERT_NE(values, nullptr);
    EXPECT_EQ(values->Number("outputEnabled"), 1u);
    EXPECT_EQ(values->Number("OUTPUTenabled"), 1u);
    EXPECT_EQ(values->Number("largest"), 4294967295u);
    EXPECT_EQ(values->Text("outputFilePath"), "C:\\a folder\\a file.log");
    EXPECT_EQ(values->Text("unterminated"), "C:\\x");
    EXPECT_EQ(values->Text("empty"), "");
    EXPECT_EQ(values->Text("twoZeros"), "one");
}

TEST_F(Registry, GivesNothingForAnAbsentValueOrAnotherType)
{
    Put("number", REG_DWORD, std::string("\x01\0\0\0", 4));
    Put("text", REG_SZ, "text");
    Put("long", REG_QWORD, std::string("\x01\0\0\0\0\0\0\0", 8));
    Put("bytes", REG_BINARY, std::string("\x01\0\0\0", 4));
    Put("short", REG_DWORD, std::string("\x01\0", 2));
    Put("expanded", REG_EXPAND_SZ, "%TEMP%");
    const auto values = Configuration::Open();
    ASSERT_NE(values, nullptr);
    EXPECT_EQ(values->Number("absent"), std::nullopt);
    EXPECT_EQ(values->Text("absent"), std::nullopt);
    EXPECT_EQ(values->Text("number"), std::nullopt);
    EXPECT_EQ(values->Number("text"), std::nullopt);
    EXPECT_EQ(values->Number("long"), std::nullopt);
    EXPECT_EQ(values->Number("bytes"), std::nullopt);
    EXPECT_EQ(values->Number("short"), std::nullopt);
    EXPECT_EQ(values->Text("expanded"), std::nullopt);
}

TEST_F(Registry, CutsATextAt1023Bytes)
{
    Put("a", REG_SZ, std::string(2000, 'x'));
    Put("b", REG_SZ, std::string(1023, 'y') + '\0');
    const auto values = Configuration::Open();
    EXPECT_EQ(values->Text("a"), std::string(1023, 'x'));
    EXPECT_EQ(values->Text("b"), std::string(1023, 'y'));
}

TEST_F(Registry, KeepsTheLettersOfTheCodePage)
{
    Put("outputFilePath", REG_SZ, "C:\\M\xFCller\\\xE9t\xE9.log");
    EXPECT_EQ(Configuration::Open()->Text("outputFilePath"), "C:\\M\xFCller\\\xE9t\xE9.log");
}

TEST_F(Registry, SendsDebugOutputElsewhereWhenItIsReadAgain)
{
    const test::TemporaryFolder folder;
    const std::string target = folder.Path() + "/debug.log";
    m_machine.Put("DebugOutput = " + target + "\n");
    static_cast<void>(Configuration::Open());
    DebugOutput("one");
    DebugOutput("two\n");
    EXPECT_EQ(folder.Read("debug.log"), "one\ntwo\n");

    m_machine.Put("DebugOutput = stderr\n");
    static_cast<void>(Configuration::Open());
    testing::internal::CaptureStderr();
    DebugOutput("three of %d");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "three of %d\n");

    m_machine.Put("DebugOutput = off\n");
    testing::internal::CaptureStderr();
    DebugOutput("still there");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "still there\n");
    static_cast<void>(Configuration::Open());
    testing::internal::CaptureStderr();
    DebugOutput("four");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    m_machine.Put("");
    static_cast<void>(Configuration::Open());
}

} // namespace
} // namespace zerix::os
