// An image as the input of a filter.
#pragma once

#include "image/image_buffers.h"
#include "image/z_ex_image.h"

namespace ZX {

inline ZInImageBufferStruct InputOf(const ZExImage &image)
{
    return {.pBuffer = image.GetImageData(),
            .size = image.GetImageSize(),
            .width = image.GetWidth(),
            .height = image.GetHeight(),
            .bitDepth = image.GetBitDepth(),
            .colourPattern = image.GetColourPattern(),
            .imageFormat = image.GetImageFormat(),
            .filterColour = image.GetColourPattern(),
            .symmetricalBinningMode = image.GetSymmetricalBinningMode(),
            .lvwFlag = image.IsLVW(),
            .errorCode = image.GetErrorCode(),
            .camera = static_cast<ZCamera *>(image.GetCamera())};
}

} // namespace ZX
