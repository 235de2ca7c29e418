// A star field: brightness by a power law, images blurred by the air, some colour, a faint sky and
// a galaxy. Constant, safe from any thread.
#include <algorithm>
#include <cmath>

#include "sim/canvas.h"
#include "sim/exact_math.h"
#include "sim/random.h"
#include "sim/scene_makers.h"

namespace zerix::sim {
namespace {

// Lengths are micrometres on the sensor; brightness is photons a second and square micrometre.
constexpr float kTile = 400.0F;
constexpr float kMostStarsOfTile = 6.0F;
constexpr float kReach = 260.0F;
constexpr float kSeeing =
    16.5F; // scale of a star's image: it is 17 micrometres wide at half height
constexpr float kFaintestPeak = 400.0F;
constexpr float kBrightestPeak = 250000.0F;
constexpr float kNothing = 0.6F; // light below this is left out
constexpr float kSky = 70.0F;
constexpr float kGalaxyTile = 5200.0F;

struct Star {
    float x;
    float y;
    float peak;
    Light colour;
};

// From red to blue stars, about as bright in all.
Light StarColour(float heat)
{
    return {.red = 0.46F - 0.24F * heat, .green = 0.34F, .blue = 0.20F + 0.24F * heat};
}

Star MakeStar(RandomSequence &random, float tileX, float tileY)
{
    const float x = tileX + random.Unit() * kTile;
    const float y = tileY + random.Unit() * kTile;
    // Of ten times the brightness there is a tenth of the stars.
    const float peak = std::min(kFaintestPeak / (random.Unit() + 1e-4F), kBrightestPeak);
    return {.x = x, .y = y, .peak = peak, .colour = StarColour(random.Unit())};
}

// A galaxy at a slant: a bright core in a disc.
struct Galaxy {
    float x;
    float y;
    float size;
    float slant; // short over long axis
    float peak;
    Direction direction;
};

Galaxy MakeGalaxy(RandomSequence &random, float tileX, float tileY)
{
    const float x = tileX + random.Between(0.2F, 0.8F) * kGalaxyTile;
    const float y = tileY + random.Between(0.2F, 0.8F) * kGalaxyTile;
    return {.x = x,
            .y = y,
            .size = random.Between(180.0F, 300.0F),
            .slant = random.Between(0.3F, 0.6F),
            .peak = random.Between(2200.0F, 3600.0F),
            .direction = DirectionOf(static_cast<double>(random.Unit()))};
}

Light LightOf(const Galaxy &galaxy, float x, float y)
{
    const float dx = x - galaxy.x;
    const float dy = y - galaxy.y;
    const float along = (dx * galaxy.direction.cosine + dy * galaxy.direction.sine) / galaxy.size;
    const float across =
        (dy * galaxy.direction.cosine - dx * galaxy.direction.sine) / (galaxy.size * galaxy.slant);
    const float square = along * along + across * across;
    const float disc = galaxy.peak * 0.55F / ((1.0F + square) * (1.0F + square));
    const float core = galaxy.peak * 3.0F / ((1.0F + 40.0F * square) * (1.0F + 40.0F * square));
    return Light{.red = 0.28F, .green = 0.34F, .blue = 0.38F} * disc +
           Light{.red = 0.42F, .green = 0.34F, .blue = 0.24F} * core;
}

// Where a pixel is in the sky.
struct Grid {
    float left;
    float top;
    float pitch;

    [[nodiscard]] float X(float column) const { return left + column * pitch; }
    [[nodiscard]] float Y(float row) const { return top + row * pitch; }
};

class StarsScene final : public Scene {
public:
    explicit StarsScene(uint64_t seed) : m_seed(seed) {}

    void Sample(uint32_t width, uint32_t height, float pitch,
                std::vector<Light> &light) const override
    {
        Canvas canvas(width, height, light,
                      {.red = 0.36F * kSky, .green = 0.34F * kSky, .blue = 0.30F * kSky});
        const Grid grid{.left = -0.5F * static_cast<float>(width) * pitch,
                        .top = -0.5F * static_cast<float>(height) * pitch,
                        .pitch = pitch};
        AddTiles(canvas, grid, kGalaxyTile, kGalaxyTile, &StarsScene::AddGalaxy);
        AddTiles(canvas, grid, kTile, kReach, &StarsScene::AddStars);
    }

private:
    using AddFunction = void (StarsScene::*)(Canvas &, const Grid &, RandomSequence &, float,
                                             float) const;

    void AddTiles(Canvas &canvas, const Grid &grid, float tile, float reach, AddFunction add) const
    {
        const int32_t lastX = FloorToInt(static_cast<double>((-grid.left + reach) / tile));
        const int32_t lastY = FloorToInt(static_cast<double>((-grid.top + reach) / tile));
        const uint64_t kind = DeriveKey(m_seed, static_cast<uint64_t>(static_cast<int64_t>(tile)));
        for (int32_t y = -lastY - 1; y <= lastY; ++y) {
            for (int32_t x = -lastX - 1; x <= lastX; ++x) {
                RandomSequence random(
                    DeriveKey(DeriveKey(kind, static_cast<uint32_t>(x)), static_cast<uint32_t>(y)));
                (this->*add)(canvas, grid, random, static_cast<float>(x) * tile,
                             static_cast<float>(y) * tile);
            }
        }
    }

    void AddGalaxy(Canvas &canvas, const Grid &grid, RandomSequence &random, float tileX,
                   float tileY) const
    {
        const Galaxy galaxy = MakeGalaxy(random, tileX, tileY);
        const float reach = 7.0F * galaxy.size / grid.pitch;
        const float x = (galaxy.x - grid.left) / grid.pitch;
        const float y = (galaxy.y - grid.top) / grid.pitch;
        const PixelRange rows = Canvas::Pixels(y - reach, y + reach, canvas.Height());
        const PixelRange columns = Canvas::Pixels(x - reach, x + reach, canvas.Width());
        for (uint32_t row = rows.first; row < rows.last; ++row) {
            for (uint32_t column = columns.first; column < columns.last; ++column) {
                canvas.At(column, row) = canvas.At(column, row) +
                                         LightOf(galaxy, grid.X(static_cast<float>(column) + 0.5F),
                                                 grid.Y(static_cast<float>(row) + 0.5F));
            }
        }
    }

    void AddStars(Canvas &canvas, const Grid &grid, RandomSequence &random, float tileX,
                  float tileY) const
    {
        const auto count = static_cast<int32_t>(random.Unit() * (kMostStarsOfTile + 1.0F));
        for (int32_t i = 0; i < count; ++i)
            AddStar(canvas, grid, MakeStar(random, tileX, tileY));
    }

    // The image of a star is finer than most pixels: it is sampled at several points of each.
    static void AddStar(Canvas &canvas, const Grid &grid, const Star &star)
    {
        const float x = (star.x - grid.left) / grid.pitch;
        const float y = (star.y - grid.top) / grid.pitch;
        const float reach = Reach(star.peak) / grid.pitch;
        const auto samples = std::clamp(static_cast<int32_t>(grid.pitch / 6.0F) + 1, 1, 6);
        const PixelRange rows = Canvas::Pixels(y - reach, y + reach, canvas.Height());
        const PixelRange columns = Canvas::Pixels(x - reach, x + reach, canvas.Width());
        for (uint32_t row = rows.first; row < rows.last; ++row) {
            for (uint32_t column = columns.first; column < columns.last; ++column) {
                const float dx = grid.pitch * (static_cast<float>(column) - x);
                const float dy = grid.pitch * (static_cast<float>(row) - y);
                const float light = star.peak * MeanOfPixel(dx, dy, grid.pitch, samples);
                canvas.At(column, row) = canvas.At(column, row) + star.colour * light;
            }
        }
    }

    static float Reach(float peak)
    {
        // The profile falls with the sixth power of the distance; the cube root by halving.
        float low = 1.0F;
        float high = 100.0F;
        for (int i = 0; i < 12; ++i) {
            const float middle = 0.5F * (low + high);
            (middle * middle * middle * kNothing < peak ? low : high) = middle;
        }
        return std::min(kReach, kSeeing * std::sqrt(high));
    }

    static float MeanOfPixel(float left, float top, float pitch, int32_t samples)
    {
        const float step = pitch / static_cast<float>(samples);
        float sum = 0.0F;
        for (int32_t j = 0; j < samples; ++j) {
            const float dy = top + (static_cast<float>(j) + 0.5F) * step;
            for (int32_t i = 0; i < samples; ++i) {
                const float dx = left + (static_cast<float>(i) + 0.5F) * step;
                const float base = 1.0F + (dx * dx + dy * dy) * (1.0F / (kSeeing * kSeeing));
                sum += 1.0F / (base * base * base);
            }
        }
        return sum / static_cast<float>(samples * samples);
    }

    uint64_t m_seed;
};

} // namespace

std::shared_ptr<const Scene> MakeStars(uint64_t seed) { return std::make_shared<StarsScene>(seed); }

} // namespace zerix::sim
