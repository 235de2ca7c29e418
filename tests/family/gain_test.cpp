// Electron multiplication and the image intensifier: brightness and noise under even light, against
// what a data sheet promises. Seeds are fixed, so that every run sees the same pixels.
#include <cmath>

#include <gtest/gtest.h>

#include "tests/family/family_session.h"

namespace zerix::family {
namespace {

constexpr uint16_t kNotSupported = 15;

struct Moments {
    double mean;
    double variance;
};

// Of words, with a black level of a 128th of the range.
class GainSession : public FamilySession {
protected:
    void OpenUnderLight(uint32_t model, uint32_t ccdModel, uint32_t photons)
    {
        sensor = SensorOf(ccdModel);
        OpenOnly("model = " + std::to_string(model) + "\nsensor = " + std::to_string(ccdModel) +
                 "\nbit-depth = 16\nscene = \"flat:" + std::to_string(photons) + "\"\n");
        ASSERT_EQ(Camera().SetBitDepth(16), 0u);
    }

    // In electrons above black.
    Moments GrabElectrons()
    {
        Grab();
        const double electronsPerCount = sensor.fullWellElectrons / 65536;
        const uint32_t count = frame.size / 2;
        double sum = 0;
        double squares = 0;
        for (uint32_t pixel = 0; pixel < count; ++pixel) {
            const int word = pixels[2 * pixel] | pixels[2 * pixel + 1] << 8;
            const double electrons = (word - 65536 / 128) * electronsPerCount;
            sum += electrons;
            squares += electrons * electrons;
        }
        const double mean = sum / count;
        return {mean, squares / count - mean * mean};
    }

    // Photons come one by one, a multiplied electron adds the noise of its own multiplication, and
    // the read noise comes on top of all.
    void ExpectMultiplied(double electrons, double factor, float megahertz)
    {
        const Moments moments = GrabElectrons();
        const double read = ReadNoiseAt(megahertz);
        const double variance = electrons * factor * (2 * factor - 1) + read * read;
        EXPECT_NEAR(moments.mean, factor * electrons, 0.01 * factor * electrons);
        EXPECT_NEAR(moments.variance, variance, 0.03 * variance);
    }

    Sensor sensor = {};
};

struct MultiplyingCamera {
    uint32_t model;
    uint32_t sensor;
    std::vector<float> readouts;
};

void PrintTo(const MultiplyingCamera &camera, std::ostream *stream) { *stream << camera.model; }

class Multiplication : public GainSession, public testing::WithParamInterface<MultiplyingCamera> {};

// A hundredfold where the camera says so, tenfold at half of that, for the scale is in decibels.
TEST_P(Multiplication, MultipliesLightAndItsNoise)
{
    constexpr uint32_t kPhotons = 300;
    constexpr uint64_t kExposure = 1'000'000;
    OpenUnderLight(GetParam().model, GetParam().sensor, kPhotons);
    ASSERT_TRUE(Camera().IsEMGainAvailable());
    ASSERT_EQ(Camera().SetExposure(kExposure), 0u);
    const double electrons = ElectronsOf(sensor, kPhotons, 0.001);
    const float megahertz = 10;
    ASSERT_EQ(Camera().SetReadoutFrequency(megahertz), 0u);
    const uint32_t hundredfold = Camera().Get100XEmGain(1); // the index of 10 MHz
    ASSERT_EQ(hundredfold, 2048u);
    for (const auto &[gain, factor] :
         {std::pair{0u, 1.0}, {hundredfold / 2, 10.0}, {hundredfold, 100.0}}) {
        SCOPED_TRACE(gain);
        ASSERT_EQ(Camera().SetEMGain(gain), 0u);
        EXPECT_EQ(Camera().GetEMGain(), gain);
        ExpectMultiplied(electrons, factor, megahertz);
    }
}

// In the dark there is nothing to multiply but the noise of reading, which the gain leaves alone.
TEST_P(Multiplication, HasTheReadNoiseOfItsReadout)
{
    OpenUnderLight(GetParam().model, GetParam().sensor, 0);
    ASSERT_EQ(Camera().SetExposure(10'000), 0u);
    for (const float megahertz : GetParam().readouts) {
        SCOPED_TRACE(megahertz);
        ASSERT_EQ(Camera().SetReadoutFrequency(megahertz), 0u);
        for (const uint32_t gain : {0u, 2048u}) {
            ASSERT_EQ(Camera().SetEMGain(gain), 0u);
            const Moments moments = GrabElectrons();
            EXPECT_NEAR(moments.mean, 0, 0.2);
            EXPECT_NEAR(std::sqrt(moments.variance), ReadNoiseAt(megahertz),
                        0.03 * ReadNoiseAt(megahertz));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Family, Multiplication,
                         testing::Values(MultiplyingCamera{25, 78, {40, 10, 20}},
                                         MultiplyingCamera{27, 15, {10, 20, 30}},
                                         MultiplyingCamera{31, 15, {10, 20, 30}}),
                         [](const auto &row) { return "Model" + std::to_string(row.param.model); });

class NoMultiplication : public GainSession {};

TEST_F(NoMultiplication, OnAnOrdinarySensor)
{
    OpenUnderLight(18, 6, 100);
    EXPECT_FALSE(Camera().IsEMGainAvailable());
    EXPECT_EQ(Camera().SetEMGain(0), kNotSupported);
    EXPECT_EQ(Camera().GetEMGain(), 0u);
    EXPECT_EQ(Camera().Get100XEmGain(1), 0u);
}

class Intensifier : public GainSession {};

// A picture has the factor that the driver reports, from the least gain on. A control count is
// 0.0158 dB, so that none is met to better than a thousandth.
TEST_F(Intensifier, MultipliesLightAndItsNoise)
{
    constexpr uint32_t kPhotons = 100;
    OpenUnderLight(9, 6, kPhotons);
    ASSERT_TRUE(Camera().IsIntensifierAvailable());
    ASSERT_EQ(Camera().GetNormalizedIntensifierGainMin(), 47'400'000u);
    ASSERT_EQ(Camera().SetExposure(200'000), 0u);
    const double electrons = ElectronsOf(sensor, kPhotons, 0.0002); // 0.447 a pixel
    for (const float megahertz : {2.5f, 20.0f}) {
        ASSERT_EQ(Camera().SetReadoutFrequency(megahertz), 0u);
        for (const auto &[gain, factor] : {std::pair<uint64_t, double>{47'400'000, 47.4},
                                           {150'000'000, 150.0},
                                           {474'000'000, 474.0},
                                           {1'500'000'000, 1500.0}}) {
            SCOPED_TRACE(gain);
            ASSERT_EQ(Camera().SetNormalizedIntensifierGain(gain), 0u);
            ExpectMultiplied(electrons, factor, megahertz);
        }
    }
}

// Above the most it is the most, which fills the well.
TEST_F(Intensifier, SaturatesAtItsMost)
{
    OpenUnderLight(9, 6, 1000);
    ASSERT_EQ(Camera().SetNormalizedIntensifierGain(1'000'000'000'000), 0u);
    EXPECT_EQ(Camera().GetNormalizedIntensifierGaindB(), 98'068'567u);
    const Moments moments = GrabElectrons();
    EXPECT_GT(moments.mean, 0.97 * sensor.fullWellElectrons);
}

} // namespace
} // namespace zerix::family
