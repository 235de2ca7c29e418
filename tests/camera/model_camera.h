// A camera of one model's own class whose register blocks a test fills directly, and whose writes
// it reads back, as with a RegisterCamera. One at a time, on one thread.
#pragma once

#include <memory>
#include <string>

#include "tests/camera/camera_access.h"
#include "tests/camera/register_camera.h"

namespace zerix::test {

class ModelCamera {
public:
    explicit ModelCamera(uint32_t model, uint32_t informationVersion = kNewestInformation,
                         uint32_t controlVersion = kNewestControl, Wire wire = Wire::kNowhere);
    ~ModelCamera();

    ZX::TolvaneFWCamera *operator->() const { return m_camera.get(); }
    void SetInformation(uint32_t offset, uint32_t word);
    void SetControl(uint32_t offset, uint32_t word);
    uint32_t ControlWord(uint32_t offset) const;
    // Quadlets written since the last call, oldest first.
    SentQuadlets TakeSent();

private:
    std::string m_trace;
    std::unique_ptr<ZX::TolvaneFWCamera> m_camera;
};

} // namespace zerix::test
