// Debug output as a debugger's viewer gets it.
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <windows.h>

#include "platform/os.h"
#include "tests/support/configuration_values.h"

namespace zerix::os {
namespace {

// What the system hands to whoever listens to the debug output of all processes: one message at a
// time, in a section of 4 kilobytes behind the process's number.
class DebugViewer {
public:
    DebugViewer()
        : m_isReady(CreateEventA(nullptr, FALSE, FALSE, "DBWIN_BUFFER_READY")),
          m_hasData(CreateEventA(nullptr, FALSE, FALSE, "DBWIN_DATA_READY")),
          m_section(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096,
                                       "DBWIN_BUFFER")),
          m_view(static_cast<const char *>(MapViewOfFile(m_section, FILE_MAP_READ, 0, 0, 0)))
    {
    }
    ~DebugViewer()
    {
        UnmapViewOfFile(m_view);
        for (const HANDLE handle : {m_section, m_hasData, m_isReady})
            CloseHandle(handle);
    }
    DebugViewer(const DebugViewer &) = delete;
    DebugViewer &operator=(const DebugViewer &) = delete;

    // The next message of this process.
    [[nodiscard]] std::string Next() const
    {
        for (;;) {
            SetEvent(m_isReady);
            if (WaitForSingleObject(m_hasData, 10'000) != WAIT_OBJECT_0)
                return "no message came";
            DWORD process = 0;
            std::memcpy(&process, m_view, sizeof process);
            if (process == GetCurrentProcessId())
                return m_view + sizeof process;
        }
    }

private:
    const HANDLE m_isReady;
    const HANDLE m_hasData;
    const HANDLE m_section;
    const char *const m_view;
};

TEST(DebuggerOutput, IsWhereLinesGoByDefault)
{
    const test::ConfigurationValues nothing;
    static_cast<void>(Configuration::Open());
    const DebugViewer viewer;
    std::thread writer([] {
        DebugOutput("FWCameraGetList - got 0 devices using setup API\n");
        DebugOutput("100 %s\n");
    });
    EXPECT_EQ(viewer.Next(), "FWCameraGetList - got 0 devices using setup API\n");
    EXPECT_EQ(viewer.Next(), "100 %s\n");
    writer.join();
}

} // namespace
} // namespace zerix::os
