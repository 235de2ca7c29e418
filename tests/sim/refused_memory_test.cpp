// Memory is refused to the bus, one request after the other: its functions and its streams report
// it, nothing is left held, and the next session is as good as ever.
#include "../support/temporary_folder.h"
#include "bus_fixture.h"
#include "refused_memory.h"

namespace zerix::test {
namespace {

using namespace kernel;

// Small, and with everything that a rack file may hold.
constexpr const char *kRack =
    "clock = \"fast\"\nseed = 5\n[[camera]]\nnoise = false\nmodel = 18\nsensor = 11\n"
    "scene = \"flat:2000\"\nfaults = [\"lose packet at packet 1000\"]\n"
    "capabilities = [\"fan\"]\nlight = [1, 2, 3]\n";
constexpr uint32_t kFrameBytes = 64 * 48 * 2;

template <typename Call>
auto InTheBus(Call call)
{
    const BusCall inside;
    return call();
}

// What of the library's functions a program calls first.
uint32_t AskAround()
{
    uint32_t count = 0;
    uint32_t worst = 0;
    const auto note = [&worst](uint32_t result) { worst = std::max(worst, result); };
    note(ZerixSim_CameraCount(&count));
    ZerixSimScene scene;
    note(ZerixSim_GetScene(0, &scene));
    note(ZerixSim_SetScene(0, "flat:2000"));
    note(ZerixSim_InjectFault(0, "lose packet at packet 2000"));
    note(ZerixSim_RackCount(&count));
    ZerixSimRack rack;
    note(ZerixSim_GetRack(0, &rack));
    ZerixSimRackCamera rackCamera;
    note(ZerixSim_GetRackCamera(0, 0, &rackCamera));
    uint32_t unknown = 0;
    const uint32_t found = ZerixSim_FindCamera(0xFFFFFFFF, &unknown);
    note(found == ZERIX_SIM_NO_SUCH_CAMERA ? 0 : found);
    count = 0;
    ZerixSimWrite write;
    note(ZerixSim_TakeWrites(0, &write, &count));
    note(ZerixSim_Unplug(0));
    note(ZerixSim_Plug(0));
    const uint32_t noCamera = ZerixSim_FireTrigger(9);
    note(noCamera == ZERIX_SIM_NO_SUCH_CAMERA ? 0 : noCamera);
    return worst;
}

class RefusedMemory : public BusTest {
protected:
    RefusedMemory() { ThisIsATestsThread(); }

    // A whole session; the pixels of its frame, or nothing once anything has been refused.
    std::vector<uint8_t> Session()
    {
        const uint32_t chosen = InTheBus([this] { return ZerixSim_ChooseRack(m_path.c_str()); });
        if (chosen != 0) {
            EXPECT_EQ(uint32_t{ZERIX_SIM_NO_MEMORY}, chosen) << ZerixSim_LastErrorText();
            EXPECT_STREQ("The system has no memory to give.", ZerixSim_LastErrorText());
            return {};
        }
        if (const uint32_t asked = InTheBus(AskAround)) {
            EXPECT_EQ(uint32_t{ZERIX_SIM_NO_MEMORY}, asked);
            return {};
        }
        return Stream();
    }

    std::vector<uint8_t> Stream()
    {
        BusClient client(BusClient::IfItOpens{});
        if (client.handle == 0 || client.Connect() != 0)
            return {};
        const uint32_t control = client.Control();
        for (const auto &[offset, value] : {std::pair<uint32_t, uint32_t>{0x04, 0x0700000C},
                                            {0x0C, 64u << 16 | 48u},
                                            {0x3C, 10'000'000},
                                            {0x50, 1000}})
            if (client.Write(control + offset, {value}) != 0)
                return {};
        if (client.Commit() != 0)
            return {};
        if (client.TryToStart(4) != 0)
            return {};
        const auto frame = client.NextFrame(kFrameBytes);
        EXPECT_TRUE(frame.has_value() || client.lastError == kErrorNoSystemResources);
        static_cast<void>(client.Stop());
        return frame ? frame->pixels : std::vector<uint8_t>();
    }

    const TemporaryFolder m_folder;
    const std::string m_path = m_folder.Write("rack.toml", kRack);
};

TEST_F(RefusedMemory, IsReportedAndEndsNothing)
{
    RefuseRequest(0);
    ASSERT_EQ(kFrameBytes, Session().size()); // reads the racks, once and for all
    RefuseRequest(0);
    const std::vector<uint8_t> good = Session();
    ASSERT_EQ(kFrameBytes, good.size());
    const uint32_t count = RequestsForMemory();
    EXPECT_GT(count, 100u);
    uint32_t cut = 0;
    for (uint32_t n = 1; n <= count; ++n) {
        SCOPED_TRACE(n);
        RefuseRequest(n);
        const std::vector<uint8_t> pixels = Session();
        RequestsForMemory();
        // A client whose read of a block's address was refused goes on with address 0.
        const ZerixSimMistakes mistakes = TakeMistakes();
        EXPECT_EQ(0u, mistakes.regionsOutside + mistakes.valuesReserved);
        cut += pixels.empty() ? 1 : 0;
        EXPECT_TRUE(pixels.empty() || pixels == good);
        EXPECT_EQ(0u, Held().openHandles + Held().channels + Held().bandwidthHandles);
        if (HasFailure())
            break;
    }
    EXPECT_GT(cut, count / 2);
    EXPECT_EQ(good, Session());
}

} // namespace
} // namespace zerix::test
