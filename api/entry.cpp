// Which camera a call uses.
#include "api/entry.h"

#include "tables/settings_accessors.h"

namespace zerix::api {

ZerixHandle OfRecord::Handle() const
{
    return settings != nullptr && tables::HasMagic(settings) ? tables::GetCamera(settings)
                                                             : nullptr;
}

} // namespace zerix::api
