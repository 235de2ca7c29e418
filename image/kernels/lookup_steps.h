// The 8-bit lookup without a load per pixel, for the file of a level, which includes its registers
// before. A byte shuffle looks up in a row of 16 entries at a time. It gives 0 where the index is
// negative, so that the four rows of a quarter of the levels are taken as differences to the row
// before and summed by exclusive or: an index that is lowered by 16 a row drops out behind its own
// row. The top two bits pick the quarter.
#pragma once

namespace zerix {

namespace {

constexpr size_t kStep = kRegisterBytes;
constexpr size_t kRows = 16;
constexpr size_t kQuarter = 4; // rows

struct Rows {
    Register differences[kRows];
};

ZERIX_WIDE inline void MakeRows(const uint8_t *map, Rows &rows)
{
    for (size_t row = 0; row < kRows; ++row) {
        const Register present = LoadInEachLane(map + row * 16);
        rows.differences[row] =
            row % kQuarter == 0 ? present : Xor(present, LoadInEachLane(map + row * 16 - 16));
    }
}

ZERIX_WIDE inline Register LookUp(const Rows &rows, Register pixels)
{
    const Register sixteen = AllBytes(16);
    Register index = And(pixels, AllBytes(0x3F));
    Register quarters[4];
#pragma GCC unroll 4
    for (size_t quarter = 0; quarter < 4; ++quarter)
        quarters[quarter] = BytesAt(rows.differences[quarter * kQuarter], index);
#pragma GCC unroll 4
    for (size_t row = 1; row < kQuarter; ++row) {
        index = SubtractBytes(index, sixteen);
#pragma GCC unroll 4
        for (size_t quarter = 0; quarter < 4; ++quarter)
            quarters[quarter] =
                Xor(quarters[quarter], BytesAt(rows.differences[quarter * kQuarter + row], index));
    }
    const Register nextBit = AddBytes(pixels, pixels); // bit 6 in the sign's place
    return Choose(Choose(quarters[0], quarters[1], nextBit),
                  Choose(quarters[2], quarters[3], nextBit), pixels);
}

ZERIX_WIDE void Lookup8(uint8_t *pixels, size_t count, const uint8_t *map)
{
    Rows rows;
    MakeRows(map, rows);
    size_t done = 0;
    for (; count - done >= 2 * kStep; done += 2 * kStep) {
        const Register first = LookUp(rows, Load(pixels + done));
        const Register second = LookUp(rows, Load(pixels + done + kStep));
        Store(pixels + done, first);
        Store(pixels + done + kStep, second);
    }
    kScalarKernels.bytes.lookup1(pixels + done, count - done, map);
}

// Every third place of a register, from the first, the second, the third on.
struct Thirds {
    uint8_t places[3][kStep];
};

constexpr Thirds MakeThirds()
{
    Thirds thirds{};
    for (size_t place = 0; place < kStep; ++place)
        thirds.places[place % 3][place] = 0xFF;
    return thirds;
}

constexpr Thirds kThirds = MakeThirds();

// Where a channel stands in the first, second or third register of three in a row.
constexpr const uint8_t *PlacesOf(size_t channel, size_t number)
{
    return kThirds.places[(channel + 2 * number * kStep) % 3];
}

ZERIX_WIDE inline Register Pick(const uint8_t *isSecond, const uint8_t *isThird,
                                const Register *registers)
{
    return Choose(Choose(registers[0], registers[1], Load(isSecond)), registers[2], Load(isThird));
}

// At every place of three registers in a row each channel stands once, so that a channel is
// gathered, and given back, by blends alone.
ZERIX_WIDE void Lookup3To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    Rows rows[3];
    for (size_t channel = 0; channel < 3; ++channel)
        MakeRows(maps[channel], rows[channel]);
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 3;
        const Register from[] = {Load(bytes), Load(bytes + kStep), Load(bytes + 2 * kStep)};
        Register channels[3];
#pragma GCC unroll 3
        for (size_t channel = 0; channel < 3; ++channel)
            channels[channel] =
                LookUp(rows[channel], Pick(PlacesOf(channel, 1), PlacesOf(channel, 2), from));
#pragma GCC unroll 3
        for (size_t number = 0; number < 3; ++number)
            Store(bytes + number * kStep, Pick(PlacesOf(1, number), PlacesOf(2, number), channels));
    }
    kScalarKernels.bytes.lookup3(pixels + done * 3, count - done, maps);
}

// Four channels: as many pixels as a register has bytes change between four a dword and one channel
// a register.
ZERIX_WIDE void Lookup4To8(uint8_t *pixels, size_t count, const uint8_t *const *maps)
{
    // A transposition of 4 by 4 bytes in each lane: its own reverse.
    constexpr uint8_t kOrder[] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
    Rows rows[4];
    for (size_t channel = 0; channel < 4; ++channel)
        MakeRows(maps[channel], rows[channel]);
    const Register order = LoadInEachLane(kOrder);
    size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        uint8_t *bytes = pixels + done * 4;
        Four four = Transpose(BytesAt(Load(bytes), order), BytesAt(Load(bytes + kStep), order),
                              BytesAt(Load(bytes + 2 * kStep), order),
                              BytesAt(Load(bytes + 3 * kStep), order));
        four = Transpose(LookUp(rows[0], four.a), LookUp(rows[1], four.b), LookUp(rows[2], four.c),
                         LookUp(rows[3], four.d));
        Store(bytes, BytesAt(four.a, order));
        Store(bytes + kStep, BytesAt(four.b, order));
        Store(bytes + 2 * kStep, BytesAt(four.c, order));
        Store(bytes + 3 * kStep, BytesAt(four.d, order));
    }
    kScalarKernels.bytes.lookup4(pixels + done * 4, count - done, maps);
}

} // namespace

} // namespace zerix
