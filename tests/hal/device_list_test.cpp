// The list of the cameras on the bus.
#include "tests/hal/counting_allocator.h"
#include "tests/hal/hal_fixture.h"
#include "tests/hal/plain_sink.h"
#include "tests/support/too_much_memory.h"

using namespace zerix;
using namespace zerix::test;

namespace {

constexpr uint32_t kModelAddress = 0xE0010038;
constexpr uint32_t kModelAddressAlt = 0xE0001138;

class DeviceList : public HalTest {
protected:
    void SetUp() override
    {
        HalTest::SetUp();
        m_list = &m_untouched;
    }
    void TearDown() override
    {
        Free();
        HalTest::TearDown();
    }

    void Free()
    {
        if (m_list == &m_untouched)
            return;
        for (uint32_t i = 0; i < m_count; ++i)
            HAL_CameraRelease(&m_list[i]);
        EXPECT_EQ(HAL_MemoryFree(m_list), 0u);
        m_list = &m_untouched;
    }

    uint32_t List(uint32_t maximum = 10, uint32_t address = kModelAddress)
    {
        return HAL_CameraGetList(&m_list, address, kModelAddressAlt, maximum, &m_count);
    }

    HALCamera m_untouched{};
    HALCamera *m_list = nullptr;
    uint32_t m_count = 99;
};

TEST_F(DeviceList, IsEmptyWithoutDevices)
{
    EXPECT_EQ(List(), 0u);
    EXPECT_EQ(m_count, 0u);
    EXPECT_NE(m_list, nullptr);
    EXPECT_EQ(driver.Calls(), (Calls{"enumerate 10"}));
    EXPECT_EQ(Said(), "FWCameraGetList - got 0 devices using setup API\n");
}

TEST_F(DeviceList, ReadsTheModelOfEachDeviceOnAShortConnection)
{
    driver.paths = {"one", "two"};
    driver.Next(kernel::kControlAsyncRead, Pends({0x00, 0x1A, 0x12, 0x34}));
    driver.Next(kernel::kControlAsyncRead, Pends({0x03, 0xE9, 0x00, 0x00}));
    ASSERT_EQ(List(), 0u);
    ASSERT_EQ(m_count, 2u);
    EXPECT_EQ(Said(), "FWCameraGetList - got 2 devices using setup API\n");
    EXPECT_EQ(driver.Calls(),
              (Calls{"enumerate 10", "open one", "222096", "22A0A0", "22A0A8", "22A0B0",
                     "22207A",       "22A0B4",   "22A0AC", "22A0A4", "22A08C", "close",
                     "open two",     "222096",   "22A0A0", "22A0A8", "22A0B0", "22207A",
                     "22A0B4",       "22A0AC",   "22A0A4", "22A08C", "close"}));
    EXPECT_EQ(driver.Requests(kernel::kControlAsyncRead).at(0).Words()[4], kModelAddress);
    EXPECT_EQ(driver.Requests(kernel::kControlAllocateBandwidth).at(0).Words()[0], 12u);
    for (uint32_t i = 0; i < 2; ++i) {
        EXPECT_EQ(m_list[i].cameraIndex, i);
        EXPECT_EQ(m_list[i].kind, 0u);
        EXPECT_EQ(m_list[i].isConnected, 0u);
        EXPECT_EQ(m_list[i].packetBufferSize, 12u);
        EXPECT_NE(m_list[i].device, nullptr);
    }
    EXPECT_EQ(m_list[0].modelWord, 0x001A1234u);
    EXPECT_EQ(m_list[1].modelWord, 0x03E90000u);
    EXPECT_EQ(driver.OpenHandles(), 0u);
}

TEST_F(DeviceList, EntriesConnectToTheirOwnDevice)
{
    driver.paths = {"one", "two"};
    ASSERT_EQ(List(), 0u);
    driver.Forget();
    EXPECT_EQ(
        HAL_CameraConnect(&m_list[1], 100, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        0u);
    EXPECT_EQ(driver.Calls().at(0), "open two");
    EXPECT_EQ(HAL_CameraDisconnect(&m_list[1]), 0u);
}

TEST_F(DeviceList, ReadsTheOtherAddressWhenTheFirstFails)
{
    driver.paths = {"one"};
    driver.Next(kernel::kControlAsyncRead, Fails(kernel::kErrorGenFailure));
    driver.Next(kernel::kControlAsyncRead, Pends({0x00, 0x07, 0x00, 0x00}));
    ASSERT_EQ(List(), 0u);
    EXPECT_EQ(m_list[0].modelWord, 0x00070000u);
    EXPECT_EQ(driver.Requests(kernel::kControlAsyncRead).at(1).Words()[4], kModelAddressAlt);
}

TEST_F(DeviceList, SkipsTheModelWithoutAnAddress)
{
    driver.paths = {"one"};
    ASSERT_EQ(List(10, 0), 0u);
    EXPECT_EQ(driver.Count(kernel::kControlAsyncRead), 0u);
    EXPECT_EQ(m_list[0].modelWord, 0u);
}

TEST_F(DeviceList, KeepsADeviceOfSomebodyElseWithAMark)
{
    driver.paths = {"one", "two", "three"};
    driver.Next(kernel::kControlIsOpen, {.out = Word(0)});
    driver.Next(kernel::kControlIsOpen, {.out = Word(1)});
    ASSERT_EQ(List(), 0u);
    ASSERT_EQ(m_count, 3u);
    EXPECT_EQ(m_list[0].isConnected, 0u);
    EXPECT_EQ(m_list[1].isConnected, 1u);
    EXPECT_EQ(m_list[1].modelWord, 0u);
    EXPECT_EQ(m_list[1].cameraIndex, 1u);
    EXPECT_EQ(m_list[2].isConnected, 0u);
    EXPECT_EQ(m_list[2].cameraIndex, 2u);
    EXPECT_EQ(driver.Count(kernel::kControlAsyncRead), 2u);
    EXPECT_EQ(HAL_CameraDisconnect(&m_list[1]), 0u);
}

TEST_F(DeviceList, HoldsNoMoreThanAskedFor)
{
    driver.paths.assign(12, "device");
    ASSERT_EQ(List(), 0u);
    EXPECT_EQ(m_count, 10u);
    EXPECT_EQ(m_list[9].cameraIndex, 9u);
    Free();
    ASSERT_EQ(List(0), 0u);
    EXPECT_EQ(m_count, 0u);
}

TEST_F(DeviceList, TakesAPathOf255Characters)
{
    const std::string longest(255, 'p');
    driver.paths = {longest};
    ASSERT_EQ(List(), 0u);
    EXPECT_EQ(m_count, 1u);
    EXPECT_EQ(driver.Calls().at(1), "open " + longest);
}

TEST_F(DeviceList, EndsAtAPathThatIsTooLong)
{
    driver.paths = {"one", std::string(256, 'p'), "three"};
    ASSERT_EQ(List(), 0u);
    EXPECT_EQ(m_count, 1u);
    EXPECT_EQ(Said(), "FWCameraGetList - got 1 devices using setup API\n");
}

TEST_F(DeviceList, FailsAsAWhole)
{
    struct Failure {
        uint32_t code;
        Answer answer;
        int times;
        uint32_t systemError;
    };
    const Failure failures[] = {
        {kernel::kControlIsOpen, Fails(31), 1, 31},
        {kernel::kControlAllocateBandwidth, Fails(1450), 1, 1450},
        {kernel::kControlAllocateChannel, Fails(1450), 1, 1450},
        {kernel::kControlAllocateResources, Fails(1450), 2, 1450},
        {kernel::kControlAsyncRead, Fails(31), 2, 31},
        {kernel::kControlFreeResources, Fails(31), 1, 31},
        {kernel::kControlFreeChannel, Fails(31), 1, 31},
        {kernel::kControlFreeBandwidth, Fails(31), 1, 31},
    };
    for (const Failure &failure : failures) {
        driver.Reset();
        driver.paths = {"one", "two"};
        driver.Next(failure.code, failure.answer, failure.times);
        EXPECT_EQ(List(), 17u) << std::hex << failure.code;
        EXPECT_EQ(m_list, &m_untouched);
        EXPECT_EQ(m_count, 99u);
        EXPECT_EQ(os::LastError(), failure.systemError);
        EXPECT_EQ(driver.OpenHandles(), 0u) << "nothing stays behind";
        const Calls calls = driver.Calls();
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "open two"), 0);
    }
}

TEST_F(DeviceList, FailsWhenADeviceCannotBeOpened)
{
    driver.paths = {"one"};
    driver.openError = kernel::kErrorAccessDenied;
    EXPECT_EQ(List(), 17u);
    EXPECT_EQ(os::LastError(), 5u);
}

TEST_F(DeviceList, DisconnectsADeviceThatCannotBeRead)
{
    driver.paths = {"one"};
    driver.Next(kernel::kControlAsyncRead, Fails(kernel::kErrorGenFailure), 2);
    EXPECT_EQ(List(), 17u);
    EXPECT_EQ(driver.Count(kernel::kControlFreeResources), 1u);
    EXPECT_EQ(driver.Count(kernel::kControlFreeChannel), 1u);
    EXPECT_EQ(driver.Count(kernel::kControlFreeBandwidth), 1u);
}

TEST_F(DeviceList, FailsWhenTheBusCannotBeListed)
{
    driver.enumerateError = kernel::kErrorAccessDenied;
    EXPECT_EQ(List(), 17u);
    EXPECT_EQ(os::LastError(), 5u);
    EXPECT_EQ(m_count, 99u);
    EXPECT_EQ(Said(), "");
}

TEST_F(DeviceList, FailsWhenTheWalkOverTheBusBreaksOff)
{
    driver.paths = {"one"};
    driver.enumerateError = kernel::kErrorGenFailure;
    driver.enumerationBreaksOff = true;
    EXPECT_EQ(List(), 17u);
    EXPECT_EQ(os::LastError(), 31u);
    EXPECT_EQ(m_list, &m_untouched);
    EXPECT_EQ(m_count, 99u);
    EXPECT_EQ(Said(), "FWCameraGetList - got 0 devices using setup API\n");
    EXPECT_EQ(driver.Calls(), (Calls{"enumerate 10"}));
}

// The paths, the work area, and each device's record with its mutex, events and packet sink.
TEST_F(DeviceList, AsksTheOtherDevicesWhenOneHasNoRecordAndFailsThen)
{
    driver.paths = {"one", "two"};
    for (const uint32_t allocation : {3u, 4u, 5u, 6u, 7u}) {
        driver.Forget();
        {
            const LackingAllocation lacking(allocation);
            EXPECT_EQ(List(), 17u) << allocation;
        }
        EXPECT_EQ(m_list, &m_untouched);
        const Calls calls = driver.Calls();
        ASSERT_GE(calls.size(), 2u);
        EXPECT_EQ(calls[1], "open two") << allocation;
        EXPECT_EQ(calls.back(), "close");
    }
    EXPECT_EQ(List(), 0u);
    EXPECT_EQ(m_count, 2u);
}

TEST_F(DeviceList, OpensNoDeviceThatHasNoPacketSink)
{
    driver.paths = {"one", "two"};
    const uint32_t before = PlainSink::Alive();
    {
        const RefusedSinks refused;
        EXPECT_EQ(List(), 17u);
    }
    EXPECT_EQ(m_list, &m_untouched);
    EXPECT_EQ(m_count, 99u);
    EXPECT_EQ(driver.Calls(), Calls{"enumerate 10"});
    ASSERT_EQ(List(), 0u);
    EXPECT_EQ(m_count, 2u);
    EXPECT_EQ(PlainSink::Alive(), before + 2);
    Free();
    EXPECT_EQ(PlainSink::Alive(), before);
}

TEST_F(DeviceList, FailsWithoutAWorkArea)
{
    driver.paths = {"one"};
    for (const uint32_t allocation : {1u, 2u}) {
        driver.Forget();
        const LackingAllocation lacking(allocation);
        EXPECT_EQ(List(), 17u) << allocation;
        EXPECT_EQ(driver.Calls().size(), allocation - 1) << "nothing is opened";
    }
}

// More paths than the address space holds, where it is small.
TEST_F(DeviceList, AMaximumBeyondAllMemoryIsAnError)
{
    HALCamera *list = nullptr;
    uint32_t count = 77;
    EXPECT_EQ(HAL_CameraGetList(&list, 0, 0, 0xFFFFFFFF, &count), 17u);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 77u);
}

} // namespace
