// The folders and files that the kernel and udev make for the nodes of the bus.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/linux_model/machine.h"

namespace zerix::linux_model {

// 0, -ENOENT or -ENOTDIR. Under the lock.
int ListModelFolder(const Machine &machine, const std::string &path,
                    std::vector<std::string> &names);
// 0, -ENOENT or -EISDIR. Under the lock.
int ReadModelFile(const Machine &machine, const std::string &path, std::string &contents);

} // namespace zerix::linux_model
