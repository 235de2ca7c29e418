// The stream of one camera: a thread that exposes frames and sends their packets, and idle packets
// when there are none, from the write that enables the stream to the one that ends it.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "hal/kernel_driver.h"
#include "platform/os.h"
#include "sim/virtual_camera.h"

namespace zerix::sim {

class VirtualBus;

class CameraStream {
public:
    // Under the bus's lock. Null if the system has no thread or no memory to give.
    static std::unique_ptr<CameraStream> Start(VirtualBus &bus,
                                               std::shared_ptr<VirtualCamera> camera,
                                               kernel::DeviceHandle owner, uint32_t channel);

    // Joins the thread, so never under the bus's lock, and after RequestStop.
    ~CameraStream();
    CameraStream(const CameraStream &) = delete;
    CameraStream &operator=(const CameraStream &) = delete;

    // Under the bus's lock.
    void RequestStop();
    [[nodiscard]] bool IsRunningOn(uint32_t channel) const
    {
        return !m_stop && channel == m_channel;
    }
    [[nodiscard]] kernel::DeviceHandle Owner() const { return m_owner; }

private:
    using BusLock = std::unique_lock<std::mutex>;

    CameraStream(VirtualBus &bus, std::shared_ptr<VirtualCamera> camera, kernel::DeviceHandle owner,
                 uint32_t channel);
    static void Routine(void *stream);
    void Run();
    void StreamFrames(BusLock &lock);
    void TakeFrame(BusLock &lock);
    void TakeFrameOrFail(BusLock &lock);
    void FailBuffers(BusLock &lock);
    bool WaitForExposure(BusLock &lock, const FrameJob &job);
    void SendFrame(BusLock &lock, FrameJob &job, const std::vector<uint8_t> &pixels);
    // False when the stream has to end.
    bool SendPacket(BusLock &lock, const FrameJob &job, std::vector<uint8_t> &packet);
    void WaitForReadout(BusLock &lock, const FrameJob &job, size_t frameBytes);
    void PutPacket(BusLock &lock, std::span<const uint8_t> packet);
    void NextSlot();
    void CompleteFullBuffer(BusLock &lock);

    // Sends idle slots until a steady moment, at most to the end of the present buffer, or until
    // the interruption holds.
    template <typename Interruption>
    void Idle(BusLock &lock, uint64_t until, Interruption interrupted);
    template <typename Interruption>
    void SleepUntil(BusLock &lock, uint64_t until, Interruption interrupted);
    void PutIdleSlots(uint64_t until);

    VirtualBus &m_bus;
    std::shared_ptr<VirtualCamera> m_camera;
    kernel::DeviceHandle m_owner;
    uint32_t m_channel;
    std::unique_ptr<os::Thread> m_thread;
    bool m_stop = false;
    uint64_t m_slotTime = 0;         // steady moment of the next slot
    uint64_t m_nextStart = 0;        // earliest start of the next exposure on the wall clock
    std::vector<uint8_t> m_heldBack; // a packet that goes after the next one
    std::vector<uint8_t> m_idlePacket;
};

} // namespace zerix::sim
