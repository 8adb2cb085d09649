#include "cli/kit/flags.hpp"
#include "cli/kit/kit.hpp"
#include "core/console/fitted_table.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/kit/flags.hpp"
#include "core/project/app_choice.hpp"
#include "core/support/text.hpp"

#include <map>

namespace kestu {

namespace {

struct ListOptions : TableOptions {
  std::optional<std::string> folder;
  AppTarget app;
};

using Reads = std::map<std::string, std::vector<FlagRead>>;

/// Nothing where the code here reads no flag at all: it is another app's, or none.
std::string readsText(const Reads& reads, const KitFlag& flag, bool whole, const TextStyles& style) {
  if (reads.empty()) return "";
  auto found = reads.find(flag.key);
  if (found == reads.end()) return style.amber("not read");
  const auto& places = found->second;
  std::vector<std::string> texts;
  for (const FlagRead& read : places) texts.push_back(FlagSources::place(read));
  if (whole) return Text::joined(texts, ", ");
  return texts.front() + (texts.size() > 1 ? " and " + std::to_string(texts.size() - 1) + " more" : "");
}

Table tableOf(const std::vector<KitFlag>& flags, const Reads& reads, bool whole, const TextStyles& style) {
  Table table;
  table.headings = {"Flag", "Type", "On", "Rollout", "Value", "Read in", "Notes"};
  for (const KitFlag& flag : flags) {
    std::string on = flag.on ? style.green("on") : "off";
    table.rows.push_back({printable(flag.key), printable(flag.type), on, Percent::text(flag.rollout),
                          flag.value ? Flags::valueText(*flag.value) : "", readsText(reads, flag, whole, style),
                          printable(flag.notes.value_or(""))});
  }
  return table;
}

std::string missingText(const FlagComparison& comparison, const ListOptions& options) {
  std::size_t count = comparison.missing.size();
  if (count == 0) return "";
  std::string folder = options.folder ? " " + Format::shellWord(printable(*options.folder)) : "";
  return "\nThe code reads " + (count == 1 ? "a flag" : std::to_string(count) + " flags") +
         " that KestuKit doesn't have.\nNext: kestu kit flags check" + folder + appWords(options.app);
}

void runList(Context& context, const ListOptions& options) {
  auto folder = FlagSources::folder(options.folder, context);
  Client client = context.signedIn();
  auto flags = fetchKitFlags(client, AppChoice::resolve(options.app.app, client, context.folder));
  auto found = context.console.during([&] { return FlagScan::reads(folder, context.stop); });
  std::vector<std::string> keys;
  for (const KitFlag& flag : flags.value) keys.push_back(flag.key);
  FlagComparison comparison = FlagScan::compare(found, keys);
  Reads reads;
  for (FlagRead& read : found) reads[read.key].push_back(std::move(read));
  std::string text;
  if (!options.quiet()) {
    text = flags.value.empty()
               ? "No flags yet: kestu kit flags create <key> makes one."
               : Format::tableIn(tableOf(flags.value, reads, false, context.console.style()), context.console);
    text += missingText(comparison, options);
  }
  options.write(context.console, flags.body, tableOf(flags.value, reads, true, TextStyles(false)), text);
}

} // namespace

void addFlagsList(Command& flags) {
  Command& command = flags.add("list", "The flags that KestuKit has for the app, and where the code reads each.");
  auto options = std::make_shared<ListOptions>();
  FlagSources::declare(command, options->folder);
  options->app.declare(command);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runList(context, *options); };
  command.example("", "KestuKit's flags, and where this repo's code reads them.");
  command.example("Sources -o csv", "The code of one folder, for a spreadsheet.");
}

} // namespace kestu
