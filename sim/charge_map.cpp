// Mean charges: exposure times rate, dark current at the sensor's temperature, hot pixels, binning.
// Not for use by two threads at once.
#include "sim/charge_map.h"

#include <algorithm>
#include <cmath>

#include "sim/exact_math.h"
#include "sim/random.h"

namespace zerix::sim {
namespace {

constexpr uint32_t kPixelsToAHotOne = 4000;
constexpr float kMostElectrons = 1e9F; // far beyond any well, and safe in every later step

// Pixels see the temperature in tenths of a kelvin, so that a settling cooler does not make every
// frame a computation of its own.
double InTenths(double celsius)
{
    if (!(celsius > -150.0))
        celsius = -150.0;
    return FloorToInt(std::min(celsius, 150.0) * 10.0 + 0.5) / 10.0;
}

bool SameCharge(const ExposureSettings &a, const ExposureSettings &b)
{
    return a.exposureNanoseconds == b.exposureNanoseconds && a.x == b.x && a.y == b.y &&
           a.width == b.width && a.height == b.height &&
           a.horizontalBinning == b.horizontalBinning && a.verticalBinning == b.verticalBinning &&
           a.fromFarCorner == b.fromFarCorner && a.celsius == b.celsius &&
           a.isBlackedOut == b.isBlackedOut && a.transferred == b.transferred &&
           a.leftOverElectrons == b.leftOverElectrons;
}

ExposureSettings Normalised(ExposureSettings settings)
{
    settings.horizontalBinning = std::max(settings.horizontalBinning, 1U);
    settings.verticalBinning = std::max(settings.verticalBinning, 1U);
    settings.celsius = InTenths(settings.celsius);
    return settings;
}

// How many bins of the region lie on the sensor, the last one perhaps in part.
uint32_t BinsOnSensor(uint32_t first, uint32_t count, uint32_t binning, uint32_t sensorSize)
{
    const uint32_t all = sensorSize / binning + (sensorSize % binning != 0 ? 1 : 0);
    return first >= all ? 0 : std::min(count, all - first);
}

} // namespace

double DarkElectronsPerSecond(const SensorType &type, double celsius)
{
    const double doublings = (celsius - 20.0) / static_cast<double>(type.darkDoublesKelvin);
    return static_cast<double>(type.darkElectronsPerSecond) * Exp2(doublings);
}

std::vector<HotPixel> HotPixelsOf(const SensorType &type, std::string_view serialNumber)
{
    RandomSequence random(DeriveKey(0x686F74, serialNumber));
    std::vector<HotPixel> hotPixels(static_cast<size_t>(type.columns) * type.rows /
                                    kPixelsToAHotOne);
    for (HotPixel &pixel : hotPixels) {
        pixel.column = static_cast<uint32_t>(random.Bits() % type.columns);
        pixel.row = static_cast<uint32_t>(random.Bits() % type.rows);
        pixel.excess = 8.0F / (random.Unit() + 0.01F);
    }
    return hotPixels;
}

void ChargeMap::Update(const SensorType &type, const std::vector<float> &rates, bool ratesChanged,
                       const std::vector<HotPixel> &hotPixels, const ExposureSettings &settings)
{
    const ExposureSettings wanted = Normalised(settings);
    if (m_valid && !ratesChanged && SameCharge(wanted, m_settings))
        return;
    m_valid = false;
    m_settings = wanted;
    const double seconds = static_cast<double>(wanted.exposureNanoseconds) * 1e-9;
    const double dark = DarkElectronsPerSecond(type, wanted.celsius) * seconds;
    const bool isDark = m_charges == Charges::kDark || wanted.isBlackedOut;
    m_seconds = isDark ? 0.0F : static_cast<float>(seconds);
    m_dark = m_charges == Charges::kLight ? 0.0F : static_cast<float>(dark);
    m_leftOver = m_charges == Charges::kLight ? 0.0F : static_cast<float>(wanted.leftOverElectrons);
    m_width = BinsOnSensor(wanted.x, wanted.width, wanted.horizontalBinning, type.columns);
    m_height = BinsOnSensor(wanted.y, wanted.height, wanted.verticalBinning, type.rows);
    const size_t pixels = static_cast<size_t>(m_width) * m_height;
    m_mean.assign(pixels, 0.0F);
    m_sigma.resize(pixels);
    if (pixels != 0) {
        for (uint32_t row = 0; row < m_height; ++row)
            AddRow(type, rates, row);
        AddHotPixels(type, hotPixels);
    }
    for (size_t i = 0; i < pixels; ++i) {
        m_mean[i] = std::min(m_mean[i] * static_cast<float>(wanted.transferred), kMostElectrons);
        m_sigma[i] = std::sqrt(m_mean[i]);
    }
    m_valid = true;
}

void ChargeMap::AddRow(const SensorType &type, const std::vector<float> &rates, uint32_t row)
{
    const uint32_t binning = m_settings.verticalBinning;
    const uint32_t firstColumn = m_settings.x * m_settings.horizontalBinning;
    const uint64_t firstRow = (static_cast<uint64_t>(m_settings.y) + row) * binning;
    const auto rows = static_cast<uint32_t>(std::min<uint64_t>(binning, type.rows - firstRow));
    m_sensorColumns = static_cast<uint32_t>(std::min<uint64_t>(
        static_cast<uint64_t>(m_width) * m_settings.horizontalBinning, type.columns - firstColumn));
    m_line.assign(m_sensorColumns, 0.0F);
    for (uint32_t i = 0; i < rows; ++i) {
        const auto readRow = static_cast<uint32_t>(firstRow + i);
        const bool turned = m_settings.fromFarCorner;
        const size_t sensorRow = turned ? type.rows - 1 - readRow : readRow;
        const float *source = rates.data() + sensorRow * type.columns;
        if (turned) {
            const float *last = source + (type.columns - 1 - firstColumn);
            for (uint32_t c = 0; c < m_sensorColumns; ++c)
                m_line[c] += *(last - c);
        } else {
            for (uint32_t c = 0; c < m_sensorColumns; ++c)
                m_line[c] += source[firstColumn + c];
        }
    }
    SumBins(row, rows);
}

void ChargeMap::SumBins(uint32_t row, uint32_t sensorRows)
{
    const uint32_t binning = m_settings.horizontalBinning;
    float *mean = m_mean.data() + static_cast<size_t>(row) * m_width;
    const auto darkOfColumn =
        (m_dark + m_leftOver) * static_cast<float>(static_cast<int32_t>(sensorRows));
    if (binning == 1) {
        for (uint32_t c = 0; c < m_sensorColumns; ++c)
            mean[c] = m_seconds * m_line[c] + darkOfColumn;
        return;
    }
    for (uint32_t bin = 0; bin < m_width; ++bin) {
        const uint32_t end = static_cast<uint32_t>(
            std::min<uint64_t>((static_cast<uint64_t>(bin) + 1) * binning, m_sensorColumns));
        float sum = 0.0F;
        for (uint32_t c = bin * binning; c < end; ++c)
            sum += m_seconds * m_line[c] + darkOfColumn;
        mean[bin] = sum;
    }
}

void ChargeMap::AddHotPixels(const SensorType &type, const std::vector<HotPixel> &hotPixels)
{
    for (const HotPixel &pixel : hotPixels) {
        const bool turned = m_settings.fromFarCorner;
        const uint32_t column = turned ? type.columns - 1 - pixel.column : pixel.column;
        const uint32_t row = turned ? type.rows - 1 - pixel.row : pixel.row;
        const uint32_t binColumn = column / m_settings.horizontalBinning;
        const uint32_t binRow = row / m_settings.verticalBinning;
        if (binColumn < m_settings.x || binRow < m_settings.y)
            continue;
        const uint32_t x = binColumn - m_settings.x;
        const uint32_t y = binRow - m_settings.y;
        if (x < m_width && y < m_height)
            m_mean[static_cast<size_t>(y) * m_width + x] += m_dark * pixel.excess;
    }
}

void ChargeMap::Fetch(uint32_t x, uint32_t row, uint32_t count, float *mean, float *sigma) const
{
    uint32_t onSensor = 0;
    if (row < m_height && x < m_width)
        onSensor = std::min(count, m_width - x);
    const size_t start = static_cast<size_t>(row) * m_width + x;
    std::copy_n(m_mean.data() + (onSensor != 0 ? start : 0), onSensor, mean);
    std::copy_n(m_sigma.data() + (onSensor != 0 ? start : 0), onSensor, sigma);
    std::fill_n(mean + onSensor, count - onSensor, 0.0F);
    std::fill_n(sigma + onSensor, count - onSensor, 0.0F);
}

} // namespace zerix::sim
