#include "core/release/finding.hpp"

#include <array>

namespace kestu {

std::string_view rawValue(Level level) {
  static constexpr std::array<std::string_view, 3> words = {"error", "warning", "note"};
  return words[static_cast<std::size_t>(level)];
}

JSONData encoded(const Findings& findings) {
  JSONData list = JSONData::array();
  for (const Finding& finding : findings) {
    JSONData object =
        JSONData::object({{"level", rawValue(finding.level)}, {"rule", finding.rule}, {"message", finding.message}});
    object.setGiven("locale", finding.locale);
    list.add(std::move(object));
  }
  return list;
}

} // namespace kestu
