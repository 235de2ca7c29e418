// The sensors of the cameras: typical data-sheet figures. The variants of a sensor (glass,
// microlenses, colour mask) share them; what a variant is stands in its name. Constant data.
#include <array>
#include <cstddef>

#include "sim/sensor.h"

namespace zerix::sim {
namespace {

enum class Kind : uint8_t { kPlain, kTwoFields, kMultiplying };

// For all sensors whose names begin so.
struct Figures {
    std::string_view beginning;
    uint32_t columns;
    uint32_t rows;
    float pitchMicrometres;
    uint32_t fullWellElectrons;
    float darkElectronsPerSecond;
    float darkDoublesKelvin;
    float peakQuantumEfficiency;
    Kind kind = Kind::kPlain;
};

constexpr Figures kFigures[] = {
    // beginning  columns  rows  pitch  well  dark  doubles  efficiency
    {"KAF1400", 1317, 1035, 6.8F, 45000, 10.0F, 6.3F, 0.40F},
    {"KAF1600", 1536, 1024, 9.0F, 100000, 15.0F, 6.3F, 0.40F},
    {"KAF4200", 2048, 2048, 9.0F, 85000, 15.0F, 6.3F, 0.40F},
    {"KAF-3200", 2184, 1472, 6.8F, 55000, 7.0F, 6.3F, 0.80F},
    {"ICX085", 1300, 1030, 6.7F, 36000, 1.2F, 7.0F, 0.45F},
    {"ICX285", 1392, 1040, 6.45F, 22000, 0.15F, 7.0F, 0.62F},
    {"ICX205", 1392, 1040, 4.65F, 10000, 0.2F, 7.0F, 0.48F},
    {"ICX252", 2048, 1536, 3.45F, 9000, 0.3F, 7.0F, 0.40F, Kind::kTwoFields},
    {"ICX282", 2560, 1920, 3.4F, 8500, 0.3F, 7.0F, 0.40F, Kind::kTwoFields},
    {"ICX407", 768, 494, 8.4F, 30000, 0.8F, 7.0F, 0.45F},
    {"S70311006", 1024, 58, 24.0F, 300000, 100.0F, 5.5F, 0.90F},
    {"S70310908", 512, 250, 24.0F, 300000, 100.0F, 5.5F, 0.90F},
    {"KAI-20", 1600, 1200, 7.4F, 80000, 2.0F, 7.0F, 0.55F},
    {"KAI-40", 2048, 2048, 7.4F, 80000, 2.0F, 7.0F, 0.55F},
    {"KAI-10", 1000, 1000, 7.4F, 42000, 3.0F, 7.0F, 0.45F},
    {"VQE3618L", 1004, 1002, 13.7F, 22000, 2.0F, 6.5F, 0.85F, Kind::kMultiplying},
    {"512-column", 512, 512, 16.0F, 160000, 1.5F, 6.5F, 0.92F, Kind::kMultiplying},
};

// By CCD model number, from 0 on.
constexpr std::string_view kNames[] = {
    "KAF1400",
    "KAF1600",
    "KAF1600L",
    "KAF4200",
    "ICX085AL",
    "ICX085AK",
    "ICX285AL",
    "ICX285AK",
    "ICX205AL",
    "ICX205AK",
    "ICX252AQ",
    "S70311006",
    "ICX282AQ",
    "ICX407AL",
    "S70310908",
    "VQE3618L",
    "KAI-2001 Quartz Glass",
    "KAI-2001 No Glass",
    "KAI-2001M AR Glass",
    "KAI-2001CM AR Glass",
    "KAI-4020 No Glass",
    "KAI-4020M AR Glass",
    "KAI-4020M No Glass",
    "KAI-4020CM AR Glass",
    "KAI-1020 No Glass",
    "KAI-1020M AR Glass",
    "KAI-1020M Clear Glass",
    "KAI-1020CM AR Glass",
    "KAI-2001M Clear Glass",
    "KAI-2001 AR Glass",
    "KAI-2001 Clear Glass",
    "KAI-2001M No Glass",
    "KAI-2001CM Clear Glass",
    "KAI-2001CM No Glass",
    "KAI-4020M Clear Glass",
    "KAI-4020 AR Glass",
    "KAI-4020 Quartz Glass",
    "KAI-4020 Clear Glass",
    "KAI-4020CM Clear Glass",
    "KAI-4020CM No Glass",
    "KAI-1020 AR Glass",
    "KAI-1020 Quartz Glass",
    "KAI-1020 Clear Glass",
    "KAI-1020M No Glass",
    "KAI-1020CM Clear Glass",
    "KAI-1020CM No Glass",
    "KAI-2020M AR Glass",
    "KAI-2020M Clear Glass",
    "KAI-2020 AR Glass",
    "KAI-2020 Quartz Glass",
    "KAI-2020 Clear Glass",
    "KAI-2020M No Glass",
    "KAI-2020 No Glass",
    "KAI-2020CM AR Glass",
    "KAI-2020CM Clear Glass",
    "KAI-2020CM No Glass",
    "KAI-2021M Clear Glass",
    "KAI-2021CM Clear Glass",
    "KAI-2021M AR Glass",
    "KAI-2021CM AR Glass",
    "KAI-2021 AR Glass",
    "KAI-2021 Quartz Glass",
    "KAI-2021 Clear Glass",
    "KAI-2021 No Glass",
    "KAI-2021M No Glass",
    "KAI-2021CM No Glass",
    "KAI-4021M Clear Glass",
    "KAI-4021CM Clear Glass",
    "KAI-4021CM AR Glass",
    "KAI-4021M AR Glass",
    "KAI-4021 AR Glass",
    "KAI-4021 Quartz Glass",
    "KAI-4021 Clear Glass",
    "KAI-4021 No Glass",
    "KAI-4021M No Glass",
    "KAI-4021CM No Glass",
    "KAF-3200",
    "KAF-3200",
    "512-column frame transfer",
};

constexpr const Figures &FiguresOf(std::string_view name)
{
    const Figures *figures = &kFigures[0];
    while (!name.starts_with(figures->beginning))
        ++figures; // past the table the compiler stops, as this runs nowhere else
    return *figures;
}

constexpr Mosaic MosaicOf(std::string_view name)
{
    if (name.find("CM ") != std::string_view::npos)
        return Mosaic::kGrbg;
    return name.ends_with("AK") || name.ends_with("AQ") ? Mosaic::kRggb : Mosaic::kNone;
}

constexpr auto MakeSensorTypes()
{
    std::array<SensorType, std::size(kNames)> types{};
    for (size_t i = 0; i < types.size(); ++i) {
        const Figures &figures = FiguresOf(kNames[i]);
        types[i] = {.firstCcdModel = static_cast<uint16_t>(i),
                    .name = kNames[i],
                    .columns = figures.columns,
                    .rows = figures.rows,
                    .pitchMicrometres = figures.pitchMicrometres,
                    .mosaic = MosaicOf(kNames[i]),
                    .twoFields = figures.kind == Kind::kTwoFields,
                    .electronMultiplying = figures.kind == Kind::kMultiplying,
                    .fullWellElectrons = figures.fullWellElectrons,
                    .darkElectronsPerSecond = figures.darkElectronsPerSecond,
                    .darkDoublesKelvin = figures.darkDoublesKelvin,
                    .peakQuantumEfficiency = figures.peakQuantumEfficiency};
    }
    return types;
}

constexpr auto kSensorTypes = MakeSensorTypes();

} // namespace

const SensorType *FindSensorType(uint16_t ccdModel)
{
    return ccdModel < kSensorTypes.size() ? &kSensorTypes[ccdModel] : nullptr;
}

} // namespace zerix::sim
