// What listing a full bus takes: ten cameras of ten kinds, each opened, read and closed.
#include <cstdio>
#include <cstdlib>

#include <benchmark/benchmark.h>

#include "zerix/zerix.h"
#include "zerix/zerix_sim.h"

namespace zerix {

namespace {

void Require(bool good, const char *what)
{
    if (good)
        return;
    std::fprintf(stderr, "%s failed\n", what);
    std::abort();
}

// With the processor time of all threads.
void ListTenCameras(benchmark::State &state)
{
    Require(ZerixSim_ChooseRack("family-1") == ZERIX_SIM_OK, "choosing the rack");
    Require(Zerix_LoadDriver() == 0, "loading");
    for (auto _ : state) {
        ZerixCameraListItem table[10];
        uint32_t count = 10;
        Require(Zerix_ListCameras(table, &count) == 0 && count == 10, "listing");
    }
    Zerix_ReleaseDriver();
    Require(ZerixSim_ChooseRack(nullptr) == ZERIX_SIM_OK, "choosing the built-in rack");
}

BENCHMARK(ListTenCameras)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

} // namespace

} // namespace zerix
