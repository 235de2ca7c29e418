// The two plain records that a filter works on. They own nothing.
#pragma once

#include <cstdint>

namespace ZX {

class ZCamera;

struct ZInImageBufferStruct {
    uint8_t *pBuffer = nullptr;
    uint32_t size = 0;  // bytes
    uint32_t width = 0; // pixels
    uint32_t height = 0;
    uint32_t bitDepth = 0;
    uint32_t colourPattern = 0; // ZColourPatternEnum, or the colour of a wheel exposure
    uint32_t imageFormat = 0;   // ZImageFormatEnum
    uint32_t filterColour = 0;  // the same value as colourPattern
    uint32_t symmetricalBinningMode = 0;
    bool lvwFlag = false;
    uint16_t errorCode = 0; // of the frame; a filter that collects leaves the worst of its frames
    ZCamera *camera = nullptr; // for filters that ask or drive it
};

struct ZOutImageBufferStruct {
    uint8_t *pBuffer = nullptr; // where the filter writes
    uint32_t size = 0;          // bytes written
    uint32_t width = 0;         // pixels
    uint32_t height = 0;
    uint32_t imageFormat = 0; // ZImageFormatEnum
};

} // namespace ZX
