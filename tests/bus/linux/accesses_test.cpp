// Register accesses over the kernel's requests.
#include "tests/bus/linux/linux_bus_fixture.h"

namespace zerix::bus::linux_firewire {
namespace {

using kernel::Completion;

constexpr uint64_t kOffset = 0xFFFFE0010038;

class Accesses : public LinuxBus {};

TEST_F(Accesses, ReadsAQuadletAsItIsOnTheBus)
{
    const auto handle = Open();
    std::vector<uint8_t> data;
    EXPECT_EQ(0u, Read(handle, 1, kRegister, &data));
    EXPECT_EQ((std::vector<uint8_t>{0x00, 0x12, 0x03, 0x04}), data);
    ASSERT_EQ(1u, system.sent.size());
    const auto &request = system.sent[0].request;
    EXPECT_EQ(uint32_t{TCODE_READ_QUADLET_REQUEST}, request.tcode);
    EXPECT_EQ(4u, request.length);
    EXPECT_EQ(kOffset, request.offset);
    EXPECT_EQ(7u, request.generation);
    EXPECT_EQ(0u, request.data);
}

TEST_F(Accesses, PendUntilTheResponse)
{
    const auto handle = Open();
    Access access;
    EXPECT_EQ(Completion::kPending, BeginRead(handle, access).completion);
    const auto result = End(handle, access);
    EXPECT_EQ(Completion::kDone, result.completion);
    EXPECT_EQ(4u, result.bytesReturned);
}

TEST_F(Accesses, WritesAQuadletAndABlock)
{
    const auto handle = Open();
    EXPECT_EQ(0u, Write(handle, {1, 2, 3, 4}));
    EXPECT_EQ(0u, Write(handle, {1, 2, 3, 4, 5, 6, 7, 8}));
    ASSERT_EQ(2u, system.sent.size());
    EXPECT_EQ(uint32_t{TCODE_WRITE_QUADLET_REQUEST}, system.sent[0].request.tcode);
    EXPECT_EQ((Bytes{1, 2, 3, 4}), system.sent[0].data);
    EXPECT_EQ(uint32_t{TCODE_WRITE_BLOCK_REQUEST}, system.sent[1].request.tcode);
    EXPECT_EQ(8u, system.sent[1].request.length);
    EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6, 7, 8}), system.sent[1].data);
}

TEST_F(Accesses, OfNoQuadletsSendNothing)
{
    const auto handle = Open();
    EXPECT_EQ(0u, Write(handle, {}));
    EXPECT_EQ(0u, system.sent.size());
}

struct SplitCase {
    int speed;
    uint32_t maxRecord;
    uint32_t quadlets;
    std::vector<uint32_t> lengths; // bytes
};

TEST_F(Accesses, AreSplitIntoWhatTheNodeTheWireAndTheKernelTake)
{
    const SplitCase cases[] = {
        {3, 8, 200, {512, 288}},     // the node
        {0, 9, 200, {512, 288}},     // the wire
        {3, 11, 2000, {4096, 3904}}, // the wire, as the kernel
        {3, 15, 2000, {4096, 3904}}, // the kernel
        {5, 13, 1025, {4096, 4}},    // the kernel, on a faster wire
        {2, 10, 600, {2048, 352}},   // all three
        {3, 1, 2, {4, 4}},           // a node of quadlets
        {3, 0, 2, {4, 4}},           // one that takes nothing at all, by its word
    };
    for (const SplitCase &c : cases) {
        SCOPED_TRACE(c.quadlets);
        Camera().speed = c.speed;
        Camera().maxRecord = c.maxRecord;
        system.sent.clear();
        const auto handle = Open();
        EXPECT_EQ(0u, Read(handle, c.quadlets, 0xD0000000));
        std::vector<uint32_t> lengths;
        uint64_t offset = 0xFFFFD0000000;
        for (const auto &sent : system.sent) {
            EXPECT_EQ(offset, sent.request.offset);
            offset += sent.request.length;
            lengths.push_back(sent.request.length);
        }
        EXPECT_EQ(c.lengths, lengths);
        driver->Close(handle);
    }
}

TEST_F(Accesses, PutTheirPartsTogether)
{
    for (uint32_t i = 0; i < 300; ++i)
        Camera().words[0xD0000000 + 4 * i] = 0x01000000 + i;
    const auto handle = Open();
    std::vector<uint8_t> data;
    EXPECT_EQ(0u, Read(handle, 300, 0xD0000000, &data));
    ASSERT_EQ(1200u, data.size());
    for (uint32_t i = 0; i < 300; ++i) {
        EXPECT_EQ(1u, data[4 * i]);
        EXPECT_EQ(i >> 8, data[4 * i + 2]);
        EXPECT_EQ(i & 0xFF, data[4 * i + 3]);
    }
}

TEST_F(Accesses, GoOnByQuadletsWhereBlocksAreRefused)
{
    system.codes = {RCODE_TYPE_ERROR};
    const auto handle = Open();
    EXPECT_EQ(0u, Read(handle, 3));
    ASSERT_EQ(4u, system.sent.size());
    EXPECT_EQ(12u, system.sent[0].request.length);
    for (size_t i = 1; i < 4; ++i)
        EXPECT_EQ(uint32_t{TCODE_READ_QUADLET_REQUEST}, system.sent[i].request.tcode);
    EXPECT_EQ(kOffset + 8, system.sent[3].request.offset);
    // Remembered; of writes it says nothing.
    EXPECT_EQ(0u, Read(handle, 2));
    EXPECT_EQ(6u, system.sent.size());
    EXPECT_EQ(0u, Write(handle, {1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(8u, system.sent.back().request.length);
}

struct CodeCase {
    uint32_t code;
    uint32_t readError;
    uint32_t readTries;
    uint32_t writeError;
    uint32_t writeTries;
};

// Once, and then the register answers.
TEST_F(Accesses, TakeEveryResponseCodeForWhatItIs)
{
    const CodeCase cases[] = {
        {RCODE_COMPLETE, 0, 1, 0, 1},
        {RCODE_CONFLICT_ERROR, 0, 2, 0, 2},
        {RCODE_BUSY, 0, 2, 0, 2},
        {RCODE_GENERATION, 0, 2, 0, 2},
        {RCODE_CANCELLED, 0, 2, 31, 1}, // a write may have been done
        {RCODE_DATA_ERROR, 31, 1, 31, 1},
        {RCODE_TYPE_ERROR, 31, 1, 31, 1},
        {RCODE_ADDRESS_ERROR, 31, 1, 31, 1},
        {RCODE_SEND_ERROR, 31, 1, 31, 1},
        {RCODE_NO_ACK, 31, 1, 31, 1},
        {1, 31, 1, 31, 1},
        {0x15, 31, 1, 31, 1},
    };
    const auto handle = Open();
    for (const CodeCase &c : cases) {
        SCOPED_TRACE(c.code);
        system.codes = {c.code};
        system.sent.clear();
        EXPECT_EQ(c.readError, Read(handle));
        EXPECT_EQ(c.readTries, system.sent.size());
        system.codes = {c.code};
        system.sent.clear();
        EXPECT_EQ(c.writeError, Write(handle, {1, 2, 3, 4}));
        EXPECT_EQ(c.writeTries, system.sent.size());
    }
}

TEST_F(Accesses, GiveABusyNodeTimeAndEndAtLast)
{
    const auto handle = Open();
    system.codes.assign(300, RCODE_BUSY);
    const auto before = system.Now();
    EXPECT_EQ(0u, Read(handle));
    EXPECT_EQ(301u, system.sent.size());
    const auto took = system.Now() - before;
    EXPECT_LE(std::chrono::milliseconds(3), took);
    EXPECT_GE(std::chrono::milliseconds(9), took);
    system.codes.assign(301, RCODE_CONFLICT_ERROR);
    EXPECT_EQ(31u, Read(handle));
}

TEST_F(Accesses, ReadOnceMoreAfterATimeOut)
{
    const auto handle = Open();
    system.codes = {RCODE_CANCELLED, RCODE_CANCELLED};
    EXPECT_EQ(31u, Read(handle));
    EXPECT_EQ(2u, system.sent.size());
}

TEST_F(Accesses, EndWithAShortResponse)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang};
    Access access;
    BeginRead(handle, access, 2);
    system.Respond(system.sent[0], RCODE_COMPLETE, {1, 2, 3, 4});
    EXPECT_EQ(31u, End(handle, access).systemError);
}

// Another device resets the bus: the request is made again for the new generation.
TEST_F(Accesses, AreSentAgainAfterABusReset)
{
    const auto handle = Open();
    Camera().generation = 8;
    EXPECT_EQ(0u, Read(handle));
    ASSERT_EQ(2u, system.sent.size());
    EXPECT_EQ(7u, system.sent[0].request.generation);
    EXPECT_EQ(8u, system.sent[1].request.generation);
    // The event tells of the next one.
    Camera().generation = 9;
    system.TellReset("fw1", 9);
    EXPECT_EQ(0u, Read(handle));
    EXPECT_EQ(9u, system.sent.back().request.generation);
}

// A write that was on its way when the bus was reset gets no response, and is made again.
TEST_F(Accesses, ThatAResetCutOffAreMadeAgain)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang};
    std::vector<uint8_t> record;
    std::thread writer([&] { EXPECT_EQ(0u, Write(handle, {1, 2, 3, 4})); });
    ASSERT_TRUE(system.Await([&] { return system.sent.size() == 1; }));
    const auto cutOff = system.Locked([&] {
        Camera().generation = 8;
        return system.sent[0];
    });
    system.TellReset("fw1", 8);
    system.Respond(cutOff, RCODE_CANCELLED);
    writer.join();
    EXPECT_EQ(2u, system.sent.size());
}

// The kernel would wait for the response for two seconds, which the time here doesn't pass.
TEST_F(Accesses, ThatAResetCutOffDontWaitForTheKernel)
{
    const auto handle = Open();
    for (const char *const file : {"fw1", "fw0"}) { // the node's own, or the card's
        SCOPED_TRACE(file);
        const size_t before = system.Locked([&] {
            system.codes = {ScriptedKernel::kHang, ScriptedKernel::kHang};
            system.movesTime = false;
            return system.sent.size();
        });
        std::thread writer([&] { EXPECT_EQ(0u, Write(handle, {1, 2, 3, 4})); });
        Access read;
        BeginRead(handle, read);
        ASSERT_TRUE(system.Await([&] { return system.sent.size() == before + 2; }));
        const uint32_t generation = system.Locked([&] { return ++Camera().generation; });
        system.TellReset(file, generation);
        EXPECT_EQ(0u, End(handle, read).systemError);
        writer.join();
        EXPECT_EQ(before + 4, system.sent.size());
        EXPECT_EQ(generation, system.sent.back().request.generation);
        system.Locked([&] { return system.movesTime = true; });
    }
}

TEST_F(Accesses, OfManyKindsDontMeet)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang, ScriptedKernel::kHang};
    Access first;
    Access second;
    BeginRead(handle, first);
    BeginRead(handle, second);
    const auto sent = system.Locked([&] { return system.sent; });
    system.Respond(sent[1], RCODE_COMPLETE, {5, 6, 7, 8});
    system.Respond(sent[0], RCODE_COMPLETE, {1, 2, 3, 4});
    EXPECT_EQ(0u, End(handle, first).systemError);
    EXPECT_EQ(0u, End(handle, second).systemError);
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4}), first.data);
    EXPECT_EQ((std::vector<uint8_t>{5, 6, 7, 8}), second.data);
}

TEST_F(Accesses, ThatAreCancelledAreWrittenToNoMore)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang};
    Access access;
    BeginRead(handle, access);
    driver->Cancel(handle, &access.block);
    EXPECT_EQ(kernel::kErrorOperationAborted, End(handle, access).systemError);
    system.Respond(system.Locked([&] { return system.sent[0]; }), RCODE_COMPLETE, {1, 2, 3, 4});
    EXPECT_EQ(0u, Read(handle)); // the late event was read before this one
    EXPECT_EQ((std::vector<uint8_t>{0xEE, 0xEE, 0xEE, 0xEE}), access.data);
}

TEST_F(Accesses, AreOverOnceHoweverManyEventsCome)
{
    const auto handle = Open();
    system.codes = {ScriptedKernel::kHang};
    Access access;
    BeginRead(handle, access);
    const auto sent = system.Locked([&] { return system.sent[0]; });
    system.Respond(sent, RCODE_COMPLETE, {1, 2, 3, 4});
    system.Respond(sent, RCODE_ADDRESS_ERROR);
    EXPECT_EQ(0u, End(handle, access).systemError);
    EXPECT_EQ(0u, Read(handle));
}

// The kernel reports a time-out, and the response comes after all.
TEST_F(Accesses, TakeNoAnswerToAnEarlierTry)
{
    const auto handle = Open();
    system.codes = {RCODE_CANCELLED, ScriptedKernel::kHang};
    Access access;
    BeginRead(handle, access);
    ASSERT_TRUE(system.Await([&] { return system.sent.size() == 2; }));
    const auto sent = system.Locked([&] { return system.sent; });
    system.Respond(sent[0], RCODE_COMPLETE, {9, 9, 9, 9});
    system.Respond(sent[1], RCODE_COMPLETE, {1, 2, 3, 4});
    EXPECT_EQ(0u, End(handle, access).systemError);
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4}), access.data);
}

struct ErrorCase {
    int error;
    uint32_t systemError;
};

TEST_F(Accesses, TellEveryErrorOfTheKernel)
{
    const ErrorCase cases[] = {
        {-EIO, 31},    {-ENOMEM, 1450}, {-EINVAL, 87}, {-EACCES, 5}, {-EPERM, 5},
        {-EBUSY, 170}, {-ENOTTY, 50},   {-EFAULT, 31}, {-ENOENT, 2}, {-EAGAIN, 170},
    };
    const auto handle = Open();
    for (const ErrorCase &c : cases) {
        system.ioctlErrors[FW_CDEV_IOC_SEND_REQUEST] = {c.error};
        EXPECT_EQ(c.systemError, Read(handle)) << c.error;
    }
    EXPECT_EQ(0u, Read(handle));
    // The second part, or the second try, of an access that pends.
    system.ioctlErrors[FW_CDEV_IOC_SEND_REQUEST] = {0, -EIO};
    EXPECT_EQ(31u, Read(handle, 200));
    EXPECT_EQ(0u, Read(handle));
    system.ioctlErrors[FW_CDEV_IOC_SEND_REQUEST] = {-ENODEV};
    EXPECT_EQ(1167u, Read(handle));
    EXPECT_EQ(1167u, Read(handle));
}

TEST_F(Accesses, OfAnOldGenerationEndWithTheKernelsRefusalOfTheNewOne)
{
    const auto handle = Open();
    Camera().generation = 8;
    system.ioctlErrors[FW_CDEV_IOC_GET_INFO] = {-ENODEV};
    EXPECT_EQ(1167u, Read(handle));
}

} // namespace
} // namespace zerix::bus::linux_firewire
