// The functions of zerix_sim.h. Safe from any thread; the last error's text is each thread's own.
#include <algorithm>
#include <optional>
#include <string>

#include "sim/mistakes.h"
#include "sim/sim_error.h"
#include "sim/virtual_bus.h"
#include "zerix/zerix_sim.h"

namespace {

using zerix::sim::Exported;
using zerix::sim::Fail;
using zerix::sim::NullPointer;
using zerix::sim::Succeed;
using zerix::sim::Unplugging;
using zerix::sim::VirtualBus;
using zerix::sim::VirtualCamera;

uint32_t NoSuchCamera(uint32_t camera)
{
    return Fail(ZERIX_SIM_NO_SUCH_CAMERA,
                "The rack has no camera number " + std::to_string(camera) + "; they count from 0.");
}

// Runs `work` on a camera under the bus's lock.
template <typename Work>
uint32_t WithCamera(uint32_t camera, Work work)
{
    VirtualBus &bus = VirtualBus::Instance();
    bus.EnsureRack();
    const std::lock_guard lock(bus.Lock());
    const auto found = bus.Camera(camera);
    return found == nullptr ? NoSuchCamera(camera) : work(*found);
}

uint32_t Unplug(uint32_t camera, Unplugging how)
{
    VirtualBus &bus = VirtualBus::Instance();
    bus.EnsureRack();
    return bus.UnplugAndWait(camera, how) == ZERIX_SIM_OK ? Succeed() : NoSuchCamera(camera);
}

} // namespace

uint32_t ZerixSim_ChooseRack(const char *rack)
{
    return Exported([&]() -> uint32_t {
        std::string error;
        const uint32_t result = VirtualBus::Instance().ChooseRack(rack, &error);
        return result == ZERIX_SIM_OK ? Succeed() : Fail(result, std::move(error));
    });
}

const char *ZerixSim_LastErrorText(void) { return zerix::sim::LastErrorText(); }

uint32_t ZerixSim_CameraCount(uint32_t *count)
{
    return Exported([&]() -> uint32_t {
        if (count == nullptr)
            return NullPointer();
        VirtualBus &bus = VirtualBus::Instance();
        bus.EnsureRack();
        const std::lock_guard lock(bus.Lock());
        *count = bus.CameraCount();
        return Succeed();
    });
}

uint32_t ZerixSim_FindCamera(uint32_t uniqueId, uint32_t *camera)
{
    return Exported([&]() -> uint32_t {
        if (camera == nullptr)
            return NullPointer();
        VirtualBus &bus = VirtualBus::Instance();
        bus.EnsureRack();
        const std::lock_guard lock(bus.Lock());
        for (uint32_t i = 0; i < bus.CameraCount(); ++i) {
            if (static_cast<uint32_t>(bus.Camera(i)->Description().uniqueId) == uniqueId) {
                *camera = i;
                return Succeed();
            }
        }
        return Fail(ZERIX_SIM_NO_SUCH_CAMERA, "The rack has no camera with the unique identifier " +
                                                  std::to_string(uniqueId) + ".");
    });
}

uint32_t ZerixSim_Unplug(uint32_t camera)
{
    return Exported([&]() -> uint32_t { return Unplug(camera, Unplugging::kDeviceOnly); });
}

uint32_t ZerixSim_UnplugWithDriver(uint32_t camera)
{
    return Exported([&]() -> uint32_t { return Unplug(camera, Unplugging::kWithDriver); });
}

uint32_t ZerixSim_Plug(uint32_t camera)
{
    return Exported([&]() -> uint32_t {
        VirtualBus::Instance().EnsureRack();
        return VirtualBus::Instance().Plug(camera) == ZERIX_SIM_OK ? Succeed()
                                                                   : NoSuchCamera(camera);
    });
}

uint32_t ZerixSim_FireTrigger(uint32_t camera)
{
    return Exported([&]() -> uint32_t {
        return WithCamera(camera, [](VirtualCamera &found) {
            found.FireTriggerLine();
            return Succeed();
        });
    });
}

uint32_t ZerixSim_SetTriggerLine(uint32_t camera, uint32_t level)
{
    return Exported([&]() -> uint32_t {
        return WithCamera(camera, [level](VirtualCamera &found) {
            found.SetTriggerLine(level != 0);
            return Succeed();
        });
    });
}

uint32_t ZerixSim_GetSyncB(uint32_t camera, uint32_t *pulses, uint64_t *activeNanoseconds)
{
    return Exported([&]() -> uint32_t {
        if (pulses == nullptr || activeNanoseconds == nullptr)
            return NullPointer();
        return WithCamera(camera, [=](VirtualCamera &found) {
            *pulses = found.Sync().pulses;
            *activeNanoseconds = found.Sync().activeNanoseconds;
            return Succeed();
        });
    });
}

uint32_t ZerixSim_SetScene(uint32_t camera, const char *scene)
{
    return Exported([&]() -> uint32_t {
        if (scene == nullptr)
            return NullPointer();
        return WithCamera(camera, [scene](VirtualCamera &found) {
            std::string error;
            return found.SetScene(scene, &error) ? Succeed()
                                                 : Fail(ZERIX_SIM_BAD_SCENE, std::move(error));
        });
    });
}

uint32_t ZerixSim_InjectFault(uint32_t camera, const char *fault)
{
    return Exported([&]() -> uint32_t {
        if (fault == nullptr)
            return NullPointer();
        return WithCamera(camera, [fault](VirtualCamera &found) {
            zerix::sim::Fault parsed;
            std::string error;
            if (!zerix::sim::ParseFault(fault, &parsed, &error))
                return Fail(ZERIX_SIM_BAD_FAULT, std::move(error));
            found.Faults().Add(parsed);
            return Succeed();
        });
    });
}

uint32_t ZerixSim_GiveCredit(uint32_t camera, uint32_t frames)
{
    return Exported([&]() -> uint32_t {
        return WithCamera(camera, [frames](VirtualCamera &found) {
            found.SetCredit(frames);
            return Succeed();
        });
    });
}

uint32_t ZerixSim_GiveCreditPerStream(uint32_t camera, uint32_t frames)
{
    return Exported([&]() -> uint32_t {
        return WithCamera(camera, [frames](VirtualCamera &found) {
            found.SetCreditPerStream(frames);
            return Succeed();
        });
    });
}

uint32_t ZerixSim_IsFastClock(uint32_t *isFast)
{
    return Exported([&]() -> uint32_t {
        if (isFast == nullptr)
            return NullPointer();
        VirtualBus &bus = VirtualBus::Instance();
        bus.EnsureRack();
        const std::lock_guard lock(bus.Lock());
        *isFast = bus.IsFast() ? 1 : 0;
        return Succeed();
    });
}

uint32_t ZerixSim_GetTime(uint64_t *unixNanoseconds)
{
    return Exported([&]() -> uint32_t {
        if (unixNanoseconds == nullptr)
            return NullPointer();
        VirtualBus &bus = VirtualBus::Instance();
        bus.EnsureRack();
        const std::lock_guard lock(bus.Lock());
        *unixNanoseconds = bus.Now();
        return Succeed();
    });
}

uint32_t ZerixSim_GetFrameTime(uint32_t camera, uint16_t rollingFrameNumber,
                               uint64_t *unixNanoseconds)
{
    return Exported([&]() -> uint32_t {
        if (unixNanoseconds == nullptr)
            return NullPointer();
        return WithCamera(camera, [=](VirtualCamera &found) {
            const auto time = found.FrameTime(rollingFrameNumber);
            if (!time)
                return Fail(ZERIX_SIM_NOT_KNOWN,
                            "Frame " + std::to_string(rollingFrameNumber) +
                                " isn't among the last 256 frames of the camera.");
            *unixNanoseconds = *time;
            return Succeed();
        });
    });
}

uint32_t ZerixSim_GetSensorTemperature(uint32_t camera, int32_t *millicelsius)
{
    return Exported([&]() -> uint32_t {
        if (millicelsius == nullptr)
            return NullPointer();
        return WithCamera(camera, [millicelsius](VirtualCamera &found) {
            const double rounded = found.Celsius() * 1000.0;
            *millicelsius = static_cast<int32_t>(rounded < 0 ? rounded - 0.5 : rounded + 0.5);
            return Succeed();
        });
    });
}

uint32_t ZerixSim_GetHeld(ZerixSimHeld *held)
{
    return Exported([&]() -> uint32_t {
        if (held == nullptr)
            return NullPointer();
        *held = VirtualBus::Instance().Held();
        return Succeed();
    });
}

uint32_t ZerixSim_TakeMistakes(ZerixSimMistakes *mistakes)
{
    return Exported([&]() -> uint32_t {
        if (mistakes == nullptr)
            return NullPointer();
        const std::lock_guard lock(VirtualBus::Instance().Lock());
        *mistakes = zerix::sim::TakeMistakes();
        return Succeed();
    });
}

uint32_t ZerixSim_TakeWrites(uint32_t camera, ZerixSimWrite *writes, uint32_t *count)
{
    return Exported([&]() -> uint32_t {
        if (count == nullptr || (writes == nullptr && *count > 0))
            return NullPointer();
        return WithCamera(camera, [=](VirtualCamera &found) {
            const auto taken = found.TakeWrites();
            const size_t fitting = std::min<size_t>(taken.size(), *count);
            for (size_t i = 0; i < fitting; ++i)
                writes[i] = {taken[i].address, taken[i].value};
            *count = static_cast<uint32_t>(taken.size());
            return Succeed();
        });
    });
}
