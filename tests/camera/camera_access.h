// Lets a test fill the register blocks of a camera object that has no device.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <utility>

#include "camera/models/model_table.h"
#include "camera/tolvane_fw_camera.h"

namespace zerix::test {

// A pointer to a protected member, taken where it may be.
class CameraAccess : public ZX::TolvaneFWCamera {
public:
    static RegisterBlock &InformationOf(ZX::TolvaneFWCamera &camera)
    {
        return camera.*(&CameraAccess::informationBlock);
    }
    static RegisterBlock &ControlOf(ZX::TolvaneFWCamera &camera)
    {
        return camera.*(&CameraAccess::controlBlock);
    }
};

constexpr uint32_t VersionWord(uint16_t major, uint16_t minor)
{
    return uint32_t{major} << 16 | minor;
}

using Words = std::initializer_list<std::pair<uint32_t, uint32_t>>; // byte offset and value

// All other words are 0.
inline void FillBlock(RegisterBlock &block, uint32_t version, Words words)
{
    block.SetVersion(version);
    block.FillWithZeros();
    for (const auto &[offset, value] : words)
        block.Store(offset, value);
}

inline std::unique_ptr<ZX::TolvaneFWCamera>
MakeLooseCamera(uint32_t model, uint32_t informationVersion, Words information)
{
    auto camera = models::MakeCamera(HALCamera{}, model);
    FillBlock(CameraAccess::InformationOf(*camera), informationVersion, information);
    FillBlock(CameraAccess::ControlOf(*camera), VersionWord(2, 8), {});
    return camera;
}

} // namespace zerix::test
