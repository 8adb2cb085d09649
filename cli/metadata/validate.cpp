#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/metadata/check_options.hpp"
#include "cli/metadata/metadata.hpp"
#include "cli/outcome.hpp"
#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_folders.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/git.hpp"
#include "core/project/project.hpp"
#include "core/release/release_check.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct ValidateOptions : CheckOptions {
  std::optional<std::string> version;
};

/// What only the service knows, as far as it can be had.
struct Remote {
  Outcome<AppOnPlatform> app;
  Outcome<AssetCatalog> catalog;

  const AppOnPlatform* known() const { return std::get_if<AppOnPlatform>(&app); }
};

/// Without a sign-in or the service the repository's own part is checked all the same; what was asked for by name must
/// be there.
template <class Fetch>
auto attempt(const ValidateOptions& options, Fetch fetch) {
  auto result = outcome(fetch);
  if (const auto* error = std::get_if<CLIError>(&result)) {
    bool isNamed = options.app.app || options.platform;
    bool isMisnamed = isNamed && (error->kind == Kind::usage || error->kind == Kind::notFound);
    if (isMisnamed || error->kind == Kind::outdated) throw *error;
  }
  return result;
}

Remote fetchRemote(Context& context, const ValidateOptions& options) {
  std::optional<Client> client;
  Remote remote;
  remote.app = attempt(options, [&] {
    client.emplace(context.signedIn());
    return AppOnPlatform::resolve(*client, options.app, options.platform, context);
  });
  if (const auto* why = std::get_if<CLIError>(&remote.app)) {
    remote.catalog = *why;
  } else {
    remote.catalog = attempt(options, [&] { return fetchCatalogs(*client, *remote.known()); });
  }
  return remote;
}

/// The listing; where there is none, one that is empty.
RepoListing read(const ValidateOptions& options, const std::filesystem::path& root, const std::string& platform) {
  auto listing = options.layout.read(root, options.version, platform);
  return listing ? *std::move(listing) : RepoListing{};
}

bool isNone(const RepoListing& listing) { return listing.isEmpty() && listing.misnamed.empty(); }

/// The language that the others are compared with when the service can't be asked; empty when it can't be told.
std::string likelyPrimary(const LocaleTexts& texts) { return texts.contains("en-US") ? "en-US" : ""; }

void append(Findings& findings, Findings more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

std::string reason(const Remote& remote) {
  const auto* why = std::get_if<CLIError>(&remote.app);
  return why ? ": " + why->description : ".";
}

Finding comparison(const std::string& primary, const Remote& remote) {
  return {Level::note, "missing", std::nullopt,
          (primary.empty() ? "Translations weren't compared with the primary language's text"
                           : primary + " was taken for the primary language") +
              ", which only kestu knows" + reason(remote)};
}

Findings check(Context& context, const RepoListing& listing, const Git::Changes& changes, const Remote& remote,
               const std::string& platform) {
  using ReleaseCheck::Purpose;
  auto root = Project::root(context.folder);
  std::string primary = remote.known() ? remote.known()->primaryLocale : "";
  bool unknown = primary.empty() && listing.texts.size() > 1;
  if (primary.empty()) primary = likelyPrimary(listing.texts);
  Findings findings = ReleaseCheck::languages(listing);
  append(findings, ReleaseCheck::texts(listing.resolved({}), primary, Purpose::repository, platform,
                                       keywordCount(context), listing));
  append(findings, ReleaseCheck::translations(listing.files, askedAgain(context, listing, changes, primary), primary));
  if (listing.review) append(findings, ReleaseCheck::reviewNotes(*listing.review));
  if (unknown) findings.push_back(comparison(primary, remote));
  if (const auto* why = std::get_if<CLIError>(&remote.catalog)) {
    append(findings, ReleaseCheck::assets(root, *why, Level::note));
    return findings;
  }
  ScanOptions scan;
  scan.platform = platform;
  scan.probe = context.probe;
  scan.stop = context.stop;
  append(findings, context.console.during(
                       [&] { return ReleaseCheck::assets(root, std::get<AssetCatalog>(remote.catalog), scan); }));
  return findings;
}

ReleaseCheck::Checked checkedOf(const Context& context, const RepoListing& listing, const Remote& remote) {
  ReleaseCheck::Checked checked{.textRules = {"limit", "url", "placeholder", "keywords", "missing", "stale"}};
  for (const auto& [locale, text] : listing.resolved({})) checked.languages.push_back(locale);
  if (std::holds_alternative<AssetCatalog>(remote.catalog)) checked.rules = assetRules(context);
  return checked;
}

void runValidate(Context& context, const ValidateOptions& options) {
  auto root = Project::root(context.folder);
  Project::link(context.folder); // a broken one is told, whether or not it is needed
  std::string platform = options.platform.value_or("ios");
  RepoListing listing = read(options, root, platform);
  if (isNone(listing) && Assets::kinds(root).empty()) {
    tellNotes(context, listing);
    throw ListingPush::noListing(root);
  }
  Remote remote;
  Git::Changes changes;
  {
    Console::Busy busy(context.console);
    fewAtOnce(2, 2, context.stop, [&](std::size_t index, const std::stop_token& stop) {
      if (index == 0) remote = fetchRemote(context, options);
      if (index == 1) {
        changes = SystemGit(stop).lastChanged(ReleaseCheck::paths(listing.files), root, context.clock.now());
      }
    });
  }
  if (const auto* known = remote.known(); known && known->platform != platform) {
    platform = known->platform;
    listing = read(options, root, platform);
  }
  tellNotes(context, listing);
  warnOfTrackedPassword(context, listing);
  Findings findings = check(context, listing, changes, remote, platform);
  auto write = [&] {
    options.write(context, findings, checkedOf(context, listing, remote), "kestu metadata validate");
  };
  if (isNone(listing)) { // what is wrong with the assets is worth knowing all the same
    if (!findings.empty()) write();
    throw ListingPush::noListing(root);
  }
  if (std::string folder = "metadata/releases/" + options.version.value_or("");
      options.version && listing.layout == MetadataLayout::kestu && !std::filesystem::is_directory(root / folder)) {
    findings.push_back({Level::note, "version", std::nullopt, folder + " isn't there, so no what's new was checked."});
  }
  write();
  std::string sum = ReleaseCheck::summary(findings);
  bool fails = ReleaseCheck::fails(findings, options.strict);
  if (fails) {
    options.say(context.console, sum + ".");
    throw NotPassed();
  }
  options.say(context.console,
              "✓ The repo's listing keeps to Apple's limits" + (sum.empty() ? "" : ", with " + sum) + ".");
}

} // namespace

void addValidate(Command& metadataGroup) {
  Command& command =
      metadataGroup.add("validate", "Check the repo's listing: exits 1 on an error, and with --strict on a warning.");
  command.discussion =
      "Checks what the repo has: Apple's limits, placeholder text, keywords, translations older than the primary "
      "language's, and the assets (videos only where kestu can measure them). Sends nothing. Without a sign-in or "
      "the network all but the assets is checked. kestu release check looks at what App Store Connect will have.";
  auto options = std::make_shared<ValidateOptions>();
  declareVersion(command, "The version whose texts are checked, as 1.2. The highest in the repo when left out.", false,
                 [options](std::string version) { options->version = std::move(version); });
  options->declare(command);
  command.run = [options](Context& context) { runValidate(context, *options); };
  command.example("", "The repo's listing for its highest version.");
  command.example("1.2 --strict", "In CI: status 1 on a warning too.");
}

} // namespace kestu
