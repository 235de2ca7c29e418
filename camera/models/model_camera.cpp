// The lists and rules of a model, out of its row of the model table.
#include "camera/models/model_camera.h"

#include "tables/camera_models.h"

namespace ZX {

using namespace zerix::tables;

namespace {

constexpr uint16_t kFastBus = 800; // Mb/s
constexpr uint16_t kFirstFirmwareBeyondTwo = 102;
constexpr float kFixedReadoutDefault = 20.0f;

} // namespace

ModelCamera::ModelCamera(HALCamera camera, const CameraModelRow &row)
    : TolvaneFWCamera(camera), modelRow(row)
{
}

ModelCamera::ModelCamera(HALCamera camera, uint32_t model)
    : ModelCamera(camera, FindCameraModel(model))
{
}

const char *ModelCamera::GetModelString() { return modelRow.displayName; }

uint16_t ModelCamera::GetTagCode() { return modelRow.tagCode; }

uint32_t ModelCamera::GetAnalogBoardType()
{
    switch (modelRow.gainCurve) {
    case GainCurve::k1:
        return 1;
    case GainCurve::k1BeforeFirmware100:
        return GetFirmwareVersion() < 100 ? 1 : 2;
    case GainCurve::k1BeforeFirmware6:
        return GetFirmwareVersion() < 6 ? 1 : 2;
    case GainCurve::k2:
        break;
    }
    return 2;
}

float ModelCamera::GetReadoutFrequencyDefault()
{
    return modelRow.readoutDefault == ReadoutDefault::k20
               ? kFixedReadoutDefault
               : TolvaneFWCamera::GetReadoutFrequencyDefault();
}

void ModelCamera::GetReadoutFrequencyModes(std::vector<float> &modes)
{
    switch (modelRow.readouts) {
    case ReadoutList::kBase:
        TolvaneFWCamera::GetReadoutFrequencyModes(modes);
        break;
    case ReadoutList::kFrom5:
        modes = {5.0f, 10.0f, 20.0f};
        break;
    case ReadoutList::kFrom10:
        modes = {10.0f, 20.0f};
        break;
    case ReadoutList::kFrom10To30:
        modes = {10.0f, 20.0f, 30.0f};
        break;
    case ReadoutList::k30OnFastBus: {
        uint16_t speed = 0;
        HAL_CameraConnectionSpeed(CameraForThreads(), &speed);
        modes = {10.0f, 20.0f};
        if (speed == kFastBus)
            modes.push_back(30.0f);
        break;
    }
    case ReadoutList::k40First:
        modes = {40.0f, 10.0f, 20.0f};
        break;
    case ReadoutList::k5:
        modes = {5.0f};
        break;
    }
}

void ModelCamera::GetTriggerModes(std::vector<uint32_t> &modes)
{
    if (modelRow.triggers == TriggerList::kBase)
        TolvaneFWCamera::GetTriggerModes(modes);
    else if (modelRow.triggers == TriggerList::kSoftware || GetRGBFilterCycleMode())
        modes = {0, 5};
    else
        modes = {0, 1, 2, 3, 4, 5, 6, 7};
}

bool ModelCamera::IsEightFoldCapable()
{
    return CheckConfigRegVersion(2, 2) &&
           Information(zerix::registers::information::kBinningCode2Is8) != 0;
}

void ModelCamera::GetSymmetricalBinningModes(std::vector<uint16_t> &modes)
{
    const std::vector<uint16_t> to8 = {1, 2, 4, 8};
    switch (modelRow.binnings) {
    case BinningRule::kNone:
        modes = {};
        break;
    case BinningRule::kTo2:
        modes = {1, 2};
        break;
    case BinningRule::kTo4:
        modes = {1, 2, 4};
        break;
    case BinningRule::kTo8:
        modes = to8;
        break;
    case BinningRule::kTo2OrEight:
        modes = IsEightFoldCapable() ? to8 : std::vector<uint16_t>{1, 2};
        break;
    case BinningRule::kTo4OrEight:
        modes = IsEightFoldCapable() ? to8 : std::vector<uint16_t>{1, 2, 3, 4};
        break;
    case BinningRule::kByFirmware:
        if (GetFirmwareVersion() < kFirstFirmwareBeyondTwo)
            modes = {1, 2};
        else
            modes = IsEightFoldCapable() ? to8 : std::vector<uint16_t>{1, 2, 4, 3};
        break;
    }
}

} // namespace ZX
