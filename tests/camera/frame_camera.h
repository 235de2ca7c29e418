// A camera without a bus, of 6 x 4 pixels, whose part towards the receive thread a test calls
// itself.
#pragma once

#include <optional>

#include "tests/camera/register_camera.h"

namespace zerix::test {

class FrameCamera : public RegisterCamera {
public:
    explicit FrameCamera(Wire wire = Wire::kNowhere)
        : RegisterCamera(kNewestInformation, kNewestControl, wire)
    {
        SetControl(0x04, 0x33000004);  // tag 0x33, 8 bits a pixel
        SetControl(0x0C, 6 << 16 | 4); // 6 x 4 pixels
        SetUpGain(2, 600);
        SetControl(0x14, 600u << 20);
    }

    tStFrameInfo *Prepare() { return PrivatePeekNewFrame(); }
    tStFrameInfo *PrepareFinished()
    {
        tStFrameInfo *const frame = Prepare();
        if (frame != nullptr)
            frame->finished = true;
        return frame;
    }
    bool HasSignalled(HAL_Condition condition) { return HAL_ConditionTimedWait(condition, 0) == 0; }

    bool IsInterlaced() override { return isInterlaced; }
    uint32_t GetTriggerMode() override
    {
        return triggerMode.value_or(RegisterCamera::GetTriggerMode());
    }
    bool DoesSupportExternalBuffers() override { return takesExternalBuffers; }

    bool isInterlaced = false;
    std::optional<uint32_t> triggerMode;
    bool takesExternalBuffers = false;

    using TolvaneFWCamera::callbackUserData;
    using TolvaneFWCamera::CameraAsyncWriteCallback;
    using TolvaneFWCamera::delivering;
    using TolvaneFWCamera::exposeDoneCallback;
    using TolvaneFWCamera::exposeDoneCondition;
    using TolvaneFWCamera::exposeDoneUserData;
    using TolvaneFWCamera::frameBufferLength;
    using TolvaneFWCamera::frameInfoQueue;
    using TolvaneFWCamera::GetOneImageCallback;
    using TolvaneFWCamera::imageCondition;
    using TolvaneFWCamera::isExternalBuffered;
    using TolvaneFWCamera::oneImage;
    using TolvaneFWCamera::oneImageReady;
    using TolvaneFWCamera::oneImageSession;
    using TolvaneFWCamera::OneImageTimeLimit;
    using TolvaneFWCamera::OverrunCallback;
    using TolvaneFWCamera::PrivateGetNewFrame;
    using TolvaneFWCamera::streamingCallback;
    using TolvaneFWCamera::TellOfLoss;
    using TolvaneFWCamera::TimedOutCallback;
};

} // namespace zerix::test
