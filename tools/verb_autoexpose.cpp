// zerix autoexpose and zerix whitebalance: what they find, in words or as JSON.
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/apply_settings.h"
#include "tools/colour.h"
#include "tools/parameter_values.h"
#include "tools/verbs.h"
#include "tools/writers/json_text.h"

namespace zerix::tool {

namespace {

std::string TimeText(uint64_t nanoseconds)
{
    return ValueText(ParameterUnit::kNanoseconds, static_cast<int64_t>(nanoseconds));
}

std::string FactorText(uint32_t thousandths)
{
    return ValueText(ParameterUnit::kThousandths, thousandths);
}

std::string Squeezed(std::string text)
{
    std::erase(text, ' ');
    return text;
}

// "--set exposure=20ms", and a wheel's other two.
std::string SettingsOf(const FoundExposure &found)
{
    std::string text = fmt::format("--set exposure={}", Squeezed(TimeText(found.nanoseconds)));
    if (found.redNanoseconds != 0)
        text += fmt::format(" --set exposure-red={} --set exposure-blue={}",
                            Squeezed(TimeText(found.redNanoseconds)),
                            Squeezed(TimeText(found.blueNanoseconds)));
    return text;
}

std::string TextOf(const FoundExposure &found)
{
    std::string text = fmt::format("exposure {}", TimeText(found.nanoseconds));
    if (found.redNanoseconds != 0)
        text = fmt::format("exposure red {}, green {}, blue {}", TimeText(found.redNanoseconds),
                           TimeText(found.nanoseconds), TimeText(found.blueNanoseconds));
    text += fmt::format(", gain {}", ValueText(ParameterUnit::kMillionths, found.gainMillionths));
    if (found.isShortest)
        text += " (the camera's shortest: it may be too bright)";
    if (found.isLongest)
        text += " (the camera's longest: it may be too dark)";
    return text;
}

nlohmann::ordered_json JsonOf(const FoundExposure &found)
{
    nlohmann::ordered_json json;
    json["exposure_ns"] = found.nanoseconds;
    if (found.redNanoseconds != 0) {
        json["exposure_red_ns"] = found.redNanoseconds;
        json["exposure_blue_ns"] = found.blueNanoseconds;
    }
    json["gain"] = found.gainMillionths / 1e6;
    json["shortest"] = found.isShortest;
    json["longest"] = found.isLongest;
    return json;
}

} // namespace

void AutoExpose(const CommonOptions &options, const MeasureOptions &measure)
{
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ApplySettings(camera, measure.settings);
    if (measure.colour.isColour)
        SetToColour(camera);
    const FoundExposure found = FindExposure(session, camera, measure.colour);
    if (options.json) {
        fmt::print("{}\n", JsonText(JsonOf(found), 2));
        return;
    }
    fmt::print("{}\n", TextOf(found));
    fmt::print("zerix grab {} -o FILE takes a picture with it.\n", SettingsOf(found));
}

void WhiteBalance(const CommonOptions &options, const MeasureOptions &measure)
{
    const Session session(options);
    const OpenCamera camera(session.Chosen());
    ApplySettings(camera, measure.settings);
    ColourOptions before = measure.colour;
    before.isColour = true;
    PrepareColour(session, camera, before);
    const FoundBalance found = FindBalance(session, camera, measure.colour);
    const auto &gains = found.gainThousandths;
    if (options.json) {
        nlohmann::ordered_json json;
        json["gain_red"] = gains[0] / 1e3;
        json["gain_green"] = gains[1] / 1e3;
        json["gain_blue"] = gains[2] / 1e3;
        json.update(JsonOf(found.exposure));
        fmt::print("{}\n", JsonText(json, 2));
        return;
    }
    std::string settings = SettingsOf(found.exposure);
    if (!found.isInExposures)
        fmt::print("red {}, green {}, blue {}\n", FactorText(gains[0]), FactorText(gains[1]),
                   FactorText(gains[2]));
    else
        fmt::print("{}\n", TextOf(found.exposure));
    settings += fmt::format(" --set post-gain-red={} --set post-gain-green={} --set "
                            "post-gain-blue={}",
                            FactorText(gains[0]), FactorText(gains[1]), FactorText(gains[2]));
    fmt::print("zerix grab --color {} -o FILE takes a picture with it.\n", settings);
}

} // namespace zerix::tool
