#include "core/builds/info_plist.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

/// A property list says the same each time; what it says has no blanks around it, and the platform is one of ours.
void propertyList(std::string_view input) {
  auto list = InfoPlist::read(input);
  if (!list) return;
  require(list->platform == "ios" || list->platform == "tvos" || list->platform == "visionos", "a platform of ours");
  for (const auto& value : {list->version, list->number}) {
    require(!value || (!value->empty() && Text::trimmed(*value) == *value), "a value says something");
  }
  auto again = InfoPlist::read(std::string(input));
  require(again && again->version == list->version && again->number == list->number, "the same each time");
}

} // namespace kestu::fuzz
