#include "camera_session.h"

#include "tests/virtual_bus/bus_tap.h"

namespace linux_kernel {

using namespace zerix;
using bus::linux_firewire::LinuxFirewireDriver;

std::unique_ptr<LinuxFirewireDriver> MakeDriver()
{
    return std::make_unique<LinuxFirewireDriver>(
        bus::linux_firewire::RealSystemCalls(),
        bus::linux_firewire::Recognition{
            .units = {{rack_cameras::kUnitSpecifier, rack_cameras::kUnitVersion}}, .isModel = {}});
}

void CameraSession::TearDown()
{
    Leave();
    ZerixSimHeld held = {};
    EXPECT_EQ(ZerixSim_GetHeld(&held), 0u);
    EXPECT_EQ(held.openHandles, 0u);
    EXPECT_EQ(held.channels, 0u);
    EXPECT_EQ(held.bandwidthHandles, 0u);
    EXPECT_EQ(held.resourcesHandles, 0u);
    EXPECT_EQ(held.queuedBuffers, 0u);
    EXPECT_EQ(held.pendingRequests, 0u);
    EXPECT_EQ(held.threads, 0u);
}

void CameraSession::Use(const std::string &rack, Way way)
{
    Leave();
    ASSERT_EQ(ZerixSim_ChooseRack(rack.c_str()), 0u) << ZerixSim_LastErrorText();
    if (way == Way::kKernel) {
        m_nodes = std::make_unique<RackNodes>();
        ASSERT_TRUE(m_nodes->Settle());
        m_driver = MakeDriver();
    }
    if (m_driver)
        test::BusTap::Replace(*m_driver);
    ASSERT_EQ(Zerix_LoadDriver(), 0u);
}

void CameraSession::UseText(const std::string &text, Way way)
{
    Use(m_folder.Write("rack.toml", text), way);
}

void CameraSession::Leave()
{
    Zerix_ReleaseDriver();
    test::BusTap::Replace(rack_cameras::VirtualBusDriver());
    m_driver.reset();
    m_nodes.reset();
}

std::string CameraSession::ToldLosses() const
{
    std::string losses;
    for (const std::string &line : m_debugOutput.Lines())
        if (line.find("FireWire stream:") != std::string::npos)
            losses += line + "\n";
    return losses;
}

std::vector<ZerixCameraListItem> CameraSession::List()
{
    std::vector<ZerixCameraListItem> rows(FWBUS_NODES);
    auto count = static_cast<std::uint32_t>(rows.size());
    EXPECT_EQ(Zerix_ListCameras(rows.data(), &count), 0u);
    rows.resize(count);
    return rows;
}

// The kernel lists cameras by their identifiers, the virtual bus by their places.
ZerixHandle CameraSession::Open(std::uint32_t place)
{
    for (const ZerixCameraListItem &row : List()) {
        if (row.isOpen != 0)
            continue; // its row tells no identifier
        std::uint32_t found = 0;
        EXPECT_EQ(ZerixSim_FindCamera(row.uniqueId, &found), 0u);
        if (found != place)
            continue;
        ZerixHandle camera = nullptr;
        EXPECT_EQ(Zerix_OpenCamera(row.cameraId, &camera), 0u);
        EXPECT_EQ(ZerixSim_GiveCredit(place, 0), 0u);
        return camera;
    }
    ADD_FAILURE() << "camera " << place << " isn't listed";
    return nullptr;
}

CameraSession::Picture CameraSession::Grab(ZerixHandle camera, std::uint32_t bytes,
                                           std::uint32_t place)
{
    Picture picture;
    picture.bytes.resize(bytes);
    Zerix_Frame frame = {};
    frame.pBuffer = picture.bytes.data();
    frame.bufferSize = bytes;
    EXPECT_EQ(ZerixSim_GiveCredit(place, 1), 0u);
    picture.error = Zerix_GrabFrame(camera, &frame);
    if (picture.error == 0)
        picture.error = frame.errorCode;
    picture.format = frame.format;
    picture.width = frame.width;
    picture.height = frame.height;
    picture.bitDepth = frame.bitDepth;
    picture.frameNumber = frame.frameNumber;
    picture.bytes.resize(frame.size);
    return picture;
}

} // namespace linux_kernel
