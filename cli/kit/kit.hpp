#pragma once

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/options.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// The app whose KestuKit a command is about, and a client for it.
struct KitApp {
  Client client;
  AppOnPlatform app;

  static KitApp resolve(const AppTarget& target, const std::optional<std::string>& platform, const Context& context);

  /// Of a call: path({"flags", "beta"}) is "/v1/apps/123/kit/flags/beta".
  std::string path(const std::vector<std::string>& segments) const;
};

/// The app as it was given, as an option of another command line; empty when it wasn't.
std::string appWords(const AppTarget& target);

/// A change's request, and what is said of it before and after it is sent.
struct KitChange {
  ChangeRequest request;
  std::string would;               ///< "make the flag beta for Daylight (com.example.daylight): off"
  std::vector<ChangeItem> items{}; ///< as data
  bool listed = false;             ///< whether the items are shown to people too, below what it would do
  std::string more{};              ///< sentences after what it would do
  std::string done;
  bool waits = false;
  std::function<std::string(const JSONValue& answer)> next{}; ///< what follows `done` and needs the answer
};

/// The change as it is asked about and told.
ProposedChange proposed(const KitChange& change, const Console& console);

void make(Context& context, const ChangeOptions& options, const Client& client, const KitChange& change);

/// Says that there is nothing to change.
void unchanged(Context& context, const ChangeOptions& options, const std::string& what);

/// Text that isn't UTF-8 is a UsageError: what is sent would be another one.
void requireUTF8(const std::string& name, const std::string& given);

/// An option with a text that isn't blank.
void declareText(Command& command, const std::string& name, const std::string& value, const std::string& help,
                 std::function<void(std::string)> set);

/// An argument that isn't blank.
void declareName(Command& command, const std::string& name, const std::string& help, std::string& target);

void declarePlatform(Command& command, const std::string& help, std::optional<std::string>& platform);

/// A command that changes something: `own` declares what only it takes, before what all changes take.
template <class Options>
std::shared_ptr<Options> addChange(Command& command, void (*run)(Context&, const Options&),
                                   const std::function<void(Options&)>& own) {
  auto options = std::make_shared<Options>();
  own(*options);
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options, run](Context& context) { run(context, *options); };
  return options;
}

void addFlags(Command& kit);
void addFlagsList(Command& flags);
void addFlagsCheck(Command& flags);
void addExperiments(Command& kit);
void addUpdatePrompts(Command& kit);
void addWhatsNew(Command& kit);
void addWhatsNewUpload(Command& whatsNew);

} // namespace kestu
