// The test of a current settings record.
#pragma once

#include "zerix/zerix.h"

namespace zerix::api {

// True for a record whose private block has been through a fill. Otherwise it writes the end line
// of the call that asks, under its own name and with code 3: the caller writes none.
bool CheckForBadSettingsEx(const Zerix_Settings *settings);

} // namespace zerix::api
