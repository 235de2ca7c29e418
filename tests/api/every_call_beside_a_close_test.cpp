// Every exported function in one thread, while another closes the camera and opens it again. What
// this test is for, the sanitizers tell: no call uses what a close has taken away.
#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/api/exported_function_table.h"
#include "tests/api/virtual_queue_fixture.h"

namespace zerix::api {
namespace {

constexpr uint32_t kRounds = 2; // closes that each function meets

struct NamedCall {
    std::string name;
    std::function<uint32_t()> call;
};

uint32_t FirstError(uint32_t first, uint32_t second) { return first != 0 ? first : second; }

class EveryCallBesideAClose : public VirtualQueueTest {
protected:
    ~EveryCallBesideAClose() override { Zerix_ReleaseCameraSettingsStruct(&current); }

    void SetUp() override
    {
        VirtualQueueTest::SetUp();
        Configure(""); // no lines, which take most of the time
        OpenQuick();
        Zerix_CreateCameraSettingsStruct(&current);
        ASSERT_EQ(Zerix_ReadSettingsFromCam(handle, &current), 0u);
        legacy.resize(260);
        ASSERT_EQ(Zerix_ReadSettingsFromCam(handle, Legacy()), 0u);
        slot = &NewSlot();
        grabbed = &NewSlot();
        kept = slot->frame;
        kept.format = zfmtBayer8;
        kept.size = 16;
        kept.width = kept.height = 4;
        kept.camera = handle;
        kept.binning = 1;
        finished.pBuffer = pixels.data();
        finished.bufferSize = static_cast<uint32_t>(pixels.size());
    }

    Zerix_Settings *Legacy() { return reinterpret_cast<Zerix_Settings *>(legacy.data()); }

    // The table's functions; those that take a record with one of either layout.
    void AddTable()
    {
        const std::set<std::string> left = {"Zerix_ListCameras"};
        for (const ExportedFunction &function : ExportedFunctionTable()) {
            if (left.count(function.name) != 0)
                continue;
            for (Zerix_Settings *const settings : {&current, Legacy()}) {
                if (settings != &current && function.badRecord == kNotDriven)
                    continue;
                calls.push_back({function.name, [this, &function, settings] {
                                     return function.call({.camera = handle,
                                                           .settings = settings,
                                                           .key = function.Key()});
                                 }});
            }
        }
    }

    // Those that the table hasn't, and those that get further with more than it gives them.
    void AddOthers()
    {
        const auto add = [this](const char *name, std::function<uint32_t()> call) {
            calls.push_back({name, std::move(call)});
        };
        add("Zerix_OpenCamera", [] {
            ZerixHandle opened = nullptr;
            return Zerix_OpenCamera(0, &opened);
        });
        add("Zerix_CreateCameraSettingsStruct", [] {
            Zerix_Settings made = {};
            const uint32_t error = Zerix_CreateCameraSettingsStruct(&made);
            return FirstError(error, Zerix_ReleaseCameraSettingsStruct(&made));
        });
        add("Zerix_InitializeCameraSettings",
            [this] { return Zerix_InitializeCameraSettings(handle, &current); });
        add("Zerix_GetInfo", [this] {
            uint32_t error = 0;
            uint32_t value = 0;
            for (uint32_t key = 0; key < 44; ++key)
                error = FirstError(error, Zerix_GetInfo(handle, key, &value));
            return error;
        });
        add("Zerix_GrabFrame", [this] {
            ZerixSim_GiveCredit(0, 2);
            return Zerix_GrabFrame(handle, &grabbed->frame);
        });
        add("Zerix_QueueFrame", [this] { return QueueFrame(*slot, 1, 0); });
        add("Zerix_Abort", [this] {
            const uint32_t error = QueueFrame(*slot, 1, 0);
            return FirstError(error, Zerix_Abort(handle));
        });
        add("Zerix_SetStreaming", [this] {
            const uint32_t error = Zerix_SetStreaming(handle, 1);
            return FirstError(error, Zerix_SetStreaming(handle, 0));
        });
        add("Zerix_AutoExpose", [this] {
            ZerixSim_GiveCredit(0, 20);
            return Zerix_AutoExpose(&current, 0, 0, 16, 16);
        });
        add("Zerix_WhiteBalance", [this] {
            ZerixSim_GiveCredit(0, 20);
            tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtRgb24);
            return Zerix_WhiteBalance(&current, 0, 0, 16, 16);
        });
        add("Zerix_PostProcessSingleFrame", [this] {
            tables::SetSlot32(&current, zprmPostProcessImageFormat, zfmtRgb24);
            tables::SetSlot32(&current, zprmPostProcessBayerAlgorithm, 4);
            return Zerix_PostProcessSingleFrame(handle, &current, &kept, &finished);
        });
        add("Zerix_BayerToRgb", [this] {
            finished.format = zfmtRgb24;
            Zerix_BayerToRgb(2, &kept, &finished);
            return 0u;
        });
        add("Zerix_BayerZoomVert", [this] {
            finished.height = 8;
            return Zerix_BayerZoomVert(2, &kept, &finished);
        });
        add("format queries", [] {
            return Zerix_CalcImageSize(13, 1, 1) + Zerix_is16bit(0) + Zerix_is3Color(0) +
                   Zerix_isBayer(0) + Zerix_isColor(0) + Zerix_isMonochrome(0);
        });
    }

    // Closes and opens until it is over.
    void CloseAndOpen()
    {
        while (!isOver.load()) {
            const uint32_t closed = Zerix_CloseCamera(handle);
            EXPECT_TRUE(closed == 0 || closed == 9) << closed;
            ZerixHandle opened = nullptr;
            const uint32_t error = Zerix_OpenCamera(0, &opened);
            EXPECT_TRUE(error == 0 || error == 11) << error;
            EXPECT_EQ(opened, handle);
            rounds.fetch_add(1);
        }
    }

    Zerix_Settings current = {};
    std::vector<uint8_t> legacy;
    std::vector<uint8_t> pixels = std::vector<uint8_t>(64);
    Slot *slot = nullptr;    // for the queue
    Slot *grabbed = nullptr; // for grabs
    Zerix_Frame kept = {};
    Zerix_Frame finished = {};
    std::vector<NamedCall> calls;
    std::atomic<bool> isOver{false};
    std::atomic<uint32_t> rounds{0};
};

// A call answers as it does on an open camera (an exposure of 1 ns is out of its limits: 2) or on a
// closed one; one that the close ends, 16; one that meets what the calls before have queued or
// started, 21, 22 or 24.
TEST_F(EveryCallBesideAClose, AnswersAndEnds)
{
    AddTable();
    AddOthers();
    std::thread other([this] { CloseAndOpen(); });
    for (const NamedCall &named : calls) {
        SCOPED_TRACE(named.name);
        std::set<uint32_t> answers;
        const uint32_t from = rounds.load();
        do {
            answers.insert(named.call());
        } while (rounds.load() - from < kRounds && !HasFailure());
        for (const uint32_t known : {0, 1, 2, 3, 9, 11, 16, 18, 21, 22, 24, 32})
            answers.erase(known);
        EXPECT_EQ(answers, std::set<uint32_t>{});
    }
    isOver.store(true);
    other.join();
}

} // namespace
} // namespace zerix::api
