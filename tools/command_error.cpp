// Phrases of the library's error values and what a person can do about each.
#include "tools/command_error.h"

#include <array>

#include <fmt/format.h>

#include "zerix/zerix_errors.h"

namespace zerix::tool {

namespace {

struct Advice {
    uint32_t error;
    const char *whatToDo;
    const char *meaning = nullptr; // for numbers without a phrase of their own
};

constexpr std::array kAdvice = {
    Advice{ZERIX_ERROR_NOT_SUPPORTED, "\"zerix info\" shows what the camera can do."},
    Advice{ZERIX_ERROR_BAD_HANDLE, "Close the camera in the program that holds it.",
           "the camera is closed, or another process holds it"},
    Advice{ZERIX_ERROR_BAD_CAMERA_ID, "\"zerix list\" shows the cameras."},
    Advice{ZERIX_ERROR_CAMERA_FAULT, "Switch the camera off and on, and try again."},
    Advice{ZERIX_ERROR_DRIVER_FAULT,
           "Check the cable and the camera's power, and that no other program holds it."},
    Advice{ZERIX_ERROR_OUT_OF_MEMORY, "Close other programs, and try again.", "out of memory"},
    Advice{ZERIX_ERROR_OUT_OF_SYNC, "Try again."},
    Advice{ZERIX_ERROR_DATA_MISSING, "Take other devices off the bus, and try again."},
    Advice{ZERIX_ERROR_HOST_OVERFLOW, "Close other programs, and try again."},
    Advice{ZERIX_ERROR_UNPLUGGED, "Plug the camera in, switch it on, and try again."},
    Advice{ZERIX_ERROR_INITIALISATION,
           "Take pictures of 8 bits (--set format=mono8 or bayer8), with a slower readout (--set "
           "readout-speed=10MHz) or binned (--set binning=2), or take other devices off the bus.",
           "the bus has no bandwidth left for the camera"},
};

const char *PhraseOf(uint32_t error)
{
    switch (error) {
#define ZERIX_PHRASE_CASE(number, phrase)                                                          \
    case number:                                                                                   \
        return phrase;
        ZERIX_ERROR_PHRASES(ZERIX_PHRASE_CASE)
#undef ZERIX_PHRASE_CASE
    default:
        return ZERIX_ERROR_PHRASE_UNKNOWN;
    }
}

const Advice *AdviceFor(uint32_t error)
{
    for (const auto &advice : kAdvice)
        if (advice.error == error)
            return &advice;
    return nullptr;
}

} // namespace

void Fail(const std::string &what, uint32_t error)
{
    const Advice *advice = AdviceFor(error);
    std::string phrase =
        advice != nullptr && advice->meaning != nullptr ? advice->meaning : PhraseOf(error);
    if (phrase.back() == '.')
        phrase.pop_back();
    std::string sentence = fmt::format("{}: {} (error {}).", what, phrase, error);
    if (advice != nullptr)
        sentence += std::string(" ") + advice->whatToDo;
    throw CommandError(sentence);
}

} // namespace zerix::tool
