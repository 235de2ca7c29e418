// The sensors by CCD model number: text, pixel size and full well. Pure data.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zerix::tables {

inline constexpr std::array<const char *, 78> kCcdModelTexts = {
    "KAF1400", // 0
    "KAF1600",
    "KAF1600L",
    "KAF4200",
    "ICX085AL",
    "ICX085AK",
    "ICX285AL",
    "ICX285AK",
    "ICX205AL",
    "ICX205AK",
    "ICX252AQ", // 10
    "S70311006",
    "ICX282AQ",
    "ICX407AL",
    "S70310908",
    "VQE3618L",
    "KAI-2001 Quartz Glass",
    "KAI-2001 No Glass",
    "KAI-2001M AR Glass",
    "KAI-2001CM AR Glass",
    "KAI-4020 No Glass", // 20
    "KAI-4020M AR Glass",
    "KAI-4020M No Glass",
    "KAI-4020CM AR Glass",
    "KAI-1020 No Glass",
    "KAI-1020M AR Glass",
    "KAI-1020M Clear Glass",
    "KAI-1020CM AR Glass",
    "KAI-2001M Clear Glass",
    "KAI-2001 AR Glass",
    "KAI-2001 Clear Glass", // 30
    "KAI-2001M No Glass",
    "KAI-2001CM Clear Glass",
    "KAI-2001CM No Glass",
    "KAI-4020M Clear Glass",
    "KAI-4020 AR Glass",
    "KAI-4020 Quartz Glass",
    "KAI-4020 Clear Glass",
    "KAI-4020CM Clear Glass",
    "KAI-4020CM No Glass",
    "KAI-1020 AR Glass", // 40
    "KAI-1020 Quartz Glass",
    "KAI-1020 Clear Glass",
    "KAI-1020M No Glass",
    "KAI-1020CM Clear Glass",
    "KAI-1020CM No Glass",
    "KAI-2020M AR Glass",
    "KAI-2020M Clear Glass",
    "KAI-2020 AR Glass",
    "KAI-2020 Quartz Glass",
    "KAI-2020 Clear Glass", // 50
    "KAI-2020M No Glass",
    "KAI-2020 No Glass",
    "KAI-2020CM AR Glass",
    "KAI-2020CM Clear Glass",
    "KAI-2020CM No Glass",
    "KAI-2021M Clear Glass",
    "KAI-2021CM Clear Glass",
    "KAI-2021M AR Glass",
    "KAI-2021CM AR Glass",
    "KAI-2021 AR Glass", // 60
    "KAI-2021 Quartz Glass",
    "KAI-2021 Clear Glass",
    "KAI-2021 No Glass",
    "KAI-2021M No Glass",
    "KAI-2021CM No Glass",
    "KAI-4021M Clear Glass",
    "KAI-4021CM Clear Glass",
    "KAI-4021CM AR Glass",
    "KAI-4021M AR Glass",
    "KAI-4021 AR Glass", // 70
    "KAI-4021 Quartz Glass",
    "KAI-4021 Clear Glass",
    "KAI-4021 No Glass",
    "KAI-4021M No Glass",
    "KAI-4021CM No Glass",
    "KAF-3200",
    "KAF-3200", // 77: the text stands twice
};

struct CcdFigures {
    uint16_t firstModel;
    uint16_t lastModel;
    uint32_t pixelSize;        // nanometres
    uint32_t fullWellCapacity; // electrons; 0: not known
};

// Models that no row holds have neither figure. 78 has a pixel size, but no text.
inline constexpr std::array<CcdFigures, 11> kCcdFigures = {{
    {4, 5, 6700, 36000},
    {6, 7, 6450, 22000},
    {8, 9, 4650, 10000},
    {10, 10, 3450, 0},
    {12, 12, 3400, 0},
    {15, 15, 13700, 22000},
    {20, 23, 7400, 80000},
    {34, 39, 7400, 80000},
    {46, 75, 7400, 80000},
    {76, 77, 6800, 55000},
    {78, 78, 16000, 0},
}};

inline constexpr const char *kUnknownCcdModel = "Unknown";

constexpr const char *CcdModelText(uint32_t ccdModel)
{
    return ccdModel < kCcdModelTexts.size() ? kCcdModelTexts[ccdModel] : kUnknownCcdModel;
}

constexpr CcdFigures FindCcdFigures(uint32_t ccdModel)
{
    for (const CcdFigures &row : kCcdFigures) {
        if (ccdModel >= row.firstModel && ccdModel <= row.lastModel)
            return row;
    }
    return CcdFigures{};
}

constexpr uint32_t CcdPixelSize(uint32_t ccdModel) { return FindCcdFigures(ccdModel).pixelSize; }

constexpr uint32_t CcdFullWellCapacity(uint32_t ccdModel)
{
    return FindCcdFigures(ccdModel).fullWellCapacity;
}

static_assert(kCcdModelTexts.back() != nullptr);

} // namespace zerix::tables
