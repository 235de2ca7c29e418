// What a test does in the place of an open camera's receive thread.
#pragma once

#include <cstdint>

#include "camera/tolvane_fw_camera.h"

namespace zerix::test {

// The camera's part towards the receive thread, reached where it may be.
class Inside : public ZX::TolvaneFWCamera {
public:
    static tStFrameInfo *Prepare(ZX::TolvaneFWCamera &camera)
    {
        return (camera.*(&Inside::PrivatePeekNewFrame))();
    }
    static void Wake(ZX::TolvaneFWCamera &camera) { (camera.*(&Inside::PrivateImageHasArrived))(); }
    static RegisterBlock &Control(ZX::TolvaneFWCamera &camera)
    {
        return camera.*(&Inside::controlBlock);
    }
    static RegisterBlock &Information(ZX::TolvaneFWCamera &camera)
    {
        return camera.*(&Inside::informationBlock);
    }
    static void *UserDataOf(ZX::TolvaneFWCamera &camera)
    {
        return camera.*(&Inside::callbackUserData);
    }
    static uint32_t Queued(ZX::TolvaneFWCamera &camera)
    {
        HAL_SemaphoreWait(camera.*(&Inside::frameQueueSemaphore));
        const uint32_t count = (camera.*(&Inside::frameInfoQueue)).Count();
        HAL_SemaphoreSignal(camera.*(&Inside::frameQueueSemaphore));
        return count;
    }
};

} // namespace zerix::test
