// The test of a current settings record.
#include "api/settings_check.h"

#include "diag/trace_log.h"
#include "tables/settings_accessors.h"

namespace zerix::api {

bool CheckForBadSettingsEx(const Zerix_Settings *settings)
{
    if (settings != nullptr && tables::GetMagic(settings, true) == tables::kZerixSettingsMagic)
        return true;
    diag::ZLogEnd("CheckForBadSettingsEx", ZERIX_ERROR_BAD_SETTINGS);
    return false;
}

} // namespace zerix::api
