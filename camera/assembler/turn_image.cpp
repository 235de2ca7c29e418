// The plain level of the turn, and the choice among the levels: once, at the first use.
#include "camera/assembler/turn_image.h"

#include <cstdlib>
#include <string_view>
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

// The processor test includes the system's saving of the wide registers.
std::span<const TurnLevel> TurnLevels()
{
    static const TurnLevel levels[] = {
        {"scalar", true, TurnBytesScalar, TurnWordsScalar},
        {"sse41", __builtin_cpu_supports("sse4.1") != 0, TurnBytesSse41, TurnWordsSse41},
        {"avx2", __builtin_cpu_supports("avx2") != 0, TurnBytesAvx2, TurnWordsAvx2},
    };
    return levels;
}

namespace {

// The best that is supported, up to the one that ZERIX_SIMD names. A name from beyond this table
// limits nothing.
const TurnLevel &ChooseLevel()
{
    const char *forced = std::getenv("ZERIX_SIMD");
    const TurnLevel *chosen = nullptr;
    for (const TurnLevel &level : TurnLevels()) {
        if (level.isSupported)
            chosen = &level;
        if (forced != nullptr && std::string_view(forced) == level.name)
            break;
    }
    return *chosen;
}

} // namespace

void TurnImage(uint8_t *pixels, uint32_t count, uint32_t pixelBytes)
{
    static const TurnLevel &level = ChooseLevel();
    (pixelBytes == 1 ? level.turnBytes : level.turnWords)(pixels, count);
}

} // namespace zerix
