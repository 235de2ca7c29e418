// Multiplication by each channel's factor, for the file of a level, which includes its registers
// before. Three registers of words are a multiple of 1, 3 and 4 channels, so that three registers
// of factors serve any of them.
#pragma once

namespace zerix {

namespace {

constexpr size_t kWords = kRegisterBytes / 2;
constexpr size_t kRegisters = 3;

// One part of the factors, spread over the places of three registers.
struct Spread {
    uint16_t words[kRegisters * kWords];
};

template <typename Proportion>
void SpreadOver(const Proportion *proportions, size_t channels, uint16_t Proportion::*part,
                Spread &spread)
{
    for (size_t i = 0; i < kRegisters * kWords; ++i)
        spread.words[i] = proportions[i % channels].*part;
}

ZERIX_WIDE inline Register Scale8(Register words, Register whole, Register fraction)
{
    return AddWords(MultiplyLow(words, whole), MultiplyHigh(words, fraction));
}

// Two registers of words; the top level stays, whatever came out for it.
ZERIX_WIDE inline void Finish8(uint8_t *bytes, Register low, Register high)
{
    const Register isTop = EqualBytes(Load(bytes), AllBytes(-1));
    Store(bytes, Or(PackWords(low, high), isTop));
}

ZERIX_WIDE void ScaleBytes(uint8_t *pixels, size_t count, size_t channels,
                           const Proportion8 *proportions)
{
    constexpr size_t kStep = 2 * kRegisters * kWords;
    Spread spread;
    SpreadOver(proportions, channels, &Proportion8::whole, spread);
    const Register whole0 = Load(spread.words);
    const Register whole1 = Load(spread.words + kWords);
    const Register whole2 = Load(spread.words + 2 * kWords);
    SpreadOver(proportions, channels, &Proportion8::fraction, spread);
    const Register fraction0 = Load(spread.words);
    const Register fraction1 = Load(spread.words + kWords);
    const Register fraction2 = Load(spread.words + 2 * kWords);
    const size_t size = count * channels;
    size_t done = 0;
    for (; size - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done;
        Finish8(bytes, Scale8(LoadAsWords(bytes), whole0, fraction0),
                Scale8(LoadAsWords(bytes + kWords), whole1, fraction1));
        bytes += 2 * kWords;
        Finish8(bytes, Scale8(LoadAsWords(bytes), whole2, fraction2),
                Scale8(LoadAsWords(bytes + kWords), whole0, fraction0));
        bytes += 2 * kWords;
        Finish8(bytes, Scale8(LoadAsWords(bytes), whole1, fraction1),
                Scale8(LoadAsWords(bytes + kWords), whole2, fraction2));
    }
    kScalarKernels.bytes.scale(pixels + done, count - done / channels, channels, proportions);
}

// The fraction's product has 32 bits below the point; of the fine one's the upper half counts, and
// may carry.
ZERIX_WIDE inline Register Part16(Register level, Register fraction, Register fine)
{
    const Register below = MultiplyLow(level, fraction);
    const Register carried = MultiplyHigh(level, fine);
    const Register noCarry =
        EqualWords(AddWords(below, carried), AddWordsSaturated(below, carried));
    return AddWords(AddWords(MultiplyHigh(level, fraction), AllWords(1)), noCarry);
}

// The top level stays.
ZERIX_WIDE inline Register KeepTop(Register result, Register level)
{
    return Or(result, EqualWords(level, AllWords(-1)));
}

// What exceeds a word saturates.
ZERIX_WIDE inline Register Scale16(Register level, Register whole, Register fraction, Register fine)
{
    const Register fits = EqualWords(MultiplyHigh(level, whole), Zero());
    const Register sum =
        AddWordsSaturated(Part16(level, fraction, fine), MultiplyLow(level, whole));
    return KeepTop(Or(sum, Xor(fits, AllWords(-1))), level);
}

// The same below 2: the level once more, or not, by a mask.
ZERIX_WIDE inline Register ScaleLittle16(Register level, Register mask, Register fraction,
                                         Register fine)
{
    return KeepTop(AddWordsSaturated(Part16(level, fraction, fine), And(level, mask)), level);
}

struct Spreads16 {
    Spread whole; // or its mask
    Spread fraction;
    Spread fine;
};

template <typename Scale>
ZERIX_WIDE inline size_t ScaleSteps(uint8_t *pixels, size_t size, const Spreads16 &spreads,
                                    Scale scale)
{
    constexpr size_t kStep = kRegisters * kWords;
    size_t done = 0;
    for (; size - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 2;
#pragma GCC unroll 3
        for (size_t i = 0; i < kStep; i += kWords)
            Store(bytes + i * 2,
                  scale(Load(bytes + i * 2), Load(spreads.whole.words + i),
                        Load(spreads.fraction.words + i), Load(spreads.fine.words + i)));
    }
    return done;
}

ZERIX_WIDE void ScaleWords(uint8_t *pixels, size_t count, size_t channels,
                           const Proportion16 *proportions)
{
    Spreads16 spreads;
    SpreadOver(proportions, channels, &Proportion16::whole, spreads.whole);
    SpreadOver(proportions, channels, &Proportion16::fraction, spreads.fraction);
    SpreadOver(proportions, channels, &Proportion16::fineFraction, spreads.fine);
    bool isLittle = true;
    for (size_t channel = 0; channel < channels; ++channel)
        isLittle &= proportions[channel].whole < 2;
    size_t done = 0;
    if (isLittle) {
        for (uint16_t &word : spreads.whole.words)
            word = word != 0 ? 0xFFFF : 0;
        done = ScaleSteps(pixels, count * channels, spreads, ScaleLittle16);
    } else {
        done = ScaleSteps(pixels, count * channels, spreads, Scale16);
    }
    kScalarKernels.words.scale(pixels + done * 2, count - done / channels, channels, proportions);
}

// The table of a call, level by level. The plain kernel takes levels from 0 on, so that the rest of
// them is compared here.
ZERIX_WIDE bool ClampValues(const int32_t *values, const int32_t *levels, size_t count,
                            uint16_t *out)
{
    constexpr int32_t kRamp[] = {0, 1, 2, 3, 4, 5, 6, 7};
    constexpr size_t kDwords = kWords / 2;
    const Register step = AllDwords(static_cast<int>(kDwords));
    Register ramp = Load(kRamp);
    Register areEqual = AllDwords(-1);
    size_t i = 0;
    for (; count - i >= kWords; i += kWords) {
        areEqual = And(areEqual, EqualDwords(Load(levels + i), ramp));
        ramp = AddDwords(ramp, step);
        areEqual = And(areEqual, EqualDwords(Load(levels + i + kDwords), ramp));
        ramp = AddDwords(ramp, step);
        Store(out + i, PackDwords(Load(values + i), Load(values + i + kDwords)));
    }
    kScalarKernels.words.clampValues(values + i, levels + i, count - i, out + i);
    bool hasEveryLevel = AreAllSet(areEqual);
    for (; i < count; ++i)
        hasEveryLevel &= levels[i] == static_cast<int32_t>(i);
    return hasEveryLevel;
}

} // namespace

} // namespace zerix
