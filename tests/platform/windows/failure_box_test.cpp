// The failure box as a user sees it, and as a test does.
#include <string>
#include <vector>
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/os.h"
#include "tests/platform/windows/without_screen.h"

namespace zerix::os {
namespace {

TEST(FailureBox, OfATestIsALineOfDebugOutput)
{
    std::string told;
    SetDebugOutputForTest([&](const std::string &line) { told = line; });
    ShowFailureBox("Error", "FWCameraIsOpen failed with error 5: Access denied.");
    SetDebugOutputForTest({});
    EXPECT_EQ(told, "Error: FWCameraIsOpen failed with error 5: Access denied.");
}

struct SeenBox {
    std::vector<std::string> texts; // of its parts, buttons and all
    bool hasIcon = false;
    bool hasOwner = true;
};

BOOL CALLBACK NotePart(HWND part, LPARAM box)
{
    SeenBox &seen = *reinterpret_cast<SeenBox *>(box);
    char text[512] = {};
    GetWindowTextA(part, text, sizeof text);
    if (IsWindowVisible(part) != 0 && text[0] != '\0')
        seen.texts.emplace_back(text);
    seen.hasIcon = seen.hasIcon || SendMessageA(part, STM_GETICON, 0, 0) != 0;
    return TRUE;
}

// Waits for the box of that title, notes what it shows and presses its button.
SeenBox SeeAndClose(const char *title)
{
    constexpr const char *kDialogClass = "#32770";
    HWND box = nullptr;
    for (int i = 0; i < 1000 && (box == nullptr || IsWindowVisible(box) == 0); ++i) {
        SleepMilliseconds(10);
        box = FindWindowA(kDialogClass, title);
    }
    SeenBox seen;
    EnumChildWindows(box, NotePart, reinterpret_cast<LPARAM>(&seen));
    seen.hasOwner = GetWindow(box, GW_OWNER) != nullptr;
    PostMessageA(box, WM_COMMAND, IDOK, 0);
    return seen;
}

TEST(FailureBox, OfAnApplicationIsTheSystemsWithOneButton)
{
    const HDESK before = GetThreadDesktop(GetCurrentThreadId());
    test::UnseenDesktop desktop;
    ASSERT_TRUE(desktop.Enter());
    const auto user = Thread::Start(
        [](void *place) {
            if (static_cast<test::UnseenDesktop *>(place)->Enter())
                ShowFailureBox("Error", "FWCameraIsOpen failed with error 31: 100%s");
        },
        &desktop);
    ASSERT_NE(user, nullptr);
    const SeenBox seen = SeeAndClose("Error");
    ASSERT_EQ(user->Join(20'000), WaitResult::kSignalled);
    EXPECT_EQ(seen.texts,
              (std::vector<std::string>{"OK", "FWCameraIsOpen failed with error 31: 100%s"}));
    EXPECT_FALSE(seen.hasIcon);
    EXPECT_FALSE(seen.hasOwner);
    SetThreadDesktop(before);
}

} // namespace
} // namespace zerix::os
