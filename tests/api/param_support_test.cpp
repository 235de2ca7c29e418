// Which capability of a camera each parameter key asks for.
#include <array>
#include <set>

#include "api/param_rows.h"
#include "tests/api/param_fixture.h"

namespace zerix::api {
namespace {

using Flag = bool FakeCameraValues::*;
using V = FakeCameraValues;

const std::set<uint32_t> kAlways = {0,  1,  2,  6,  7,  12, 13, 14, 15,
                                    16, 25, 27, 28, 29, 30, 31, 32, 52};

struct Row {
    uint32_t key;
    Flag capability;
};
const Row kRows[] = {
    {3, &V::isSymmetricalBinningSupported},
    {4, &V::isHorizontalBinningSupported},
    {5, &V::isVerticalBinningSupported},
    {8, &V::isRGBFilterSupported},
    {9, &V::isCoolerAvailable},
    {10, &V::isRGBFilterSupported},
    {11, &V::isRGBFilterSupported},
    {19, &V::isDoubleShotSupported},
    {20, &V::isSyncBSupported},
    {21, &V::isMetrolShutterDelaySupported},
    {22, &V::isIntensifierAvailable},
    {23, &V::isTriggerDelayAvialable},
    {24, &V::isLVWModeSupported},
    {26, &V::isIntensifierAvailable},
    {33, &V::isFanControlAvailable},
    {34, &V::isBlackoutModeAvailable},
    {35, &V::isHighSensitivityModeAvailable},
    {36, &V::isReadoutPortSupported},
    {37, &V::isEMGainAvailable},
    {39, &V::isShutterCloseDelayAvailable},
    {42, &V::isDitherControlAvailable},
    {43, &V::isHighGainModeAvailable},
    {44, &V::isVClockControlAvailable},
    {46, &V::isTweekingRegisterSupported},
    {47, &V::isKeelEmModeSupported},
    {48, &V::isLockedGainModeSupported},
    {49, &V::isKeelEmModeSupported},
    {50, &V::isKeelEmModeSupported},
    {51, &V::isKeelEmModeSupported},
};

class ParamSupport : public ParamTest {
protected:
    void SetUp() override
    {
        ParamTest::SetUp();
        SetEveryCapability(*camera, false);
    }

    std::set<uint32_t> SupportedOf(uint32_t (*isSupported)(ZerixHandle, uint32_t)) const
    {
        std::set<uint32_t> keys;
        for (uint32_t key = 0; key < 70; ++key) {
            const uint32_t answer = isSupported(HandleOf(*camera), key);
            EXPECT_LE(answer, 1u) << key;
            if (answer == 0)
                keys.insert(key);
        }
        return keys;
    }
};

TEST_F(ParamSupport, OfABareCamera)
{
    EXPECT_EQ(SupportedOf(Zerix_IsParamSupported), kAlways);
    EXPECT_EQ(SupportedOf(Zerix_IsParamS32Supported), (std::set<uint32_t>{0, 1}));
    EXPECT_EQ(SupportedOf(Zerix_IsParam64Supported), (std::set<uint32_t>{0}));
}

TEST_F(ParamSupport, FollowsEachCapabilityAlone)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.key);
        std::set<uint32_t> expected = kAlways;
        for (const Row &other : kRows) {
            if (other.capability == row.capability)
                expected.insert(other.key);
        }
        camera->*row.capability = true;
        EXPECT_EQ(SupportedOf(Zerix_IsParamSupported), expected);
        camera->*row.capability = false;
    }
}

TEST_F(ParamSupport, OfTheWiderKeysFollowsTheirCapabilities)
{
    camera->isRegulatedCoolingAvailable = true;
    EXPECT_EQ(SupportedOf(Zerix_IsParamS32Supported), (std::set<uint32_t>{0, 1, 2}));
    camera->isRGBFilterSupported = true;
    EXPECT_EQ(SupportedOf(Zerix_IsParam64Supported), (std::set<uint32_t>{0, 1, 2}));
    camera->isRGBFilterSupported = false;
    camera->isIntensifierAvailable = true;
    EXPECT_EQ(SupportedOf(Zerix_IsParam64Supported), (std::set<uint32_t>{0, 3}));
}

TEST_F(ParamSupport, OfReserved45BeginsWithHardwareVersion2)
{
    for (const auto &[version, answer] :
         {std::array<uint16_t, 2>{0, 1}, {1, 1}, {2, 0}, {3, 0}, {0xFFFF, 0}}) {
        camera->getHardwareVersion = version;
        EXPECT_EQ(Zerix_IsParamSupported(HandleOf(*camera), zprmReserved45), answer) << version;
    }
}

TEST_F(ParamSupport, LacksFiveKeysOnTheFullestCamera)
{
    SetEveryCapability(*camera, true);
    std::set<uint32_t> expected;
    for (uint32_t key = 0; key < 53; ++key)
        expected.insert(key);
    for (const uint32_t key : {17u, 18u, 38u, 40u, 41u})
        expected.erase(key);
    EXPECT_EQ(SupportedOf(Zerix_IsParamSupported), expected);
    EXPECT_EQ(SupportedOf(Zerix_IsParamS32Supported), (std::set<uint32_t>{0, 1, 2}));
    EXPECT_EQ(SupportedOf(Zerix_IsParam64Supported), (std::set<uint32_t>{0, 1, 2, 3}));
}

template <typename Rows>
void ExpectWhole(const Rows &rows)
{
    for (const auto &row : rows) {
        EXPECT_EQ(row.minimum == nullptr, row.maximum == nullptr) << row.key;
        if (row.isSupported == nullptr) {
            EXPECT_TRUE(row.readBack == nullptr && row.set == nullptr) << row.key;
        }
    }
}

TEST_F(ParamSupport, GoesWithBothLimitsOrNone)
{
    ExpectWhole(kParamRows);
    ExpectWhole(kParamS32Rows);
    ExpectWhole(kParam64Rows);
}

TEST_F(ParamSupport, IsTracedWithTheKeysName)
{
    EXPECT_EQ(Zerix_IsParamSupported(HandleOf(*camera), zprmFan), 1u);
    EXPECT_EQ(Take(), (Lines{"Zerix_IsParamSupported start (zprmFan)",
                             EndingLine("Zerix_IsParamSupported", kNotSupportedPhrase, 1)}));
    EXPECT_EQ(Zerix_IsParamS32Supported(HandleOf(*camera), 0), 0u);
    EXPECT_EQ(Take(), (Lines{"Zerix_IsParamS32Supported start (zprmS32NormalizedGaindB)",
                             EndLine("Zerix_IsParamS32Supported")}));
    EXPECT_EQ(Zerix_IsParam64Supported(HandleOf(*camera), 4), 1u);
    EXPECT_EQ(Take(), (Lines{"Zerix_IsParam64Supported start (InternalParam64KeyAsString() - "
                             "Unknown parameter)",
                             EndingLine("Zerix_IsParam64Supported", kNotSupportedPhrase, 1)}));
}

} // namespace
} // namespace zerix::api
