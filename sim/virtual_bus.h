// The virtual bus of this process: its rack of cameras, the open handles, and the one lock that
// guards all of it. Operations take the lock themselves unless they say "locked": those want it
// held.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sim/bus_accounts.h"
#include "sim/bus_device.h"
#include "sim/camera_stream.h"
#include "sim/rack.h"
#include "sim/virtual_camera.h"
#include "zerix/zerix_sim.h"

namespace zerix::sim {

class VirtualBus {
public:
    // The only one. It is never destroyed, so that a program may end while a camera streams.
    static VirtualBus &Instance();

    // Loads a rack; null or empty for the built-in one. A number of zerix_sim.h, with a sentence.
    uint32_t ChooseRack(const char *rack, std::string *error);
    // Loads the built-in rack unless one has been chosen.
    void EnsureRack();
    // A bus without cameras: what is left when a rack can't be used.
    void Clear();

    std::mutex &Lock() { return m_lock; }

    // Locked. Null for a number that isn't there.
    std::shared_ptr<VirtualCamera> Camera(uint32_t index) const;
    [[nodiscard]] uint32_t CameraCount() const { return static_cast<uint32_t>(m_cameras.size()); }
    [[nodiscard]] bool IsFast() const { return m_fast; }
    [[nodiscard]] uint64_t Now() const;
    [[nodiscard]] uint32_t Speed() const { return m_speed; } // Mb/s
    [[nodiscard]] const BusAccounts &Accounts() const { return m_accounts; }

    [[nodiscard]] const std::string &DevicePathOf(uint32_t index) const
    {
        return m_cameras[index].path;
    }
    // Device paths, in the order of the rack. Locked.
    std::vector<std::string> PresentPaths() const;
    // Locked. 0 or a system error.
    uint32_t Open(const std::string &path, kernel::DeviceHandle *handle);
    std::shared_ptr<BusDevice> Device(kernel::DeviceHandle handle) const;
    // Another handle has the device, or a process outside. Locked.
    bool IsClaimed(const VirtualCamera &camera) const;
    BusDevice *OwnerOf(const VirtualCamera &camera) const;
    BusDevice *Listener(const VirtualCamera &camera, uint32_t channel) const;
    // Closes, and waits for the device's stream to end.
    void Close(kernel::DeviceHandle handle);

    // Starts or ends the stream as the camera's register says: 0, or a system error, and the camera
    // doesn't stream. The stream that ended, if any, is given out, to be destroyed after the lock
    // has been given up. Locked.
    uint32_t FollowStreamingRegister(BusDevice &device, std::unique_ptr<CameraStream> &ended);

    // Takes a camera off the bus: everything that is pending on it ends. Locked.
    void Unplug(VirtualCamera &camera, Unplugging how);
    uint32_t UnplugAndWait(uint32_t index, Unplugging how);
    // A camera whose driver has gone comes back when the last handle from before is closed.
    uint32_t Plug(uint32_t index);
    // Powers up the cameras that are to come back and are no longer held up. Locked.
    void FinishReturns();

    // Streams report the beginning and end of their threads. Locked.
    void CountThread(int change) { m_threads += static_cast<uint32_t>(change); }

    ZerixSimHeld Held();

private:
    struct Place {
        std::string path;
        std::shared_ptr<VirtualCamera> camera;
        std::unique_ptr<CameraStream> stream;
        bool comesBack = false; // plugged, but held up by a handle whose driver has gone
    };

    VirtualBus() = default;
    Place *PlaceOf(const VirtualCamera &camera);
    [[nodiscard]] bool IsHeldUp(const VirtualCamera &camera) const;
    std::unique_ptr<CameraStream> TakeStream(Place &place);
    uint32_t Install(Rack rack, std::string *error);

    mutable std::mutex m_lock;
    BusAccounts m_accounts;
    std::vector<Place> m_cameras;
    std::map<kernel::DeviceHandle, std::shared_ptr<BusDevice>> m_devices;
    kernel::DeviceHandle m_nextHandle = 1;
    uint32_t m_speed = 800;
    uint32_t m_threads = 0;
    bool m_fast = true;
    bool m_hasRack = false;
};

} // namespace zerix::sim
