// What a picture shows of each field of the registers: the application sets it, and sees a camera
// that obeys.
#include <algorithm>

#include "tests/api/virtual_sending_fixture.h"

namespace zerix::api {
namespace {

// The sensor of few lines: 1024 x 58 pixels of 24 micrometres, 300,000 electrons, peak 0.9. Behind
// 12 bits a count is 73.242 electrons, and black is at 32 counts.
constexpr const char *kSensor =
    "sensor = 11\nserial = \"F-1\"\nnoise = false\ncooler = false\nregulated-cooling = false\n";
constexpr uint32_t kWidth = 1024;
constexpr uint32_t kHeight = 58;

class VirtualFields : public VirtualSendingTest {
protected:
    void OpenCamera(const std::string &lines)
    {
        Open("[[camera]]\n" + std::string(kSensor) + lines);
        EXPECT_EQ(ZerixSim_GiveCreditPerStream(0, 1), 0u);
        Set(zprmImageFormat, zfmtMono16);
    }

    void Set64(uint32_t key, uint64_t value) { tables::SetSlot64(&settings, key, value); }

    // The next picture, after the settings were sent.
    const std::vector<uint16_t> &Picture()
    {
        Send();
        return NextPicture();
    }

    const std::vector<uint16_t> &NextPicture()
    {
        pixels.assign(size_t{kWidth} * kHeight, 0xA5A5);
        frame = {};
        frame.pBuffer = reinterpret_cast<uint8_t *>(pixels.data());
        frame.bufferSize = static_cast<uint32_t>(pixels.size() * 2);
        EXPECT_EQ(Zerix_GrabFrame(handle, &frame), 0u);
        EXPECT_EQ(frame.errorCode, 0u);
        return pixels;
    }

    // Hot pixels don't move it.
    static uint16_t Median(std::vector<uint16_t> values)
    {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    std::vector<uint16_t> pixels;
    Zerix_Frame frame = {};
};

// 200 photons for 16.384 ms: 200 / 3 * 2.6 * 24 * 24 * 0.9 * 0.016384 = 1472.2 electrons. A hundred
// times is sent as 412 counts of 0.015765398 dB above 33.5092631 dB, which is 100.05 times: 147,298
// electrons, 2011 counts above black.
TEST_F(VirtualFields, AnIntensifierMultipliesByTheFactorThatIsAskedFor)
{
    OpenCamera("model = 9\nscene = \"flat:200\"\n");
    Set64(zprm64NormIntensGain, 100'000'000);
    EXPECT_NEAR(Median(Picture()), 2043, 2);
}

} // namespace
} // namespace zerix::api
