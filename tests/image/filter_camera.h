// A camera for the filters: what a filter sets, its getters then answer, and its images are made by
// the test. Also buffers of exact size, so that the sanitizers see a byte too far.
#pragma once

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "image/image_buffers.h"
#include "tests/api/fake_camera.h"
#include "tests/image/image_fixture.h"

namespace ZX {

class FilterCamera : public zerix::api::FakeCamera {
public:
    uint16_t SetBitDepth(uint16_t value) override
    {
        getBitDepth = value;
        return FakeCamera::SetBitDepth(value);
    }
    uint16_t SetExposure(uint64_t value) override
    {
        getExposure = value;
        return FakeCamera::SetExposure(value);
    }
    uint16_t SetRGBFilterRedExposure(uint64_t value) override
    {
        getRGBFilterRedExposure = value;
        return FakeCamera::SetRGBFilterRedExposure(value);
    }
    uint16_t SetRGBFilterBlueExposure(uint64_t value) override
    {
        getRGBFilterBlueExposure = value;
        return FakeCamera::SetRGBFilterBlueExposure(value);
    }
    uint16_t SetRGBFilterStartColour(uint16_t value) override
    {
        getRGBFilterStartColour = value;
        return FakeCamera::SetRGBFilterStartColour(value);
    }
    uint16_t SetRGBFilterCycle(bool value) override
    {
        getRGBFilterCycleMode = value;
        return FakeCamera::SetRGBFilterCycle(value);
    }
    uint16_t GetOneImage(ZExImage **image) override
    {
        ++imagesTaken;
        *image = makeImage ? makeImage().release() : nullptr;
        return getOneImageStatus;
    }

    std::function<std::unique_ptr<ZExImage>()> makeImage;
    int imagesTaken = 0;
};

// A heap block of exactly these bytes.
class ExactBuffer {
public:
    explicit ExactBuffer(size_t size, uint8_t fill = 0xEE) : m_size(size), m_data(new uint8_t[size])
    {
        std::memset(m_data.get(), fill, size);
    }
    explicit ExactBuffer(const std::vector<uint8_t> &bytes) : ExactBuffer(bytes.size())
    {
        for (size_t index = 0; index < m_size; ++index)
            m_data[index] = bytes[index];
    }
    [[nodiscard]] uint8_t *Data() const { return m_data.get(); }
    [[nodiscard]] uint32_t Size() const { return static_cast<uint32_t>(m_size); }
    [[nodiscard]] std::vector<uint8_t> Bytes() const
    {
        return {m_data.get(), m_data.get() + m_size};
    }

private:
    size_t m_size;
    std::unique_ptr<uint8_t[]> m_data;
};

// Words as the bytes of this machine.
inline std::vector<uint8_t> BytesOfWords(const std::vector<uint16_t> &words)
{
    std::vector<uint8_t> bytes(words.size() * 2);
    if (!words.empty())
        std::memcpy(bytes.data(), words.data(), bytes.size());
    return bytes;
}

inline std::vector<uint16_t> WordsOfBytes(const std::vector<uint8_t> &bytes)
{
    std::vector<uint16_t> words(bytes.size() / 2);
    if (!words.empty())
        std::memcpy(words.data(), bytes.data(), words.size() * 2);
    return words;
}

} // namespace ZX
