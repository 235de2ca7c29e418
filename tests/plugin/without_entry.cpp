// A plug-in that isn't one: the monitor looks for a function that it hasn't.
#include <cstdint>

#include "zerix/zerix_export.h"

extern "C" ZERIX_API uint32_t ZerixTestPlugin_HasNoEntry() { return 1; }
