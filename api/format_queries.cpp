// Small queries on image formats. They need no loaded driver, and end with code 0 whatever they
// answer.
#include "api/entry.h"
#include "tables/image_formats.h"

using namespace zerix;
using namespace zerix::api;

namespace {

// The answer is the call's result, and none of its codes.
template <typename Ask>
uint32_t Answer(const Start &start, const char *text, const Ask &ask)
{
    uint32_t answer = 0;
    Enter(start, OfNoCamera{}, Checks(), [&](ExportedCall &call, const CameraUse &) {
        answer = ask();
        call.Message(text, answer);
        return ZERIX_SUCCESS;
    });
    return answer;
}

uint32_t AnswerIf(const Start &start, uint32_t format, bool tables::ImageFormatRow::*property,
                  const char *text)
{
    return Answer(start, text, [&] {
        const tables::ImageFormatRow *row = tables::FindImageFormat(format);
        return row != nullptr && row->*property ? 1u : 0u;
    });
}

} // namespace

uint32_t Zerix_is16bit(uint32_t format)
{
    return AnswerIf(Start(__func__), format, &tables::ImageFormatRow::is16Bit, "Is 16-bit = %d");
}

uint32_t Zerix_is3Color(uint32_t format)
{
    return AnswerIf(Start(__func__), format, &tables::ImageFormatRow::is3Colour,
                    "Is 3 colour = %d");
}

uint32_t Zerix_isBayer(uint32_t format)
{
    return AnswerIf(Start(__func__), format, &tables::ImageFormatRow::isBayer, "Is bayer = %d");
}

uint32_t Zerix_isColor(uint32_t format)
{
    return AnswerIf(Start(__func__), format, &tables::ImageFormatRow::isColour, "Is colour = %d");
}

uint32_t Zerix_isMonochrome(uint32_t format)
{
    return AnswerIf(Start(__func__), format, &tables::ImageFormatRow::isMonochrome, "Is mono = %d");
}

uint32_t Zerix_CalcImageSize(uint32_t format, uint32_t width, uint32_t height)
{
    return Answer(Start(__func__), "Size = %d", [&] {
        const tables::ImageFormatRow *row = tables::FindImageFormat(format);
        return row != nullptr ? width * height * row->calculatedFactor : 0;
    });
}
