// The verbs of the tool. Each throws CommandError with one sentence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/colour.h"
#include "tools/session.h"

namespace zerix::tool {

void ListCameras(const CommonOptions &options);

// Every node of the bus; or the system's entry that lets people open the cameras.
void ShowBus(const CommonOptions &options, bool showsEntry);

void ShowInfo(const CommonOptions &options);

// All settings of the camera, or the named ones.
void GetSettings(const CommonOptions &options, const std::vector<std::string> &names);

// Sends KEY=VALUE… and shows what the camera made of them.
void SetSettings(const CommonOptions &options, const std::vector<std::string> &assignments);

// The known racks of the virtual bus and its scenes; needs no bus.
void ListRacks(const CommonOptions &options);

struct GrabOptions {
    std::string file;
    uint32_t count = 1;
    std::vector<std::string> settings; // KEY=VALUE
    double waitSeconds = 0;            // for each picture; 0: a minute more than its exposure
    ColourOptions colour;
};
void Grab(const CommonOptions &options, const GrabOptions &grab);

struct RecordOptions {
    std::string file;
    uint64_t count = 0;     // 0: no limit
    double seconds = 0;     // 0: no limit
    double waitSeconds = 0; // for each frame; 0: a minute more than its exposure, or for a trigger
                            // as long as it takes
    uint32_t bufferMegabytes = 256;
    std::vector<std::string> settings; // KEY=VALUE
    ColourOptions colour;
};
void Record(const CommonOptions &options, const RecordOptions &record);

struct TriggerOptions {
    std::string file; // empty: the picture is only described
    std::vector<std::string> settings;
    double waitSeconds = 0;
};
void Trigger(const CommonOptions &options, const TriggerOptions &trigger);

struct MonitorOptions {
    uint64_t count = 0; // lines; 0: no limit
    double seconds = 0; // 0: no limit
    double everySeconds = 1;
    std::vector<std::string> settings;
};
void Monitor(const CommonOptions &options, const MonitorOptions &monitor);

struct TraceOptions {
    std::string action;             // "on", "off", "show", "follow"
    std::vector<std::string> kinds; // what "on" traces besides the calls
    std::string file;               // empty: the configured one
    uint32_t lines = 0;             // of "show": the last ones; 0: all
    double seconds = 0;             // of "follow"; 0: no limit
};
void Trace(const TraceOptions &trace);

struct MeasureOptions {
    ColourOptions colour;
    std::vector<std::string> settings; // KEY=VALUE
};
// Searches for an exposure and shows it.
void AutoExpose(const CommonOptions &options, const MeasureOptions &measure);
// Measures the gains that make a region grey and shows them.
void WhiteBalance(const CommonOptions &options, const MeasureOptions &measure);

struct ProcessOptions {
    std::vector<std::string> inputs; // one, or a filter wheel's red, green and blue
    std::string output;
    std::string method = "cubic"; // "nearest", "linear", "cubic"
    std::string gains = "1,1,1";  // red, green, blue
};
// Finishes pictures that were kept raw; needs no bus.
void Process(const ProcessOptions &process);

struct PreviewOptions {
    std::string file;
    uint32_t longestSide = 400; // pixels
};
void ShowPreview(const CommonOptions &options, const PreviewOptions &wanted);

} // namespace zerix::tool
