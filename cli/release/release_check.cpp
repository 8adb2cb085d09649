#include "cli/release/release.hpp"

#include "cli/context.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/listing/listing_change.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/git.hpp"
#include "core/project/project.hpp"
#include "core/release/release_check.hpp"
#include "core/release/versions.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <iterator>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

/// All that a check looks at.
struct Facts {
  AppOnPlatform app;
  RepoListing repository;
  StoreListing store;
  std::vector<StoreVersion> versions;
  Outcome<TestFlightBuilds> builds;
  Outcome<AssetCatalog> catalog;
  Outcome<std::vector<WhatsNewPage>> pages;
  Outcome<std::vector<KitFlag>> flags;
  std::vector<FlagRead> reads;
  Git::Changes changes;
  Outcome<ReleaseCheck::ReviewTimes> times;
};

ReleaseCheck::ReviewTimes readTimes(const JSONValue& value) {
  ReleaseCheck::ReviewTimes times;
  for (const auto& [platform, time] : value.at("platforms").members()) {
    times.emplace(platform, ReleaseCheck::ReviewTime::read(time));
  }
  return times;
}

Facts gather(Context& context, const Client& client, const ReleaseCheckOptions& options) {
  auto root = Project::root(context.folder);
  Facts facts;
  Console::Busy busy(context.console);
  facts.app = AppOnPlatform::resolve(client, options.app, options.platform, context);
  facts.repository = options.layout.read(root, options.version, facts.app.platform).value_or(RepoListing{});
  const std::string& path = facts.app.path;
  Query ofVersion = {{"version", options.version}, {"platform", facts.app.platform}};
  const std::vector<std::function<void(const std::stop_token&)>> each = {
      [&](const auto&) { facts.store = client.get(path + "/listing", ofVersion, StoreListing::read).value; },
      [&](const auto&) { facts.versions = Versions::fetch(client, path, facts.app.platform).value; },
      [&](const auto&) {
        facts.builds = outcome([&] { return Builds::fetch(client, path, facts.app.platform, std::nullopt).value; });
      },
      [&](const auto&) { facts.catalog = outcome([&] { return fetchCatalogs(client, facts.app); }); },
      [&](const auto&) { facts.pages = outcome([&] { return fetchWhatsNewPages(client, facts.app.appId).value; }); },
      [&](const auto&) { facts.flags = outcome([&] { return fetchKitFlags(client, facts.app.appId).value; }); },
      [&](const auto&) { facts.times = outcome([&] { return client.get("/v1/review-times", {}, readTimes).value; }); },
      [&](const auto& stop) { facts.reads = FlagScan::reads(root, stop); },
      [&](const auto& stop) {
        facts.changes =
            SystemGit(stop).lastChanged(ReleaseCheck::paths(facts.repository.files), root, context.clock.now());
      },
  };
  fewAtOnce(each.size(), 4, context.stop, [&](std::size_t index, const auto& stop) { each[index](stop); });
  return facts;
}

/// App Store Connect's texts with the repository's over them.
LocaleTexts merged(const StoreListing& store, const RepoListing& repository) {
  LocaleTexts texts = store.texts;
  for (const auto& [locale, text] : repository.resolved(store.locales())) {
    for (ListingField field : text.given()) texts[locale][field] = text[field];
  }
  return texts;
}

ReleaseCheck::Purpose purpose(const StoreVersion& version, const std::vector<StoreVersion>& all) {
  if (version.stage() != VersionStage::prepared && version.stage() != VersionStage::unknown) {
    return ReleaseCheck::Purpose::out;
  }
  bool any = std::any_of(all.begin(), all.end(), [](const StoreVersion& each) { return each.isOut(); });
  return any ? ReleaseCheck::Purpose::update : ReleaseCheck::Purpose::firstVersion;
}

/// The version's build as TestFlight has it, or why it can't be told.
Outcome<std::optional<ManagedBuild>> buildOf(const Facts& facts) {
  const auto& version = facts.store.version;
  if (!version || !version->build) return std::nullopt;
  if (const auto* why = std::get_if<CLIError>(&facts.builds)) return *why;
  for (const ManagedBuild& build : std::get<TestFlightBuilds>(facts.builds).builds) {
    if (build.buildId == version->build->buildId) return build;
  }
  return CLIError(Kind::notFound, "TestFlight has no " + version->version + " (" + version->build->number + ").");
}

Findings checkVersion(const Facts& facts, const std::string& number, Moment now) {
  auto build = buildOf(facts);
  const auto* why = std::get_if<CLIError>(&build);
  Findings findings = ReleaseCheck::version(facts.store.version, number, facts.app.platform,
                                            why ? std::nullopt : std::get<0>(build), now);
  if (why) findings.push_back(ReleaseCheck::unchecked("build", "The build's TestFlight days weren't", *why));
  return findings;
}

Findings checkAssets(Context& context, const Facts& facts) {
  auto root = Project::root(context.folder);
  if (const auto* why = std::get_if<CLIError>(&facts.catalog)) {
    return ReleaseCheck::assets(root, *why, Level::warning);
  }
  Console::Busy busy(context.console);
  ScanOptions scan;
  scan.platform = facts.app.platform;
  scan.probe = context.probe;
  scan.stop = context.stop;
  return ReleaseCheck::assets(root, std::get<AssetCatalog>(facts.catalog), scan);
}

Findings checkPages(const Facts& facts, const std::string& number) {
  if (const auto* why = std::get_if<CLIError>(&facts.pages)) {
    return {ReleaseCheck::unchecked("whatsnew", "The What's New page wasn't", *why)};
  }
  return ReleaseCheck::whatsNew(std::get<0>(facts.pages), number, facts.app.platform, facts.repository.whatsNewPage);
}

Findings checkFlags(const Facts& facts) {
  if (facts.reads.empty()) return {};
  if (const auto* why = std::get_if<CLIError>(&facts.flags)) {
    return {ReleaseCheck::unchecked("flags", "The flags the code reads weren't", *why)};
  }
  std::vector<std::string> known;
  for (const KitFlag& flag : std::get<0>(facts.flags)) known.push_back(flag.key);
  return ReleaseCheck::flags(FlagScan::compare(facts.reads, known).missing);
}

Findings check(Context& context, const Facts& facts, const std::string& number) {
  const auto& store = facts.store;
  const auto& repository = facts.repository;
  Findings findings;
  auto add = [&](Findings more) {
    findings.insert(findings.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
  };
  add(ReleaseCheck::languages(repository));
  if (store.version) {
    add(ReleaseCheck::texts(merged(store, repository), store.primaryLocale, purpose(*store.version, facts.versions),
                            facts.app.platform, keywordCount(context), repository));
  }
  add(ReleaseCheck::translations(repository.files, askedAgain(context, repository, facts.changes, store.primaryLocale),
                                 store.primaryLocale));
  add(checkVersion(facts, number, context.clock.now()));
  if (store.version) {
    add(ReleaseCheck::contentRights(store.contentRights, repository.contentRights));
    ReviewInfo told = store.review.value_or(ReviewInfo{}).merging(repository.review.value_or(ReviewInfo{}));
    add(ReleaseCheck::review(told, Metadata::demoPassword(repository, context.environment).has_value()));
  }
  add(checkAssets(context, facts));
  add(checkPages(facts, number));
  add(checkFlags(facts));
  if (const auto* why = std::get_if<CLIError>(&facts.times)) {
    findings.push_back(
        {Level::note, "reviewtime", std::nullopt, "How long App Review takes wasn't found out: " + why->description});
  } else {
    add(ReleaseCheck::reviewTime(std::get<0>(facts.times), facts.app.platform));
  }
  return findings;
}

ReleaseCheck::Checked checkedOf(const Context& context, const Facts& facts) {
  ReleaseCheck::Checked checked{
      .textRules = {"limit", "url", "placeholder", "required", "keywords", "missing", "stale"}, .rules = {"version"}};
  if (facts.store.version) {
    for (const auto& [locale, text] : merged(facts.store, facts.repository)) checked.languages.push_back(locale);
    checked.rules.insert(checked.rules.end(), {"contentrights", "review"});
  }
  if (std::holds_alternative<AssetCatalog>(facts.catalog)) {
    for (std::string& rule : assetRules(context)) checked.rules.push_back(std::move(rule));
  }
  checked.rules.insert(checked.rules.end(), {"whatsnew", "flags"});
  return checked;
}

void runCheck(Context& context, const ReleaseCheckOptions& options) {
  Client client = context.signedIn();
  ReleaseChecked checked = checkRelease(context, client, options);
  options.write(context, checked.findings, checked.checked, "kestu release check " + options.version);
  std::string sum = ReleaseCheck::summary(checked.findings);
  std::string number = printable(options.version);
  if (!checked.store.version) {
    options.say(context.console, "The rest is checked once " + number +
                                     " exists: kestu metadata validate checks the repo's listing now.");
  }
  bool review = std::any_of(checked.findings.begin(), checked.findings.end(),
                            [](const Finding& each) { return each.rule == "review" && each.level == Level::error; });
  if (review && checked.repository.layout == MetadataLayout::kestu && !options.quiet()) {
    options.say(context.console, "What App Review is told goes in metadata/review.json: kestu metadata push " +
                                     Format::shellWord(options.version) + " sends it.");
  }
  if (ReleaseCheck::fails(checked.findings, options.strict)) {
    options.say(context.console, number + " isn't ready for App Review: " + sum + ".");
    throw NotPassed();
  }
  options.say(context.console, "✓ " + number + " is ready for App Review" + (sum.empty() ? "" : ", with " + sum) + ".");
  if (options.quiet()) return;
  std::string platform = options.platform ? " --platform " + *options.platform : "";
  context.console.line("Next: kestu submit " + Format::shellWord(options.version) + platform);
}

} // namespace

ReleaseChecked checkRelease(Context& context, const Client& client, const ReleaseCheckOptions& options) {
  Facts facts = gather(context, client, options);
  tellNotes(context, facts.repository);
  warnOfTrackedPassword(context, facts.repository);
  Findings findings = check(context, facts, options.version);
  auto checked = checkedOf(context, facts);
  return {std::move(findings),    std::move(facts.app),     std::move(facts.repository),
          std::move(facts.store), std::move(facts.catalog), std::move(checked)};
}

void addReleaseCheck(Command& group) {
  Command& command = group.add("check", "Say what App Review would trip on before you submit a version: exits 1 on an "
                                        "error, and with --strict on a warning.");
  command.discussion =
      "Checks what App Store Connect will have, the repo's listing over its own: Apple's limits and what it requires "
      "in every language, placeholder text, translations older than the primary language's, keywords, the version and "
      "its build (processed, answered, not about to expire in TestFlight), what App Review is told, the assets (videos "
      "on the Mac only), the version's What's New page and the flags the code reads. Says how long App Review takes "
      "now.";
  auto options = std::make_shared<ReleaseCheckOptions>();
  declareVersion(command, "The version in App Store Connect, as 1.2.", true,
                 [options](std::string version) { options->version = std::move(version); });
  options->declare(command);
  command.run = [options](Context& context) { runCheck(context, *options); };
  command.example("1.2", "What App Review would trip on in 1.2.");
  command.example("1.2 --strict -o json", "In CI: status 1 on a warning too.");
}

} // namespace kestu
