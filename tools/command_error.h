// How a verb of the tool fails: one sentence for the standard error, exit status 1.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zerix::tool {

class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "The camera can't be opened: the camera ID used is invalid. (error 11) …what to do".
[[noreturn]] void Fail(const std::string &what, uint32_t error);

} // namespace zerix::tool
