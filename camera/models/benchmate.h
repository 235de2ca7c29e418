// The Benchmate, an interlaced colour camera with a live mode that leaves rows out and is
// progressive.
#pragma once

#include "camera/models/model_camera.h"

namespace ZX {

class ZERIX_API Benchmate final : public ModelCamera {
public:
    explicit Benchmate(HALCamera camera);

    uint64_t GetDefaultExposure() override;
    uint32_t GetGainMax() override;
    // The mosaic's also when binned, for the camera bins pixels of one colour.
    uint16_t GetImageFormat() override;
    void GetVerticalBinningModes(std::vector<uint16_t> &modes) override;
    uint16_t GetHorizontalBinningMode() override;
    void GetSyncBModes(std::vector<uint32_t> &modes) override;
    bool GetLVWMode() override;
    bool IsLVWModeSupported() override;
    uint32_t GetROIMaxWidthForLVWMode() override;
    uint32_t GetROIMaxHeightForLVWMode() override;
    bool IsInterlaced() override;
    bool IsSymmetricalBinningSupported() override;
    bool IsSyncBSupported() override;
    bool IsVerticalBinningSupported() override;
    uint32_t GetMaxCCDWidthForBinningMode(uint16_t mode) override;
    uint32_t GetMaxCCDHeightForBinningMode(uint16_t mode) override;
    // Takes 8 too, which isn't among the modes told. A refused mode leaves the shadow without a
    // binning.
    uint16_t SetSymmetricalBinning(uint16_t mode) override;
    // In live mode it is always 1.
    uint16_t SetVerticalBinning(uint16_t mode) override;
    uint16_t SetLVWMode(bool on) override;
    uint16_t SetROI(uint32_t x, uint32_t y, uint32_t width, uint32_t height) override;

private:
    void StoreBinning(uint32_t code, uint32_t factorMinus1);
    uint16_t EnterLiveMode();
    uint16_t LeaveLiveMode();
    // Columns that go together, so that both colours of a row come out whole.
    uint32_t RegionStep();
};

} // namespace ZX
