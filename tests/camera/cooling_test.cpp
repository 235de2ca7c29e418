// The cooler: temperatures both ways, and the lock.
#include "tests/camera/register_camera.h"
#include "tests/virtual_bus/virtual_bus_fixture.h"

#include <gtest/gtest.h>

namespace zerix::test {
namespace {

constexpr uint16_t kBadValue = 3;
constexpr uint16_t kNotSupported = 15;

class Cooling : public ::testing::Test {
protected:
    Cooling() { camera.Enable(registers::Capability::kRegulatedCooling); }
    RegisterCamera camera;
};

TEST_F(Cooling, TheCoolerIsABit)
{
    camera.SetControl(0x38, 0xFFFFFFFE);
    EXPECT_FALSE(camera.GetCoolerStatus());
    EXPECT_EQ(camera.SetCoolerStatus(false), 0);
    EXPECT_EQ(camera.SetCoolerStatus(true), 0);
    EXPECT_EQ(camera.SetCoolerStatus(true), 0);
    EXPECT_TRUE(camera.GetCoolerStatus());
    EXPECT_EQ(camera.SetCoolerStatus(false), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x38, 0xFFFFFFFF), Sent(0x38, 0xFFFFFFFE)}));
    EXPECT_FALSE(camera.IsCoolerAvailable());
    camera.SetInformation(0x28, 0x80000000);
    EXPECT_TRUE(camera.IsCoolerAvailable());
}

struct Reading {
    uint32_t counts;
    int32_t celsius;
};
constexpr Reading kReadings[] = {{0, -55},   {38, -54},  {40, -53}, {2106, -1}, {2107, 0},
                                 {2145, 0},  {2184, 0},  {2185, 1}, {4095, 49}, {4096, 50},
                                 {4134, 50}, {4135, 50}, {4136, 0}, {65535, 0}};

TEST_F(Cooling, CountsAreDegreesCutTowardsZero)
{
    for (const auto &row : kReadings) {
        camera.SetControl(0x38, row.counts << 16 | 0xFFFF);
        EXPECT_EQ(camera.GetRegulatedCoolingTemperature(), row.celsius) << row.counts;
    }
}

TEST_F(Cooling, TheLimitsReadTheSameWay)
{
    for (const auto &row : kReadings) {
        camera.SetInformation(0x29C, row.counts << 16 | 40);
        EXPECT_EQ(camera.GetMaxRegulatedCoolingTemp(), row.celsius) << row.counts;
        EXPECT_EQ(camera.GetMinRegulatedCoolingTemp(), -53) << row.counts;
        camera.SetInformation(0x29C, 40u << 16 | row.counts);
        EXPECT_EQ(camera.GetMaxRegulatedCoolingTemp(), -53) << row.counts;
        EXPECT_EQ(camera.GetMinRegulatedCoolingTemp(), row.celsius) << row.counts;
    }
}

TEST_F(Cooling, DegreesAreCounts)
{
    for (const Reading &row : std::vector<Reading>{{0, -55},
                                                   {38, -54},
                                                   {584, -40},
                                                   {1364, -20},
                                                   {2106, -1},
                                                   {2184, 1},
                                                   {2925, 20},
                                                   {4017, 48},
                                                   {4056, 49}}) {
        camera.SetControl(0x38, 4135u << 16 | 1); // 50
        EXPECT_EQ(camera.SetRegulatedCoolingTemp(row.celsius), 0) << row.celsius;
        EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x38, row.counts << 16 | 1)}))
            << row.celsius;
    }
}

TEST_F(Cooling, FiftyCanBeReadButNotSet)
{
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(50), kBadValue);
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(-56), kBadValue);
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(2147483647), kBadValue);
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(-2147483647 - 1), kBadValue);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
    camera.SetControl(0x38, 4096u << 16);
    EXPECT_EQ(camera.GetRegulatedCoolingTemperature(), 50);
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(50), 0);
    EXPECT_EQ(camera.TakeSent(), SentQuadlets{});
}

TEST_F(Cooling, WhatReadsBackTheSameIsNotWritten)
{
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(49), 0);
    EXPECT_EQ(camera.GetRegulatedCoolingTemperature(), 48);
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(48), 0);
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(49), 0);
    EXPECT_EQ(camera.TakeSent(), (SentQuadlets{Sent(0x38, 4056u << 16), Sent(0x38, 4056u << 16)}));
}

TEST_F(Cooling, TheLockIsReadAnewAndOutlivesAFailedRead)
{
    EXPECT_FALSE(camera.GetRegulatedCoolingTemperatureLock());
    RegisterCamera broken(kNewestInformation, kNewestControl, Wire::kBroken);
    broken.Enable(registers::Capability::kRegulatedCooling);
    for (const auto &[word, locked] : std::vector<std::pair<uint32_t, bool>>{{0, false},
                                                                             {1, false},
                                                                             {2, false},
                                                                             {3, true},
                                                                             {0xFFFFFFFC, false},
                                                                             {0xFFFFFFFF, true}}) {
        broken.SetStatusWord(4, word);
        EXPECT_EQ(broken.GetRegulatedCoolingTemperatureLock(), locked) << word;
    }
}

class CoolingOnTheBus : public VirtualBusTest {};

TEST_F(CoolingOnTheBus, TheLockIsAskedOfTheCameraEachTime)
{
    auto &camera = OpenOne(Describe(18, 6));
    const uint32_t status = AddressOf(Block::kStatus);
    const std::vector<BusTap::Read> wholeBlock = {{.address = status, .quadlets = 1},
                                                  {.address = status, .quadlets = 4}};
    for (const auto &[word, isLocked] :
         std::vector<std::pair<uint32_t, bool>>{{3, true}, {1, false}, {7, true}}) {
        tap.OverrideRegister(status + 4, word);
        tap.TakeReads();
        EXPECT_EQ(camera.GetRegulatedCoolingTemperatureLock(), isLocked) << word;
        EXPECT_EQ(tap.TakeReads(), wholeBlock);
    }
    tap.OverrideRegister(status + 4, 0);
    tap.FailAccess(kernel::kControlAsyncRead, status, kernel::kErrorGenFailure);
    EXPECT_TRUE(camera.GetRegulatedCoolingTemperatureLock());
    EXPECT_FALSE(camera.GetRegulatedCoolingTemperatureLock());
}

TEST(CoolingWithoutRegulation, IsZeroAndRefuses)
{
    RegisterCamera camera;
    camera.SetControl(0x38, 40u << 16);
    camera.SetInformation(0x29C, 40u << 16 | 40);
    camera.SetStatusWord(4, 3);
    EXPECT_EQ(camera.GetRegulatedCoolingTemperature(), 0);
    EXPECT_EQ(camera.GetMinRegulatedCoolingTemp(), 0);
    EXPECT_EQ(camera.GetMaxRegulatedCoolingTemp(), 0);
    EXPECT_FALSE(camera.GetRegulatedCoolingTemperatureLock());
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(0), 0); // as it is
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(-20), kNotSupported);
    EXPECT_EQ(camera.SetRegulatedCoolingTemp(99), kNotSupported);
}

} // namespace
} // namespace zerix::test
