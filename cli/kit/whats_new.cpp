#include "core/kit/whats_new.hpp"

#include "cli/kit/kit.hpp"
#include "core/console/fitted_table.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/platform.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

namespace kestu {

namespace {

struct ListOptions : TableOptions {
  AppTarget app;
};

std::string languages(const WhatsNewPage& page) { return printable(Text::joined(page.languages, ", ")); }

Table tableOf(const std::vector<WhatsNewPage>& pages, const std::optional<Moment>& now, const TextStyles& style) {
  Table table;
  table.headings = {"Version", "Platform", "State", "Languages", "Updated"};
  for (const WhatsNewPage& page : pages) {
    std::string updated;
    if (page.updatedAt) updated = now ? Format::ago(*page.updatedAt, *now) : Moments::iso8601(*page.updatedAt);
    std::string platform = page.platform ? platformLabel(*page.platform) : "every";
    std::string state = page.isDraft() ? style.amber("draft") : style.green(printable(page.state));
    table.rows.push_back({printable(page.version), platform, state, languages(page), updated});
  }
  return table;
}

std::string ofPlatform(const std::optional<std::string>& platform) {
  return platform ? " --platform " + Format::shellWord(printable(*platform)) : "";
}

void runList(Context& context, const ListOptions& options) {
  Client client = context.signedIn();
  auto pages = fetchWhatsNewPages(client, AppChoice::resolve(options.app.app, client, context.folder));
  std::string text = "No What's New pages yet: kestu kit whats-new upload <folder> --version <version> makes one.";
  if (!pages.value.empty()) {
    text = Format::tableIn(tableOf(pages.value, context.clock.now(), context.console.style()), context.console);
    for (const WhatsNewPage& page : pages.value) {
      if (!page.isDraft()) continue;
      text += "\nNext: kestu kit whats-new publish " + Format::shellWord(printable(page.version)) +
              ofPlatform(page.platform) + appWords(options.app);
      break;
    }
  }
  options.write(context.console, pages.body, tableOf(pages.value, std::nullopt, TextStyles(false)), text);
}

struct PageOptions : ChangeOptions {
  std::string version;
  std::optional<std::string> platform;
  AppTarget app;
};

/// A page that there is, and what its changes need.
struct Found {
  KitApp app;
  WhatsNewPage page;
  std::string title; ///< "the What's New page of 1.2 for every platform"

  static Found with(const PageOptions& options, const Context& context) {
    KitApp app = KitApp::resolve(options.app, options.platform, context);
    auto pages = fetchWhatsNewPages(app.client, app.app.appId).value;
    WhatsNewPage page = WhatsNew::named(pages, options.version, options.platform);
    std::string title = "the What's New page of " + WhatsNew::title(page.version, page.platform);
    return {std::move(app), std::move(page), std::move(title)};
  }

  ChangeRequest request(const std::string& method, const std::vector<std::string>& segments) const {
    std::vector<std::string> all = {"whats-new", page.version};
    all.insert(all.end(), segments.begin(), segments.end());
    Query query;
    if (page.platform) query.emplace_back("platform", *page.platform);
    return {method, app.path(all), query, std::nullopt};
  }

  std::string place() const { return "What's New " + WhatsNew::title(page.version, page.platform); }
};

void runPublish(Context& context, const PageOptions& options) {
  Found found = Found::with(options, context);
  if (!found.page.isDraft()) return unchanged(context, options, "It's published");
  KitChange change;
  change.request = found.request("POST", {"publish"});
  change.would = "publish " + found.title + " of " + found.app.app.appTitle();
  if (!found.page.languages.empty()) change.would += ", in " + languages(found.page);
  change.items = {{found.place(), "state", found.page.state, "published"}};
  change.done = "✓ Published " + found.title + ".";
  change.waits = true;
  make(context, options, found.app.client, change);
}

void runUnpublish(Context& context, const PageOptions& options) {
  Found found = Found::with(options, context);
  if (found.page.isDraft()) return unchanged(context, options, "It's a draft");
  KitChange change;
  change.request = found.request("POST", {"unpublish"});
  change.would = "unpublish " + found.title + " of " + found.app.app.appTitle() + ", so that no one sees it any more";
  change.items = {{found.place(), "state", found.page.state, "draft"}};
  change.done = "✓ Unpublished " + found.title + ": it's a draft again.";
  change.waits = true;
  make(context, options, found.app.client, change);
}

void runDelete(Context& context, const PageOptions& options) {
  Found found = Found::with(options, context);
  KitChange change;
  change.request = found.request("DELETE", {});
  change.would = "delete " + found.title + " of " + found.app.app.appTitle() + ", which is " +
                 (found.page.isDraft() ? "a draft" : printable(found.page.state));
  change.items = {{found.place(), "state", found.page.state, std::nullopt}};
  change.more = "Its texts and images are gone then.";
  change.done = "✓ Deleted " + found.title + ".";
  change.waits = !found.page.isDraft();
  make(context, options, found.app.client, change);
}

Command& addOfPage(Command& group, const std::string& word, const std::string& abstract,
                   void (*run)(Context&, const PageOptions&)) {
  Command& command = group.add(word, abstract);
  addChange<PageOptions>(command, run, [&](PageOptions& own) {
    declareVersion(command, "The version whose page it is, as 1.2.", true,
                   [&own](std::string version) { own.version = std::move(version); });
    declarePlatform(command, "The platform whose own page it is. Every platform's page when left out.", own.platform);
  });
  return command;
}

} // namespace

void addWhatsNew(Command& kit) {
  Command& pages = kit.add("whats-new", "The app's What's New pages, a version each: what users see once they update.");
  pages.example("list", "Every page, and whether users see it.");
  pages.example("publish 1.2", "Shows the page to those who update to 1.2.");
  Command& list = pages.add("list", "The pages that KestuKit has, and whether users see each.");
  auto options = std::make_shared<ListOptions>();
  options->app.declare(list);
  options->TableOptions::declare(list);
  list.example("", "Every page, and whether users see it.");
  list.run = [options](Context& context) { runList(context, *options); };
  addWhatsNewUpload(pages);
  addOfPage(pages, "publish", "Show a page to those who update. It reaches users, so it waits for your approval.",
            runPublish)
      .example("1.2", "Shows the page to those who update to 1.2.");
  addOfPage(pages, "unpublish", "Make a published page a draft again, after your approval.", runUnpublish)
      .example("1.1", "Nobody sees the page of 1.1 any more.");
  addOfPage(pages, "delete", "Delete a page. A published one waits for your approval.", runDelete)
      .example("1.2 --dry-run", "What would go; nothing is sent.");
}

} // namespace kestu
