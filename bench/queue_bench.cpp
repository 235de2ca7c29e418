// The ways between an application and a camera: sending settings, queueing a frame, and from the
// buffer with a frame's last packet to the application's callback, beside a copy of the frame and a
// bare wake-up of a thread in the same run.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "api/context.h"
#include "bench/replay_driver.h"
#include "tables/settings_accessors.h"
#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

namespace zerix {

namespace {

using Clock = std::chrono::steady_clock;

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

double Microseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

// The first camera of the built-in rack, with a record of its settings, which it has been sent.
class SettledCamera {
public:
    SettledCamera()
    {
        ZerixCameraListItem table[10];
        uint32_t count = 10;
        Require(Zerix_LoadDriver(), "loading");
        Require(Zerix_ListCameras(table, &count), "listing");
        Require(Zerix_OpenCamera(0, &handle), "opening");
        ZerixSim_GiveCredit(0, 0);
        Zerix_CreateCameraSettingsStruct(&settings);
        Require(Zerix_ReadDefaultSettings(handle, &settings), "reading");
        tables::SetSlot32(&settings, zprmImageFormat, zfmtMono16);
        Require(Zerix_SendSettingsToCam(handle, &settings), "sending");
    }
    ~SettledCamera()
    {
        Zerix_CloseCamera(handle);
        Zerix_ReleaseDriver();
        Zerix_ReleaseCameraSettingsStruct(&settings);
    }
    SettledCamera(const SettledCamera &) = delete;
    SettledCamera &operator=(const SettledCamera &) = delete;

    // The cache as it would be if it remembered every key: a send then needs no commit.
    void RememberEverything()
    {
        Zerix_Settings &cached =
            static_cast<api::ZerixContext *>(static_cast<ZX::ZCamera *>(handle)->GetRefCon())
                ->cachedSettings;
        std::memcpy(tables::GetPrivateBlock(&cached), tables::GetPrivateBlock(&settings), 256);
    }

    ZerixHandle handle = nullptr;
    Zerix_Settings settings = {};
};

// What is left are the writes of values that are never compared.
void SendWithoutCommit(benchmark::State &state)
{
    SettledCamera camera;
    camera.RememberEverything();
    uint32_t writes = 0;
    ZerixSim_TakeWrites(0, nullptr, &writes);
    Require(Zerix_SendSettingsToCam(camera.handle, &camera.settings), "sending");
    writes = 0;
    ZerixSim_TakeWrites(0, nullptr, &writes);
    for (auto _ : state)
        Require(Zerix_SendSettingsToCam(camera.handle, &camera.settings), "sending");
    state.counters["writes"] = writes;
}

// The cache forgets the keys above 16, so that such a send ends in a commit.
void SendWithItsCommit(benchmark::State &state)
{
    SettledCamera camera;
    for (auto _ : state)
        Require(Zerix_SendSettingsToCam(camera.handle, &camera.settings), "sending");
}

void CommitAlone(benchmark::State &state)
{
    const SettledCamera camera;
    for (auto _ : state)
        static_cast<ZX::ZCamera *>(camera.handle)->UpdateSettingsOnCamera();
}

void QueueAFrame(benchmark::State &state)
{
    constexpr uint32_t kBatch = 100;
    const SettledCamera camera;
    std::vector<uint8_t> pixels(kFrameBytes);
    std::vector<Zerix_Frame> frames(kBatch);
    for (Zerix_Frame &frame : frames) {
        frame.pBuffer = pixels.data();
        frame.bufferSize = kFrameBytes;
    }
    for (auto _ : state) {
        const auto began = Clock::now();
        for (Zerix_Frame &frame : frames)
            Require(Zerix_QueueFrame(camera.handle, &frame, nullptr, 0, nullptr, 0), "queueing");
        state.SetIterationTime(Microseconds(Clock::now() - began) / 1e6 / kBatch);
        Require(Zerix_Abort(camera.handle), "aborting");
    }
}

// One thread waits for what another one tells.
class Bell {
public:
    void Ring()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_at = Clock::now();
            m_isRung = true;
        }
        m_changed.notify_one();
    }
    Clock::time_point Await()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_isRung; });
        m_isRung = false;
        return m_at;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isRung = false;
    Clock::time_point m_at;
};

std::vector<double> WakeUps(std::size_t count)
{
    std::vector<double> micros;
    Bell there;
    Bell back;
    std::thread sleeper([&] {
        for (std::size_t i = 0; i < count; ++i) {
            const auto rung = there.Await();
            micros.push_back(Microseconds(Clock::now() - rung));
            back.Ring();
        }
    });
    for (std::size_t i = 0; i < count; ++i) {
        there.Ring();
        back.Await();
    }
    sleeper.join();
    return micros;
}

std::vector<double> Copies(std::size_t count)
{
    const std::vector<uint8_t> from(kFrameBytes, 1);
    std::vector<uint8_t> to(kFrameBytes);
    std::vector<double> micros;
    for (std::size_t i = 0; i < count; ++i) {
        const auto began = Clock::now();
        std::memcpy(to.data(), from.data(), to.size());
        benchmark::ClobberMemory();
        micros.push_back(Microseconds(Clock::now() - began));
    }
    return micros;
}

void LastPacketToCallback(benchmark::State &state)
{
    auto &replay = static_cast<bench::ReplayDriver &>(kernel::Driver());
    std::vector<double> micros;
    {
        const SettledCamera camera;
        Require(Zerix_SetStreaming(camera.handle, 1), "streaming");
        auto *const object = static_cast<ZX::ZCamera *>(camera.handle);
        replay.Record({.packetBytes = object->GetCurrentFireWirePacketSize(),
                       .frameBytes = kFrameBytes,
                       .tag = object->GetPSN(),
                       .bitCode = 11});
        std::vector<uint8_t> pixels(kFrameBytes);
        Zerix_Frame frame{};
        frame.pBuffer = pixels.data();
        frame.bufferSize = kFrameBytes;
        Bell done;
        const auto ring = [](void *bell, uint32_t, uint32_t, uint32_t) {
            static_cast<Bell *>(bell)->Ring();
        };
        for (auto _ : state) {
            Require(Zerix_QueueFrame(camera.handle, &frame, ring, 1, &done, 0), "queueing");
            replay.LetThrough(1);
            const auto told = done.Await(); // first: the completion is that of this very frame
            const double took = Microseconds(told - replay.FrameCompletedAt());
            micros.push_back(took);
            state.SetIterationTime(took / 1e6);
        }
        replay.LetThrough(1); // wakes the receive thread, so that it sees the stop
    }
    const double copy = Median(Copies(200));
    state.counters["median_us"] = Median(micros);
    state.counters["copy_us"] = copy;
    state.counters["less_copy_us"] = Median(micros) - copy;
    state.counters["wakeup_us"] = Median(WakeUps(1000));
}

BENCHMARK(SendWithoutCommit)->Unit(benchmark::kMicrosecond);
BENCHMARK(SendWithItsCommit)->Unit(benchmark::kMicrosecond);
BENCHMARK(CommitAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(QueueAFrame)->Unit(benchmark::kNanosecond)->UseManualTime();
BENCHMARK(LastPacketToCallback)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(500);

} // namespace

} // namespace zerix
