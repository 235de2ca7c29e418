// The Astrel Intensified. Its normalised gain is read on one scale and set on the other.
#include "camera/models/astrel_intensified.h"

namespace ZX {

namespace control = zerix::registers::control;
namespace information = zerix::registers::information;

namespace {

constexpr uint32_t kDbStep = 2000; // microdecibels

} // namespace

AstrelIntensified::AstrelIntensified(HALCamera camera) : ModelCamera(camera, 9) {}

bool AstrelIntensified::IsIntensifierAvailable() { return true; }
bool AstrelIntensified::IsTriggerDelayAvialable() { return true; }

uint16_t AstrelIntensified::SetupNormalizedIntensifiedGain()
{
    intensifierGain = std::make_unique<ZIntensifierGain>();
    if (!intensifierGain->SetDacRange(GetIntensifierGainMin(), GetIntensifierGainMax()))
        return kStatusGainRange;
    intensifierGain->SetDbStep(kDbStep);
    intensifierGain->Setup();
    return kStatusOk;
}

// The register -----------------------------------------------------------------------------------

uint32_t AstrelIntensified::GetIntensifierGainMin()
{
    return Information(information::kIntensifierGainMin);
}

uint32_t AstrelIntensified::GetIntensifierGainMax()
{
    return Information(information::kIntensifierGainMax);
}

uint64_t AstrelIntensified::GetNormalizedIntensifierGain()
{
    return ConvertGainToNormGain(Control(control::kIntensifierGain));
}

// The round trip, which is not always the register.
uint32_t AstrelIntensified::GetIntensifierGain()
{
    return ConvertNormGainToGain(static_cast<uint32_t>(GetNormalizedIntensifierGain()));
}

uint16_t AstrelIntensified::SetNormalizedIntensifierGain(uint64_t gain)
{
    if (intensifierGain == nullptr)
        return kStatusBadValue;
    const uint32_t dac = intensifierGain->DbToDac(intensifierGain->NormalizedToDb(gain));
    return WriteField(control::kIntensifierGain,
                      zerix::registers::Fitted(control::kIntensifierGain, dac));
}

// The scale --------------------------------------------------------------------------------------

uint64_t AstrelIntensified::GetNormalizedIntensifierGainMin()
{
    return intensifierGain ? intensifierGain->normalizedMin : 0;
}

uint64_t AstrelIntensified::GetNormalizedIntensifierGainMax()
{
    return intensifierGain ? intensifierGain->normalizedMax : 0;
}

uint32_t AstrelIntensified::GetNormalizedIntensifierGaindB()
{
    return intensifierGain ? intensifierGain->DacToDb(Control(control::kIntensifierGain)) : 0;
}

uint32_t AstrelIntensified::GetNormalizedIntensifierGaindBMin()
{
    return intensifierGain ? intensifierGain->gainDbMin : 0;
}

uint32_t AstrelIntensified::GetNormalizedIntensifierGaindBMax()
{
    return intensifierGain ? intensifierGain->gainDbMax : 0;
}

uint32_t AstrelIntensified::GetNormalizedIntensifierGaindBResolution()
{
    return intensifierGain ? intensifierGain->gainDbStep : 0;
}

uint32_t AstrelIntensified::GetNormalizedIntensifierGainSignificantFigures()
{
    return intensifierGain ? intensifierGain->significantFigures : 0;
}

} // namespace ZX
