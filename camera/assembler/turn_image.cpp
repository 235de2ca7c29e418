// The plain level of the turn, and the choice among the levels: once, at the first use.
#include "camera/assembler/turn_image.h"

#include <utility>

#include "camera/assembler/turn_image_levels.h"

namespace zerix {

void TurnBytesScalar(uint8_t *pixels, uint32_t count)
{
    if (count < 2)
        return;
    for (uint8_t *front = pixels, *back = pixels + count - 1; front < back; ++front, --back)
        std::swap(*front, *back);
}

void TurnWordsScalar(uint8_t *pixels, uint32_t count)
{
    if (count < 2)
        return;
    for (uint8_t *front = pixels, *back = pixels + (size_t{count} - 1) * 2; front < back;
         front += 2, back -= 2) {
        std::swap(front[0], back[0]);
        std::swap(front[1], back[1]);
    }
}

std::span<const TurnLevel> TurnLevels()
{
    static constexpr TurnLevel levels[] = {
        {SimdLevel::kScalar, TurnBytesScalar, TurnWordsScalar},
        {SimdLevel::kSse41, TurnBytesSse41, TurnWordsSse41},
        {SimdLevel::kAvx2, TurnBytesAvx2, TurnWordsAvx2},
    };
    return levels;
}

namespace {

const TurnLevel &ChooseLevel()
{
    const TurnLevel *chosen = nullptr;
    for (const TurnLevel &level : TurnLevels())
        if (level.level <= ChosenSimdLevel())
            chosen = &level;
    return *chosen;
}

} // namespace

void TurnImage(uint8_t *pixels, uint32_t count, uint32_t pixelBytes)
{
    static const TurnLevel &level = ChooseLevel();
    (pixelBytes == 1 ? level.turnBytes : level.turnWords)(pixels, count);
}

} // namespace zerix
