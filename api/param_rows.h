// What each parameter key means in a camera, one row per key and family, tied to its name and text
// by number. What is special about a key is a named function in its row; what a row leaves out, the
// camera has not.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "api/context.h"
#include "api/sparse_table.h"
#include "camera/z_camera.h"
#include "tables/settings_layout.h"

namespace zerix::api {

// Where a default or a read-back comes from. A record in the legacy layout knows nothing of the
// later keys.
struct ParamSource {
    ZX::ZCamera &camera;
    ZerixContext &context;
    bool isCurrent;
};

// A record that has passed its checks, with the camera that it is bound to.
template <typename Settings>
struct BoundRecord {
    Settings *settings;
    ZX::ZCamera &camera;
    bool isCurrent;
};
using ReadRecord = BoundRecord<const Zerix_Settings>;
using WriteRecord = BoundRecord<Zerix_Settings>;

inline ReadRecord AsRead(const WriteRecord &record)
{
    return {record.settings, record.camera, record.isCurrent};
}

// Nothing: the slot isn't written.
template <typename T>
using ParamValue = std::optional<T> (*)(const ParamSource &source);
// Nothing: the camera has no such limit.
template <typename T>
using ParamLimit = std::optional<T> (*)(ZX::ZCamera &camera);
using ParamSupport = bool (*)(ZX::ZCamera &camera);
using ParamList = void (*)(ZX::ZCamera &camera, SparseTable &table);
// These answer an error of the interface. A getter that fails writes nothing.
template <typename T>
using ParamGetter = uint32_t (*)(const ReadRecord &record, T &value);
template <typename T>
using ParamSetter = uint32_t (*)(const WriteRecord &record, uint32_t key, T value);

template <typename T>
struct ParamRow {
    uint32_t key;
    ParamSupport isSupported = nullptr;   // null: never
    ParamValue<T> defaultValue = nullptr; // null: never written
    ParamValue<T> readBack = nullptr;     // null: never written
    ParamLimit<T> minimum = nullptr;      // null: none
    ParamLimit<T> maximum = nullptr;      // null: none
    ParamList list = nullptr;             // null: not a sparse table
    bool isRange = false;                 // a range table
    bool isCurrentOnly = false;           // a legacy record has no such key
    ParamGetter<T> get = nullptr;         // null: the slot as it stands
    ParamSetter<T> set = nullptr;         // null: by the key's class
};

extern const std::array<ParamRow<uint32_t>, tables::kParamCount> kParamRows;
extern const std::array<ParamRow<int32_t>, tables::kParamS32Count> kParamS32Rows;
extern const std::array<ParamRow<uint64_t>, tables::kParam64Count> kParam64Rows;

// The row of a key; null for a key beyond its family.
template <typename T, std::size_t kCount>
constexpr const ParamRow<T> *FindRow(const std::array<ParamRow<T>, kCount> &rows, uint32_t key)
{
    return key < kCount ? &rows[key] : nullptr;
}

// Writes what the camera holds for a key into the record, as reading the settings back does. The
// record stays as it is where the key has no read-back.
void ReadBackParam(const ParamSource &source, uint32_t key, Zerix_Settings *settings);

} // namespace zerix::api
