// Every exported function that writes a pair of lines: how it is called with any of its pointers
// null, and what it answers in each state that can stop it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "zerix/zerix.h"

namespace zerix::api {

inline constexpr uint32_t kAllThere = 0xFFFFFFFFu; // none of a call's pointers is null
inline constexpr uint32_t kAllNull = 0xFFFFFFFEu;

// What a call is given. What else it needs it has of its own.
struct Given {
    ZerixHandle camera = nullptr;
    Zerix_Settings *settings = nullptr;
    uint32_t key = 0;
    uint32_t nullPointer = kAllThere; // which one of the call's pointers is null, from 0

    template <typename T>
    T *Pointer(uint32_t index, T *pointer) const
    {
        return nullPointer == kAllNull || nullPointer == index ? nullptr : pointer;
    }
    ZerixHandle Camera() const { return Pointer(0, camera); }
    Zerix_Settings *Settings(uint32_t index) const { return Pointer(index, settings); }
};

// A family of keys, as far as the table needs it.
struct KeyFamily {
    uint32_t key; // supported by a camera that has everything; the value 1 is accepted
    const char *keyName;
    uint32_t unsupportedKey; // by a camera that has nothing
    const char *unsupportedName;
    uint32_t beyond; // the first key behind the family
    const char *beyondName;
};
extern const KeyFamily kUnsignedKeys;
extern const KeyFamily kSignedKeys;
extern const KeyFamily k64BitKeys;
extern const KeyFamily kInfoKeys;

inline constexpr uint32_t kNotDriven = 0xFFFFFFFFu;

// What a call answers to a key of the camera, and to one behind the family.
struct Answers {
    uint32_t known = kNotDriven;
    uint32_t beyond = kNotDriven;
};

struct ExportedFunction {
    const char *name;
    uint32_t (*call)(const Given &given);
    // With each of the pointers null alone, in their order. With all of them null the answer is
    // the first one's.
    std::vector<uint32_t> nulls;
    const KeyFamily *keys = nullptr;
    Answers inOrder = {0};
    uint32_t unsupported = kNotDriven; // to a key that the camera lacks
    Answers closed = {};               // nothing: the call takes no camera
    Answers held = {};                 // by another process
    bool asksForExclusiveFirst = false;
    uint32_t badRecord = kNotDriven; // nothing: the call takes no record
    bool endsAsRecordCheck = false;  // whose name the end line of a current one then carries

    bool TakesCamera() const { return closed.known != kNotDriven; }
    // Reads or writes a value of a record, or tells what it may be.
    bool IsParameterCall() const { return keys != nullptr && badRecord == 3; }
    const char *KeyName() const { return keys != nullptr ? keys->keyName : nullptr; }
    uint32_t Key() const { return keys != nullptr ? keys->key : 0; }
};

std::span<const ExportedFunction> ExportedFunctionTable();

// "NAME start" or "NAME start (KEY)".
std::string StartLineOf(const ExportedFunction &function, const char *keyName);

} // namespace zerix::api
