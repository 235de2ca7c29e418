// From recorded packets through the receive thread, the run loop and the grab into the
// application's buffer, against one memcpy of the same frame; and what listing, opening and closing
// a camera takes.
#include <cstdlib>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/replay_driver.h"
#include "camera/z_camera.h"
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

void PacketsToApplication(benchmark::State &state)
{
    ZerixHandle handle = OpenFirst();
    auto *camera = static_cast<ZX::ZCamera *>(handle);
    ZerixSim_GiveCredit(0, 0);
    Require(camera->SetBitDepth(12), "depth");
    Require(camera->UpdateSettingsOnCamera(), "commit");
    Require(camera->StartStreamingImages(Discard, nullptr, false, nullptr), "streaming");
    Replay().Record({.packetBytes = camera->GetCurrentFireWirePacketSize(),
                     .frameBytes = kFrameBytes,
                     .tag = camera->GetPSN(),
                     .bitCode = 11});
    std::vector<uint8_t> buffer(kFrameBytes);
    Zerix_Frame frame{};
    frame.pBuffer = buffer.data();
    frame.bufferSize = kFrameBytes;
    for (auto _ : state) {
        Replay().LetThrough(1);
        Require(Zerix_GrabFrame(handle, &frame), "grabbing");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kFrameBytes);
    Replay().LetThrough(1); // wakes the receive thread, so that it sees the stop
    Zerix_CloseCamera(handle);
    Zerix_ReleaseDriver();
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
BENCHMARK(PacketsToApplication)->UseRealTime();
BENCHMARK(ListOpenClose)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

kernel::KernelDriver &kernel::Driver() { return Replay(); }

} // namespace zerix
