// The two test charts: resolution (bars, a star, a grey wedge) and colour (24 patches). Both fill
// as much of the sensor as their proportions allow. Constant, safe from any thread.
#include <algorithm>
#include <array>
#include <cmath>

#include "sim/canvas.h"
#include "sim/exact_math.h"
#include "sim/scene_makers.h"

namespace zerix::sim {
namespace {

Light Grey(float photons)
{
    return Light{.red = 1.0F, .green = 1.0F, .blue = 1.0F} * (photons / 3.0F);
}

// A drawing in units of its own, in the middle of the sensor.
class Drawing {
public:
    Drawing(Canvas &canvas, float width, float height) : m_canvas(canvas)
    {
        const auto pixelsAcross = static_cast<float>(canvas.Width());
        const auto pixelsDown = static_cast<float>(canvas.Height());
        m_scale = std::min(pixelsAcross / width, pixelsDown / height);
        m_left = 0.5F * (pixelsAcross - width * m_scale);
        m_top = 0.5F * (pixelsDown - height * m_scale);
    }

    void Add(float left, float top, float width, float height, const Light &light)
    {
        m_canvas.Add({.left = m_left + left * m_scale,
                      .top = m_top + top * m_scale,
                      .right = m_left + (left + width) * m_scale,
                      .bottom = m_top + (top + height) * m_scale},
                     light);
    }

    [[nodiscard]] float PixelX(float x) const { return m_left + x * m_scale; }
    [[nodiscard]] float PixelY(float y) const { return m_top + y * m_scale; }
    [[nodiscard]] float Scale() const { return m_scale; }
    Canvas &Pixels() { return m_canvas; }

private:
    Canvas &m_canvas;
    float m_scale = 1.0F;
    float m_left = 0.0F;
    float m_top = 0.0F;
};

// Digits of 3 x 5 squares, a bit each, from the top left.
constexpr std::array<uint16_t, 8> kDigits{0b111101101101111, 0b010110010010111, 0b111001111100111,
                                          0b111001111001111, 0b101101111001001, 0b111100111001111,
                                          0b111100111101111, 0b111001010010010};

constexpr float kWhite = 38000.0F;
constexpr float kBlack = 1500.0F;

// What ink takes from the white of the paper.
Light Ink() { return Grey(kBlack) - Grey(kWhite); }

class ResolutionChart final : public Scene {
public:
    void Sample(uint32_t width, uint32_t height, float /*pitch*/,
                std::vector<Light> &light) const override
    {
        Canvas canvas(width, height, light, Grey(kWhite));
        if (width == 0 || height == 0)
            return;
        Drawing drawing(canvas, 132.0F, 100.0F);
        DrawFrame(drawing);
        DrawGroup(drawing, 0, 5.0F, 8.0F, 2.2F);
        DrawGroup(drawing, 1, 41.0F, 8.0F, 1.1F);
        DrawGroup(drawing, 2, 41.0F, 52.0F, 0.55F);
        DrawGroup(drawing, 3, 58.0F, 52.0F, 0.275F);
        DrawGroup(drawing, 4, 58.0F, 67.0F, 0.1375F);
        DrawGroup(drawing, 5, 66.0F, 67.0F, 0.06875F);
        DrawStar(drawing, 98.0F, 37.0F, 29.0F);
        DrawWedge(drawing);
    }

private:
    static void DrawFrame(Drawing &drawing)
    {
        drawing.Add(1.5F, 1.5F, 129.0F, 0.5F, Ink());
        drawing.Add(1.5F, 98.0F, 129.0F, 0.5F, Ink());
        drawing.Add(1.5F, 2.0F, 0.5F, 96.0F, Ink());
        drawing.Add(130.0F, 2.0F, 0.5F, 96.0F, Ink());
    }

    static void DrawDigit(Drawing &drawing, uint32_t digit, float x, float y, float size)
    {
        for (uint32_t i = 0; i < 15; ++i) {
            const uint32_t column = i % 3;
            const uint32_t row = i / 3;
            if (((kDigits[digit] >> (14U - i)) & 1U) != 0)
                drawing.Add(x + static_cast<float>(column) * size,
                            y + static_cast<float>(row) * size, size, size, Ink());
        }
    }

    // Six elements, each finer than the one before by the sixth root of 2: three bars across, three
    // down.
    static void DrawGroup(Drawing &drawing, uint32_t group, float x, float y, float coarsest)
    {
        DrawDigit(drawing, group, x + 9.0F * coarsest, y - 2.2F * coarsest, 0.35F * coarsest);
        float bar = coarsest;
        for (uint32_t element = 1; element <= 6; ++element) {
            DrawDigit(drawing, element, x, y + 1.5F * bar, 0.4F * bar);
            for (int i = 0; i < 3; ++i) {
                const float offset = 2.0F * bar * static_cast<float>(i);
                drawing.Add(x + 2.5F * coarsest + offset, y, bar, 5.0F * bar, Ink());
                drawing.Add(x + 9.0F * coarsest, y + offset, 5.0F * bar, bar, Ink());
            }
            y += 6.6F * bar;
            bar *= 0.89089872F;
        }
    }

    // 36 dark spokes: where the 36th power of the direction points to the right.
    static bool InSpoke(float x, float y)
    {
        const float radius = std::sqrt(x * x + y * y);
        if (radius < 1e-6F)
            return true;
        float re = x / radius;
        float im = y / radius;
        const float firstRe = re;
        const float firstIm = im;
        // 36 in binary is 100100.
        for (const bool multiply : {false, false, true, false, false}) {
            const float square = re * re - im * im;
            im = 2.0F * re * im;
            re = square;
            if (multiply) {
                const float product = re * firstRe - im * firstIm;
                im = re * firstIm + im * firstRe;
                re = product;
            }
        }
        return re > 0.0F;
    }

    static void DrawStar(Drawing &drawing, float x, float y, float radius)
    {
        Canvas &canvas = drawing.Pixels();
        const float middleX = drawing.PixelX(x);
        const float middleY = drawing.PixelY(y);
        const float reach = radius * drawing.Scale();
        const PixelRange rows = Canvas::Pixels(middleY - reach, middleY + reach, canvas.Height());
        const PixelRange columns = Canvas::Pixels(middleX - reach, middleX + reach, canvas.Width());
        for (uint32_t row = rows.first; row < rows.last; ++row) {
            for (uint32_t column = columns.first; column < columns.last; ++column) {
                const float part = DarkPart(static_cast<float>(column) - middleX,
                                            static_cast<float>(row) - middleY, reach);
                canvas.At(column, row) = Grey(kWhite + (kBlack - kWhite) * part);
            }
        }
    }

    static float DarkPart(float left, float top, float reach)
    {
        constexpr int kSamples = 4;
        int dark = 0;
        for (int j = 0; j < kSamples; ++j) {
            for (int i = 0; i < kSamples; ++i) {
                const float x = left + (static_cast<float>(i) + 0.5F) / kSamples;
                const float y = top + (static_cast<float>(j) + 0.5F) / kSamples;
                if (x * x + y * y < reach * reach && InSpoke(x, y))
                    ++dark;
            }
        }
        return static_cast<float>(dark) / (kSamples * kSamples);
    }

    static void DrawWedge(Drawing &drawing)
    {
        for (int i = 0; i < 11; ++i) {
            const float level = kBlack + (kWhite - kBlack) * 0.1F * static_cast<float>(i);
            drawing.Add(80.0F + 4.3F * static_cast<float>(i), 76.0F, 4.3F, 14.0F,
                        Grey(level) - Grey(kWhite));
        }
        drawing.Add(79.7F, 75.7F, 47.9F, 0.3F, Ink());
        drawing.Add(79.7F, 90.0F, 47.9F, 0.3F, Ink());
        drawing.Add(79.7F, 76.0F, 0.3F, 14.0F, Ink());
        drawing.Add(127.3F, 76.0F, 0.3F, 14.0F, Ink());
    }
};

struct Patch {
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

// As a display shows them, four rows of six: natural colours, vivid ones, primaries, greys.
constexpr std::array<Patch, 24> kPatches{{
    {115, 82, 68},   {194, 150, 130}, {98, 122, 157}, {87, 108, 67},   {133, 128, 177},
    {103, 189, 170}, {214, 126, 44},  {80, 91, 166},  {193, 90, 99},   {94, 60, 108},
    {157, 188, 64},  {224, 163, 46},  {56, 61, 150},  {70, 148, 73},   {175, 54, 60},
    {231, 199, 31},  {187, 86, 149},  {8, 133, 161},  {243, 243, 242}, {200, 200, 200},
    {160, 160, 160}, {122, 122, 121}, {85, 85, 85},   {52, 52, 52},
}};

// A colour mask takes two thirds of the light, and the sensors that have one here have deep wells:
// the chart is lit more brightly than the other scenes.
constexpr float kLamp = 310000.0F;

class ColourChart final : public Scene {
public:
    void Sample(uint32_t width, uint32_t height, float /*pitch*/,
                std::vector<Light> &light) const override
    {
        const Light surround = Grey(0.012F * kLamp);
        Canvas canvas(width, height, light, surround);
        if (width == 0 || height == 0)
            return;
        Drawing drawing(canvas, 64.0F, 44.0F);
        for (size_t i = 0; i < kPatches.size(); ++i) {
            const size_t column = i % 6;
            const size_t row = i / 6;
            const float x = 2.7F + 9.9F * static_cast<float>(column);
            const float y = 2.7F + 9.9F * static_cast<float>(row);
            drawing.Add(x, y, 9.1F, 9.1F, LightOf(kPatches[i]) - surround);
        }
    }

private:
    static float Linear(uint8_t level)
    {
        const double value = level / 255.0;
        return static_cast<float>(value <= 0.04045 ? value / 12.92
                                                   : Power((value + 0.055) / 1.055, 2.4));
    }

    static Light LightOf(const Patch &patch)
    {
        return Light{.red = Linear(patch.red),
                     .green = Linear(patch.green),
                     .blue = Linear(patch.blue)} *
               (kLamp / 3.0F);
    }
};

} // namespace

std::shared_ptr<const Scene> MakeResolutionChart() { return std::make_shared<ResolutionChart>(); }
std::shared_ptr<const Scene> MakeColourChart() { return std::make_shared<ColourChart>(); }

} // namespace zerix::sim
