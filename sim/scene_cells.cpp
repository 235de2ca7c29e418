// Fluorescent cells as a microscope shows them: blue nuclei in green cytoplasm with a fibrous
// texture, on a dim uneven background, darker towards the corners. Constant, safe from any thread.
#include <algorithm>
#include <cmath>

#include "sim/canvas.h"
#include "sim/exact_math.h"
#include "sim/random.h"
#include "sim/scene_makers.h"

namespace zerix::sim {
namespace {

// The specimen has no limits: it is cut into tiles, and each tile's cells follow from its number.
// Lengths are micrometres on the sensor; brightness is photons a second and square micrometre.
constexpr float kTile = 560.0F;
constexpr float kReach = 520.0F; // no cell is larger than that around its middle
constexpr float kBackground = 900.0F;
constexpr float kVignetting = 0.28F;

// An ellipse with an uneven outline.
struct Blob {
    float x;
    float y;
    float longAxis;
    float shortAxis;
    Direction direction;
    float lobes;    // how far the outline leaves the ellipse
    float softness; // width of the edge, as a part of the radius
};

struct Cell {
    Blob body;
    Blob nucleus;
    float bodyLight;
    float nucleusLight;
    uint64_t textureKey;
};

Blob MakeBlob(RandomSequence &random, float x, float y, float radius)
{
    const float stretch = random.Between(1.0F, 1.5F);
    return {.x = x,
            .y = y,
            .longAxis = radius * stretch,
            .shortAxis = radius / stretch,
            .direction = DirectionOf(static_cast<double>(random.Unit())),
            .lobes = random.Between(0.03F, 0.10F),
            .softness = 0.12F};
}

Cell MakeCell(RandomSequence &random, float tileX, float tileY)
{
    const float x = tileX + random.Between(0.1F, 0.9F) * kTile;
    const float y = tileY + random.Between(0.1F, 0.9F) * kTile;
    Cell cell{.body = MakeBlob(random, x, y, random.Between(190.0F, 290.0F)),
              .nucleus = {},
              .bodyLight = random.Between(3500.0F, 9000.0F),
              .nucleusLight = 0.0F,
              .textureKey = random.Bits()};
    cell.body.lobes = random.Between(0.10F, 0.28F);
    cell.body.softness = 0.35F;
    const bool dividing = random.Unit() < 0.05F;
    const float radius = dividing ? random.Between(45.0F, 60.0F) : random.Between(80.0F, 115.0F);
    // One draw a statement: the order in which arguments are evaluated is the compiler's.
    const float nucleusX = x + random.Between(-40.0F, 40.0F);
    const float nucleusY = y + random.Between(-40.0F, 40.0F);
    cell.nucleus = MakeBlob(random, nucleusX, nucleusY, radius);
    cell.nucleusLight =
        dividing ? random.Between(36000.0F, 42000.0F) : random.Between(13000.0F, 30000.0F);
    return cell;
}

// 1 in the middle of a blob, 0 outside, by the distance from the uneven outline.
float Inside(const Blob &blob, float x, float y)
{
    const float dx = x - blob.x;
    const float dy = y - blob.y;
    const float along = (dx * blob.direction.cosine + dy * blob.direction.sine) / blob.longAxis;
    const float across = (dy * blob.direction.cosine - dx * blob.direction.sine) / blob.shortAxis;
    const float square = along * along + across * across;
    if (square > 2.5F)
        return 0.0F;
    const float radius = std::sqrt(square);
    if (radius < 0.05F)
        return 1.0F;
    // Cosines of three and five times the angle, as polynomials of the direction.
    const float c = along / radius;
    const float three = (4.0F * c * c - 3.0F) * c;
    const float five = ((16.0F * c * c - 20.0F) * c * c + 5.0F) * c;
    const float outline =
        1.0F + blob.lobes * three + 0.6F * blob.lobes * five * (across > 0.0F ? 1.0F : -0.4F);
    return SmoothStep((outline - radius) / blob.softness + 0.5F);
}

// Fibres: ridges of a noise that is stretched along the cell.
float Fibres(const Cell &cell, float x, float y)
{
    const Direction &direction = cell.body.direction;
    const float dx = x - cell.body.x;
    const float dy = y - cell.body.y;
    const float along = dx * direction.cosine + dy * direction.sine;
    const float across = dy * direction.cosine - dx * direction.sine;
    const float wave = SmoothNoise(cell.textureKey, along / 160.0F, across / 26.0F);
    const float ridge = 1.0F - 2.0F * (wave > 0.5F ? wave - 0.5F : 0.5F - wave);
    return ridge * ridge * (0.6F + 0.8F * SmoothNoise(cell.textureKey + 1, dx / 45.0F, dy / 45.0F));
}

// Chromatin: grains, and a few darker nucleoli.
float Grains(const Cell &cell, float x, float y)
{
    const float grain = SmoothNoise(cell.textureKey + 2, x / 18.0F, y / 18.0F);
    const float spots = SmoothNoise(cell.textureKey + 3, x / 52.0F, y / 52.0F);
    return (0.72F + 0.4F * grain) * (1.0F - 0.45F * SmoothStep((spots - 0.68F) / 0.12F));
}

Light LightOf(const Cell &cell, float x, float y)
{
    const float body = Inside(cell.body, x, y);
    const float nucleus = Inside(cell.nucleus, x, y);
    Light light{.red = 0.0F, .green = 0.0F, .blue = 0.0F};
    if (body > 0.0F) {
        const float green =
            cell.bodyLight * body * (0.25F + 0.85F * Fibres(cell, x, y)) * (1.0F - 0.6F * nucleus);
        const float vesicles =
            SmoothStep((SmoothNoise(cell.textureKey + 4, x / 20.0F, y / 20.0F) - 0.8F) / 0.15F);
        light.green = green;
        light.red = 0.06F * green + 0.7F * cell.bodyLight * body * vesicles * (1.0F - nucleus);
    }
    if (nucleus > 0.0F) {
        light.blue = cell.nucleusLight * nucleus * Grains(cell, x, y);
        light.green += 0.05F * light.blue;
    }
    return light;
}

class CellsScene final : public Scene {
public:
    explicit CellsScene(uint64_t seed) : m_seed(seed) {}

    void Sample(uint32_t width, uint32_t height, float pitch,
                std::vector<Light> &light) const override
    {
        Canvas canvas(width, height, light, {.red = 0.0F, .green = 0.0F, .blue = 0.0F});
        // The middle of the sensor looks at the middle of the specimen, whatever the sensor's size.
        const float left = -0.5F * static_cast<float>(width) * pitch;
        const float top = -0.5F * static_cast<float>(height) * pitch;
        const int32_t lastX = FloorToInt(static_cast<double>((-left + kReach) / kTile));
        const int32_t lastY = FloorToInt(static_cast<double>((-top + kReach) / kTile));
        for (int32_t y = -lastY - 1; y <= lastY; ++y) {
            for (int32_t x = -lastX - 1; x <= lastX; ++x)
                AddTile(canvas, x, y, {.left = left, .top = top, .right = pitch, .bottom = pitch});
        }
        AddBackgroundAndVignetting(canvas, pitch);
    }

private:
    // `grid`: left and top are the corner of the sensor in the specimen, right and bottom the
    // pitch.
    void AddTile(Canvas &canvas, int32_t tileX, int32_t tileY, const Rectangle &grid) const
    {
        const uint64_t column = static_cast<uint32_t>(tileX);
        RandomSequence random(DeriveKey(DeriveKey(m_seed, column), static_cast<uint32_t>(tileY)));
        if (random.Unit() > 0.72F)
            return;
        const Cell cell =
            MakeCell(random, static_cast<float>(tileX) * kTile, static_cast<float>(tileY) * kTile);
        const float x = (cell.body.x - grid.left) / grid.right;
        const float y = (cell.body.y - grid.top) / grid.bottom;
        const float reach = std::min(kReach, 1.6F * cell.body.longAxis) / grid.right;
        const PixelRange rows = Canvas::Pixels(y - reach, y + reach, canvas.Height());
        const PixelRange columns = Canvas::Pixels(x - reach, x + reach, canvas.Width());
        for (uint32_t row = rows.first; row < rows.last; ++row) {
            for (uint32_t i = columns.first; i < columns.last; ++i) {
                const float pixelX = grid.left + (static_cast<float>(i) + 0.5F) * grid.right;
                const float pixelY = grid.top + (static_cast<float>(row) + 0.5F) * grid.bottom;
                canvas.At(i, row) = canvas.At(i, row) + LightOf(cell, pixelX, pixelY);
            }
        }
    }

    void AddBackgroundAndVignetting(Canvas &canvas, float pitch) const
    {
        const float middleX = 0.5F * static_cast<float>(canvas.Width());
        const float middleY = 0.5F * static_cast<float>(canvas.Height());
        const float corner = middleX * middleX + middleY * middleY;
        for (uint32_t row = 0; row < canvas.Height(); ++row) {
            for (uint32_t column = 0; column < canvas.Width(); ++column) {
                const float dx = static_cast<float>(column) + 0.5F - middleX;
                const float dy = static_cast<float>(row) + 0.5F - middleY;
                const float haze =
                    0.7F + 0.6F * SmoothNoise(m_seed, dx * pitch / 1900.0F, dy * pitch / 1900.0F);
                const Light background{.red = 0.2F * kBackground * haze,
                                       .green = 0.5F * kBackground * haze,
                                       .blue = 0.3F * kBackground * haze};
                const float shade = 1.0F - kVignetting * ((dx * dx + dy * dy) / corner);
                canvas.At(column, row) = (canvas.At(column, row) + background) * shade;
            }
        }
    }

    uint64_t m_seed;
};

} // namespace

std::shared_ptr<const Scene> MakeCells(uint64_t seed) { return std::make_shared<CellsScene>(seed); }

} // namespace zerix::sim
