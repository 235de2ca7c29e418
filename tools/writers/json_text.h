// JSON as a text. Names of files and what a camera says of itself may be no UTF-8: those bytes
// become replacement characters.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace zerix::tool {

// Without `indent` on one line.
inline std::string JsonText(const nlohmann::ordered_json &json, int indent = -1)
{
    return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace zerix::tool
