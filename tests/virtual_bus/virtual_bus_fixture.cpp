// Racks, cameras and register writes of a test on the virtual bus.
#include "tests/virtual_bus/virtual_bus_fixture.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <mutex>
#include <ostream>
#include <sstream>

#include "hal/kernel_requests.h"
#include "platform/os.h"
#include "tests/virtual_bus/rack_text.h"

extern "C" zerix::kernel::KernelDriver *ZerixSim_KernelDriver(const char *rackOrNull);

namespace zerix::test {

namespace {

constexpr uint32_t kDirectoryAddress = 0xD0000000;
constexpr uint32_t kDirectoryWords = 11;
constexpr uint32_t kDirectoryVersion = 0x00010001;
constexpr uint32_t kLongestBlockBytes = 0x400;

uint32_t SwappedBytes(uint32_t word)
{
    return word >> 24 | (word >> 8 & 0xFF00u) | (word << 8 & 0xFF0000u) | word << 24;
}

constexpr const char *kBlockNames[] = {"configuration", "information", "control", "command",
                                       "status",        "streaming",   "address"};

} // namespace

std::ostream &operator<<(std::ostream &stream, const RegisterWrite &write)
{
    return stream << kBlockNames[static_cast<size_t>(write.block)] << std::hex << " 0x"
                  << write.offset << " = 0x" << std::setw(8) << std::setfill('0') << write.value
                  << std::dec << std::setfill(' ');
}

struct VirtualBusTest::State {
    std::mutex debugMutex;
    std::string debugText;
    std::map<uint32_t, std::array<uint32_t, 6>> directories; // by camera of the rack
    std::filesystem::path rackFile;
};

VirtualBusTest::VirtualBusTest() : m_state(std::make_unique<State>()) {}
VirtualBusTest::~VirtualBusTest() = default;

void VirtualBusTest::SetUp()
{
    os::SetDebugOutputForTest([state = m_state.get()](const std::string &text) {
        const std::lock_guard lock(state->debugMutex);
        state->debugText += text;
    });
    tap.Reset();
    UseRackFile(nullptr);
    ZX::ZCamera::Initialize();
}

void VirtualBusTest::TearDown()
{
    tap.Reset();
    FreeCameras();
    ZX::ZCamera::Shutdown();
    ZerixSimHeld held{};
    EXPECT_EQ(ZerixSim_GetHeld(&held), uint32_t{ZERIX_SIM_OK});
    EXPECT_EQ(held.openHandles, 0u);
    EXPECT_EQ(held.channels, 0u);
    EXPECT_EQ(held.bandwidthHandles, 0u);
    EXPECT_EQ(held.resourcesHandles, 0u);
    EXPECT_EQ(held.queuedBuffers, 0u);
    EXPECT_EQ(held.pendingRequests, 0u);
    EXPECT_EQ(held.threads, 0u);
    os::SetDebugOutputForTest({});
    std::error_code ignored;
    if (!m_state->rackFile.empty())
        std::filesystem::remove(m_state->rackFile, ignored);
}

sim::CameraDescription VirtualBusTest::Describe(uint32_t model, uint16_t ccdModel)
{
    sim::CameraDescription camera;
    camera.model = model;
    camera.serial = "T-" + std::to_string(model);
    camera.uniqueId = 0x0000C0DE00000000u + model;
    camera.ccdModel = ccdModel;
    camera.scene = "flat";
    return camera;
}

void VirtualBusTest::UseCameras(const std::vector<sim::CameraDescription> &descriptions,
                                uint32_t speed)
{
    sim::Rack rack;
    rack.name = "test";
    rack.speed = speed;
    rack.cameras = descriptions;
    UseRack(rack);
}

void VirtualBusTest::UseRack(const sim::Rack &rack)
{
    std::ostringstream name;
    name << "zerix-camera-test-" << os::PerformanceCounter() << "-" << this << ".toml";
    if (m_state->rackFile.empty())
        m_state->rackFile = std::filesystem::temp_directory_path() / name.str();
    std::ofstream file(m_state->rackFile);
    file << "name = " << Quoted(rack.name) << "\nspeed = " << rack.speed
         << "\nclock = " << Quoted(rack.fastClock ? "fast" : "real") << "\nseed = " << rack.seed
         << "\n";
    for (const sim::CameraDescription &camera : rack.cameras)
        WriteCamera(file, camera);
    file.close();
    UseRackFile(m_state->rackFile.string().c_str());
}

void VirtualBusTest::UseRackFile(const char *rackNameOrPath)
{
    kernel::Driver(); // the bus itself, before its rack
    m_state->directories.clear();
    ASSERT_EQ(ZerixSim_ChooseRack(rackNameOrPath), uint32_t{ZERIX_SIM_OK})
        << ZerixSim_LastErrorText();
}

void VirtualBusTest::ListCameras()
{
    ASSERT_EQ(ZX::ZCamera::GetCameraList(cameras), ZX::kStatusOk);
}

ZX::TolvaneFWCamera &VirtualBusTest::OpenOne(const sim::CameraDescription &camera, uint32_t speed)
{
    UseCameras({camera}, speed);
    ListCameras();
    EXPECT_EQ(Camera().OpenCamera(), ZX::kStatusOk);
    TakeWrites();
    return Camera();
}

// A test cannot go on without its camera.
ZX::TolvaneFWCamera &VirtualBusTest::Camera(size_t index)
{
    auto *camera =
        index < cameras.size() ? dynamic_cast<ZX::TolvaneFWCamera *>(cameras[index]) : nullptr;
    if (camera == nullptr) {
        ADD_FAILURE() << "no camera " << index << " among " << cameras.size();
        std::abort();
    }
    return *camera;
}

void VirtualBusTest::FreeCameras()
{
    EXPECT_EQ(ZX::ZCamera::FreeCameraList(cameras), ZX::kStatusOk);
}

namespace {

// Reads the directory past the camera object, on a handle of its own.
std::array<uint32_t, 6> ReadDirectory(uint32_t camera)
{
    auto &bus = *ZerixSim_KernelDriver(nullptr);
    std::vector<kernel::DevicePath> paths(16);
    uint32_t count = 0;
    EXPECT_EQ(bus.Enumerate(paths.data(), 16, &count), 0u);
    EXPECT_LT(camera, count);
    kernel::DeviceHandle device = 0;
    EXPECT_EQ(bus.Open(paths[camera].text, &device), 0u);
    kernel::AsyncRequest request{};
    request.one = 1;
    request.destination = kernel::kDestination;
    request.offsetHigh = kernel::kOffsetHigh;
    request.offsetLow = kDirectoryAddress;
    request.lengthBytes = kDirectoryWords * 4;
    uint32_t words[kDirectoryWords] = {};
    const auto result = bus.Control(device, kernel::kControlAsyncRead, &request, sizeof request,
                                    words, sizeof words, nullptr);
    EXPECT_EQ(result.completion, kernel::Completion::kDone);
    bus.Close(device);
    // Host order or the bus's, as the camera answers.
    if (words[0] == SwappedBytes(kDirectoryVersion))
        std::transform(words, words + kDirectoryWords, words, SwappedBytes);
    EXPECT_EQ(words[0], kDirectoryVersion);
    return {kDirectoryAddress, words[2], words[4], words[6], words[8], words[10]};
}

} // namespace

uint32_t VirtualBusTest::AddressOf(Block block, uint32_t camera)
{
    if (!m_state->directories.contains(camera))
        m_state->directories[camera] = ReadDirectory(camera);
    return m_state->directories[camera][static_cast<size_t>(block)];
}

std::vector<RegisterWrite> VirtualBusTest::TakeWrites(uint32_t camera)
{
    std::vector<ZerixSimWrite> raw(65536);
    auto count = static_cast<uint32_t>(raw.size());
    EXPECT_EQ(ZerixSim_TakeWrites(camera, raw.data(), &count), uint32_t{ZERIX_SIM_OK});
    raw.resize(std::min<size_t>(count, raw.size()));
    std::vector<RegisterWrite> writes;
    for (const ZerixSimWrite &write : raw) {
        RegisterWrite placed{Block::kOther, write.address, write.value};
        for (const Block block : {Block::kConfiguration, Block::kInformation, Block::kControl,
                                  Block::kCommand, Block::kStatus, Block::kStreaming}) {
            const uint32_t offset = write.address - AddressOf(block, camera);
            if (offset < kLongestBlockBytes && offset < placed.offset)
                placed = {block, offset, write.value};
        }
        writes.push_back(placed);
    }
    return writes;
}

std::vector<uint32_t> VirtualBusTest::Shadow(ZX::TolvaneFWCamera &camera)
{
    const size_t before = DebugText().size();
    camera.PrintOutControlRegisters();
    const std::string text = DebugText().substr(before);
    std::vector<uint32_t> words;
    const size_t start = text.find("registers: ", text.find("\nControl"));
    std::istringstream stream(start == std::string::npos ? "" : text.substr(start + 11));
    for (std::string word; stream >> word;)
        words.push_back(static_cast<uint32_t>(std::stoul(word, nullptr, 16)));
    return words;
}

std::string VirtualBusTest::DebugText()
{
    const std::lock_guard lock(m_state->debugMutex);
    return m_state->debugText;
}

} // namespace zerix::test
