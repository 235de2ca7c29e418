// What a bus that keeps its own books promises besides the port's contract. Given a bench in the
// same way, as KernelDriverBookings.
#pragma once

#include "tests/support/kernel_driver_contract.h"

namespace zerix::test {

class KernelDriverBookings : public KernelDriverContract {};

TEST_P(KernelDriverBookings, RefusesSpeedsAndSlotsThatThereAreNot)
{
    const auto send = [this](uint32_t code, auto record) {
        return Driver().Control(device, code, &record, sizeof record, &record, sizeof record,
                                nullptr);
    };
    kernel::BandwidthRequest bandwidth{
        .slotBytes = 0x1328, .speedFlag = 5, .handle = 0, .unset = {}};
    ExpectFailed(send(kernel::kControlAllocateBandwidth, bandwidth),
                 kernel::kErrorInvalidParameter);
    bandwidth.speedFlag = kernel::kSpeedFlag800;
    ExpectDone(send(kernel::kControlAllocateBandwidth, bandwidth), sizeof bandwidth);
    kernel::ChannelRequest channel{.request = kernel::kAnyChannel, .channel = 0, .unset = {}};
    ExpectDone(Driver().Control(device, kernel::kControlAllocateChannel, &channel, sizeof channel,
                                &channel, sizeof channel, nullptr),
               sizeof channel);
    kernel::ResourcesRequest resources{.speedFlag = 5,
                                       .flags = kernel::kResourceFlags,
                                       .channel = channel.channel,
                                       .slotBytes = 0x1328,
                                       .bufferCount = kernel::kAnnouncedBuffers,
                                       .bufferBytes = 0x1328 * kernel::kSlotsPerBuffer,
                                       .stripQuadlets = 0,
                                       .tag = 1,
                                       .handle = 0};
    ExpectFailed(send(kernel::kControlAllocateResources, resources),
                 kernel::kErrorInvalidParameter);
    // 4,900 bytes are the longest slot at 400 Mb/s.
    resources.speedFlag = kernel::kSpeedFlag400;
    ExpectFailed(send(kernel::kControlAllocateResources, resources),
                 kernel::kErrorNoSystemResources);
    resources.slotBytes = 0x1324;
    resources.bufferBytes = 0x1324 * kernel::kSlotsPerBuffer;
    ExpectDone(send(kernel::kControlAllocateResources, resources), sizeof resources);
}

} // namespace zerix::test
