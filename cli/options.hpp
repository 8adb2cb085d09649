#pragma once

#include "cli/command.hpp"
#include "core/changes/change_flow.hpp"
#include "core/changes/change_item.hpp"
#include "core/console/console.hpp"
#include "core/console/table.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

struct Context;

enum class TableFormat { json, csv, md };

/// How a command's answer is written.
class Output {
 public:
  bool json = false;
  std::optional<TableFormat> format;
  bool reports = false; ///< in a form of the command's own

  /// Whether the answer is for a machine.
  bool quiet() const { return json || format.has_value() || reports; }

  /// A line for people: on standard error when standard output is for a machine.
  void say(Console& console, const std::string& line) const;

  /// The answer of a command that gives one object, or its line for people.
  void emit(Console& console, const JSONData& object, const std::string& done) const;

  /// The same with the service's own JSON.
  void emitBody(Console& console, const std::string& body, const std::string& done) const;
};

struct GlobalOptions : Output {
  void declare(Command& command);
};

struct TableOptions : Output {
  void declare(Command& command);

  /// The rows in the format asked for, or `text` for people; JSON is the service's own.
  void write(Console& console, const std::string& body, const Table& table, const std::string& text) const;
};

/// The app that a command is about.
struct AppTarget {
  std::optional<std::string> app;
  void declare(Command& command);
};

/// A change as its command hands it over: what is shown before the question, with --yes and by a dry run.
struct ProposedChange {
  /// What happens to what, the app, version and platform named: "Daylight (com.example.daylight) 1.2 for iOS, 3 values
  /// from the repo, after your approval:".
  std::string title;
  std::string lines{};             ///< what changes, laid out for people; empty where the title says it all
  std::vector<ChangeItem> items{}; ///< the same as data
  std::string would;               ///< what a dry run ends with: "Dry run: … would …, after your approval."
  std::string done;                ///< what success ends with: "✓ …"
  bool waits = true;               ///< for the approval in the kestu app, or takes effect at once

  /// What follows `done` and needs the service's answer.
  std::function<std::string(const JSONValue& answer)> more{};

  std::string sameAs{}; ///< what tells it from other changes, where the title and the items don't
  std::string identity() const;
  bool lookedForSame = false; ///< the service was asked already whether the same waits
};

/// The options of a command that changes something. A command makes its ProposedChange and calls `make`; one that has
/// something to do between the question and the change calls `confirm`, does it, and then `send`.
struct ChangeOptions : Output {
  bool yes = false;
  bool dryRun = false;
  bool noWait = false;

  void declare(Command& command);

  /// Asks and sends, or makes the dry run.
  void make(Context& context, const Client& client, const ChangeRequest& request, const ProposedChange& change) const;

  /// Shows the change, and asks unless --yes. Not for a dry run.
  void confirm(Context& context, const ProposedChange& change) const;

  /// Sends a confirmed change, waits for its decision unless --no-wait, and writes the answer or the `done` line; or
  /// sends the dry run and tells it.
  void send(Context& context, const Client& client, const ChangeRequest& request, const ProposedChange& change) const;

  /// `send` of what is no dry run, without its line at the end.
  Response<ChangeAnswer> sent(Context& context, const Client& client, const ChangeRequest& request,
                              const ProposedChange& change) const;

  /// What a dry run writes, `body` being the service's answer: the lines and `would`, or the answer with `changes`.
  void tellDryRun(Context& context, const ProposedChange& change, const std::string& body) const;
};

/// One of the words, else a UsageError that names them.
void requireOneOf(const std::string& name, const std::string& value, const std::vector<std::string>& words);

/// A version ("1.2"), a build number ("45", "1.0.8") or a language ("en-US") as it was given, without blanks around it;
/// what can't be one is a UsageError.
std::string versionGiven(const std::string& value);
std::string buildNumberGiven(const std::string& value);
std::string localeGiven(const std::string& value);

/// --locale, several with commas or the option again.
void declareLocales(Command& command, std::vector<std::string>& locales, std::string help);

/// Adds the pieces between commas.
void addWords(std::vector<std::string>& target, const std::string& value);

/// The argument that names a version.
void declareVersion(Command& command, std::string help, bool required, std::function<void(std::string version)> set);

} // namespace kestu
