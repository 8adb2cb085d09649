#include "cli/arguments.hpp"

#include <array>
#include <string_view>
#include <utility>

namespace kestu {

namespace {

/// Words that once stood at the top level, and what they are called below "kestu kit" now.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> moved = {{
    {"flags", "flags"},
    {"experiments", "experiments"},
    {"update-prompts", "update-prompts"},
    {"whatsnew", "whats-new"},
}};

} // namespace

Rewritten rewritten(std::vector<std::string> arguments) {
  Rewritten result;
  std::size_t at = !arguments.empty() && arguments[0] == "help" && arguments.size() > 1 ? 1 : 0;
  if (at < arguments.size()) {
    for (const auto& [before, now] : moved) {
      if (arguments[at] != before) continue;
      result.notice = "kestu " + std::string(before) + " is now kestu kit " + std::string(now) + ".";
      arguments[at] = std::string(now);
      arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(at), "kit");
      break;
    }
    if (arguments[at] == "prices" && at + 1 < arguments.size() && arguments[at + 1] == "ppp")
      arguments[at + 1] = "parity";
  }
  result.arguments = std::move(arguments);
  return result;
}

} // namespace kestu
