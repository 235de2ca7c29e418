#include "driver_control.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

#include <windows.h>

namespace zerix::test {

DriverControl::DriverControl()
    : m_handle(CreateFileA(TEST_DRIVER_CONTROL_PATH, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
{
    if (m_handle == INVALID_HANDLE_VALUE)
        throw std::runtime_error("the test driver isn't loaded: error " +
                                 std::to_string(GetLastError()));
}

DriverControl::~DriverControl() { CloseHandle(m_handle); }

uint32_t DriverControl::Send(uint32_t code, const void *in, size_t inBytes, void *out,
                             size_t outBytes)
{
    DWORD returned = 0;
    if (!DeviceIoControl(m_handle, code, const_cast<void *>(in), static_cast<DWORD>(inBytes), out,
                         static_cast<DWORD>(outBytes), &returned, nullptr))
        throw std::runtime_error("the test driver refuses control request " + std::to_string(code) +
                                 " with error " + std::to_string(GetLastError()));
    return returned;
}

void DriverControl::Reset()
{
    Send(kTestReset, nullptr, 0, nullptr, 0);
    for (TestBehaviour &behaviour : m_behaviours)
        behaviour = {};
}

void DriverControl::SetRegister(uint32_t device, uint32_t address, uint32_t value)
{
    SetRegisters(device, address, std::span(&value, 1));
}

void DriverControl::SetRegisters(uint32_t device, uint32_t address,
                                 std::span<const uint32_t> values)
{
    std::vector<uint32_t> record = {device, static_cast<uint32_t>(values.size())};
    for (const uint32_t value : values) {
        record.push_back(address);
        record.push_back(value);
        address += 4;
    }
    Send(kTestSetRegisters, record.data(), record.size() * 4, nullptr, 0);
}

uint32_t DriverControl::Register(uint32_t device, uint32_t address)
{
    TestRegister record{.device = device, .word = {.address = address, .value = 0}};
    Send(kTestGetRegister, &record, sizeof record, &record, sizeof record);
    return record.word.value;
}

void DriverControl::SetRecording(uint32_t device, const Recording &recording)
{
    std::vector<uint8_t> packets;
    for (const Packet &packet : recording.packets) {
        const TestPacket lead{.length = static_cast<uint16_t>(packet.bytes.size()),
                              .tagOffset = packet.tagOffset};
        const auto *bytes = reinterpret_cast<const uint8_t *>(&lead);
        packets.insert(packets.end(), bytes, bytes + sizeof lead);
        packets.insert(packets.end(), packet.bytes.begin(), packet.bytes.end());
    }
    const TestRecording head{.device = device,
                             .streamRegister = recording.streamRegister,
                             .tagRegister = recording.tagRegister,
                             .idleSlots = recording.idleSlots,
                             .packetCount = static_cast<uint32_t>(recording.packets.size()),
                             .bytes = static_cast<uint32_t>(packets.size()),
                             .packets = {}};
    constexpr size_t kHeadBytes = offsetof(TestRecording, packets);
    std::vector<uint8_t> record(kHeadBytes + packets.size() + sizeof head);
    std::memcpy(record.data(), &head, kHeadBytes);
    std::memcpy(record.data() + kHeadBytes, packets.data(), packets.size());
    Send(kTestSetRecording, record.data(), record.size(), nullptr, 0);
}

void DriverControl::SetBehaviour(uint32_t device)
{
    m_behaviours[device].device = device;
    Send(kTestSetBehaviour, &m_behaviours[device], sizeof(TestBehaviour), nullptr, 0);
}

void DriverControl::SetPending(uint32_t device, TestPending pending)
{
    m_behaviours[device].pending = pending;
    SetBehaviour(device);
}

void DriverControl::SetSlow(uint32_t device)
{
    m_behaviours[device].isSlow = 1;
    SetBehaviour(device);
}

void DriverControl::SetSilent(uint32_t device, bool isSilent)
{
    m_behaviours[device].isSilent = isSilent ? 1 : 0;
    SetBehaviour(device);
}

void DriverControl::Fail(uint32_t device, uint32_t code, uint32_t status, uint32_t skip,
                         uint32_t times)
{
    AddFault({.device = device,
              .code = code,
              .action = kTestFail,
              .status = status,
              .skip = skip,
              .times = times});
}

void DriverControl::AddFault(const TestFault &fault)
{
    Send(kTestAddFault, &fault, sizeof fault, nullptr, 0);
}

void DriverControl::Unplug(uint32_t device)
{
    const TestPresence record{.device = device, .isPresent = 0};
    Send(kTestSetPresent, &record, sizeof record, nullptr, 0);
}

void DriverControl::Plug(uint32_t device)
{
    const TestPresence record{.device = device, .isPresent = 1};
    Send(kTestSetPresent, &record, sizeof record, nullptr, 0);
}

TestState DriverControl::State(uint32_t device)
{
    TestState state{};
    Send(kTestGetState, &device, sizeof device, &state, sizeof state);
    return state;
}

std::vector<TestAccess> DriverControl::TakeAccesses(uint32_t device)
{
    std::vector<TestAccess> accesses(kTestAccessLimit);
    const uint32_t bytes = Send(kTestTakeAccesses, &device, sizeof device, accesses.data(),
                                accesses.size() * sizeof(TestAccess));
    accesses.resize(bytes / sizeof(TestAccess));
    return accesses;
}

} // namespace zerix::test
