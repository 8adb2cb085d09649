#include "cli/assets.hpp"
#include "cli/families.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/app_choice.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

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

namespace {

struct SizesOptions : TableOptions {
  KindChoice choice;
  AppTarget app;
  PlatformOption platform;
};

std::string sizesOf(const AssetDisplay& display) {
  std::vector<std::string> sizes = display.sizes(MediaType::image);
  for (const VideoSpec& spec : display.videos) {
    std::string details = spec.text();
    sizes.push_back(spec.dimensions.text() + (details.empty() ? "" : " (" + details + ")"));
  }
  return Text::joined(sizes, ", ");
}

Table sizesTable(const std::vector<AssetKind>& kinds, const AssetCatalog& catalog) {
  Table table;
  table.headings = {"Kind", "Display", "ID", "Most", "Sizes"};
  for (AssetKind kind : kinds) {
    for (const AssetDisplay& display : catalog[kind].displays) {
      table.rows.push_back({std::string(facts(kind).word), printable(display.name), printable(display.group),
                            std::to_string(display.max), sizesOf(display)});
    }
  }
  return table;
}

/// A paragraph for each kind, its sizes folded into the width that is left.
std::string sizesText(const std::vector<AssetKind>& kinds, const AssetCatalog& catalog, const Console& console) {
  std::string text;
  for (AssetKind kind : kinds) {
    std::vector<std::vector<std::string>> rows = {{"Display", "ID", "Most", "Sizes"}};
    for (std::string& heading : rows.front()) heading = console.style().dim(heading);
    for (const AssetDisplay& display : catalog[kind].displays) {
      rows.push_back(
          {printable(display.name), printable(display.group), std::to_string(display.max), sizesOf(display)});
    }
    if (rows.size() == 1) continue;
    std::string heading(facts(kind).plural);
    heading.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(heading.front())));
    text += (text.empty() ? "" : "\n\n") + console.style().bold(heading) + "\n" + Format::table(rows);
  }
  return text.empty() ? "App Store Connect has no displays for these." : text;
}

void runSizes(Context& context, const SizesOptions& options) {
  Client client = context.signedIn();
  AppOnPlatform target = AppOnPlatform::resolve(client, options.app, options.platform.platform, context);
  auto catalog = fetchCatalog(client, target);
  std::vector<AssetKind> kinds = options.choice.kinds();
  options.write(context.console, catalog.body, sizesTable(kinds, catalog.value),
                sizesText(kinds, catalog.value, context.console));
}

void addSizes(Command& group, const KindChoice& choice) {
  Command& command = group.add("sizes", "Apple's displays for " + choice.plural() +
                                            ", as App Store Connect has them now, and the sizes each takes.");
  auto options = std::make_shared<SizesOptions>();
  options->choice = choice;
  options->platform.declare(command);
  options->app.declare(command, false);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runSizes(context, *options); };
}

void addAll(Command& group, const KindChoice& choice) {
  addAssetPush(group, choice);
  addAssetPull(group, choice);
  addSizes(group, choice);
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
