// Where filters write the picture that is made of a kept frame: in the application's buffer where
// that is sure to have the room, otherwise in memory of the call's own. Of that the application
// then gets what its buffer holds.
#pragma once

#include <cstdint>
#include <memory>

#include "zerix/zerix.h"

namespace zerix::api {

class ResultBuffer {
public:
    // Both frames have a buffer. Frame out's need only hold its picture in that format, and no more
    // than its size if one is stated; it may overlap frame in's.
    ResultBuffer(const Zerix_Frame &in, const Zerix_Frame &out, uint32_t format);

    [[nodiscard]] uint8_t *Data() const { return m_own != nullptr ? m_own.get() : m_target; }

    // Ends it: the first `written` bytes have been made, for a picture of `reported` bytes.
    void Deliver(uint32_t written, uint32_t reported) const;

private:
    uint8_t *m_target;
    uint32_t m_stated; // bytes; 0 if the application doesn't say
    std::unique_ptr<uint8_t[]> m_own;
};

} // namespace zerix::api
