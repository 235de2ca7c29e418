// From recorded packets through the receive thread, the run loop and the grab into the
// application's buffer, against one memcpy of the same frame, and against a memcpy of each payload
// from receive buffers like the driver's; and what listing, opening and closing a camera takes.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/replay_driver.h"
#include "camera/z_camera.h"
#include "hal/kernel_requests.h"
#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

extern "C" zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull);

namespace zerix {

namespace {

bench::ReplayDriver &Replay()
{
    static bench::ReplayDriver driver(*ZerixSim_KernelDriver(nullptr));
    return driver;
}

constexpr uint32_t kWidth = 1392;
constexpr uint32_t kHeight = 1040;
constexpr uint32_t kFrameBytes = kWidth * kHeight * 2;

void Require(uint32_t error, const char *what)
{
    if (error == 0)
        return;
    std::fprintf(stderr, "%s failed with error %u\n", what, error);
    std::abort();
}

// A frame that came before the grab was ready for it: it gets another.
void Discard(ZX::ZImageReceivedCallbackStruct *record)
{
    ZX::ZCamera::FreeImage(record->image);
    Replay().LetThrough(1);
}

ZerixHandle OpenFirst()
{
    ZerixCameraListItem table[10];
    uint32_t count = 10;
    ZerixHandle handle = nullptr;
    Require(Zerix_LoadDriver(), "loading");
    Require(Zerix_ListCameras(table, &count), "listing");
    Require(Zerix_OpenCamera(0, &handle), "opening");
    return handle;
}

// The first camera with a stream of recorded packets.
class ReplayedCamera {
public:
    ReplayedCamera() : m_handle(OpenFirst())
    {
        auto *camera = static_cast<ZX::ZCamera *>(m_handle);
        ZerixSim_GiveCredit(0, 0);
        Require(camera->SetBitDepth(12), "depth");
        Require(camera->UpdateSettingsOnCamera(), "commit");
        Require(camera->StartStreamingImages(Discard, nullptr, false, nullptr), "streaming");
        m_packetBytes = camera->GetCurrentFireWirePacketSize();
        Replay().Record({.packetBytes = m_packetBytes,
                         .frameBytes = kFrameBytes,
                         .tag = camera->GetPSN(),
                         .bitCode = 11});
    }
    ~ReplayedCamera()
    {
        Replay().LetThrough(1); // wakes the receive thread, so that it sees the stop
        Zerix_CloseCamera(m_handle);
        Zerix_ReleaseDriver();
    }
    ReplayedCamera(const ReplayedCamera &) = delete;
    ReplayedCamera &operator=(const ReplayedCamera &) = delete;

    [[nodiscard]] ZerixHandle Handle() const { return m_handle; }
    [[nodiscard]] uint32_t PacketBytes() const { return m_packetBytes; }

private:
    ZerixHandle m_handle;
    uint32_t m_packetBytes = 0;
};

// Hot: nothing but this copy goes through the caches.
void CopyOfTheFrame(benchmark::State &state)
{
    const std::vector<uint8_t> from(kFrameBytes, 1);
    std::vector<uint8_t> to(kFrameBytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), to.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kFrameBytes);
}

// What no driver can spare: the pixels from where the bus has put them to the application. As in
// the stream, the buffers take turns and a frame begins with a new one.
void CopyOfThePayloads(benchmark::State &state)
{
    constexpr uint32_t kHeaderBytes = 8;
    constexpr uint32_t kTrailerBytes = 4;
    const uint32_t packetBytes = ReplayedCamera().PacketBytes();
    const uint32_t slotBytes = packetBytes + kernel::kSlotOverheadBytes;
    const uint32_t payload = packetBytes - kHeaderBytes - kTrailerBytes;
    const std::vector<std::vector<uint8_t>> ring(
        kernel::kReceiveBuffers,
        std::vector<uint8_t>(size_t{slotBytes} * kernel::kSlotsPerBuffer, 1));
    std::vector<uint8_t> to(kFrameBytes);
    size_t buffer = 0;
    for (auto _ : state) {
        for (uint32_t position = 0; position < kFrameBytes;) {
            const uint8_t *slot = ring[buffer++ % kernel::kReceiveBuffers].data();
            for (uint32_t i = 0; i < kernel::kSlotsPerBuffer; ++i, slot += slotBytes) {
                const uint32_t count = std::min(payload, kFrameBytes - position);
                std::memcpy(to.data() + position, slot + kernel::kSlotPayloadOffset + kHeaderBytes,
                            count);
                position += count;
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kFrameBytes);
}

void PacketsToApplication(benchmark::State &state)
{
    const ReplayedCamera camera;
    std::vector<uint8_t> buffer(kFrameBytes);
    Zerix_Frame frame{};
    frame.pBuffer = buffer.data();
    frame.bufferSize = kFrameBytes;
    for (auto _ : state) {
        Replay().LetThrough(1);
        Require(Zerix_GrabFrame(camera.Handle(), &frame), "grabbing");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kFrameBytes);
}

void ListOpenClose(benchmark::State &state)
{
    Require(Zerix_LoadDriver(), "loading");
    for (auto _ : state) {
        ZerixCameraListItem table[10];
        uint32_t count = 10;
        ZerixHandle handle = nullptr;
        Require(Zerix_ListCameras(table, &count), "listing");
        Require(Zerix_OpenCamera(0, &handle), "opening");
        Require(Zerix_CloseCamera(handle), "closing");
    }
    Zerix_ReleaseDriver();
}

BENCHMARK(CopyOfTheFrame)->UseRealTime();
BENCHMARK(CopyOfThePayloads)->UseRealTime();
BENCHMARK(PacketsToApplication)->UseRealTime();
BENCHMARK(ListOpenClose)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

kernel::KernelDriver &kernel::Driver() { return Replay(); }

} // namespace zerix
