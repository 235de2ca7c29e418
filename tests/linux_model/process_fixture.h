// What the tests of the model share: a process that speaks to device files by hand, on a held
// clock, with a rack of two small cameras.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <linux/firewire-cdev.h>

#include "tests/linux_model/kernel_model.h"
#include "tests/support/temporary_folder.h"
#include "zerix/zerix_sim.h"

namespace zerix::linux_model {

class ProcessTest : public ::testing::Test {
protected:
    using Bytes = std::vector<uint8_t>;

    void SetUp() override;
    // Everything is given back.
    void TearDown() override;

    // A rack of two cameras, with more lines of the first; the model starts, fw0 is the local node.
    void Boot(const std::string &cameraLines = "", const std::string &rackLines = "",
              const ModelOptions &options = {});

    // Another rack of the same cameras in the place of the first.
    void ChangeRack(const std::string &rackLines);

    // Opens a device file, and asks for its information as a client of version 5.
    int OpenFile(const char *path);
    fw_cdev_event_bus_reset Info(int file, uint32_t version = 5);
    void Close(int file);

    // A request of the file's generation.
    int Send(int file, uint32_t tcode, uint64_t offset, uint32_t length, uint64_t closure,
             const void *data = nullptr);
    int SendIn(int file, uint32_t generation, uint32_t tcode, uint64_t offset, uint32_t length,
               uint64_t closure, const void *data = nullptr);
    // What poll says at once.
    int Polled(int file);
    // Waits for the next event, and reads it.
    Bytes NextEvent(int file);
    // Fields of an event.
    static uint64_t Closure(const Bytes &event);
    static uint32_t Type(const Bytes &event) { return Word(event, 8); }
    static uint32_t Rcode(const Bytes &event) { return Word(event, 12); }
    static uint32_t Length(const Bytes &event) { return Word(event, 16); }
    static uint32_t Word(const Bytes &bytes, size_t offset);
    static uint32_t BigEndianWord(const Bytes &bytes, size_t offset);

    // Books; the handle, or an error. The answer is an event.
    int Allocate(int file, uint64_t channels, uint32_t bandwidth, uint64_t closure);
    int Deallocate(int file, uint32_t handle);

    int CreateContext(int file, uint32_t channel, uint32_t headerBytes, uint64_t closure);
    int Queue(int file, const std::vector<uint32_t> &entries, const void *data,
              fw_cdev_queue_iso *after = nullptr);
    int StartIso(int file, uint32_t tags = 15);
    int StopIso(int file);

    std::vector<std::string> Folder(const char *path);
    std::string File(const std::string &path);

    KernelModel &Model() { return *m_model; }

    // The register of a camera that holds its model, 18 in the upper half; and a camera's own
    // registers.
    static constexpr uint64_t kModelRegister = 0xFFFFE0010038;

private:
    void ChooseRack(const std::string &cameraLines, const std::string &rackLines) const;

    const test::TemporaryFolder m_folder;
    std::unique_ptr<KernelModel> m_model;
};

} // namespace zerix::linux_model
