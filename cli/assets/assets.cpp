#include "cli/assets/assets.hpp"
#include "cli/families.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/apple_locales.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"
#include "core/support/printable_ascii.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>
#include <numeric>
#include <utility>

namespace kestu {

void PlatformOption::declare(Command& command) {
  command.option({{"--platform"},
                  "platform",
                  "ios or macos. The app's only one, or else ios, when left out.",
                  [this](const std::string& value) {
                    requireOneOf("--platform", value, {"ios", "macos"});
                    platform = value;
                  },
                  {"ios", "macos"},
                  false});
}

void AssetLimits::declare(Command& command) {
  command.option({{"--locale"},
                  "locale",
                  "Only these languages, as en-US, several with commas (en-US,de-DE) or the flag again.",
                  [this](const std::string& value) {
                    addWords(locales, value);
                    for (const std::string& locale : locales) {
                      if (AppleLocales::localeShape(locale)) continue;
                      throw UsageError("--locale " + shown(locale) + AppleLocales::refusal(locale));
                    }
                    if (locales.empty()) throw UsageError("--locale names no language.");
                  },
                  {},
                  false});
  command.option({{"--display"},
                  "display",
                  "Only these displays, as iPhone Duo or IPHONE_DUO_PROFILE, several with commas or the flag again.",
                  [this](const std::string& value) {
                    addWords(displays, value);
                    if (displays.empty()) throw UsageError("--display names no display.");
                  },
                  {},
                  false});
}

namespace {

struct SizesOptions : TableOptions {
  KindChoice choice;
  AppTarget app;
  PlatformOption platform;
};

std::vector<std::string> sizesOf(const AssetDisplay& display) {
  std::vector<std::string> sizes = display.sizes(MediaType::image);
  for (const VideoSpec& spec : display.videos) {
    std::string details = spec.text();
    sizes.push_back(spec.dimensions.text() + (details.empty() ? "" : " (" + details + ")"));
  }
  return sizes;
}

Table sizesTable(const std::vector<AssetKind>& kinds, const AssetCatalog& catalog) {
  Table table;
  table.headings = {"Kind", "Display", "ID", "Most", "Sizes"};
  for (AssetKind kind : kinds) {
    for (const AssetDisplay& display : catalog[kind].displays) {
      table.rows.push_back({std::string(facts(kind).word), printable(display.name), printable(display.group),
                            std::to_string(display.max), Text::joined(sizesOf(display), ", ")});
    }
  }
  return table;
}

/// The columns that sizes need beside a display, below which they get lines of their own.
int leastForSizes(const std::vector<AssetDisplay>& displays) {
  std::size_t least = 24;
  for (const AssetDisplay& display : displays) {
    for (const std::string& size : sizesOf(display)) least = std::max(least, Text::columns(size) + 1);
  }
  return static_cast<int>(least);
}

/// The sizes in as many lines of so many columns as they need, the later ones indented; one line for 0 columns.
std::string foldedSizes(const std::vector<std::string>& sizes, int width, std::size_t indent) {
  if (width <= 0) return Text::joined(sizes, ", ");
  std::string text, line;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    std::string more = sizes[i] + (i + 1 < sizes.size() ? "," : "");
    if (!line.empty() && Text::columns(line + " " + more) > static_cast<std::size_t>(width)) {
      text += std::exchange(line, "") + "\n" + std::string(indent, ' ');
    }
    line += (line.empty() ? "" : " ") + more;
  }
  return text + line;
}

/// For a narrow window: a display, its ID below it, and its sizes below that.
std::string stackedSizes(const std::vector<AssetDisplay>& displays, const Console& console) {
  std::string text;
  for (const AssetDisplay& display : displays) {
    text += (text.empty() ? "" : "\n") + printable(display.name) +
            console.style().dim(", " + std::to_string(display.max) + " at most") + "\n  " +
            console.style().dim(printable(display.group)) + "\n  " +
            TextStyle::wrap(foldedSizes(sizesOf(display), console.width() - 2, 2), console.width(), 4);
  }
  return text;
}

/// The columns that a table's first cells take.
std::size_t columnsOf(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widest(rows.front().size(), 0);
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widest[i] = std::max(widest[i], TextStyle::width(row[i]) + 2);
  }
  return std::accumulate(widest.begin(), widest.end(), std::size_t{0});
}

/// A paragraph for each kind, its sizes folded into the width that is left.
std::string sizesText(const std::vector<AssetKind>& kinds, const AssetCatalog& catalog, const Console& console) {
  std::string text;
  for (AssetKind kind : kinds) {
    const AssetDisplays displays = catalog[kind];
    if (displays.displays.empty()) continue;
    std::vector<std::vector<std::string>> rows = {{"Display", "ID", "Most"}};
    for (const AssetDisplay& display : displays.displays) {
      rows.push_back({printable(display.name), printable(display.group), std::to_string(display.max)});
    }
    std::string heading(facts(kind).plural);
    heading.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(heading.front())));
    text += (text.empty() ? "" : "\n\n") + console.style().bold(heading) + "\n";
    std::size_t before = columnsOf(rows);
    bool folds = console.isTerminal(Stream::out);
    int left = folds ? console.width() - static_cast<int>(before) : 0;
    if (folds && left < leastForSizes(displays.displays)) {
      text += stackedSizes(displays.displays, console);
      continue;
    }
    rows.front().emplace_back("Sizes");
    for (std::string& cell : rows.front()) cell = console.style().dim(cell);
    for (std::size_t i = 1; i < rows.size(); ++i) {
      rows[i].push_back(foldedSizes(sizesOf(displays.displays[i - 1]), left, before));
    }
    text += Format::table(rows);
  }
  return text.empty() ? "App Store Connect has no displays for these." : text;
}

/// The service's catalog, of the kinds alone.
std::string bodyOf(const std::vector<AssetKind>& kinds, const std::string& body) {
  JSONValue whole = JSONValue::parse(body);
  JSONData chosen = JSONData::object();
  for (const auto& [key, displays] : whole.members()) {
    auto kind = assetKindOfKey(key);
    bool isAsked = kind && std::find(kinds.begin(), kinds.end(), *kind) != kinds.end();
    if (isAsked || kinds.size() == allAssetKinds.size()) chosen.set(key, JSONData::copied(displays));
  }
  return chosen.compact();
}

void runSizes(Context& context, const SizesOptions& options) {
  Client client = context.signedIn();
  AppOnPlatform target = AppOnPlatform::resolve(client, options.app, options.platform.platform, context);
  auto catalog = fetchCatalog(client, target);
  std::vector<AssetKind> kinds = options.choice.kinds();
  options.write(context.console, bodyOf(kinds, catalog.body), sizesTable(kinds, catalog.value),
                sizesText(kinds, catalog.value, context.console));
}

void addSizes(Command& group, const KindChoice& choice) {
  Command& command = group.add("sizes", "Apple's displays for " + choice.plural() +
                                            ", as App Store Connect has them now, and the sizes each takes.");
  auto options = std::make_shared<SizesOptions>();
  options->choice = choice;
  options->platform.declare(command);
  options->app.declare(command);
  options->TableOptions::declare(command);
  command.example("", "The displays, and the sizes each takes.");
  command.example("--platform macos -o csv", "The Mac's, for a spreadsheet.");
  command.run = [options](Context& context) { runSizes(context, *options); };
}

void addAll(Command& group, const KindChoice& choice) {
  addAssetPush(group, choice);
  addAssetPull(group, choice);
  addSizes(group, choice);
  group.example("sizes", "The displays, and the sizes each takes.");
  group.example("push 1.2 --dry-run", "What each display would show, and nothing is sent.");
}

} // namespace

void addAssets(Command& command) {
  addAll(command, {});
  for (AssetKind kind : allAssetKinds) {
    std::string plural(facts(kind).plural);
    Command& group = command.add(std::string(facts(kind).word), "Only the " + plural + ": push, pull and sizes.");
    addAll(group, {kind});
  }
}

} // namespace kestu
