// Records filled and events read.
#include "tests/linux_model/process_fixture.h"

#include <cstring>

namespace zerix::linux_model {
namespace {

uint64_t AddressOf(const void *pointer)
{
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(pointer));
}

} // namespace

void ProcessTest::SetUp()
{
    ZerixSimMistakes forgotten{};
    ZerixSim_TakeMistakes(&forgotten);
}

void ProcessTest::TearDown()
{
    if (m_model == nullptr)
        return;
    EXPECT_EQ(m_model->WhatIsHeld(), KernelModel::Held{});
    ZerixSimHeld held{};
    EXPECT_EQ(ZerixSim_GetHeld(&held), 0u);
    EXPECT_EQ(held.openHandles, 0u);
    EXPECT_EQ(held.threads, 0u);
    m_model.reset();
}

void ProcessTest::ChooseRack(const std::string &cameraLines, const std::string &rackLines) const
{
    const std::string camera = "[[camera]]\nmodel = 18\nsensor = 11\nscene = \"flat:1\"\n";
    const std::string path = m_folder.Write(
        "rack.toml", rackLines + camera + "unique-id = \"0x00A1B2C300000018\"\n" + cameraLines +
                         camera + "unique-id = \"0x00A1B2C300000019\"\n");
    ASSERT_EQ(ZerixSim_ChooseRack(path.c_str()), 0u) << ZerixSim_LastErrorText();
}

void ProcessTest::Boot(const std::string &cameraLines, const std::string &rackLines,
                       const ModelOptions &options)
{
    m_model.reset();
    ASSERT_NO_FATAL_FAILURE(ChooseRack(cameraLines, rackLines));
    m_model = std::make_unique<KernelModel>(options);
    m_model->HoldClock();
}

void ProcessTest::ChangeRack(const std::string &rackLines) { ChooseRack("", rackLines); }

int ProcessTest::OpenFile(const char *path)
{
    const int file = m_model->Open(path);
    EXPECT_GE(file, 3);
    Info(file);
    return file;
}

fw_cdev_event_bus_reset ProcessTest::Info(int file, uint32_t version)
{
    fw_cdev_event_bus_reset reset{};
    fw_cdev_get_info info{};
    info.version = version;
    info.bus_reset = AddressOf(&reset);
    info.bus_reset_closure = 0xB055;
    EXPECT_EQ(m_model->Ioctl(file, FW_CDEV_IOC_GET_INFO, &info), 0);
    return reset;
}

void ProcessTest::Close(int file) { EXPECT_EQ(m_model->Close(file), 0); }

// Requests ----------------------------------------------------------------------------------------

int ProcessTest::Send(int file, uint32_t tcode, uint64_t offset, uint32_t length, uint64_t closure,
                      const void *data)
{
    return SendIn(file, Info(file).generation, tcode, offset, length, closure, data);
}

int ProcessTest::SendIn(int file, uint32_t generation, uint32_t tcode, uint64_t offset,
                        uint32_t length, uint64_t closure, const void *data)
{
    fw_cdev_send_request request{};
    request.tcode = tcode;
    request.length = length;
    request.offset = offset;
    request.closure = closure;
    request.data = AddressOf(data);
    request.generation = generation;
    return m_model->Ioctl(file, FW_CDEV_IOC_SEND_REQUEST, &request);
}

int ProcessTest::Polled(int file)
{
    pollfd polled{.fd = file, .events = POLLIN, .revents = 0};
    m_model->Poll({&polled, 1}, 0);
    return polled.revents;
}

ProcessTest::Bytes ProcessTest::NextEvent(int file)
{
    Bytes event(8192);
    const long count = m_model->Read(file, event);
    EXPECT_GE(count, 0);
    event.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return event;
}

uint64_t ProcessTest::Closure(const Bytes &event)
{
    uint64_t closure = 0;
    if (event.size() >= sizeof closure)
        std::memcpy(&closure, event.data(), sizeof closure);
    return closure;
}

// Of an event that is too short, what no field holds.
uint32_t ProcessTest::Word(const Bytes &bytes, size_t offset)
{
    uint32_t word = 0xDEADDEAD;
    if (bytes.size() >= offset + sizeof word)
        std::memcpy(&word, bytes.data() + offset, sizeof word);
    return word;
}

uint32_t ProcessTest::BigEndianWord(const Bytes &bytes, size_t offset)
{
    uint32_t word = 0;
    for (size_t i = 0; i < 4; ++i)
        word = word << 8 | (offset + i < bytes.size() ? bytes[offset + i] : 0u);
    return word;
}

// Streams -----------------------------------------------------------------------------------------

int ProcessTest::Allocate(int file, uint64_t channels, uint32_t bandwidth, uint64_t closure)
{
    fw_cdev_allocate_iso_resource request{};
    request.closure = closure;
    request.channels = channels;
    request.bandwidth = bandwidth;
    const int result = m_model->Ioctl(file, FW_CDEV_IOC_ALLOCATE_ISO_RESOURCE, &request);
    return result != 0 ? result : static_cast<int>(request.handle);
}

int ProcessTest::Deallocate(int file, uint32_t handle)
{
    fw_cdev_deallocate request{};
    request.handle = handle;
    return m_model->Ioctl(file, FW_CDEV_IOC_DEALLOCATE_ISO_RESOURCE, &request);
}

int ProcessTest::CreateContext(int file, uint32_t channel, uint32_t headerBytes, uint64_t closure)
{
    fw_cdev_create_iso_context request{};
    request.type = FW_CDEV_ISO_CONTEXT_RECEIVE;
    request.header_size = headerBytes;
    request.channel = channel;
    request.closure = closure;
    request.handle = 77;
    const int result = m_model->Ioctl(file, FW_CDEV_IOC_CREATE_ISO_CONTEXT, &request);
    EXPECT_EQ(request.handle, result == 0 ? 0u : 77u);
    return result;
}

int ProcessTest::Queue(int file, const std::vector<uint32_t> &entries, const void *data,
                       fw_cdev_queue_iso *after)
{
    fw_cdev_queue_iso request{};
    request.packets = AddressOf(entries.data());
    request.data = AddressOf(data);
    request.size = static_cast<uint32_t>(entries.size() * sizeof entries[0]);
    const int result = m_model->Ioctl(file, FW_CDEV_IOC_QUEUE_ISO, &request);
    if (after != nullptr)
        *after = request;
    return result;
}

int ProcessTest::StartIso(int file, uint32_t tags)
{
    fw_cdev_start_iso request{};
    request.cycle = -1;
    request.tags = tags;
    return m_model->Ioctl(file, FW_CDEV_IOC_START_ISO, &request);
}

int ProcessTest::StopIso(int file)
{
    fw_cdev_stop_iso request{};
    return m_model->Ioctl(file, FW_CDEV_IOC_STOP_ISO, &request);
}

// Files -------------------------------------------------------------------------------------------

std::vector<std::string> ProcessTest::Folder(const char *path)
{
    std::vector<std::string> names;
    EXPECT_EQ(m_model->ListFolder(path, names), 0);
    return names;
}

std::string ProcessTest::File(const std::string &path)
{
    std::string contents;
    EXPECT_EQ(m_model->ReadSmallFile(path.c_str(), contents), 0) << path;
    return contents;
}

} // namespace zerix::linux_model
