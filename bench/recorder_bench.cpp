// The recorder fed from memory, with frames of 2048 x 2048 samples of 16 bits, beside dd with
// blocks of a frame's size to the same folder: the present one, or $ZERIX_BENCH_FOLDER. Both are
// timed until the disk has the bytes.
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "tools/writers/recording.h"

namespace zerix::tool {

namespace {

constexpr uint32_t kSide = 2048;
constexpr size_t kFrameBytes = size_t{kSide} * kSide * 2;
constexpr uint32_t kFrames = 32;
constexpr size_t kBuffers = 8;

std::string FileIn(const char *name)
{
    const char *folder = std::getenv("ZERIX_BENCH_FOLDER");
    return std::string(folder != nullptr ? folder : ".") + "/" + name;
}

void RemoveFiles(const std::string &path)
{
    std::filesystem::remove(path);
    std::filesystem::remove(path + ".json");
    sync();
}

// What a camera brings: no two frames alike, and nothing that a disk could make smaller.
const std::vector<uint8_t> &SourceFrame()
{
    static const std::vector<uint8_t> frame = [] {
        std::vector<uint8_t> bytes(kFrameBytes);
        uint32_t state = 1;
        for (uint8_t &byte : bytes) {
            state = state * 1664525u + 1013904223u;
            byte = static_cast<uint8_t>(state >> 24);
        }
        return bytes;
    }();
    return frame;
}

Picture DescriptionOf(uint32_t number)
{
    Picture picture;
    picture.width = picture.height = kSide;
    picture.bytesPerSample = 2;
    picture.significantBits = 16;
    picture.cameraModel = "Astrel C2";
    picture.serialNumber = "bench";
    picture.unixNanoseconds = 1'735'689'600'000'000'000 + uint64_t{number} * 100'000'000;
    picture.frameNumber = number;
    return picture;
}

// The one who brings frames waits for a buffer here: it is the disk that is measured.
void Bring(Recording &recording)
{
    std::mutex mutex;
    std::condition_variable freed;
    recording.WhenFreed([&] {
        const std::lock_guard lock(mutex);
        freed.notify_one();
    });
    for (uint32_t i = 0; i < kFrames; ++i) {
        FrameBuffer *buffer = recording.TakeFree();
        while (buffer == nullptr) {
            std::unique_lock lock(mutex);
            freed.wait_for(lock, std::chrono::milliseconds(1));
            lock.unlock();
            buffer = recording.TakeFree();
        }
        std::memcpy(buffer->bytes.get(), SourceFrame().data(), kFrameBytes);
        buffer->picture = DescriptionOf(i);
        buffer->picture.pixels = {buffer->bytes.get(), kFrameBytes};
        recording.Hand(buffer);
    }
    recording.WhenFreed({});
}

void Flush(const std::string &path)
{
    const int file = open(path.c_str(), O_RDONLY);
    fdatasync(file);
    close(file);
}

void Record(benchmark::State &state, const char *name)
{
    const std::string path = FileIn(name);
    SourceFrame();
    for ([[maybe_unused]] auto _ : state) {
        std::string error;
        auto writer = OpenSequence(path, &error);
        if (writer == nullptr) {
            state.SkipWithError(error.c_str());
            break;
        }
        Recording recording(std::move(writer), kBuffers, kFrameBytes);
        Bring(recording);
        if (recording.Finish().frames != kFrames)
            state.SkipWithError("the disk is full");
        Flush(path);
        state.PauseTiming();
        RemoveFiles(path);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFrames * kFrameBytes));
}

void RecordTiff(benchmark::State &state) { Record(state, "bench-recorder.tif"); }
void RecordOmeTiff(benchmark::State &state) { Record(state, "bench-recorder.ome.tif"); }
void RecordFits(benchmark::State &state) { Record(state, "bench-recorder.fits"); }
void RecordSer(benchmark::State &state) { Record(state, "bench-recorder.ser"); }
void RecordRaw(benchmark::State &state) { Record(state, "bench-recorder.raw"); }

void DdToTheDisk(benchmark::State &state)
{
    const std::string path = FileIn("bench-recorder.dd");
    const std::string command = "dd if=/dev/zero of='" + path +
                                "' bs=" + std::to_string(kFrameBytes) +
                                " count=" + std::to_string(kFrames) + " conv=fdatasync 2>/dev/null";
    for ([[maybe_unused]] auto _ : state) {
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("dd failed");
        state.PauseTiming();
        RemoveFiles(path);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFrames * kFrameBytes));
}

BENCHMARK(RecordTiff)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(RecordOmeTiff)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(RecordFits)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(RecordSer)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(RecordRaw)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(DdToTheDisk)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

} // namespace zerix::tool
