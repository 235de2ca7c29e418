// How fast a virtual sensor makes frames, with all its noise, on one core. The rate is in pixels.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "sim/scene.h"
#include "sim/sensor.h"

namespace {

using namespace zerix::sim;

struct Setting {
    const char *name;
    const char *scene;
    uint16_t ccdModel;
    uint16_t outputBits;
    uint32_t binning;
    double multiplication;
    bool changing; // a new exposure time for every frame
};

constexpr Setting kSettings[] = {
    {"sensor: cells 1392x1040", "cells", 6, 12, 1, 1, false},
    {"sensor: cells 1392x1040, 8 bits", "cells", 6, 8, 1, 1, false},
    {"sensor: cells 1392x1040, exposure changes", "cells", 6, 12, 1, 1, true},
    {"sensor: cells 1392x1040, binned 2x2", "cells", 6, 12, 2, 1, true},
    {"sensor: stars 1392x1040", "stars", 6, 12, 1, 1, false},
    {"sensor: dark 1392x1040", "flat:0", 6, 12, 1, 1, false},
    {"sensor: few electrons 1392x1040", "flat:20", 6, 12, 1, 1, false},
    {"sensor: cells 2048x2048", "cells", 21, 14, 1, 1, false},
    {"sensor: stars 2048x2048", "stars", 21, 14, 1, 1, false},
    {"sensor: colour chart 1600x1200", "colour-chart", 53, 12, 1, 1, false},
    {"sensor: few electrons 512x512, multiplied", "flat:800", 78, 14, 1, 300, false},
    {"sensor: cells 512x512, multiplied", "cells", 78, 14, 1, 200, false},
};

void Expose(benchmark::State &state, const Setting &setting)
{
    const SensorType &type = *FindSensorType(setting.ccdModel);
    Sensor sensor(type, 1, "bench");
    sensor.SetScene(MakeScene(setting.scene, 1, nullptr));
    ExposureSettings settings{.exposureNanoseconds = 16384000,
                              .width = type.columns / setting.binning,
                              .height = type.rows / setting.binning,
                              .horizontalBinning = setting.binning,
                              .verticalBinning = setting.binning,
                              .converterBits = 14,
                              .outputBits = setting.outputBits,
                              .offsetCounts = 50,
                              .electronMultiplication = setting.multiplication};
    if (setting.multiplication > 1)
        settings.exposureNanoseconds = 20000;
    std::vector<uint8_t> pixels(Sensor::FrameBytes(settings));
    uint32_t frame = 0;
    sensor.Expose(settings, {.commits = 1, .framesSinceCommit = 0}, pixels.data());
    for (auto _ : state) {
        if (setting.changing)
            ++settings.exposureNanoseconds;
        sensor.Expose(settings, {.commits = 1, .framesSinceCommit = ++frame}, pixels.data());
        benchmark::DoNotOptimize(pixels.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * settings.width *
                            settings.height);
}

[[maybe_unused]] const bool kRegistered = [] {
    for (const Setting &setting : kSettings)
        benchmark::RegisterBenchmark(setting.name, Expose, setting)->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
