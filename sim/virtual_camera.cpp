// The camera's behaviour. Control words are staged as they are written; the commit makes them
// effective.
#include "sim/virtual_camera.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "hal/kernel_driver.h"
#include "sim/camera_traits.h"
#include "sim/capabilities.h"
#include "sim/information_block.h"
#include "sim/register_map.h"
#include "sim/reserved_values.h"
#include "sim/sensor_drive.h"
#include "zerix/zerix_sim.h"

namespace zerix::sim {
namespace {

constexpr double kAmbientCelsius = 25.0;
constexpr double kUnregulatedKelvin = 30.0;      // that the cooler goes below its surroundings
constexpr double kRegulatedKelvin = 55.0;        // at most
constexpr uint64_t kAccessNanoseconds = 125'000; // a register access takes a bus cycle
constexpr size_t kRememberedWrites = 65'536;
constexpr size_t kRememberedFrames = 256;
constexpr uint8_t kWrongTagBits = 0x55;

} // namespace

VirtualCamera::VirtualCamera(const CameraDescription &description, uint64_t seed, bool fastClock)
    : m_description(description), m_seed(seed), m_sensorType(FindSensorType(description.ccdModel)),
      m_clock(fastClock), m_cooler(kAmbientCelsius), m_credit(ZERIX_SIM_UNLIMITED),
      m_creditPerStream(ZERIX_SIM_UNLIMITED)
{
}

bool VirtualCamera::SetUp(std::string *error)
{
    if (m_sensorType == nullptr) {
        *error = "camera \"" + m_description.serial +
                 "\": there is no sensor with the CCD model number " +
                 std::to_string(m_description.ccdModel) + ".";
        return false;
    }
    if (!SetScene(SceneOf(m_description), error))
        return false;
    for (const FaultText &text : m_description.faults) {
        Fault fault;
        if (!ParseFault(text.text, &fault, error)) {
            if (text.line != 0)
                *error = "line " + std::to_string(text.line) + ": " + *error;
            return false;
        }
        m_faults.Add(fault);
    }
    PowerOn();
    return true;
}

void VirtualCamera::Unplug()
{
    m_plugged = false;
    ClearStreamingRegister();
}

void VirtualCamera::Plug()
{
    if (m_plugged)
        return;
    m_plugged = true;
    ++m_plugNumber;
    PowerOn();
}

void VirtualCamera::PowerOn()
{
    MakeBlocks();
    m_powerOn = m_clock.Now();
    m_lastCommit = m_powerOn;
    m_latched.assign(m_blocks[kControl].words.size(), 0);
    PowerOnInHighGain();
    m_sync = {};
    m_commits = 0;
    m_framesSinceCommit = 0;
    m_shots = 0;
    m_nextFrameNumber = 0;
    m_frameTimes.clear();
    ++m_epoch;
    SetCooler();
}

void VirtualCamera::PowerOnInHighGain()
{
    const bool isHigh = m_description.highGain && (CapabilitiesOf(m_description) & kHighGain) != 0;
    WriteField(m_blocks[kControl].words, control::kHighGainMode, isHigh ? 1 : 0);
    WriteField(m_latched, control::kHighGainMode, isHigh ? 1 : 0);
}

void VirtualCamera::MakeBlocks()
{
    const CameraDescription &camera = m_description;
    // Cameras differ in where their blocks are, so that nobody relies on it.
    const uint32_t base =
        kConfigurationBase + 0x10000 + static_cast<uint32_t>(camera.uniqueId & 0xF) * 0x8000;
    constexpr uint32_t kApart = 0x1000;
    m_blocks[kConfiguration] = {kConfigurationBase, {}};
    for (uint32_t i = kInformation; i < kBlocks; ++i)
        m_blocks[i] = {base + i * kApart, {}};
    const auto make = [](Block &block, uint32_t words, BlockVersion version) {
        block.words.assign(words, 0);
        WriteField(block.words, {0}, VersionWord(version));
    };
    make(m_blocks[kConfiguration], ConfigurationWords(camera.configuration), camera.configuration);
    make(m_blocks[kControl], ControlWords(camera.control), camera.control);
    make(m_blocks[kCommand], CommandWords(camera.command), camera.command);
    make(m_blocks[kStatus], StatusWords(camera.status), camera.status);
    make(m_blocks[kStreaming], StreamingWords(camera.streaming), camera.streaming);
    m_blocks[kInformation].words = MakeInformationBlock(camera, *m_sensorType);

    std::span<uint32_t> words = m_blocks[kConfiguration].words;
    WriteField(words, directory::kInformation, m_blocks[kInformation].address);
    WriteField(words, directory::kControl, m_blocks[kControl].address);
    WriteField(words, directory::kCommand, m_blocks[kCommand].address);
    WriteField(words, directory::kStatus, m_blocks[kStatus].address);
    WriteField(words, directory::kStreaming, m_blocks[kStreaming].address);
}

// The block that holds the whole access; null if there is none.
const VirtualCamera::Block *VirtualCamera::FindBlock(uint32_t address, size_t count) const
{
    for (const Block &block : m_blocks) {
        const uint32_t offset = address - block.address;
        if (address >= block.address && offset % 4 == 0 && offset / 4 + count <= block.words.size())
            return &block;
    }
    return nullptr;
}

bool VirtualCamera::IsModelRegister(uint32_t address) const
{
    return address == kSecondModelRegister ||
           (address == kModelRegister && !m_description.registersFromAlternateAddress);
}

uint32_t VirtualCamera::Read(uint32_t address, std::span<uint32_t> words)
{
    m_clock.Advance(kAccessNanoseconds);
    if (words.empty())
        return 0;
    if (words.size() == 1 && IsModelRegister(address)) {
        words[0] = m_description.model << 16;
        return 0;
    }
    RefreshStatus();
    const Block *block = FindBlock(address, words.size());
    if (block == nullptr) {
        // Which of the two model registers a camera has is found out by trying.
        if (words.size() != 1 || address != kModelRegister)
            Note(Mistake::kRegisterOutside, address, 0);
        return kernel::kErrorGenFailure;
    }
    const size_t first = (address - block->address) / 4;
    std::copy_n(block->words.begin() + static_cast<std::ptrdiff_t>(first), words.size(),
                words.begin());
    return 0;
}

uint32_t VirtualCamera::Write(uint32_t address, std::span<const uint32_t> words)
{
    m_clock.Advance(kAccessNanoseconds);
    if (words.empty())
        return 0;
    const Block *block = FindBlock(address, words.size());
    if (block == nullptr || block == &m_blocks[kConfiguration] || block == &m_blocks[kStatus]) {
        Note(Mistake::kRegisterOutside, address, words.front());
        return kernel::kErrorGenFailure;
    }
    for (uint32_t value : words) {
        m_writes.push_back({address, value});
        if (m_writes.size() > kRememberedWrites)
            m_writes.pop_front();
        WriteWord(address, value);
        address += 4;
    }
    return 0;
}

void VirtualCamera::WriteWord(uint32_t address, uint32_t value)
{
    const Block *found = FindBlock(address, 1);
    auto &block = m_blocks[static_cast<size_t>(found - m_blocks.data())];
    const uint32_t offset = address - block.address;
    CheckWrite(block, address, value);
    if (offset == 0)
        return; // versions can't be written
    if (&block == &m_blocks[kCommand])
        return Command(offset, value);
    block.words[offset / 4] = value;
}

// The factory writes the information block whole.
void VirtualCamera::CheckWrite(const Block &block, uint32_t address, uint32_t value) const
{
    const uint32_t offset = address - block.address;
    if (offset == 0 && &block != &m_blocks[kInformation])
        return Note(Mistake::kRegisterOutside, address, value);
    const bool isReserved =
        (&block == &m_blocks[kControl] && IsReservedControl(m_description, offset, value)) ||
        (&block == &m_blocks[kCommand] && IsReservedCommand(offset, value)) ||
        (&block == &m_blocks[kStreaming] && IsReservedStreaming(offset, value));
    if (isReserved)
        Note(Mistake::kValueReserved, address, value);
}

void VirtualCamera::Note(Mistake mistake, uint32_t where, uint32_t value) const
{
    NoteMistake(mistake, m_description.serial.c_str(), where, value);
}

void VirtualCamera::Command(uint32_t offset, uint32_t value)
{
    if (value != 1)
        return;
    if (offset == kCommandCommit)
        Commit();
    else if (offset == kCommandTrigger)
        AddShots(false);
}

// A running exposure is abandoned; the stream sees that by the epoch.
void VirtualCamera::Commit()
{
    const uint32_t miscellaneous = ReadField(m_latched, control::kMiscellaneous);
    m_latched = m_blocks[kControl].words;
    if (ReadField(m_latched, control::kMiscellaneous) != miscellaneous)
        PutSizes(m_description, ReadPart(m_description, *m_sensorType, m_latched),
                 m_blocks[kInformation].words);
    if (LeavesSensor(m_description, *m_sensorType, m_latched))
        Note(Mistake::kRegionOutside, ReadField(m_latched, {control::kWidth.offset}),
             ReadField(m_latched, {control::kX.offset}));
    ++m_commits;
    ++m_epoch;
    m_framesSinceCommit = 0;
    m_shots = 0;
    m_lastCommit = m_clock.Now();
    SetCooler();
    m_changed.notify_all();
}

void VirtualCamera::SetCooler()
{
    const double fan = FanStrength();
    const uint32_t word = ReadField(m_latched, {control::kCoolerOn.offset});
    if (word == m_coolerWord && fan == m_fan)
        return;
    m_coolerWord = word;
    m_fan = fan;
    const bool on = m_description.cooler && ReadField(m_latched, control::kCoolerOn) != 0;
    const double unregulated = kAmbientCelsius - kUnregulatedKelvin * fan;
    const double wanted = CelsiusOfCounts(ReadField(m_latched, control::kCoolerTarget));
    const double reached = kAmbientCelsius - kRegulatedKelvin * fan;
    const bool isRegulated = HasRegulatedCooling(m_description);
    // At full speed the fan sets no limit to a target.
    m_isTargetReached = fan == 1.0 || wanted >= reached;
    m_cooler.Set(on,
                 !isRegulated        ? unregulated
                 : m_isTargetReached ? wanted
                                     : reached,
                 m_clock.Now());
}

// What the cooler can do at the fan's speed; what is none of four speeds is the highest.
double VirtualCamera::FanStrength() const
{
    constexpr double kStrengths[] = {1.0, 0.7, 0.8, 0.9, 1.0};
    const uint32_t speed = ReadField(m_latched, control::kFanSpeed);
    const bool hasFan = (CapabilitiesOf(m_description) & kFan) != 0;
    return hasFan && speed < std::size(kStrengths) ? kStrengths[speed] : 1.0;
}

void VirtualCamera::RefreshStatus()
{
    const bool locked =
        HasRegulatedCooling(m_description) && m_isTargetReached && m_cooler.IsLocked(m_clock.Now());
    WriteField(m_blocks[kStatus].words, kStatusLock, locked ? 3 : 0);
}

bool VirtualCamera::NextAccessPends()
{
    if (m_description.reads == "mixed")
        return m_accesses++ % 2 == 0;
    return m_description.reads != "immediate";
}

uint32_t VirtualCamera::StreamingRegister() const
{
    return ReadField(m_blocks[kStreaming].words, {kStreamingEnable});
}

void VirtualCamera::ClearStreamingRegister()
{
    WriteField(m_blocks[kStreaming].words, {kStreamingEnable}, 0);
}

uint32_t VirtualCamera::PacketBytesAllowed() const { return PacketLimit(m_description, m_latched); }

std::deque<RegisterWrite> VirtualCamera::TakeWrites() { return std::exchange(m_writes, {}); }

bool VirtualCamera::SetScene(const std::string &text, std::string *error)
{
    auto scene = MakeScene(text, m_seed, error);
    if (scene == nullptr)
        return false;
    m_scene = std::move(scene);
    return true;
}

// A pulse has both edges; which of them counts is the polarity's.
void VirtualCamera::FireTriggerLine()
{
    SetTriggerLine(!m_isTriggerLineHigh);
    SetTriggerLine(!m_isTriggerLineHigh);
}

void VirtualCamera::SetTriggerLine(bool isHigh)
{
    const bool isFalling = m_isTriggerLineHigh && !isHigh;
    const bool isEdge = isHigh != m_isTriggerLineHigh;
    m_isTriggerLineHigh = isHigh;
    if (isEdge && isFalling == (ReadField(m_latched, control::kTriggerFalls) != 0))
        AddShots(true);
}

// A camera that isn't streaming, or waits for another kind of trigger, doesn't see the pulse.
void VirtualCamera::AddShots(bool isHardware)
{
    if (!m_plugged || !IsStreamingEnabled())
        return;
    const Trigger trigger = TriggerOf(m_latched);
    if (trigger == (isHardware ? Trigger::kHardware : Trigger::kSoftware))
        m_shots += 1;
    else if (isHardware && trigger == Trigger::kHardwareTwoShots)
        m_shots += 2;
    m_changed.notify_all();
}

void VirtualCamera::SetCredit(uint32_t frames)
{
    m_credit = frames;
    ++m_creditSerial;
    m_changed.notify_all();
}

void VirtualCamera::SetCreditPerStream(uint32_t frames)
{
    m_creditPerStream = frames;
    SetCredit(frames);
}

void VirtualCamera::StreamBegins()
{
    if (m_creditPerStream != ZERIX_SIM_UNLIMITED)
        SetCredit(m_creditPerStream);
}

double VirtualCamera::Celsius() const { return m_cooler.Celsius(m_clock.Now()); }

std::optional<uint64_t> VirtualCamera::FrameTime(uint16_t rollingFrameNumber) const
{
    for (auto frame = m_frameTimes.rbegin(); frame != m_frameTimes.rend(); ++frame)
        if (frame->number == rollingFrameNumber)
            return frame->start;
    return std::nullopt;
}

bool VirtualCamera::MayBegin() const
{
    // Of a single row a camera that sends row pairs has nothing to send.
    const ExposureSettings region =
        PlanFrame(m_description, *m_sensorType, m_latched, m_framesSinceCommit).exposure;
    const bool hasRegion = region.width > 0 && region.height > 0;
    const bool triggered = TriggerOf(m_latched) == Trigger::kFree || m_shots > 0;
    return m_plugged && hasRegion && triggered && m_credit > 0;
}

FrameJob VirtualCamera::Begin(uint64_t earliestStart)
{
    FrameJob job;
    job.plan = PlanFrame(m_description, *m_sensorType, m_latched, m_framesSinceCommit);
    job.key = {.commits = m_commits, .framesSinceCommit = m_framesSinceCommit};
    job.epoch = m_epoch;
    job.creditSerial = m_creditSerial;
    job.scene = m_scene;
    const bool free = TriggerOf(m_latched) == Trigger::kFree;
    const uint64_t moment =
        m_clock.IsFast() || !free ? m_clock.Now() : std::max(earliestStart, m_lastCommit);
    job.start = moment + job.plan.leadNanoseconds;
    job.end = job.start + job.plan.exposure.exposureNanoseconds;
    job.plan.exposure.celsius = m_cooler.Celsius(job.start);
    if (m_credit != ZERIX_SIM_UNLIMITED)
        --m_credit;
    if (!free)
        --m_shots;
    return job;
}

void VirtualCamera::Abandon(const FrameJob &job)
{
    if (job.creditSerial == m_creditSerial && m_credit != ZERIX_SIM_UNLIMITED)
        ++m_credit;
}

void VirtualCamera::Exposed(FrameJob &job)
{
    FrameLayout &layout = job.plan.layout;
    layout.rollingFrameNumber = m_nextFrameNumber++;
    layout.time = static_cast<uint32_t>((job.start - m_powerOn) / 1000);
    ++m_sync.pulses;
    m_sync.activeNanoseconds += job.plan.syncNanoseconds;
    if (m_faults.OnFrame())
        layout.tag ^= kWrongTagBits;
    ++m_framesSinceCommit;
    m_frameTimes.push_back({layout.rollingFrameNumber, job.start});
    if (m_frameTimes.size() > kRememberedFrames)
        m_frameTimes.pop_front();
}

// Runs on the stream's thread, without the bus's lock.
void VirtualCamera::Expose(const FrameJob &job, std::vector<uint8_t> &pixels)
{
    if (m_optics.sensor == nullptr)
        m_optics.sensor = std::make_unique<Sensor>(*m_sensorType, m_seed, m_description.serial);
    if (m_optics.scene != job.scene) {
        m_optics.scene = job.scene;
        const auto &colour = m_description.lightColour;
        m_optics.sensor->SetScene(job.scene, m_description.light,
                                  {.red = colour[0], .green = colour[1], .blue = colour[2]});
    }
    pixels.resize(Sensor::FrameBytes(job.plan.exposure));
    m_optics.sensor->Expose(job.plan.exposure, job.key, pixels.data());
    if (job.plan.keptRowPairs > 1)
        pixels = KeepRowPairs(job.plan, pixels);
}

} // namespace zerix::sim
