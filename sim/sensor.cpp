// A virtual camera's sensor: keeps what does not change from frame to frame, and reads frames out.
// Not for use by two threads at once.
#include "sim/sensor.h"

#include <algorithm>
#include <array>

#include "sim/charge_map.h"
#include "sim/random.h"
#include "sim/readout.h"
#include "sim/sensor_light.h"
#include "sim/test_pattern.h"

namespace zerix::sim {
namespace {

constexpr size_t kFilters = 5; // the four places of the wheel, and none

uint64_t PixelBytes(const ExposureSettings &settings) { return settings.outputBits <= 8 ? 1 : 2; }

} // namespace

struct Sensor::State {
    const SensorType &type;
    uint64_t key;
    std::vector<HotPixel> hotPixels;
    std::shared_ptr<const Scene> scene;
    float brightness = 1;
    Light colour{1, 1, 1};
    std::array<std::vector<float>, kFilters>
        rates; // electrons a second; empty until they are needed
    size_t filterOfMap = kFilters;
    bool isApart = false;
    // Behind an intensifier light and dark charges go separate ways.
    ChargeMap map;
    ChargeMap light;
    ChargeMap dark;
    ReadoutPiece piece;
    ReadoutPiece darkPiece;

    size_t FilterIndex(const ExposureSettings &settings) const
    {
        return type.mosaic == Mosaic::kNone ? std::min<size_t>(settings.filterColour, kFilters - 1)
                                            : kFilters - 1;
    }
    const std::vector<float> &Rates(size_t filter);
    void UpdateMaps(const ExposureSettings &settings);
    void ReadOutRow(const ReadoutChain &chain, const ExposureSettings &settings, uint32_t row,
                    uint8_t *pixels);
};

const std::vector<float> &Sensor::State::Rates(size_t filter)
{
    std::vector<float> &wanted = rates[filter];
    if (wanted.empty()) {
        if (scene != nullptr)
            wanted = ElectronRates(type, *scene, brightness, colour, static_cast<uint8_t>(filter));
        wanted.resize(static_cast<size_t>(type.columns) * type.rows, 0.0F);
    }
    return wanted;
}

void Sensor::State::UpdateMaps(const ExposureSettings &settings)
{
    const size_t filter = FilterIndex(settings);
    const std::vector<float> &wanted = Rates(filter);
    const bool apart = settings.intensification > 1.0;
    const bool changed = filter != filterOfMap || apart != isApart;
    if (apart) {
        light.Update(type, wanted, changed, hotPixels, settings);
        dark.Update(type, wanted, changed, hotPixels, settings);
    } else {
        map.Update(type, wanted, changed, hotPixels, settings);
    }
    filterOfMap = filter;
    isApart = apart;
}

void Sensor::State::ReadOutRow(const ReadoutChain &chain, const ExposureSettings &settings,
                               uint32_t row, uint8_t *pixels)
{
    for (uint32_t x = 0; x < settings.width; x += piece.count) {
        piece.count = std::min(kReadoutPiece, settings.width - x);
        piece.column = settings.x + x;
        piece.row = settings.y + row;
        (isApart ? light : map).Fetch(x, row, piece.count, piece.mean, piece.sigma);
        if (isApart) {
            darkPiece.count = piece.count;
            darkPiece.column = piece.column;
            darkPiece.row = piece.row;
            dark.Fetch(x, row, piece.count, darkPiece.mean, darkPiece.sigma);
        }
        ReadOut(chain, piece, isApart ? &darkPiece : nullptr, pixels + x * PixelBytes(settings));
    }
}

Sensor::Sensor(const SensorType &type, uint64_t seed, std::string_view serialNumber)
    : m_state(new State{.type = type,
                        .key = DeriveKey(DeriveKey(seed, 0x73656E736F72), serialNumber),
                        .hotPixels = HotPixelsOf(type, serialNumber),
                        .scene = nullptr,
                        .brightness = 1,
                        .colour = {1, 1, 1},
                        .rates = {},
                        .filterOfMap = kFilters,
                        .isApart = false,
                        .map = ChargeMap(Charges::kAll),
                        .light = ChargeMap(Charges::kLight),
                        .dark = ChargeMap(Charges::kDark),
                        .piece = {},
                        .darkPiece = {}})
{
}

Sensor::~Sensor() = default;

void Sensor::SetScene(std::shared_ptr<const Scene> scene, float brightness, const Light &colour)
{
    m_state->colour = colour;
    m_state->brightness = brightness;
    m_state->scene = std::move(scene);
    for (std::vector<float> &rates : m_state->rates)
        std::vector<float>().swap(rates);
    m_state->filterOfMap = kFilters;
}

uint32_t Sensor::FrameBytes(const ExposureSettings &settings)
{
    const uint64_t pixels = static_cast<uint64_t>(settings.width) * settings.height;
    return pixels <= 0xFFFFFFFFU / 2U ? static_cast<uint32_t>(pixels * PixelBytes(settings)) : 0;
}

void Sensor::Expose(const ExposureSettings &settings, NoiseKey key, uint8_t *pixels)
{
    if (FrameBytes(settings) == 0)
        return;
    State &state = *m_state;
    const uint64_t frameKey = DeriveKey(DeriveKey(state.key, key.commits), key.framesSinceCommit);
    const ReadoutChain chain = MakeReadoutChain(state.type, settings, frameKey);
    if (state.scene != nullptr && IsTestPattern(*state.scene)) {
        ExposeTestPattern(*state.scene, state.type, chain, settings, pixels);
        return;
    }
    state.UpdateMaps(settings);
    for (uint32_t row = 0; row < settings.height; ++row)
        state.ReadOutRow(chain, settings, row,
                         pixels + row * (settings.width * PixelBytes(settings)));
}

const SensorType &Sensor::Type() const { return m_state->type; }

} // namespace zerix::sim
