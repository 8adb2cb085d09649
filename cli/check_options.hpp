#pragma once

#include "cli/layout_option.hpp"
#include "cli/options.hpp"
#include "core/assets/asset_catalog.hpp"
#include "core/release/finding.hpp"
#include "core/service/client.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace kestu {

struct Context;

/// The options of a command that lists findings.
struct CheckOptions : TableOptions {
  bool strict = false;
  LayoutOption layout;
  AppTarget app;
  std::optional<std::string> platform;

  void declare(Command& command);

  /// The findings in the format asked for; nothing for people when there are none.
  void write(Context& context, const Findings& findings) const;
};

/// The app that a check is about, as the service has it.
struct CheckedApp {
  std::int64_t appId = 0;
  std::string path;          ///< of its calls
  std::string platform;      ///< the one asked for, else its only one or ios
  std::string primaryLocale; ///< empty when the sign-in doesn't list the app

  static CheckedApp find(const Client& client, const CheckOptions& options, const Context& context);
};

/// Apple's displays for the app's platform.
AssetCatalog fetchAssetCatalog(const Client& client, const CheckedApp& app);

/// Says on standard error when git tracks the file that holds the demo account's password.
void warnOfTrackedPassword(Context& context, const RepoListing& listing);

} // namespace kestu
