// The lists of allowed values of the parameter keys.
#pragma once

#include <cstdint>

#include "api/param_sources.h"
#include "api/sparse_table.h"

namespace zerix::api {

// The same list on every camera.
template <uint32_t... kValues>
void Values(ZX::ZCamera &, SparseTable &table)
{
    (table.Add(kValues), ...);
}

// The camera's own list.
template <auto kGetModes>
void Modes(ZX::ZCamera &camera, SparseTable &table)
{
    for (const auto mode : ModesOf(camera, kGetModes))
        table.Add(mode);
}

// The camera's list backwards, as indices; a frequency without an index is left out.
void ReadoutSpeeds(ZX::ZCamera &camera, SparseTable &table);

// The live mode where the camera has one.
void CameraModes(ZX::ZCamera &camera, SparseTable &table);

// Formats of pictures as the camera sends them, or as the wheel composes them.
void ImageFormats(ZX::ZCamera &camera, SparseTable &table);

// Formats of pictures that have been through post-processing.
void PostProcessFormats(ZX::ZCamera &camera, SparseTable &table);

} // namespace zerix::api
