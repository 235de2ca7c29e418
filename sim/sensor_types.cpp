// The sensors of the cameras: typical data-sheet figures, one row per CCD model number. Constant
// data.
#include <array>
#include <cstddef>

#include "sim/sensor.h"

namespace zerix::sim {
namespace {

// What the variants of one sensor (glass, microlenses, colour mask) have in common.
struct Family {
    uint32_t columns;
    uint32_t rows;
    float pitchMicrometres;
    bool twoFields;
    bool electronMultiplying;
    uint32_t fullWellElectrons;
    float darkElectronsPerSecond;
    float darkDoublesKelvin;
    float peakQuantumEfficiency;
};

constexpr Family kKaf1400{.columns = 1317,
                          .rows = 1035,
                          .pitchMicrometres = 6.8F,
                          .twoFields = false,
                          .electronMultiplying = false,
                          .fullWellElectrons = 45000,
                          .darkElectronsPerSecond = 10.0F,
                          .darkDoublesKelvin = 6.3F,
                          .peakQuantumEfficiency = 0.40F};
constexpr Family kKaf1600{.columns = 1536,
                          .rows = 1024,
                          .pitchMicrometres = 9.0F,
                          .twoFields = false,
                          .electronMultiplying = false,
                          .fullWellElectrons = 100000,
                          .darkElectronsPerSecond = 15.0F,
                          .darkDoublesKelvin = 6.3F,
                          .peakQuantumEfficiency = 0.40F};
constexpr Family kKaf4200{.columns = 2048,
                          .rows = 2048,
                          .pitchMicrometres = 9.0F,
                          .twoFields = false,
                          .electronMultiplying = false,
                          .fullWellElectrons = 85000,
                          .darkElectronsPerSecond = 15.0F,
                          .darkDoublesKelvin = 6.3F,
                          .peakQuantumEfficiency = 0.40F};
constexpr Family kIcx085{.columns = 1300,
                         .rows = 1030,
                         .pitchMicrometres = 6.7F,
                         .twoFields = false,
                         .electronMultiplying = false,
                         .fullWellElectrons = 36000,
                         .darkElectronsPerSecond = 1.2F,
                         .darkDoublesKelvin = 7.0F,
                         .peakQuantumEfficiency = 0.45F};
constexpr Family kIcx285{.columns = 1392,
                         .rows = 1040,
                         .pitchMicrometres = 6.45F,
                         .twoFields = false,
                         .electronMultiplying = false,
                         .fullWellElectrons = 22000,
                         .darkElectronsPerSecond = 0.15F,
                         .darkDoublesKelvin = 7.0F,
                         .peakQuantumEfficiency = 0.62F};
constexpr Family kIcx205{.columns = 1392,
                         .rows = 1040,
                         .pitchMicrometres = 4.65F,
                         .twoFields = false,
                         .electronMultiplying = false,
                         .fullWellElectrons = 10000,
                         .darkElectronsPerSecond = 0.2F,
                         .darkDoublesKelvin = 7.0F,
                         .peakQuantumEfficiency = 0.48F};
constexpr Family kIcx252{.columns = 2048,
                         .rows = 1536,
                         .pitchMicrometres = 3.45F,
                         .twoFields = true,
                         .electronMultiplying = false,
                         .fullWellElectrons = 9000,
                         .darkElectronsPerSecond = 0.3F,
                         .darkDoublesKelvin = 7.0F,
                         .peakQuantumEfficiency = 0.40F};
constexpr Family kS7031Wide{.columns = 1024,
                            .rows = 58,
                            .pitchMicrometres = 24.0F,
                            .twoFields = false,
                            .electronMultiplying = false,
                            .fullWellElectrons = 300000,
                            .darkElectronsPerSecond = 100.0F,
                            .darkDoublesKelvin = 5.5F,
                            .peakQuantumEfficiency = 0.90F};
constexpr Family kS7031Tall{.columns = 512,
                            .rows = 250,
                            .pitchMicrometres = 24.0F,
                            .twoFields = false,
                            .electronMultiplying = false,
                            .fullWellElectrons = 300000,
                            .darkElectronsPerSecond = 100.0F,
                            .darkDoublesKelvin = 5.5F,
                            .peakQuantumEfficiency = 0.90F};
constexpr Family kIcx282{.columns = 2560,
                         .rows = 1920,
                         .pitchMicrometres = 3.4F,
                         .twoFields = true,
                         .electronMultiplying = false,
                         .fullWellElectrons = 8500,
                         .darkElectronsPerSecond = 0.3F,
                         .darkDoublesKelvin = 7.0F,
                         .peakQuantumEfficiency = 0.40F};
constexpr Family kIcx407{.columns = 768,
                         .rows = 494,
                         .pitchMicrometres = 8.4F,
                         .twoFields = false,
                         .electronMultiplying = false,
                         .fullWellElectrons = 30000,
                         .darkElectronsPerSecond = 0.8F,
                         .darkDoublesKelvin = 7.0F,
                         .peakQuantumEfficiency = 0.45F};
constexpr Family kVqe3618{.columns = 1004,
                          .rows = 1002,
                          .pitchMicrometres = 13.7F,
                          .twoFields = false,
                          .electronMultiplying = true,
                          .fullWellElectrons = 22000,
                          .darkElectronsPerSecond = 2.0F,
                          .darkDoublesKelvin = 6.5F,
                          .peakQuantumEfficiency = 0.85F};
constexpr Family kKai2000{.columns = 1600,
                          .rows = 1200,
                          .pitchMicrometres = 7.4F,
                          .twoFields = false,
                          .electronMultiplying = false,
                          .fullWellElectrons = 80000,
                          .darkElectronsPerSecond = 2.0F,
                          .darkDoublesKelvin = 7.0F,
                          .peakQuantumEfficiency = 0.55F};
constexpr Family kKai4000{.columns = 2048,
                          .rows = 2048,
                          .pitchMicrometres = 7.4F,
                          .twoFields = false,
                          .electronMultiplying = false,
                          .fullWellElectrons = 80000,
                          .darkElectronsPerSecond = 2.0F,
                          .darkDoublesKelvin = 7.0F,
                          .peakQuantumEfficiency = 0.55F};
constexpr Family kKai1000{.columns = 1000,
                          .rows = 1000,
                          .pitchMicrometres = 7.4F,
                          .twoFields = false,
                          .electronMultiplying = false,
                          .fullWellElectrons = 42000,
                          .darkElectronsPerSecond = 3.0F,
                          .darkDoublesKelvin = 7.0F,
                          .peakQuantumEfficiency = 0.45F};
constexpr Family kKaf3200{.columns = 2184,
                          .rows = 1472,
                          .pitchMicrometres = 6.8F,
                          .twoFields = false,
                          .electronMultiplying = false,
                          .fullWellElectrons = 55000,
                          .darkElectronsPerSecond = 7.0F,
                          .darkDoublesKelvin = 6.3F,
                          .peakQuantumEfficiency = 0.80F};
constexpr Family kFrameTransfer{.columns = 512,
                                .rows = 512,
                                .pitchMicrometres = 16.0F,
                                .twoFields = false,
                                .electronMultiplying = true,
                                .fullWellElectrons = 160000,
                                .darkElectronsPerSecond = 1.5F,
                                .darkDoublesKelvin = 6.5F,
                                .peakQuantumEfficiency = 0.92F};

constexpr SensorType Row(uint16_t ccdModel, std::string_view name, const Family &family,
                         Mosaic mosaic = Mosaic::kNone)
{
    return {.firstCcdModel = ccdModel,
            .name = name,
            .columns = family.columns,
            .rows = family.rows,
            .pitchMicrometres = family.pitchMicrometres,
            .mosaic = mosaic,
            .twoFields = family.twoFields,
            .electronMultiplying = family.electronMultiplying,
            .fullWellElectrons = family.fullWellElectrons,
            .darkElectronsPerSecond = family.darkElectronsPerSecond,
            .darkDoublesKelvin = family.darkDoublesKelvin,
            .peakQuantumEfficiency = family.peakQuantumEfficiency};
}

constexpr std::array<SensorType, 79> kSensorTypes{{
    Row(0, "KAF1400", kKaf1400),
    Row(1, "KAF1600", kKaf1600),
    Row(2, "KAF1600L", kKaf1600),
    Row(3, "KAF4200", kKaf4200),
    Row(4, "ICX085AL", kIcx085),
    Row(5, "ICX085AK", kIcx085, Mosaic::kRggb),
    Row(6, "ICX285AL", kIcx285),
    Row(7, "ICX285AK", kIcx285, Mosaic::kRggb),
    Row(8, "ICX205AL", kIcx205),
    Row(9, "ICX205AK", kIcx205, Mosaic::kRggb),
    Row(10, "ICX252AQ", kIcx252, Mosaic::kRggb),
    Row(11, "S70311006", kS7031Wide),
    Row(12, "ICX282AQ", kIcx282, Mosaic::kRggb),
    Row(13, "ICX407AL", kIcx407),
    Row(14, "S70310908", kS7031Tall),
    Row(15, "VQE3618L", kVqe3618),
    Row(16, "KAI-2001 Quartz Glass", kKai2000),
    Row(17, "KAI-2001 No Glass", kKai2000),
    Row(18, "KAI-2001M AR Glass", kKai2000),
    Row(19, "KAI-2001CM AR Glass", kKai2000, Mosaic::kGrbg),
    Row(20, "KAI-4020 No Glass", kKai4000),
    Row(21, "KAI-4020M AR Glass", kKai4000),
    Row(22, "KAI-4020M No Glass", kKai4000),
    Row(23, "KAI-4020CM AR Glass", kKai4000, Mosaic::kGrbg),
    Row(24, "KAI-1020 No Glass", kKai1000),
    Row(25, "KAI-1020M AR Glass", kKai1000),
    Row(26, "KAI-1020M Clear Glass", kKai1000),
    Row(27, "KAI-1020CM AR Glass", kKai1000, Mosaic::kGrbg),
    Row(28, "KAI-2001M Clear Glass", kKai2000),
    Row(29, "KAI-2001 AR Glass", kKai2000),
    Row(30, "KAI-2001 Clear Glass", kKai2000),
    Row(31, "KAI-2001M No Glass", kKai2000),
    Row(32, "KAI-2001CM Clear Glass", kKai2000, Mosaic::kGrbg),
    Row(33, "KAI-2001CM No Glass", kKai2000, Mosaic::kGrbg),
    Row(34, "KAI-4020M Clear Glass", kKai4000),
    Row(35, "KAI-4020 AR Glass", kKai4000),
    Row(36, "KAI-4020 Quartz Glass", kKai4000),
    Row(37, "KAI-4020 Clear Glass", kKai4000),
    Row(38, "KAI-4020CM Clear Glass", kKai4000, Mosaic::kGrbg),
    Row(39, "KAI-4020CM No Glass", kKai4000, Mosaic::kGrbg),
    Row(40, "KAI-1020 AR Glass", kKai1000),
    Row(41, "KAI-1020 Quartz Glass", kKai1000),
    Row(42, "KAI-1020 Clear Glass", kKai1000),
    Row(43, "KAI-1020M No Glass", kKai1000),
    Row(44, "KAI-1020CM Clear Glass", kKai1000, Mosaic::kGrbg),
    Row(45, "KAI-1020CM No Glass", kKai1000, Mosaic::kGrbg),
    Row(46, "KAI-2020M AR Glass", kKai2000),
    Row(47, "KAI-2020M Clear Glass", kKai2000),
    Row(48, "KAI-2020 AR Glass", kKai2000),
    Row(49, "KAI-2020 Quartz Glass", kKai2000),
    Row(50, "KAI-2020 Clear Glass", kKai2000),
    Row(51, "KAI-2020M No Glass", kKai2000),
    Row(52, "KAI-2020 No Glass", kKai2000),
    Row(53, "KAI-2020CM AR Glass", kKai2000, Mosaic::kGrbg),
    Row(54, "KAI-2020CM Clear Glass", kKai2000, Mosaic::kGrbg),
    Row(55, "KAI-2020CM No Glass", kKai2000, Mosaic::kGrbg),
    Row(56, "KAI-2021M Clear Glass", kKai2000),
    Row(57, "KAI-2021CM Clear Glass", kKai2000, Mosaic::kGrbg),
    Row(58, "KAI-2021M AR Glass", kKai2000),
    Row(59, "KAI-2021CM AR Glass", kKai2000, Mosaic::kGrbg),
    Row(60, "KAI-2021 AR Glass", kKai2000),
    Row(61, "KAI-2021 Quartz Glass", kKai2000),
    Row(62, "KAI-2021 Clear Glass", kKai2000),
    Row(63, "KAI-2021 No Glass", kKai2000),
    Row(64, "KAI-2021M No Glass", kKai2000),
    Row(65, "KAI-2021CM No Glass", kKai2000, Mosaic::kGrbg),
    Row(66, "KAI-4021M Clear Glass", kKai4000),
    Row(67, "KAI-4021CM Clear Glass", kKai4000, Mosaic::kGrbg),
    Row(68, "KAI-4021CM AR Glass", kKai4000, Mosaic::kGrbg),
    Row(69, "KAI-4021M AR Glass", kKai4000),
    Row(70, "KAI-4021 AR Glass", kKai4000),
    Row(71, "KAI-4021 Quartz Glass", kKai4000),
    Row(72, "KAI-4021 Clear Glass", kKai4000),
    Row(73, "KAI-4021 No Glass", kKai4000),
    Row(74, "KAI-4021M No Glass", kKai4000),
    Row(75, "KAI-4021CM No Glass", kKai4000, Mosaic::kGrbg),
    Row(76, "KAF-3200", kKaf3200),
    Row(77, "KAF-3200", kKaf3200),
    Row(78, "512-column frame transfer", kFrameTransfer),
}};

constexpr bool RowsStandAtTheirNumbers()
{
    for (size_t i = 0; i < kSensorTypes.size(); ++i) {
        if (kSensorTypes[i].firstCcdModel != i)
            return false;
    }
    return true;
}
static_assert(RowsStandAtTheirNumbers());

constexpr bool ColourMasksAreOnTheColourTypes()
{
    for (const SensorType &type : kSensorTypes) {
        const bool named = type.name.find("CM ") != std::string_view::npos ||
                           type.name.ends_with("AK") || type.name.ends_with("AQ");
        if (named != (type.mosaic != Mosaic::kNone))
            return false;
    }
    return true;
}
static_assert(ColourMasksAreOnTheColourTypes());

} // namespace

const SensorType *FindSensorType(uint16_t ccdModel)
{
    return ccdModel < kSensorTypes.size() ? &kSensorTypes[ccdModel] : nullptr;
}

} // namespace zerix::sim
