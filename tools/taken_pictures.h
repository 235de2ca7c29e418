// Takes pictures of one camera at its present settings, with what is known about each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/frame_credit.h"
#include "tools/session.h"
#include "tools/writers/picture.h"

namespace zerix::tool {

// 3 with a turning filter wheel.
uint32_t ExposuresPerPicture(const ZerixLegacySettings &settings);

class TakenPictures {
public:
    // Throws CommandError for settings whose pictures no file takes.
    TakenPictures(const Session &session, const OpenCamera &camera);

    // Its pixels are good until the next one. Throws CommandError, also after `waitSeconds`, where
    // 0 stands for a minute more than the exposure.
    Picture Take(double waitSeconds = 0);

    [[nodiscard]] size_t FrameBytes() const { return m_buffer.size(); }
    [[nodiscard]] uint32_t ExposuresEach() const { return m_exposuresPerPicture; }
    // Seconds.
    [[nodiscard]] double LongestWait(double waitSeconds) const;

    // The same of a frame that was taken otherwise. From any thread.
    [[nodiscard]] Picture PictureOf(const Zerix_Frame &frame) const;

private:
    const OpenCamera &m_camera;
    std::string m_model;
    std::string m_serial;
    ZerixLegacySettings m_settings;
    bool m_hasRegulatedCooling;
    std::vector<uint8_t> m_buffer;
    uint32_t m_exposuresPerPicture;
    FrameCredit m_credit;
};

// The sentence of a wait that was too long.
std::string NoPictureWithin(double seconds);

} // namespace zerix::tool
