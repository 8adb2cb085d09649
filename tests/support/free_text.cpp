#include "tests/support/free_text.hpp"

#include "core/support/text.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace kestu::tests {

bool isFreeText(const std::string& key) {
  static const std::vector<std::string> keys = Text::words(
      "name title message text notes detail subtitle description keywords whatsNew promotionalText user email next "
      "client machine fileName copyright before after lines error reason label metric contactFirstName "
      "contactLastName shortDescription longDescription summary group");
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

void appendToTexts(nlohmann::json& value, const std::function<bool(const std::string& key)>& chosen,
                   const std::string& text, const std::string& key) {
  if (value.is_string() && chosen(key)) value = value.get<std::string>() + text;
  if (value.is_array()) {
    for (auto& each : value) appendToTexts(each, chosen, text, key);
  } else if (value.is_object()) {
    for (auto& [name, each] : value.items()) appendToTexts(each, chosen, text, name);
  }
}

} // namespace kestu::tests
