#pragma once

#include "core/assets/asset_catalog.hpp"

#include <string_view>
#include <vector>

namespace kestu {

/// Of displays that take a file's size, at least one, the one that its name means: by its ID or its name
/// ("APP_IPHONE_65", "iPhone 6.5-1.png"), or for an iPad of 12.9 inches by its generation ("iPadPro129-2ndGen",
/// "APP_IPAD_PRO_3GEN_129"). The first when the name means none.
const AssetDisplay* displayMeant(std::string_view fileName, const std::vector<const AssetDisplay*>& displays);

} // namespace kestu
