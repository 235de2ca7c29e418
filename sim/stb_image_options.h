// The picture decoder with the options that both its user and its implementation need.
#pragma once

#define STBI_NO_SIMD
#define STBI_NO_HDR
#define STBI_NO_LINEAR
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNM
#define STBI_MAX_DIMENSIONS 32768
#include <stb/stb_image.h>
