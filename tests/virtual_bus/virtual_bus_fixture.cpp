// The tap on the virtual bus and the fixture. The tap's state is under one lock; requests of any
// thread.
#include "tests/virtual_bus/virtual_bus_fixture.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <sstream>
#include <utility>

#include "platform/os.h"

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

struct Fault {
    uint32_t code;
    std::optional<uint32_t> address;
    uint32_t systemError;
    uint32_t skip;
    uint32_t times;
};

// A pending read whose data is to be changed when it comes.
struct PendingRead {
    uint32_t *data;
    uint32_t address;
    uint32_t quadlets;
};

// From where a thread leaves the driver library to where it comes back.
class Passage {
public:
    using Watch = void (*)(bool isGoingIn);
    explicit Passage(Watch watch) : m_watch(watch) { Tell(true); }
    ~Passage() { Tell(false); }
    Passage(const Passage &) = delete;
    Passage &operator=(const Passage &) = delete;

private:
    void Tell(bool isGoingIn) const
    {
        if (m_watch != nullptr)
            m_watch(isGoingIn);
    }
    Watch m_watch;
};

class TapDriver final : public kernel::KernelDriver {
public:
    static TapDriver &Get()
    {
        static TapDriver driver;
        return driver;
    }

    uint32_t Enumerate(kernel::DevicePath *paths, uint32_t maximumCount, uint32_t *count) override
    {
        return m_bus.Enumerate(paths, maximumCount, count);
    }

    uint32_t Open(const char *devicePath, kernel::DeviceHandle *device) override
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_openError != 0)
                return m_openError;
        }
        return m_bus.Open(devicePath, device);
    }

    kernel::ControlResult Control(kernel::DeviceHandle device, uint32_t code, const void *in,
                                  uint32_t inSize, void *out, uint32_t outSize,
                                  kernel::Overlapped *overlapped) override
    {
        const Passage passage(m_watch);
        if (const uint32_t error = Note(code, in, inSize, out, overlapped))
            return {kernel::Completion::kFailed, error, 0};
        const auto result = m_bus.Control(device, code, in, inSize, out, outSize, overlapped);
        if (result.completion == kernel::Completion::kPending)
            return result;
        if (overlapped != nullptr)
            Forget(overlapped);
        if (result.completion == kernel::Completion::kDone)
            ChangeResult(code, in, inSize, out);
        return result;
    }

    kernel::ControlResult Wait(kernel::DeviceHandle device, kernel::Overlapped *overlapped) override
    {
        const Passage passage(m_watch);
        const auto result = m_bus.Wait(device, overlapped);
        const auto read = Forget(overlapped);
        if (read && result.completion == kernel::Completion::kDone)
            Override(*read, true);
        return result;
    }

    void CancelPending(kernel::DeviceHandle device) override { m_bus.CancelPending(device); }
    void Close(kernel::DeviceHandle device) override { m_bus.Close(device); }
    bool IsSimulated() const override { return m_bus.IsSimulated(); }

    std::mutex m_mutex;
    std::atomic<Passage::Watch> m_watch{nullptr};
    std::vector<Fault> m_faults;
    uint32_t m_openError = 0;
    bool m_pretendsInUse = false;
    bool m_pretendsFree = false;
    std::map<uint32_t, uint32_t> m_overrides;
    std::map<uint32_t, uint32_t> m_counts;
    std::vector<BusTap::Read> m_reads;

private:
    static const kernel::AsyncRequest *AccessOf(uint32_t code, const void *in, uint32_t inSize)
    {
        const bool isAccess =
            code == kernel::kControlAsyncRead || code == kernel::kControlAsyncWrite;
        return isAccess && inSize >= kernel::kAsyncRequestBytes
                   ? static_cast<const kernel::AsyncRequest *>(in)
                   : nullptr;
    }

    // Counts the request. 0, or the system error that it is to fail with.
    uint32_t Note(uint32_t code, const void *in, uint32_t inSize, void *out,
                  kernel::Overlapped *overlapped)
    {
        const std::lock_guard lock(m_mutex);
        ++m_counts[code];
        const kernel::AsyncRequest *const access = AccessOf(code, in, inSize);
        if (access != nullptr && code == kernel::kControlAsyncRead) {
            m_reads.push_back({access->offsetLow, access->lengthBytes / 4});
            if (overlapped != nullptr)
                m_pending[overlapped] = {static_cast<uint32_t *>(out), access->offsetLow,
                                         access->lengthBytes / 4};
        }
        for (Fault &fault : m_faults) {
            const bool isMeant =
                fault.code == code && fault.times != 0 &&
                (!fault.address || (access && access->offsetLow == *fault.address));
            if (!isMeant)
                continue;
            if (fault.skip != 0) {
                --fault.skip;
                continue;
            }
            --fault.times;
            if (overlapped != nullptr)
                m_pending.erase(overlapped);
            return fault.systemError;
        }
        return 0;
    }

    std::optional<PendingRead> Forget(kernel::Overlapped *overlapped)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_pending.find(overlapped);
        if (found == m_pending.end())
            return std::nullopt;
        const PendingRead read = found->second;
        m_pending.erase(found);
        return read;
    }

    void ChangeResult(uint32_t code, const void *in, uint32_t inSize, void *out)
    {
        if (code == kernel::kControlAsyncRead)
            if (const auto *access = AccessOf(code, in, inSize))
                Override({static_cast<uint32_t *>(out), access->offsetLow, access->lengthBytes / 4},
                         false);
        const std::lock_guard lock(m_mutex);
        if (code == kernel::kControlIsOpen && m_pretendsInUse)
            *static_cast<uint32_t *>(out) = 1;
        if (code == kernel::kControlIsOpen && m_pretendsFree)
            *static_cast<uint32_t *>(out) = 0;
    }

    // What was pending comes as the bus has it, big-endian; what was not, in host order.
    void Override(const PendingRead &read, bool isBigEndian)
    {
        const std::lock_guard lock(m_mutex);
        for (uint32_t index = 0; index < read.quadlets; ++index) {
            const auto found = m_overrides.find(read.address + 4 * index);
            if (found != m_overrides.end())
                read.data[index] = isBigEndian ? SwappedBytes(found->second) : found->second;
        }
    }

    kernel::KernelDriver &m_bus = *ZerixSim_KernelDriver(nullptr);
    std::map<kernel::Overlapped *, PendingRead> m_pending;
};

std::string Quoted(const std::string &text)
{
    std::string quoted = "\"";
    for (const char letter : text)
        quoted +=
            (letter == '"' || letter == '\\') ? std::string("\\") + letter : std::string(1, letter);
    return quoted + "\"";
}

std::string Version(const sim::BlockVersion &version)
{
    return Quoted(std::to_string(version.major) + "." + std::to_string(version.minor));
}

void WriteCamera(std::ostream &file, const sim::CameraDescription &camera)
{
    std::ostringstream id;
    id << "0x" << std::hex << camera.uniqueId;
    file << "[[camera]]\n"
         << "model = " << camera.model << "\nserial = " << Quoted(camera.serial)
         << "\nunique-id = " << Quoted(id.str()) << "\nsensor = " << camera.ccdModel
         << "\nconfiguration = " << Version(camera.configuration)
         << "\ninformation = " << Version(camera.information)
         << "\ncontrol = " << Version(camera.control)
         << "\nstreaming = " << Version(camera.streaming)
         << "\ncommand = " << Version(camera.command) << "\nstatus = " << Version(camera.status)
         << "\nhardware = " << camera.hardwareVersion << "\nfirmware = " << camera.firmwareVersion
         << "\nbuild = " << camera.firmwareBuild << "\nstream-format = " << camera.streamingVersion
         << "\nbit-depth = " << camera.bitDepth << std::boolalpha << "\ncooler = " << camera.cooler
         << "\nregulated-cooling = " << camera.regulatedCooling
         << "\nalternate-model-address = " << camera.registersFromAlternateAddress
         << "\nscene = " << Quoted(camera.scene) << "\nreads = " << Quoted(camera.reads)
         << "\nin-use = " << camera.inUse << "\nfaults = [";
    for (const sim::FaultText &fault : camera.faults)
        file << Quoted(fault.text) << ", ";
    file << "]\n";
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

std::ostream &operator<<(std::ostream &stream, const BusTap::Read &read)
{
    return stream << std::hex << "0x" << read.address << std::dec << " x " << read.quadlets;
}

// The tap -----------------------------------------------------------------------------------------

void BusTap::FailRequest(uint32_t code, uint32_t systemError, uint32_t skip, uint32_t times)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_faults.push_back({code, std::nullopt, systemError, skip, times});
}

void BusTap::FailAccess(uint32_t code, uint32_t address, uint32_t systemError, uint32_t times)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_faults.push_back({code, address, systemError, 0, times});
}

void BusTap::FailOpen(uint32_t systemError)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_openError = systemError;
}

void BusTap::PretendInUse(bool inUse)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_pretendsInUse = inUse;
}

void BusTap::PretendFree()
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_pretendsFree = true;
}

void BusTap::OverrideRegister(uint32_t address, uint32_t value)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    TapDriver::Get().m_overrides[address] = value;
}

uint32_t BusTap::CountOf(uint32_t code)
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    return TapDriver::Get().m_counts[code];
}

std::vector<BusTap::Read> BusTap::TakeReads()
{
    const std::lock_guard lock(TapDriver::Get().m_mutex);
    return std::exchange(TapDriver::Get().m_reads, {});
}

void BusTap::WatchPassages(void (*watch)(bool isGoingIn)) { TapDriver::Get().m_watch = watch; }

void BusTap::Reset()
{
    TapDriver &driver = TapDriver::Get();
    driver.m_watch = nullptr;
    const std::lock_guard lock(driver.m_mutex);
    driver.m_faults.clear();
    driver.m_openError = 0;
    driver.m_pretendsInUse = false;
    driver.m_pretendsFree = false;
    driver.m_overrides.clear();
    driver.m_counts.clear();
    driver.m_reads.clear();
}

// The fixture -------------------------------------------------------------------------------------

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

namespace zerix::kernel {

KernelDriver &Driver() { return test::TapDriver::Get(); }

} // namespace zerix::kernel
