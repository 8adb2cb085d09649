#include "core/assets/display_hint.hpp"

#include "core/support/text.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

namespace kestu {

namespace {

/// Letters and digits alone, in lower case: "iPad Pro (12.9-inch)" and "ipadpro129inch" alike.
std::string squeezed(std::string_view text) {
  std::string kept;
  for (char c : Text::lowercased(text)) {
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) kept += c;
  }
  return kept;
}

/// The digit of "2ndgen", "3gen" or "4thgeneration".
std::optional<int> generation(std::string_view name) {
  for (std::size_t at = name.find("gen"); at != std::string_view::npos; at = name.find("gen", at + 1)) {
    std::string_view before = name.substr(0, at);
    for (std::string_view ending : {"st", "nd", "rd", "th"}) {
      if (before.ends_with(ending)) before.remove_suffix(ending.size());
    }
    if (!before.empty() && before.back() >= '1' && before.back() <= '9') return before.back() - '0';
  }
  // Apple's own name for the first two.
  if (name.find("appipadpro129") != std::string_view::npos) return 2;
  return std::nullopt;
}

/// Without a home button, as iPads of 12.9 inches are from the third generation on.
bool isBorderless(const AssetDisplay& display) { return display.group.find("BORDERLESS") != std::string::npos; }

} // namespace

const AssetDisplay* displayMeant(std::string_view fileName, const std::vector<const AssetDisplay*>& displays) {
  const std::string name = squeezed(fileName);
  const AssetDisplay* best = nullptr;
  std::size_t longest = 0;
  for (const AssetDisplay* display : displays) {
    for (const std::string& called : {squeezed(display->group), squeezed(display->name)}) {
      if (called.size() <= longest || name.find(called) == std::string::npos) continue;
      longest = called.size();
      best = display;
    }
  }
  if (best) return best;
  if (auto number = generation(name)) {
    auto found = std::find_if(displays.begin(), displays.end(), [&](const AssetDisplay* display) {
      return display->device == "ipad" && isBorderless(*display) == (*number >= 3);
    });
    if (found != displays.end()) return *found;
  }
  return displays.front();
}

} // namespace kestu
