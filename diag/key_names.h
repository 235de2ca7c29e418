// Names of keys and image formats for the log, in a buffer of the caller's.
#pragma once

#include <array>
#include <cstdint>

namespace zerix::diag {

// Room for the longest name or unknown text, terminated.
using KeyText = std::array<char, 64>;

void InternalParam32KeyAsString(uint32_t key, KeyText &text);
void InternalParamS32KeyAsString(uint32_t key, KeyText &text);
void InternalParam64KeyAsString(uint32_t key, KeyText &text);
void InternalGetInfoKeyAsString(uint32_t key, KeyText &text);
void InternalImageFormatAsString(uint32_t format, KeyText &text);

} // namespace zerix::diag
