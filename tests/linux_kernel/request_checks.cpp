// Identity, requests and answers through /dev/fw*: what is in an event, which code stands for what,
// what blocks.
#include "checks.h"

#include <fcntl.h>
#include <fstream>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

namespace linux_kernel {

namespace {

// The kernel's timers of two seconds are late by up to 80 ms.
constexpr double kTimerError = 0.09;

} // namespace

using Requests = Interface;

TEST_F(Requests, InfoHasVersionFiveAndTheRomInHostOrder)
{
    const auto info = device->GetInfo();
    ASSERT_EQ(info.result, 0);
    EXPECT_EQ(info.info.version, 5u);
    EXPECT_EQ(info.rom, RomOf(guid));
}

TEST_F(Requests, InfoHasTheNodesOfTheBus)
{
    const auto info = device->GetInfo(0x1234);
    EXPECT_EQ(info.bus.closure, 0x1234u);
    EXPECT_EQ(info.bus.node_id, 0xffc0u);
    EXPECT_EQ(info.bus.local_node_id, 0xffc1u);
    EXPECT_EQ(info.bus.root_node_id, 0xffc1u);
    EXPECT_EQ(info.bus.irm_node_id, 0xffc1u);
}

TEST_F(Requests, SystemFilesIdentifyANodeWithoutOpeningIt)
{
    char expected[32];
    std::snprintf(expected, sizeof(expected), "0x%016llx", static_cast<unsigned long long>(guid));
    EXPECT_EQ(Attribute(path, "guid"), expected);
    EXPECT_EQ(Attribute(path, "units"), kUnits);
    EXPECT_EQ(Attribute(path, "is_local"), "0");
    EXPECT_EQ(Attribute(path, "vendor"), "0x001122");
    EXPECT_EQ(Attribute(path, "model"), "0x000099");
    EXPECT_EQ(Attribute(LocalDevice(), "is_local"), "1");
}

TEST_F(Requests, SystemFilesAreReadableByAll)
{
    for (const char *name : {"guid", "units", "is_local", "vendor", "model", "config_rom"}) {
        struct stat status {};
        const std::string file = "/sys/bus/firewire/devices" + path.substr(4) + "/" + name;
        ASSERT_EQ(stat(file.c_str(), &status), 0) << file;
        EXPECT_EQ(status.st_mode & 0444u, 0444u) << file;
    }
}

TEST_F(Requests, SystemFileOfTheRomIsInHostOrder)
{
    std::ifstream file("/sys/bus/firewire/devices" + path.substr(4) + "/config_rom",
                       std::ios::binary);
    std::vector<std::uint32_t> rom(12);
    file.read(reinterpret_cast<char *>(rom.data()), 48);
    EXPECT_EQ(file.gcount(), 48);
    EXPECT_EQ(rom, RomOf(guid));
}

TEST_F(Requests, QuadletReadIsInBusOrderAndAnEventOf28Bytes)
{
    nodes.SetRegisters(0x10, {0x12, 0x34, 0x56, 0x78});
    const Response response = device->ReadQuadlet(kBase + 0x10);
    EXPECT_EQ(response.rcode, kComplete);
    EXPECT_EQ(response.payload, (Bytes{0x12, 0x34, 0x56, 0x78}));
    EXPECT_EQ(response.eventBytes, 28u);
}

TEST_F(Requests, QuadletWriteArrivesInBusOrder)
{
    EXPECT_EQ(device->WriteQuadlet(kBase + 0x20, {0x9a, 0xbc, 0xde, 0xf0}).rcode, kComplete);
    EXPECT_EQ(nodes.Registers(0x20, 4), (Bytes{0x9a, 0xbc, 0xde, 0xf0}));
    const auto request = nodes.WaitForRequest(0);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->head.code, kWriteQuadlet);
    EXPECT_EQ(request->head.offset, kBase + 0x20);
    EXPECT_EQ(request->head.length, 4u);
}

class BlockSizes : public Interface, public testing::WithParamInterface<std::size_t> {};

TEST_P(BlockSizes, AreWrittenAndReadAsTheyAre)
{
    const Bytes data = Pattern(GetParam());
    EXPECT_EQ(device->WriteBlock(kBase, data).rcode, kComplete);
    EXPECT_EQ(nodes.Registers(0, data.size()), data);
    const Response response = device->ReadBlock(kBase, data.size());
    EXPECT_EQ(response.rcode, kComplete);
    EXPECT_EQ(response.payload, data);
    EXPECT_EQ(nodes.Requests().at(0).head.code, kWriteBlock);
    EXPECT_EQ(nodes.Requests().at(1).head.code, kReadBlock);
    EXPECT_EQ(nodes.Requests().at(1).head.length, data.size());
}

INSTANTIATE_TEST_SUITE_P(Requests, BlockSizes, testing::Values(4, 8, 13, 512, 2048, 4096));

TEST_F(Requests, MoreThan4096BytesIsAnErrorOfTheCall)
{
    EXPECT_EQ(device->Send(kReadBlock, kBase, 4097, nullptr), -EIO);
    EXPECT_EQ(device->Send(kWriteBlock, kBase, 4100, Pattern(4100).data()), -EIO);
}

TEST_F(Requests, ASlowerNodeLimitsTheBytes)
{
    const DeviceFile slow(PlugIn(1, guid + 0x10000, kSpeed100));
    EXPECT_EQ(slow.ReadBlock(kBase, 512).rcode, kComplete);
    EXPECT_EQ(slow.Send(kReadBlock, kBase, 516, nullptr), -EIO);
    const DeviceFile medium(PlugIn(2, guid + 0x20000, kSpeed400));
    EXPECT_EQ(medium.ReadBlock(kBase, 2048).rcode, kComplete);
    EXPECT_EQ(medium.Send(kReadBlock, kBase, 2052, nullptr), -EIO);
}

TEST_F(Requests, ALockGetsTheOldValue)
{
    nodes.HandleWith([this](const Record &request) {
        wire.Answer(request.head.id, kComplete, Bytes{request.payload[4], 0xee, 0xdd, 0xcc});
    });
    // 0x12: compare and swap.
    ASSERT_EQ(device->Send(0x12, kBase, 8, Bytes{1, 2, 3, 4, 5, 6, 7, 8}.data()), 0);
    const auto response = device->ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->payload, (Bytes{5, 0xee, 0xdd, 0xcc}));
    EXPECT_EQ(nodes.Requests().at(0).head.code, 0x12u);
    EXPECT_EQ(nodes.Requests().at(0).payload, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

class NodeCodes : public Interface, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(NodeCodes, ArriveInTheEventForReadsAndWrites)
{
    nodes.HandleWith([this](const Record &request) { wire.Answer(request.head.id, GetParam()); });
    // The event has four bytes, but none that mean anything.
    const Response quadlet = device->ReadQuadlet(kBase);
    EXPECT_EQ(quadlet.rcode, GetParam());
    EXPECT_EQ(quadlet.payload.size(), 4u);
    for (const Response &response :
         {device->ReadBlock(kBase, 64), device->WriteQuadlet(kBase, Pattern(4)),
          device->WriteBlock(kBase, Pattern(64))}) {
        EXPECT_EQ(response.rcode, GetParam());
        EXPECT_EQ(response.payload, Bytes{});
    }
}

INSTANTIATE_TEST_SUITE_P(Requests, NodeCodes,
                         testing::Values(kConflict, kDataError, kTypeError, kAddressError));

TEST_F(Requests, ABadAddressIsCodeSeven)
{
    EXPECT_EQ(device->ReadQuadlet(0x1000).rcode, kAddressError);
}

struct AckAndCode {
    fwbus_ack ack;
    std::uint32_t rcode;
};

class Acknowledgements : public Interface, public testing::WithParamInterface<AckAndCode> {};

TEST_P(Acknowledgements, WithoutAnswerHaveCodesOfTheirOwnAtOnce)
{
    const double begin = Now();
    ASSERT_EQ(wire.AckWith(0, GetParam().ack, 2), 0);
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, GetParam().rcode);
    EXPECT_EQ(device->WriteBlock(kBase, Pattern(8)).rcode, GetParam().rcode);
    EXPECT_LT(Now() - begin, 0.1);
    EXPECT_EQ(nodes.Requests().size(), 0u);
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kComplete);
}

INSTANTIATE_TEST_SUITE_P(Requests, Acknowledgements,
                         testing::Values(AckAndCode{FWBUS_ACK_BUSY, kBusy},
                                         AckAndCode{FWBUS_ACK_NONE, kNoAck},
                                         AckAndCode{FWBUS_ACK_DATA_ERROR, kDataError},
                                         AckAndCode{FWBUS_ACK_TYPE_ERROR, kTypeError}));

TEST_F(Requests, AWriteMayEndWithItsAcknowledgement)
{
    ASSERT_EQ(wire.AckWith(0, FWBUS_ACK_COMPLETE), 0);
    EXPECT_EQ(device->WriteQuadlet(kBase, {1, 2, 3, 4}).rcode, kComplete);
    ASSERT_TRUE(nodes.WaitForRequest(0));
    EXPECT_EQ(nodes.Requests().at(0).head.id, 0u);
    EXPECT_EQ(device->ReadQuadlet(kBase).payload, (Bytes{1, 2, 3, 4}));
}

TEST_F(Requests, NoAnswerIsCode11AfterTwoSeconds)
{
    nodes.HandleWith([](const Record &) {});
    const double begin = Now();
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kTimedOut);
    EXPECT_NEAR(Now() - begin, 2.0, kTimerError);
}

TEST_F(Requests, AnAnswerAfter1900MillisecondsCounts)
{
    nodes.HandleWith([this](const Record &request) {
        Sleep(1.9);
        wire.Answer(request.head.id, kComplete, Bytes{1, 2, 3, 4});
    });
    EXPECT_EQ(device->ReadQuadlet(kBase).payload, (Bytes{1, 2, 3, 4}));
}

TEST_F(Requests, AnAnswerAfterTheTimeoutIsNoneOfTheNextRequest)
{
    std::vector<std::uint32_t> ids;
    nodes.HandleWith([&](const Record &request) {
        ids.push_back(request.head.id);
        if (ids.size() == 2) {
            wire.Answer(ids[0], kComplete, Bytes{0xbb, 0xbb, 0xbb, 0xbb});
            wire.Answer(ids[1], kComplete, Bytes{1, 2, 3, 4});
        }
    });
    EXPECT_EQ(device->ReadQuadlet(kBase).rcode, kTimedOut);
    EXPECT_EQ(device->ReadQuadlet(kBase).payload, (Bytes{1, 2, 3, 4}));
}

TEST_F(Requests, AStaleGenerationIsCode13)
{
    const std::uint32_t generation = device->GetInfo().bus.generation;
    ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr, 0, generation - 1), 0);
    const auto response = device->ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->rcode, kStale);
    EXPECT_EQ(nodes.Requests().size(), 0u);
}

TEST_F(Requests, The65thInFlightIsCode10)
{
    nodes.HandleWith([](const Record &) {});
    for (std::uint64_t i = 0; i < 64; ++i)
        ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr, i), 0);
    EXPECT_FALSE(device->ReadEvent(100));
    ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr, 64), 0);
    const auto refused = device->ReadResponse(100);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->rcode, kSendError);
    EXPECT_EQ(refused->closure, 64u);
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(device->ReadResponse().value().rcode, kTimedOut);
}

TEST_F(Requests, AnswersInAnyOrderAreToldApartByTheirClosures)
{
    std::vector<std::uint32_t> ids;
    nodes.HandleWith([&](const Record &request) {
        ids.push_back(request.head.id);
        if (ids.size() == 3)
            for (const std::uint8_t number : {std::uint8_t{2}, std::uint8_t{0}, std::uint8_t{1}})
                wire.Answer(ids[number], kComplete, Bytes{0, 0, 0, number});
    });
    for (std::uint64_t i = 0; i < 3; ++i)
        ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr, 100 + i), 0);
    for (const std::uint8_t number : {std::uint8_t{2}, std::uint8_t{0}, std::uint8_t{1}}) {
        const auto response = device->ReadResponse();
        ASSERT_TRUE(response);
        EXPECT_EQ(response->closure, 100u + number);
        EXPECT_EQ(response->payload, (Bytes{0, 0, 0, number}));
    }
}

TEST_F(Requests, AReadBufferThatIsTooSmallLosesTheRest)
{
    nodes.SetRegisters(0, Pattern(64));
    ASSERT_EQ(device->Send(kReadBlock, kBase, 64, nullptr), 0);
    ASSERT_TRUE(nodes.WaitForRequest(0));
    Bytes small(24);
    EXPECT_EQ(read(device->File(), small.data(), small.size()), 24);
    EXPECT_FALSE(device->ReadEvent(100));
}

TEST_F(Requests, NonBlockingIsIgnoredByRead)
{
    nodes.HandleWith([this](const Record &request) {
        Sleep(0.7);
        wire.Answer(request.head.id, kComplete, Pattern(4));
    });
    const DeviceFile other(path, O_NONBLOCK);
    ASSERT_EQ(other.Send(kReadQuadlet, kBase, 4, nullptr), 0);
    const double begin = Now();
    Bytes event(64);
    EXPECT_EQ(read(other.File(), event.data(), event.size()), 28);
    EXPECT_NEAR(Now() - begin, 0.7, 0.05);
}

TEST_F(Requests, CloseWaitsForARequestInFlight)
{
    nodes.HandleWith([](const Record &) {});
    ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr), 0);
    const double begin = Now();
    device->Close();
    EXPECT_NEAR(Now() - begin, 2.0, kTimerError);
}

TEST_F(Requests, AnAcknowledgedRequestOutlivesAResetByItsTwoSeconds)
{
    nodes.HandleWith([](const Record &) {});
    ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr), 0);
    ASSERT_TRUE(nodes.WaitForRequest(0));
    const double begin = Now();
    ASSERT_EQ(wire.Reset(), 0);
    const auto response = device->ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->rcode, kTimedOut);
    EXPECT_NEAR(Now() - begin, 2.0, kTimerError);
}

TEST_F(Requests, AnUnacknowledgedRequestEndsWithTheReset)
{
    nodes.HandleWith([](const Record &) {});
    ASSERT_EQ(wire.AckWith(0, FWBUS_ACK_HELD, 1), 0);
    ASSERT_EQ(device->Send(kReadQuadlet, kBase, 4, nullptr), 0);
    ASSERT_TRUE(nodes.WaitForRequest(0));
    EXPECT_FALSE(device->ReadEvent(5000));
    const double begin = Now();
    ASSERT_EQ(wire.Reset(), 0);
    const auto response = device->ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->rcode, kStale);
    EXPECT_LT(Now() - begin, 0.1);
}

TEST_F(Requests, ALockOfTheFileMarksADeviceAsInUse)
{
    const DeviceFile other(path);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(fcntl(device->File(), F_OFD_SETLK, &lock), 0);

    struct flock query = lock;
    ASSERT_EQ(fcntl(other.File(), F_OFD_GETLK, &query), 0);
    EXPECT_EQ(query.l_type, F_WRLCK);
    struct flock second = lock;
    EXPECT_EQ(fcntl(other.File(), F_OFD_SETLK, &second), -1);
    EXPECT_EQ(errno, EAGAIN);

    device->Close();
    query = lock;
    query.l_pid = 0;
    ASSERT_EQ(fcntl(other.File(), F_OFD_GETLK, &query), 0);
    EXPECT_EQ(query.l_type, F_UNLCK);
}

} // namespace linux_kernel
