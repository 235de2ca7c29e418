// The Astrel Intensified: an image intensifier before the sensor, with a gain of its own.
#pragma once

#include <memory>

#include "camera/models/intensifier_gain.h"
#include "camera/models/model_camera.h"

namespace ZX {

class ZERIX_API AstrelIntensified final : public ModelCamera {
public:
    explicit AstrelIntensified(HALCamera camera);

    bool IsIntensifierAvailable() override;
    bool IsTriggerDelayAvialable() override;
    // 2 where the camera tells no range of counts.
    uint16_t SetupNormalizedIntensifiedGain() override;
    // Through the scale of the analogue gain, not the intensifier's: what applications have always
    // seen.
    uint64_t GetNormalizedIntensifierGain() override;
    uint32_t GetIntensifierGain() override;
    uint32_t GetIntensifierGainMin() override;
    uint32_t GetIntensifierGainMax() override;
    // The intensifier's own scale. Those that come of its set-up are 0 before it.
    uint64_t GetNormalizedIntensifierGainMin() override;
    uint64_t GetNormalizedIntensifierGainMax() override;
    uint32_t GetNormalizedIntensifierGaindB() override;
    uint32_t GetNormalizedIntensifierGaindBMin() override;
    uint32_t GetNormalizedIntensifierGaindBMax() override;
    uint32_t GetNormalizedIntensifierGaindBResolution() override;
    uint32_t GetNormalizedIntensifierGainSignificantFigures() override;
    // Rounded and clamped, not refused. Always writes. 3 before the set-up.
    uint16_t SetNormalizedIntensifierGain(uint64_t gain) override;

private:
    std::unique_ptr<ZIntensifierGain> intensifierGain; // null until it has been set up
};

} // namespace ZX
