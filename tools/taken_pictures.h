// Takes pictures of one camera at its present settings, with what is known about each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/frame_credit.h"
#include "tools/session.h"
#include "tools/writers/picture.h"

namespace zerix::tool {

class TakenPictures {
public:
    TakenPictures(const Session &session, const OpenCamera &camera);

    // Its pixels are good until the next one. Throws CommandError.
    Picture Take();

private:
    [[nodiscard]] Picture PictureOf(const Zerix_Frame &frame) const;

    const OpenCamera &m_camera;
    std::string m_model;
    std::string m_serial;
    ZerixLegacySettings m_settings;
    bool m_hasRegulatedCooling;
    std::vector<uint8_t> m_buffer;
    FrameCredit m_credit;
};

} // namespace zerix::tool
