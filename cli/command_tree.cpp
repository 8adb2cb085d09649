#include "cli/command_tree.hpp"

#include "cli/command_rows.hpp"
#include "cli/families.hpp"
#include "cli/words.hpp"

#include <array>
#include <string_view>
#include <utility>

namespace kestu {

namespace {

using Expand = void (*)(Command&);

Expand expansion(std::string_view word) {
  static constexpr std::array<std::pair<std::string_view, Expand>, 21> built = {{
      {"login", addLogin},
      {"logout", addLogout},
      {"whoami", addWhoami},
      {"apps", addApps},
      {"link", addLink},
      {"config", addConfig},
      {"status", addStatus},
      {"doctor", addDoctor},
      {"update", addUpdate},
      {"kit", addKit},
      {"builds", addBuilds},
      {"versions", addVersions},
      {"metadata", addMetadata},
      {"assets", addAssets},
      {"release", addRelease},
      {"submit", addSubmit},
      {"events", addEvents},
      {"prices", addPrices},
      {"intro-offers", addIntroOffers},
      {"offer-codes", addOfferCodes},
      {"ci", addCI},
  }};
  for (const auto& [name, expand] : built) {
    if (name == word) return expand;
  }
  return [](Command& command) { command.notBuilt(); };
}

} // namespace

Command rootCommand(const std::string& word) {
  Command root = bareRoot();
  for (Command& command : root.subcommands) {
    if (word == "*" || names(word, command.word())) expansion(command.word())(command);
  }
  return root;
}

} // namespace kestu
