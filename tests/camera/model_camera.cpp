// The camera of a model without a bus.
#include "tests/camera/model_camera.h"

#include "platform/os.h"

namespace zerix::test {

ModelCamera::ModelCamera(uint32_t model, uint32_t informationVersion, uint32_t controlVersion,
                         Wire wire)
    : m_camera(models::MakeCamera(HalCameraOn(wire), model))
{
    RegisterBlock &information = CameraAccess::InformationOf(*m_camera);
    information.address = kInformationAddress;
    FillBlock(information, informationVersion, {});
    RegisterBlock &control = CameraAccess::ControlOf(*m_camera);
    control.address = kControlAddress;
    FillBlock(control, controlVersion, {});
    os::SetDebugOutputForTest([this](const std::string &text) { m_trace += text; });
    HAL_CameraSetShouldOutputWrites(0, 1);
}

ModelCamera::~ModelCamera()
{
    HAL_CameraSetShouldOutputWrites(0, 0);
    os::SetDebugOutputForTest({});
}

void ModelCamera::SetInformation(uint32_t offset, uint32_t word)
{
    CameraAccess::InformationOf(*m_camera).Store(offset, word);
}

void ModelCamera::SetControl(uint32_t offset, uint32_t word)
{
    CameraAccess::ControlOf(*m_camera).Store(offset, word);
}

uint32_t ModelCamera::ControlWord(uint32_t offset) const
{
    return CameraAccess::ControlOf(*m_camera).Word(offset);
}

SentQuadlets ModelCamera::TakeSent()
{
    const SentQuadlets quadlets = SentIn(m_trace);
    m_trace.clear();
    return quadlets;
}

} // namespace zerix::test
