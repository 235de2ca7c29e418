// Small queries on image formats. They need no loaded driver, and end with code 0 whatever they
// answer.
#include "api/exported_call.h"
#include "tables/image_formats.h"

using namespace zerix;
using namespace zerix::api;

namespace {

uint32_t Answer(const char *name, uint32_t format, bool tables::ImageFormatRow::*property,
                const char *text)
{
    ExportedCall call(name);
    const tables::ImageFormatRow *row = tables::FindImageFormat(format);
    const uint32_t answer = row != nullptr && row->*property ? 1 : 0;
    call.Message(text, answer);
    call.End(ZERIX_SUCCESS);
    return answer;
}

} // namespace

uint32_t Zerix_is16bit(uint32_t format)
{
    return Answer(__func__, format, &tables::ImageFormatRow::is16Bit, "Is 16-bit = %d");
}

uint32_t Zerix_is3Color(uint32_t format)
{
    return Answer(__func__, format, &tables::ImageFormatRow::is3Colour, "Is 3 colour = %d");
}

uint32_t Zerix_isBayer(uint32_t format)
{
    return Answer(__func__, format, &tables::ImageFormatRow::isBayer, "Is bayer = %d");
}

uint32_t Zerix_isColor(uint32_t format)
{
    return Answer(__func__, format, &tables::ImageFormatRow::isColour, "Is colour = %d");
}

uint32_t Zerix_isMonochrome(uint32_t format)
{
    return Answer(__func__, format, &tables::ImageFormatRow::isMonochrome, "Is mono = %d");
}

uint32_t Zerix_CalcImageSize(uint32_t format, uint32_t width, uint32_t height)
{
    ExportedCall call(__func__);
    const tables::ImageFormatRow *row = tables::FindImageFormat(format);
    const uint32_t size = row != nullptr ? width * height * row->calculatedFactor : 0;
    call.Message("Size = %d", size);
    call.End(ZERIX_SUCCESS);
    return size;
}
