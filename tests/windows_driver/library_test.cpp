// The built library, loaded by its file as applications load it, over the test driver.
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/places.h"
#include "tests/windows_driver/driver_fixture.h"
#include "tests/windows_driver/recorded_camera.h"
#include "zerix/zerix.h"

namespace zerix::test {
namespace {

constexpr uint32_t kWidth = 1024; // of sensor 11
constexpr uint32_t kHeight = 58;

class LoadedLibrary {
public:
    LoadedLibrary() : m_module(LoadLibraryA(LibraryPath().c_str())) {}
    ~LoadedLibrary()
    {
        if (m_module != nullptr)
            FreeLibrary(m_module);
    }
    LoadedLibrary(const LoadedLibrary &) = delete;
    LoadedLibrary &operator=(const LoadedLibrary &) = delete;
    [[nodiscard]] bool IsLoaded() const { return m_module != nullptr; }

    // Of the type that the header declares.
    template <typename Function>
    Function *Find(Function *, const char *name) const
    {
        return reinterpret_cast<Function *>(
            reinterpret_cast<void *>(GetProcAddress(m_module, name)));
    }

private:
    HMODULE m_module;
};

using WindowsLibrary = DriverTest;

TEST_F(WindowsLibrary, TakesAPicture)
{
    RecordedCamera camera(driver, 0,
                          {.model = 18, .serial = "W-0020", .ccdModel = 11, .scene = "flat:1"});
    driver.Unplug(1);
    std::vector<uint8_t> picture(kWidth * kHeight);
    for (size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<uint8_t>(i * 31 >> 3);
    camera.Show(picture, 996);

    const LoadedLibrary library;
    ASSERT_TRUE(library.IsLoaded()) << LibraryPath() << ": error " << GetLastError();
    const auto load = library.Find(&Zerix_LoadDriver, "Zerix_LoadDriver");
    const auto list = library.Find(&Zerix_ListCameras, "Zerix_ListCameras");
    const auto open = library.Find(&Zerix_OpenCamera, "Zerix_OpenCamera");
    const auto grab = library.Find(&Zerix_GrabFrame, "Zerix_GrabFrame");
    const auto close = library.Find(&Zerix_CloseCamera, "Zerix_CloseCamera");
    const auto release = library.Find(&Zerix_ReleaseDriver, "Zerix_ReleaseDriver");
    ASSERT_TRUE(load && list && open && grab && close && release);

    ASSERT_EQ(0u, load());
    ZerixCameraListItem items[10] = {};
    uint32_t count = 10;
    ASSERT_EQ(0u, list(items, &count));
    ASSERT_EQ(1u, count);
    EXPECT_EQ(18u, items[0].cameraType);
    ZerixHandle handle = nullptr;
    ASSERT_EQ(0u, open(items[0].cameraId, &handle));
    std::vector<uint8_t> pixels(kWidth * kHeight);
    Zerix_Frame frame = {};
    frame.pBuffer = pixels.data();
    frame.bufferSize = kWidth * kHeight;
    EXPECT_EQ(0u, grab(handle, &frame));
    EXPECT_EQ(0u, frame.errorCode);
    EXPECT_EQ(picture, pixels);
    EXPECT_EQ(0u, close(handle));
    release();
}

} // namespace
} // namespace zerix::test
