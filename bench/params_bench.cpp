// What reading and writing a single value of a settings record takes while nothing is traced. The
// answers come from the record and from the camera's shadow of its registers: no packet is sent.
#include <cstdio>
#include <cstdlib>

#include <benchmark/benchmark.h>

#include "zerix/zerix.h"

namespace zerix {

namespace {

void Require(uint32_t error, const char *what)
{
    if (error == 0)
        return;
    std::fprintf(stderr, "%s failed with error %u\n", what, error);
    std::abort();
}

// A record of defaults of the bus's first camera, for as long as the library is loaded.
class LoadedRecord {
public:
    LoadedRecord()
    {
        ZerixCameraListItem row = {};
        uint32_t count = 1;
        Require(Zerix_LoadDriver(), "loading");
        Require(Zerix_ListCameras(&row, &count), "listing");
        Require(Zerix_OpenCamera(0, &m_camera), "opening");
        Require(Zerix_CreateCameraSettingsStruct(&settings), "making a record");
        Require(Zerix_ReadDefaultSettings(m_camera, &settings), "reading the defaults");
    }
    ~LoadedRecord()
    {
        Zerix_ReleaseCameraSettingsStruct(&settings);
        Zerix_CloseCamera(m_camera);
        Zerix_ReleaseDriver();
    }
    LoadedRecord(const LoadedRecord &) = delete;
    LoadedRecord &operator=(const LoadedRecord &) = delete;

    Zerix_Settings settings = {};

private:
    ZerixHandle m_camera = nullptr;
};

void GetParam(benchmark::State &state, uint32_t key)
{
    LoadedRecord record;
    uint32_t value = 0;
    for (auto _ : state) {
        Require(Zerix_GetParam(&record.settings, key, &value), "getting");
        benchmark::DoNotOptimize(value);
    }
}

// Sets what the key holds, which every key takes.
void SetParam(benchmark::State &state, uint32_t key)
{
    LoadedRecord record;
    uint32_t value = 0;
    Require(Zerix_GetParam(&record.settings, key, &value), "getting");
    for (auto _ : state)
        Require(Zerix_SetParam(&record.settings, key, value), "setting");
}

BENCHMARK_CAPTURE(GetParam, width, zprmRoiWidth);
BENCHMARK_CAPTURE(GetParam, exposure, zprmExposure);
BENCHMARK_CAPTURE(GetParam, gain, zprmGain);
BENCHMARK_CAPTURE(SetParam, width, zprmRoiWidth);
BENCHMARK_CAPTURE(SetParam, exposure, zprmExposure);
BENCHMARK_CAPTURE(SetParam, gain, zprmGain);

} // namespace

} // namespace zerix
