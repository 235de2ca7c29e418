// Shift and add, for the file of a level, which includes its registers before.
#pragma once

namespace zerix {

namespace {

constexpr size_t kStep = kRegisterBytes;

// Words are shifted; what comes in from the neighbouring byte is masked away.
ZERIX_WIDE void ShiftRight8(uint8_t *pixels, size_t count, uint32_t bits)
{
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(bits));
    const Register mask = AllBytes(0xFF >> bits);
    size_t done = 0;
    for (; count - done >= kStep; done += kStep)
        Store(pixels + done, And(ShiftWordsRight(Load(pixels + done), shift), mask));
    kScalarKernels.bytes.shiftRight(pixels + done, count - done, bits);
}

ZERIX_WIDE void ShiftRight16(uint8_t *pixels, size_t count, uint32_t bits)
{
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(bits));
    size_t done = 0;
    for (; count * 2 - done >= kStep; done += kStep)
        Store(pixels + done, ShiftWordsRight(Load(pixels + done), shift));
    kScalarKernels.words.shiftRight(pixels + done, count - done / 2, bits);
}

ZERIX_WIDE void Add8(const uint8_t *source, uint8_t *target, size_t count)
{
    size_t done = 0;
    for (; count - done >= kStep; done += kStep)
        Store(target + done, AddBytesSaturated(Load(source + done), Load(target + done)));
    kScalarKernels.bytes.add(source + done, target + done, count - done);
}

ZERIX_WIDE void Add16(const uint8_t *source, uint8_t *target, size_t count)
{
    size_t done = 0;
    for (; count * 2 - done >= kStep; done += kStep)
        Store(target + done, AddWordsSaturated(Load(source + done), Load(target + done)));
    kScalarKernels.words.add(source + done, target + done, count - done / 2);
}

} // namespace

} // namespace zerix
