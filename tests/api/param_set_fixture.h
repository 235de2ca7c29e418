// A camera with limits and lists of its own for every key that is checked when it is set.
#pragma once

#include "tests/api/param_fixture.h"

namespace zerix::api {

class ParamSetTest : public ParamTest {
protected:
    void SetUp() override
    {
        ParamTest::SetUp();
        camera->getMinExposure = 100'000;
        camera->getMaxExposure = 5'000'000'000'000;
        camera->getSymmetricalBinningModes = {1, 2, 4};
        camera->getHorizontalBinningModes = {1, 3};
        camera->getVerticalBinningModes = {1, 5};
        camera->getTriggerModes = {0, 1, 5};
        camera->getReadoutFrequencyModes = {20.0f, 10.0f};
        camera->getSyncBModes = {0, 1};
        camera->getMaxBitDepth = 12;
        camera->getCCDImageFormat = 1;
        camera->getCCDWidth = 1392;
        camera->getCCDHeight = 1040;
        camera->getTriggerDelayMin = 10;
        camera->getTriggerDelayMax = 20;
        camera->getEMGainMin = 3;
        camera->getEMGainMax = 2048;
        camera->getShutterCloseDelayMin = 640;
        camera->getShutterCloseDelayMax = 6400;
        camera->getVClockPeriodMin = 500;
        camera->getVClockPeriodMax = 2000;
        camera->getFrameBufferLengthMin = 2;
        camera->getFrameBufferLengthMax = 200;
        camera->getMinRegulatedCoolingTemp = -40;
        camera->getMaxRegulatedCoolingTemp = 10;
    }

    // Sets a value over a slot that holds another, and tells the code; the slot must follow it.
    uint32_t Try(Zerix_Settings *settings, uint32_t key, uint32_t value)
    {
        const uint32_t before = value ^ 0x40000000u;
        Put32(settings, key, before);
        const uint32_t code = Zerix_SetParam(settings, key, value);
        EXPECT_EQ(Slot32(settings, key), code == 0 ? value : before) << key << ' ' << value;
        return code;
    }
};

} // namespace zerix::api
