#pragma once

#include "cli/layout_option.hpp"
#include "cli/options.hpp"
#include "core/release/finding.hpp"

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

} // namespace kestu
