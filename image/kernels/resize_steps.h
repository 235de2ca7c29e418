// Resizing, for the file of a level, which includes its registers before. Along a row, the pixels
// that some outputs in a row read lie close to each other, so that one load of 16 bytes and a byte
// shuffle fetch all of them; where they lie too far apart, or too near to the row's end, the plain
// kernel does these outputs. Positions only rise along a row. Floating point is in the plain
// kernels' order.
#pragma once

namespace zerix {

namespace {

constexpr size_t kStep = kRegisterBytes / 4; // outputs
constexpr uint32_t kWindow = 16;             // bytes of a load
constexpr size_t kOfLane = 4;                // outputs

// Whether the outputs from the first to the last one read within one window, `taps` pixels each,
// and whether the row reaches to its end.
inline bool FitsWindow(uint32_t first, uint32_t last, uint32_t taps, uint32_t pixelBytes,
                       size_t readable)
{
    const uint32_t window = kWindow / pixelBytes;
    return last - first + taps <= window && size_t{first} + window <= readable;
}

ZERIX_WIDE inline __m128i LoadWindow(const uint8_t *from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
}

// Where four outputs lie behind the first one.
ZERIX_WIDE inline __m128i PlacesOfFour(const uint32_t *index, uint32_t base)
{
    return _mm_sub_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(index)),
                         _mm_set1_epi32(static_cast<int>(base)));
}

struct Newton {
    Floats linear, square, cube;
};

ZERIX_WIDE inline Floats Cubic(Floats first, Floats second, Floats third, Floats fourth,
                               const Newton &newton)
{
    const Floats d1 = SubtractFloats(second, first);
    const Floats d2 = SubtractFloats(SubtractFloats(third, second), d1);
    const Floats d3 =
        SubtractFloats(AddFloats(SubtractFloats(SubtractFloats(fourth, third), third), second), d2);
    const Floats line = AddFloats(first, MultiplyFloats(d1, newton.linear));
    const Floats parabola = AddFloats(line, MultiplyFloats(d2, newton.square));
    return AddFloats(parabola, MultiplyFloats(d3, newton.cube));
}

// 8 bits -----------------------------------------------------------------------------------------

// As many outputs at a time as a window holds.
ZERIX_WIDE void NearestRow8(const uint8_t *source, size_t readable, const uint32_t *index,
                            uint8_t *out, size_t count)
{
    constexpr size_t kOutputs = 16;
    size_t i = 0;
    for (; count - i >= kOutputs; i += kOutputs) {
        const uint32_t base = index[i];
        if (!FitsWindow(base, index[i + kOutputs - 1], 1, 1, readable)) {
            kScalarKernels.bytes.nearestRow(source, readable, index + i, out + i, kOutputs);
            continue;
        }
        const __m128i low =
            _mm_packs_epi32(PlacesOfFour(index + i, base), PlacesOfFour(index + i + 4, base));
        const __m128i high =
            _mm_packs_epi32(PlacesOfFour(index + i + 8, base), PlacesOfFour(index + i + 12, base));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i),
                         _mm_shuffle_epi8(LoadWindow(source + base), _mm_packus_epi16(low, high)));
    }
    kScalarKernels.bytes.nearestRow(source, readable, index + i, out + i, count - i);
}

ZERIX_WIDE inline Register PlacesFrom(const uint32_t *first)
{
    return SubtractDwords(Load(first), AllDwords(static_cast<int>(first[0])));
}

// A dword of two words: the pair of an output, times its weights.
ZERIX_WIDE inline Register LinearSums(const uint8_t *source, const LinearTaps8 &taps, size_t i)
{
    const Register places = PlacesFrom(taps.first + i);
    const Register order =
        AddDwords(Or(places, ShiftDwordsLeft(places, 16)), AllDwords(static_cast<int>(0x80018000)));
    const Register pixels = LoadInEachLane(source + taps.first[i]);
    const Register sums = SumsOfProducts(BytesAt(pixels, order), Load(taps.weights + i));
    return ShiftSignedDwordsRight(AddDwords(sums, AllDwords(128)), 8);
}

ZERIX_WIDE void LinearRow8(const uint8_t *source, size_t readable, const LinearTaps8 &taps,
                           int16_t *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep) {
        const uint32_t *first = taps.first + i;
        if (FitsWindow(first[0], first[kStep - 1], 2, 1, readable) &&
            FitsWindow(first[kStep], first[2 * kStep - 1], 2, 1, readable)) {
            Store(out + i, PackSignedDwords(LinearSums(source, taps, i),
                                            LinearSums(source, taps, i + kStep)));
        } else {
            kScalarKernels.bytes.linearRow(source, readable, {first, taps.weights + i}, out + i,
                                           2 * kStep);
        }
    }
    kScalarKernels.bytes.linearRow(source, readable, {taps.first + i, taps.weights + i}, out + i,
                                   count - i);
}

ZERIX_WIDE inline Register WeightedRows(const int16_t *upper, const int16_t *lower,
                                        Register weights)
{
    const Register half = AllDwords(0x80000);
    const Register low = SumsOfProducts(InterleaveLowWords(Load(upper), Load(lower)), weights);
    const Register high = SumsOfProducts(InterleaveHighWords(Load(upper), Load(lower)), weights);
    return PackDwordsInLanes(ShiftSignedDwordsRight(AddDwords(low, half), 20),
                             ShiftSignedDwordsRight(AddDwords(high, half), 20));
}

ZERIX_WIDE void LinearColumn8(const int16_t *upper, const int16_t *lower, LinearWeight8 weight,
                              uint8_t *out, size_t count)
{
    const Register weights = AllDwords(weight.first | weight.second << 16);
    constexpr size_t kWords = 2 * kStep;
    size_t i = 0;
    for (; count - i >= 2 * kWords; i += 2 * kWords)
        Store(out + i, PackWords(WeightedRows(upper + i, lower + i, weights),
                                 WeightedRows(upper + i + kWords, lower + i + kWords, weights)));
    kScalarKernels.bytes.linearColumn(upper + i, lower + i, weight, out + i, count - i);
}

// One tap of a register's outputs, out of a window in each lane.
ZERIX_WIDE inline Floats Tap(Register pixels, Register order, int tapPlaces)
{
    return FloatsOf(BytesAt(pixels, AddDwords(order, AllDwords(tapPlaces))));
}

ZERIX_WIDE inline Newton LoadNewton(const CubicTaps &taps, size_t i)
{
    return {LoadFloats(taps.linear + i), LoadFloats(taps.square + i), LoadFloats(taps.cube + i)};
}

CubicTaps TapsFrom(const CubicTaps &taps, size_t i)
{
    return {taps.first + i, taps.linear + i, taps.square + i, taps.cube + i};
}

ZERIX_WIDE void CubicRow8(const uint8_t *source, size_t readable, const CubicTaps &taps, float *out,
                          size_t count)
{
    constexpr int kZeros = static_cast<int>(0x80808000);
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        const uint32_t *first = taps.first + i;
        if (!FitsWindow(first[0], first[kStep - 1], 4, 1, readable)) {
            kScalarKernels.bytes.cubicRow(source, readable, TapsFrom(taps, i), out + i, kStep);
            continue;
        }
        const Register order = PlacesFrom(first);
        const Register pixels = LoadInEachLane(source + first[0]);
        StoreFloats(out + i, Cubic(Tap(pixels, order, kZeros), Tap(pixels, order, kZeros + 1),
                                   Tap(pixels, order, kZeros + 2), Tap(pixels, order, kZeros + 3),
                                   LoadNewton(taps, i)));
    }
    kScalarKernels.bytes.cubicRow(source, readable, TapsFrom(taps, i), out + i, count - i);
}

// Four rows to one of rounded values.
ZERIX_WIDE inline Register CubicSums(const float *const *rows, size_t i, const Newton &newton)
{
    const Floats value = Cubic(LoadFloats(rows[0] + i), LoadFloats(rows[1] + i),
                               LoadFloats(rows[2] + i), LoadFloats(rows[3] + i), newton);
    return Truncated(AddFloats(value, AllFloats(0.5000001f)));
}

ZERIX_WIDE inline Newton SpreadNewton(const CubicWeights &weights)
{
    return {AllFloats(weights.linear), AllFloats(weights.square), AllFloats(weights.cube)};
}

struct Rows {
    const float *rows[4];
};

Rows RowsFrom(const float *const *rows, size_t i)
{
    return {{rows[0] + i, rows[1] + i, rows[2] + i, rows[3] + i}};
}

ZERIX_WIDE void CubicColumn8(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                             size_t count)
{
    const Newton newton = SpreadNewton(weights);
    size_t i = 0;
    for (; count - i >= 4 * kStep; i += 4 * kStep)
        Store(out + i, BytesOfDwords(CubicSums(rows, i, newton), CubicSums(rows, i + kStep, newton),
                                     CubicSums(rows, i + 2 * kStep, newton),
                                     CubicSums(rows, i + 3 * kStep, newton)));
    kScalarKernels.bytes.cubicColumn(RowsFrom(rows, i).rows, weights, out + i, count - i);
}

// 16 bits ----------------------------------------------------------------------------------------

ZERIX_WIDE void NearestRow16(const uint8_t *source, size_t readable, const uint32_t *index,
                             uint8_t *out, size_t count)
{
    constexpr size_t kOutputs = 8;
    size_t i = 0;
    for (; count - i >= kOutputs; i += kOutputs) {
        const uint32_t base = index[i];
        if (!FitsWindow(base, index[i + kOutputs - 1], 1, 2, readable)) {
            kScalarKernels.words.nearestRow(source, readable, index + i, out + i * 2, kOutputs);
            continue;
        }
        const __m128i words =
            _mm_packs_epi32(PlacesOfFour(index + i, base), PlacesOfFour(index + i + 4, base));
        const __m128i order =
            _mm_add_epi16(_mm_mullo_epi16(words, _mm_set1_epi16(0x0202)), _mm_set1_epi16(0x0100));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i * 2),
                         _mm_shuffle_epi8(LoadWindow(source + size_t{base} * 2), order));
    }
    kScalarKernels.words.nearestRow(source, readable, index + i, out + i * 2, count - i);
}

// A window for the four outputs of each lane, and where in it their first pixels lie: two places in
// the lower word of each dword.
struct Windows {
    Register pixels;
    Register order;
};

bool FitWindows(const uint32_t *first, uint32_t taps, size_t readable)
{
    for (size_t lane = 0; lane < kStep; lane += kOfLane)
        if (!FitsWindow(first[lane], first[lane + kOfLane - 1], taps, 2, readable))
            return false;
    return true;
}

ZERIX_WIDE inline Windows LoadWindows(const uint8_t *source, const uint32_t *first)
{
    const Register pixels =
        LoadLanes(source + size_t{first[0]} * 2, source + size_t{first[kStep - kOfLane]} * 2);
    const Register indices = Load(first);
    const Register places = SubtractDwords(indices, FirstDwordOfEachLane(indices));
    return {pixels, Or(ShiftDwordsLeft(places, 1), ShiftDwordsLeft(places, 9))};
}

constexpr int WordTap(int tap) { return static_cast<int>(0x80800100) + tap * 0x0202; }

ZERIX_WIDE inline Floats Between(Floats first, Floats second, Floats fraction)
{
    return AddFloats(first, MultiplyFloats(SubtractFloats(second, first), fraction));
}

ZERIX_WIDE void LinearRow16(const uint8_t *source, size_t readable, const LinearTaps16 &taps,
                            float *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        const LinearTaps16 rest = {taps.first + i, taps.fractions + i};
        if (!FitWindows(rest.first, 2, readable)) {
            kScalarKernels.words.linearRow(source, readable, rest, out + i, kStep);
            continue;
        }
        const Windows windows = LoadWindows(source, rest.first);
        StoreFloats(out + i, Between(Tap(windows.pixels, windows.order, WordTap(0)),
                                     Tap(windows.pixels, windows.order, WordTap(1)),
                                     LoadFloats(rest.fractions)));
    }
    kScalarKernels.words.linearRow(source, readable, {taps.first + i, taps.fractions + i}, out + i,
                                   count - i);
}

ZERIX_WIDE inline Register LinearSums16(const float *upper, const float *lower, Floats fraction)
{
    const Floats value = Between(LoadFloats(upper), LoadFloats(lower), fraction);
    return Truncated(AddFloats(value, AllFloats(0.5f)));
}

ZERIX_WIDE void LinearColumn16(const float *upper, const float *lower, float fraction, uint8_t *out,
                               size_t count)
{
    const Floats spread = AllFloats(fraction);
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep)
        Store(out + i * 2, PackDwords(LinearSums16(upper + i, lower + i, spread),
                                      LinearSums16(upper + i + kStep, lower + i + kStep, spread)));
    kScalarKernels.words.linearColumn(upper + i, lower + i, fraction, out + i * 2, count - i);
}

ZERIX_WIDE void CubicRow16(const uint8_t *source, size_t readable, const CubicTaps &taps,
                           float *out, size_t count)
{
    size_t i = 0;
    for (; count - i >= kStep; i += kStep) {
        if (!FitWindows(taps.first + i, 4, readable)) {
            kScalarKernels.words.cubicRow(source, readable, TapsFrom(taps, i), out + i, kStep);
            continue;
        }
        const Windows windows = LoadWindows(source, taps.first + i);
        StoreFloats(out + i,
                    Cubic(Tap(windows.pixels, windows.order, WordTap(0)),
                          Tap(windows.pixels, windows.order, WordTap(1)),
                          Tap(windows.pixels, windows.order, WordTap(2)),
                          Tap(windows.pixels, windows.order, WordTap(3)), LoadNewton(taps, i)));
    }
    kScalarKernels.words.cubicRow(source, readable, TapsFrom(taps, i), out + i, count - i);
}

ZERIX_WIDE void CubicColumn16(const float *const *rows, const CubicWeights &weights, uint8_t *out,
                              size_t count)
{
    const Newton newton = SpreadNewton(weights);
    size_t i = 0;
    for (; count - i >= 2 * kStep; i += 2 * kStep)
        Store(out + i * 2,
              PackDwords(CubicSums(rows, i, newton), CubicSums(rows, i + kStep, newton)));
    kScalarKernels.words.cubicColumn(RowsFrom(rows, i).rows, weights, out + i * 2, count - i);
}

void OverlayResize(Kernels &kernels)
{
    kernels.bytes.nearestRow = NearestRow8;
    kernels.bytes.linearRow = LinearRow8;
    kernels.bytes.linearColumn = LinearColumn8;
    kernels.bytes.cubicRow = CubicRow8;
    kernels.bytes.cubicColumn = CubicColumn8;
    kernels.words.nearestRow = NearestRow16;
    kernels.words.linearRow = LinearRow16;
    kernels.words.linearColumn = LinearColumn16;
    kernels.words.cubicRow = CubicRow16;
    kernels.words.cubicColumn = CubicColumn16;
}

} // namespace

} // namespace zerix
