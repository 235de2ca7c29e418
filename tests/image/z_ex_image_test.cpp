// The image record and its buffer.
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

#include "platform/frame_buffer_pool.h"
#include "tests/image/image_fixture.h"

namespace ZX {
namespace {

using Bytes = std::vector<uint8_t>;

// Lets no buffer above a size be had while it lives.
class LittleMemory {
public:
    explicit LittleMemory(uint32_t largest) { zerix::FrameBuffers().SetLargestForTest(largest); }
    ~LittleMemory() { zerix::FrameBuffers().SetLargestForTest(0xFFFFFFFF); }
    LittleMemory(const LittleMemory &) = delete;
    LittleMemory &operator=(const LittleMemory &) = delete;
};

TEST(ZExImage, KeepsWhatItIsMadeWith)
{
    uint8_t data[6] = {};
    int camera = 0;
    const ZExImage image(data, 6, 3, 2, 12, 0x123456789, 2.5, 5, 2, 7, 1, true, 40, 3, 4, true, 500,
                         18, &camera, false, 0xFEDCBA98);
    EXPECT_EQ(image.GetImageData(), data);
    EXPECT_EQ(image.GetImageSize(), 6u);
    EXPECT_EQ(image.GetWidth(), 3u);
    EXPECT_EQ(image.GetHeight(), 2u);
    EXPECT_EQ(image.GetBitDepth(), 12u);
    EXPECT_EQ(image.GetExposure(), 0x123456789u);
    EXPECT_EQ(image.GetGain(), 2.5);
    EXPECT_EQ(image.GetImageFormat(), 5u);
    EXPECT_EQ(image.GetCameraImageFormat(), 2u);
    EXPECT_EQ(image.GetColourPattern(), 7u);
    EXPECT_EQ(image.GetRGBFilterStartColour(), 1u);
    EXPECT_TRUE(image.IsBigEndian());
    EXPECT_EQ(image.GetCameraModel(), 40u);
    EXPECT_EQ(image.GetCameraNumber(), 3u);
    EXPECT_EQ(image.GetSymmetricalBinningMode(), 4u);
    EXPECT_TRUE(image.IsLVW());
    EXPECT_EQ(image.GetRollingFrameNumber(), 500u);
    EXPECT_EQ(image.GetErrorCode(), 18u);
    EXPECT_EQ(image.GetCamera(), &camera);
    EXPECT_EQ(image.GetTimeStamp(), 0xFEDCBA98u);
}

TEST(ZExImage, SixFieldsCanBeSet)
{
    const auto image = MakeImage({1, 2, 3, 4}, 2, 2, 2);
    image->SetImageFormat(12);
    image->SetWidth(65535);
    image->SetHeight(300);
    image->SetImageSize(3);
    image->SetCameraImageFormat(9);
    image->SetErrorCode(18);
    EXPECT_EQ(image->GetImageFormat(), 12u);
    EXPECT_EQ(image->GetWidth(), 65535u);
    EXPECT_EQ(image->GetHeight(), 300u);
    EXPECT_EQ(image->GetImageSize(), 3u);
    EXPECT_EQ(image->GetCameraImageFormat(), 9u);
    EXPECT_EQ(image->GetErrorCode(), 18u);
}

TEST(ZExImage, ByteSizesOfTheFormats)
{
    const uint32_t expected[] = {0, 0, 0, 0, 0, 0, 3, 6, 3, 4, 6, 4, 3, 4, 0, 0};
    for (uint32_t format = 0; format < std::size(expected); ++format)
        EXPECT_EQ(ZExImage::ImageFormatByteSize(format), expected[format]) << format;
    EXPECT_EQ(ZExImage::ImageFormatByteSize(0xFFFFFFFF), 0u);
}

TEST(ZExImage, OnlyAnOwnerGivesItsBufferBack)
{
    zerix::FrameBuffers().Trim();
    MakeImage({1, 2, 3}, 3, 1, 2).reset();
    EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 1u);
    uint8_t *const buffer = ZExImage::AllocateBuffer(3);
    EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 0u);
    {
        const ZExImage image(buffer, 3, 3, 1, 8, 0, 1.0, 2, 1, 5, 0, false, 0, 0, 1, false, 0, 0,
                             nullptr, false, 0);
    }
    EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 0u);
    ZExImage::ReleaseBuffer(buffer);
    ZExImage::ReleaseBuffer(nullptr);
}

TEST(ZExImage, FreesABufferThatAnApplicationHadFromMalloc)
{
    zerix::FrameBuffers().Trim();
    auto *const buffer = static_cast<uint8_t *>(std::malloc(3));
    std::memcpy(buffer, "abc", 3);
    {
        ZExImage image(buffer, 3, 3, 1, 8, 0, 1.0, 2, 1, 5, 0, false, 0, 0, 1, false, 0, 0, nullptr,
                       true, 0);
        image.ResizeBuffer(5);
        EXPECT_EQ(BytesOf(image), (Bytes{'a', 'b', 'c', 0, 0}));
        EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 1u) << "room for a copy";
    }
    EXPECT_EQ(zerix::FrameBuffers().IdleCount(), 2u) << "the larger one is the pool's";
    zerix::FrameBuffers().Trim();
}

TEST(ZExImageResize, ToTheSameSizeDoesNothing)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    const uint8_t *const before = image->GetImageData();
    image->ResizeBuffer(3);
    EXPECT_EQ(image->GetImageData(), before);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3}));
}

TEST(ZExImageResize, ToALargerSizeKeepsTheContentsAndClearsTheRest)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    image->ResizeBuffer(7);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3, 0, 0, 0, 0}));
}

TEST(ZExImageResize, ToASmallerSizeKeepsWhatFits)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    image->ResizeBuffer(2);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2}));
    image->ResizeBuffer(0);
    EXPECT_EQ(image->GetImageSize(), 0u);
    image->ResizeBuffer(2);
    EXPECT_EQ(BytesOf(*image), (Bytes{0, 0}));
}

TEST(ZExImageResize, WithoutMemoryLeavesTheBufferAndNoSize)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    const uint8_t *const before = image->GetImageData();
    {
        const LittleMemory little(3);
        image->ResizeBuffer(7);
    }
    EXPECT_EQ(image->GetImageSize(), 0u);
    EXPECT_EQ(image->GetImageData(), before);
    EXPECT_EQ(before[2], 3u);
}

TEST(ZExImageResize, WithoutMemoryForACopyChangesNothing)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    const LittleMemory little(2);
    image->ResizeBuffer(7);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3}));
    image->ResizeBuffer(1); // which alone there would be room for
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3}));
}

TEST(ZExImageResize, LeavesAForeignBufferToItsOwner)
{
    uint8_t data[2] = {8, 9};
    ZExImage image(data, 2, 2, 1, 8, 0, 1.0, 2, 1, 5, 0, false, 0, 0, 1, false, 0, 0, nullptr,
                   false, 0);
    image.ResizeBuffer(3);
    EXPECT_NE(image.GetImageData(), data);
    EXPECT_EQ(BytesOf(image), (Bytes{8, 9, 0}));
    EXPECT_EQ(data[1], 9u);
    image.ResizeBuffer(4); // its own now
    EXPECT_EQ(BytesOf(image), (Bytes{8, 9, 0, 0}));
}

TEST(ZExImageReplace, OfAnotherSizeTakesACopy)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    const Bytes larger{9, 8, 7, 6, 5};
    image->ReplaceImageBufferWith(larger.data(), 5);
    EXPECT_EQ(BytesOf(*image), larger);
    image->ReplaceImageBufferWith(larger.data() + 1, 2);
    EXPECT_EQ(BytesOf(*image), (Bytes{8, 7}));
}

TEST(ZExImageReplace, OfTheSameSizeCopiesNothing)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    const Bytes other{9, 8, 7};
    image->ReplaceImageBufferWith(other.data(), 3);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3}));
}

TEST(ZExImageReplace, WithoutMemoryChangesNothing)
{
    const auto image = MakeImage({1, 2, 3}, 3, 1, 2);
    const Bytes larger{9, 8, 7, 6, 5};
    const LittleMemory little(4);
    image->ReplaceImageBufferWith(larger.data(), 5);
    EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3}));
}

} // namespace
} // namespace ZX
