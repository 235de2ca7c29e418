// The bus on Linux over the tests' model of the kernel, against the virtual bus itself with the
// same camera: what a stream of the fastest camera costs, and how long an unplugged camera's frame
// takes to come back. On the real clock.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "bench/metered_buses.h"
#include "camera/z_camera.h"
#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

namespace zerix {

namespace {

using Clock = std::chrono::steady_clock;
using bench::Way;

// 135 frames/s of 16 bits: 71 MB/s.
constexpr const char *kFastestRack = "speed = 800\nclock = \"real\"\n[[camera]]\n"
                                     "model = \"Noctis C1\"\nsensor = 78\nscene = \"flat\"\n";
constexpr uint32_t kReadoutAt40 = 7;
constexpr uint32_t kExposureMicroseconds = 1000;
constexpr uint32_t kFrameBytes = 512 * 512 * 2;
constexpr size_t kFrames = 20; // the application's, in turns
constexpr auto kStreamTime = std::chrono::seconds(3);
constexpr auto kPatience = std::chrono::seconds(20);

void Require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s failed\n", what);
    std::abort();
}

void UseFastestRack()
{
    const auto path = std::filesystem::temp_directory_path() /
                      ("zerix-linux-bench-" + std::to_string(::getpid()) + ".toml");
    std::ofstream(path) << kFastestRack;
    Require(ZerixSim_ChooseRack(path.string().c_str()) == 0, ZerixSim_LastErrorText());
    std::filesystem::remove(path);
}

// The rack's camera on one of the buses, with frames in its queue that are queued again as they
// come.
class StreamingCamera {
public:
    explicit StreamingCamera(Way way)
    {
        UseFastestRack();
        bench::Choose(way);
        bench::Settle();
        ZerixCameraListItem row{};
        uint32_t count = 1;
        Require(Zerix_LoadDriver() == 0, "loading");
        Require(Zerix_ListCameras(&row, &count) == 0 && count == 1, "listing");
        Require(Zerix_OpenCamera(0, &m_handle) == 0, "opening");
        Send();
    }
    ~StreamingCamera()
    {
        Zerix_CloseCamera(m_handle);
        Zerix_ReleaseDriver();
        bench::Settle();
        bench::Choose(Way::kVirtualBus);
    }
    StreamingCamera(const StreamingCamera &) = delete;
    StreamingCamera &operator=(const StreamingCamera &) = delete;

    void Start(size_t frames)
    {
        for (size_t i = 0; i < frames; ++i) {
            m_slots.push_back(std::make_unique<Slot>());
            m_slots.back()->owner = this;
            Require(Queue(*m_slots.back()), "queueing");
        }
        Require(Zerix_SetStreaming(m_handle, 1) == 0, "streaming");
    }
    [[nodiscard]] uint32_t GoodFrames() const { return m_good; }
    [[nodiscard]] uint32_t BadFrames() const { return m_bad; }
    void AwaitFrames(uint32_t count) const
    {
        const auto deadline = Clock::now() + kPatience;
        for (uint32_t seen = m_good + m_bad; seen < count; seen = m_good + m_bad) {
            Require(Clock::now() < deadline, "waiting for frames");
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    }
    [[nodiscard]] Clock::time_point LastCallback() const { return m_lastCallback; }

private:
    struct Slot {
        StreamingCamera *owner = nullptr;
        std::vector<uint8_t> pixels = std::vector<uint8_t>(kFrameBytes);
        Zerix_Frame frame{};
    };

    void Send()
    {
        Zerix_Settings settings{};
        Zerix_CreateCameraSettingsStruct(&settings);
        Require(Zerix_ReadDefaultSettings(m_handle, &settings) == 0, "reading");
        Require(Zerix_SetParam(&settings, zprmImageFormat, zfmtMono16) == 0, "setting");
        Require(Zerix_SetParam(&settings, zprmReadoutSpeed, kReadoutAt40) == 0, "setting");
        Require(Zerix_SetParam(&settings, zprmExposure, kExposureMicroseconds) == 0, "setting");
        Require(Zerix_SendSettingsToCam(m_handle, &settings) == 0, "sending");
        Zerix_ReleaseCameraSettingsStruct(&settings);
    }
    bool Queue(Slot &slot)
    {
        slot.frame = {};
        slot.frame.pBuffer = slot.pixels.data();
        slot.frame.bufferSize = kFrameBytes;
        return Zerix_QueueFrame(m_handle, &slot.frame, Took, ZERIX_FLAG_FRAME_DONE, &slot, 0) == 0;
    }
    // While the camera closes it takes no frame any more.
    static void Took(void *pointer, uint32_t, uint32_t error, uint32_t)
    {
        Slot &slot = *static_cast<Slot *>(pointer);
        StreamingCamera &camera = *slot.owner;
        camera.m_lastCallback = Clock::now();
        if (error == 0)
            camera.Queue(slot);
        ++(error == 0 ? camera.m_good : camera.m_bad);
    }

    ZerixHandle m_handle = nullptr;
    std::vector<std::unique_ptr<Slot>> m_slots;
    std::atomic<uint32_t> m_good = 0;
    std::atomic<uint32_t> m_bad = 0;
    std::atomic<Clock::time_point> m_lastCallback{};
};

// The time is the driver's own of a frame: of its threads that receive packets and make a frame of
// them. In the counters, of a second of the stream: the same, and all of the process, the virtual
// camera and the modelled kernel included.
void PacketsToFrames(benchmark::State &state, Way way)
{
    double driver = 0;
    double process = 0;
    double elapsed = 0;
    uint32_t frames = 0;
    uint32_t bad = 0;
    for (auto _ : state) {
        StreamingCamera camera(way);
        camera.Start(kFrames);
        camera.AwaitFrames(2 * kFrames);
        const uint32_t before = camera.GoodFrames();
        const double processBefore = bench::SecondsOn(CLOCK_PROCESS_CPUTIME_ID);
        const auto began = Clock::now();
        bench::Meter::Get().Begin();
        std::this_thread::sleep_for(kStreamTime);
        const double own = bench::Meter::Get().Seconds();
        elapsed += std::chrono::duration<double>(Clock::now() - began).count();
        process += bench::SecondsOn(CLOCK_PROCESS_CPUTIME_ID) - processBefore;
        const uint32_t came = camera.GoodFrames() - before;
        driver += own;
        frames += came;
        bad += camera.BadFrames();
        state.SetIterationTime(own / came);
    }
    state.counters["driver_cpu"] = driver / elapsed;
    state.counters["process_cpu"] = process / elapsed;
    state.counters["MB_per_s"] = frames / elapsed * kFrameBytes / 1e6;
    state.counters["bad_frames"] = bad;
}

// From the unplugging to the callback of the one frame that is queued.
void UnplugToTheCallback(benchmark::State &state, Way way)
{
    for (auto _ : state) {
        StreamingCamera camera(way);
        camera.Start(1);
        camera.AwaitFrames(3);
        const auto unplugged = Clock::now();
        Require(ZerixSim_Unplug(0) == 0, "unplugging");
        const auto deadline = Clock::now() + kPatience;
        while (camera.BadFrames() == 0 && Clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        Require(camera.BadFrames() == 1, "telling of the loss");
        state.SetIterationTime(
            std::chrono::duration<double>(camera.LastCallback() - unplugged).count());
    }
}

void CopyOfTheFrame(benchmark::State &state)
{
    const std::vector<uint8_t> from(kFrameBytes, 1);
    std::vector<uint8_t> to(kFrameBytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), to.size());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(CopyOfTheFrame)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(PacketsToFrames, VirtualBus, Way::kVirtualBus)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(PacketsToFrames, Linux, Way::kLinux)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(UnplugToTheCallback, VirtualBus, Way::kVirtualBus)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(UnplugToTheCallback, Linux, Way::kLinux)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);

} // namespace

} // namespace zerix
