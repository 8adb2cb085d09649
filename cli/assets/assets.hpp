#pragma once

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/options.hpp"
#include "core/assets/asset_catalog.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// The kinds that a command is about: one, or every one.
struct KindChoice {
  std::optional<AssetKind> only;

  std::vector<AssetKind> kinds() const {
    if (only) return {*only};
    return {allAssetKinds.begin(), allAssetKinds.end()};
  }
  std::string plural() const { return only ? std::string(facts(*only).plural) : "assets"; }
  std::string word() const { return only ? "assets " + std::string(facts(*only).word) : "assets"; }
};

struct PlatformOption {
  std::optional<std::string> platform;

  void declare(Command& command);
};

/// The languages and displays that a command is limited to.
struct AssetLimits {
  std::vector<std::string> locales;
  std::vector<std::string> displays;

  void declare(Command& command);
};

void addAssetPush(Command& group, const KindChoice& choice);
void addAssetPull(Command& group, const KindChoice& choice);

} // namespace kestu
