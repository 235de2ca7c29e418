// Pictures that come through the kernel are, byte for byte, those that come from the virtual bus.
#include "camera_session.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <sstream>
#include <utility>

namespace linux_kernel {
namespace {

constexpr std::uint32_t kTenMegahertz = 1;

// A camera of a rack, in a rack of its own: the guest has no memory for ten of them.
struct RackCamera {
    const char *rack;
    std::size_t place;
};

void PrintTo(const RackCamera &camera, std::ostream *stream)
{
    *stream << camera.rack << " " << camera.place;
}

// The rack's file up to its first camera, and the camera's part of it.
std::string TextOf(const RackCamera &camera)
{
    std::ifstream file(std::string(std::getenv("HERE")) + "/" + camera.rack + ".toml");
    std::stringstream all;
    all << file.rdbuf();
    const std::string text = all.str();
    constexpr char kBegin[] = "[[camera]]";
    std::vector<std::size_t> begins;
    for (auto at = text.find(kBegin); at != std::string::npos; at = text.find(kBegin, at + 1))
        begins.push_back(at);
    EXPECT_LT(camera.place, begins.size()) << camera.rack;
    if (camera.place >= begins.size())
        return {};
    begins.push_back(text.size());
    const std::size_t begin = begins[camera.place];
    return text.substr(0, begins[0]) + text.substr(begin, begins[camera.place + 1] - begin);
}

class Pictures : public CameraSession, public testing::WithParamInterface<RackCamera> {
protected:
    // Of all pictures of a rack the guest hasn't the memory for the bytes.
    struct Taken {
        std::string name;
        Picture picture; // without its bytes
        std::size_t size;
        std::uint64_t digest;
        bool operator==(const Taken &) const = default;
    };

    static Taken Sum(const std::string &name, Picture picture)
    {
        std::uint64_t digest = 0xCBF29CE484222325u; // FNV-1a
        for (const std::uint8_t byte : picture.bytes)
            digest = (digest ^ byte) * 0x100000001B3u;
        const auto [least, most] = std::ranges::minmax_element(picture.bytes);
        EXPECT_NE(*least, *most) << name;
        const std::size_t size = picture.bytes.size();
        picture.bytes = {};
        return {name, std::move(picture), size, digest};
    }

    // What the camera gives at several settings.
    std::vector<Taken> TakeAll(Way way)
    {
        UseText(TextOf(GetParam()), way);
        const ZerixHandle camera = Open();
        Zerix_Settings settings = {};
        Zerix_CreateCameraSettingsStruct(&settings);
        EXPECT_EQ(Zerix_ReadDefaultSettings(camera, &settings), 0u);
        std::vector<Taken> all;
        const auto take = [&](const std::string &name, std::uint32_t key, std::uint32_t value) {
            if (Zerix_SetParam(&settings, key, value) != 0)
                return;
            EXPECT_EQ(Zerix_SendSettingsToCam(camera, &settings), 0u) << name;
            all.push_back(Sum(name, Grab(camera, SizeOf(camera, settings))));
        };
        std::uint32_t hasMosaic = 0;
        EXPECT_EQ(Zerix_GetInfo(camera, zinfCcdType, &hasMosaic), 0u);
        take("bytes", zprmImageFormat, hasMosaic != 0 ? zfmtBayer8 : zfmtMono8);
        // A slow bus has no room for words at the fastest readout.
        Zerix_SetParam(&settings, zprmReadoutSpeed, kTenMegahertz);
        take("words", zprmImageFormat, hasMosaic != 0 ? zfmtBayer16 : zfmtMono16);
        if (hasMosaic != 0) {
            EXPECT_EQ(Zerix_SetParam(&settings, zprmDoPostProcessing, 1), 0u);
            take("colours", zprmPostProcessImageFormat, zfmtRgb48);
            EXPECT_EQ(Zerix_SetParam(&settings, zprmDoPostProcessing, 0), 0u);
        }
        take("live", zprmCameraMode, 1);
        Zerix_SetParam(&settings, zprmCameraMode, 0);
        take("binned", zprmBinning, 2);
        Zerix_ReleaseCameraSettingsStruct(&settings);
        EXPECT_EQ(Zerix_CloseCamera(camera), 0u);
        return all;
    }

private:
    static std::uint32_t SizeOf(ZerixHandle camera, Zerix_Settings &settings)
    {
        std::uint32_t finishes = 0, size = 0;
        EXPECT_EQ(Zerix_GetParam(&settings, zprmDoPostProcessing, &finishes), 0u);
        const auto key = finishes != 0 ? zinfPostProcessImageSize : zinfImageSize;
        EXPECT_EQ(Zerix_GetInfo(camera, key, &size), 0u);
        return size;
    }
};

TEST_P(Pictures, AreTheVirtualBussOwn)
{
    const std::vector<Taken> direct = TakeAll(Way::kVirtualBus);
    const std::vector<Taken> found = TakeAll(Way::kKernel);
    ASSERT_EQ(found.size(), direct.size());
    ASSERT_GE(direct.size(), 2u);
    for (std::size_t i = 0; i < direct.size(); ++i) {
        SCOPED_TRACE(direct[i].name);
        EXPECT_EQ(direct[i].picture.error, 0u);
        EXPECT_EQ(found[i].picture.error, 0u);
        EXPECT_TRUE(found[i] == direct[i]);
    }
}

// Old and new stream formats, mosaics, electron multiplication, an intensifier, two fields with a
// live mode, and the far corner, on a fast bus and a slow one.
INSTANTIATE_TEST_SUITE_P(Of, Pictures,
                         testing::Values(RackCamera{"default", 0}, RackCamera{"default", 1},
                                         RackCamera{"default", 2}, RackCamera{"family-1", 0},
                                         RackCamera{"family-1", 4}, RackCamera{"family-1", 6},
                                         RackCamera{"family-1", 7}, RackCamera{"family-2", 2},
                                         RackCamera{"family-3", 0}, RackCamera{"family-3", 2},
                                         RackCamera{"family-3", 8}, RackCamera{"family-3", 9}));

} // namespace
} // namespace linux_kernel
