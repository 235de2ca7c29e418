// The file of a picture, for the verbs that take pictures. They throw CommandError.
#pragma once

#include <string>

#include "tools/writers/picture.h"

namespace zerix::tool {

// A file that can't be written is told before anything is exposed.
void CheckPictureFile(const std::string &file);
// The same of the folder alone.
void CheckFolder(const std::string &file);

// Writes it and prints what it is; warns on the standard error of missing data. Of an empty name
// only that.
void FinishPicture(const std::string &file, uint32_t number, const Picture &picture);

} // namespace zerix::tool
