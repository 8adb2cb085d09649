#include "core/release/finding.hpp"

#include <nlohmann/json.hpp>

#include <array>

namespace kestu {

std::string_view rawValue(Level level) {
  static constexpr std::array<std::string_view, 3> words = {"error", "warning", "note"};
  return words[static_cast<std::size_t>(level)];
}

nlohmann::json encoded(const Findings& findings) {
  nlohmann::json list = nlohmann::json::array();
  for (const Finding& finding : findings) {
    nlohmann::json object = {{"level", rawValue(finding.level)}, {"rule", finding.rule}, {"message", finding.message}};
    if (finding.locale) object["locale"] = *finding.locale;
    list.push_back(std::move(object));
  }
  return list;
}

} // namespace kestu
