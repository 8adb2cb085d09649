#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace kestu {

/// Apple's regions of the App Store.
enum class Region { europe, asiaPacific, latinAmerica, usCanada, africaMiddleEast };

/// "asiapacific": the word that names it.
std::string_view regionWord(Region region);

/// One of the App Store's countries.
struct Storefront {
  std::string_view code;      ///< "se", as ISO 3166-1 has it, in lower case
  std::string_view territory; ///< Apple's name of it, "SWE"
  Region region;
  bool eu;   ///< a member of the European Union
  bool euro; ///< pays in euros as a member of the EU
};

namespace Storefronts {

/// In order of their codes.
const std::array<Storefront, 175>& all();

/// By code or territory, letters of either case; none when there is no such country.
const Storefront* find(std::string_view codeOrTerritory);

} // namespace Storefronts

} // namespace kestu
