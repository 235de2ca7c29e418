// The functions of the processor levels of turn_image.h. Both take what is left over by the wide
// steps from the plain ones.
#pragma once

#include <cstdint>

namespace zerix {

void TurnBytesScalar(uint8_t *pixels, uint32_t count);
void TurnWordsScalar(uint8_t *pixels, uint32_t count);
void TurnBytesSse41(uint8_t *pixels, uint32_t count);
void TurnWordsSse41(uint8_t *pixels, uint32_t count);
void TurnBytesAvx2(uint8_t *pixels, uint32_t count);
void TurnWordsAvx2(uint8_t *pixels, uint32_t count);

} // namespace zerix
