// Names of keys and image formats for the log.
#include "diag/key_names.h"

#include <algorithm>
#include <cstring>

#include "tables/image_formats.h"
#include "tables/info_keys.h"
#include "tables/param_keys.h"

namespace zerix::diag {
namespace {

void Put(const char *name, KeyText &text)
{
    const std::size_t length = std::min(std::strlen(name), text.size() - 1);
    std::copy_n(name, length, text.begin());
    text[length] = '\0';
}

void PutKey(const tables::KeyRow *row, const char *otherwise, KeyText &text)
{
    Put(row != nullptr ? row->name : otherwise, text);
}

} // namespace

void InternalParam32KeyAsString(uint32_t key, KeyText &text)
{
    PutKey(tables::FindKey(tables::kParams, key),
           "InternalParam32KeyAsString() - Unknown parameter", text);
}

void InternalParamS32KeyAsString(uint32_t key, KeyText &text)
{
    PutKey(tables::FindKey(tables::kParamsS32, key),
           "InternalParamS32KeyAsString() - Unknown parameter", text);
}

void InternalParam64KeyAsString(uint32_t key, KeyText &text)
{
    PutKey(tables::FindKey(tables::kParams64, key),
           "InternalParam64KeyAsString() - Unknown parameter", text);
}

void InternalGetInfoKeyAsString(uint32_t key, KeyText &text)
{
    PutKey(tables::FindInfo(key), "InternalGetInfoKeyAsString() - Unknown info key", text);
}

void InternalImageFormatAsString(uint32_t format, KeyText &text)
{
    Put(tables::ImageFormatName(format), text);
}

} // namespace zerix::diag
