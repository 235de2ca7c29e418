// The Metrol, an OEM camera that bins its columns and its rows apart and delays its shutter.
#pragma once

#include "camera/models/model_camera.h"

namespace ZX {

class ZERIX_API Metrol final : public ModelCamera {
public:
    explicit Metrol(HALCamera camera);

    uint64_t GetDefaultExposure() override;
    uint16_t GetBitDepth() override;
    void GetHorizontalBinningModes(std::vector<uint16_t> &modes) override;
    void GetVerticalBinningModes(std::vector<uint16_t> &modes) override;
    uint16_t GetHorizontalBinningMode() override;
    uint16_t GetVerticalBinningMode() override;
    uint16_t SetHorizontalBinning(uint16_t mode) override;
    uint16_t SetVerticalBinning(uint16_t mode) override;
    uint32_t GetMaxCCDWidthForBinningMode(uint16_t mode) override;
    // At least 1, for rows can be binned by more than a small sensor has.
    uint32_t GetMaxCCDHeightForBinningMode(uint16_t mode) override;
    uint32_t GetImageWidth() override;
    uint32_t GetImageHeight() override;
    uint32_t GetMetrolShutterDelay() override;
    // Rounds up to a multiple of 50. 15 unless the control block has version 1.2.
    uint16_t SetMetrolShutterDelay(uint32_t delay) override;
    bool IsSymmetricalBinningSupported() override;
    bool IsVerticalBinningSupported() override;
    bool IsHorizontalBinningSupported() override;
    bool IsMetrolShutterDelaySupported() override;

private:
    // A mode that its field has no room for carries into the bits above.
    uint16_t WriteBinning(zerix::registers::Field factorMinus1, uint16_t mode);
};

} // namespace ZX
