#include "core/release/release_preview.hpp"
#include "cli/context.hpp"
#include "cli/metadata/metadata.hpp"
#include "cli/release/release.hpp"
#include "cli/versions/versions.hpp"
#include "core/assets/asset_sending.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/platform/state_folder.hpp"
#include "core/project/apple_locales.hpp"
#include "core/project/platform.hpp"
#include "core/project/project.hpp"
#include "core/release/preview_assets.hpp"
#include "core/release/preview_file.hpp"
#include "core/release/preview_page.hpp"
#include "core/release/release_check.hpp"
#include "core/support/process.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

namespace fs = std::filesystem;
using Kind = CLIError::Kind;

constexpr std::uint64_t mostImages = std::uint64_t{200} << 20U; // bytes of them in a page

struct PreviewOptions : GlobalOptions {
  ReleaseCheckOptions of;
  std::vector<std::string> locales;
  std::optional<std::string> out;
  bool open = false;

  bool isStandardOutput() const { return out == "-"; }
};

/// All that the page is made of.
struct Gathered {
  std::string platform;
  RepoListing repository;
  std::optional<AppOnPlatform> app;
  std::optional<StoreListing> store;
  std::optional<AssetCatalog> catalog;
  std::optional<ShownAssets> shown;
  std::vector<AssetSet> sets;
  Findings findings;
  std::vector<std::string> leftOut;
};

/// Without a sign-in or the service there is the repository's part all the same; what was asked for by name must be
/// there.
bool mustBeTold(const CLIError& error, const PreviewOptions& options) {
  bool isNamed = options.of.app.app || options.of.platform;
  bool isMisnamed = isNamed && (error.kind == Kind::usage || error.kind == Kind::notFound);
  return isMisnamed || error.kind == Kind::outdated;
}

void append(Findings& findings, Findings more) { std::move(more.begin(), more.end(), std::back_inserter(findings)); }

/// What a check says of the repository alone.
void checkRepository(Context& context, Gathered& gathered, const std::string& primary) {
  const RepoListing& listing = gathered.repository;
  std::vector<std::string> known = gathered.store ? gathered.store->locales() : std::vector<std::string>();
  append(gathered.findings, ReleaseCheck::texts(listing.resolved(known), primary, ReleaseCheck::Purpose::repository,
                                                gathered.platform, keywordCount(context)));
}

void gatherOffline(Context& context, Gathered& gathered, const CLIError& why) {
  fs::path root = Project::root(context.folder);
  tellNotes(context, gathered.repository);
  append(gathered.findings, ReleaseCheck::languages(gathered.repository));
  checkRepository(context, gathered, "");
  if (gathered.repository.review) append(gathered.findings, ReleaseCheck::reviewNotes(*gathered.repository.review));
  append(gathered.findings, ReleaseCheck::assets(root, why, Level::note));
  gathered.leftOut.push_back("Only what the repo has, compared with nothing: " + why.description);
}

void gatherOnline(const Client& client, ReleaseChecked checked, const PreviewOptions& options, Context& context,
                  Gathered& gathered) {
  gathered.platform = checked.app.platform;
  gathered.repository = std::move(checked.repository);
  gathered.findings = std::move(checked.findings);
  gathered.store = std::move(checked.store);
  if (const auto& version = gathered.store->version; !version) {
    checkRepository(context, gathered, gathered.store->primaryLocale);
  } else if (!version->takesUpdate()) {
    gathered.leftOut.push_back(
        version->title() + " is " + version->stateText() +
        " and takes only promotional text: what else differs stays as App Store Connect has it.");
  }
  if (const auto* why = std::get_if<CLIError>(&checked.catalog)) {
    gathered.leftOut.push_back("The assets are shown by their folders, compared with nothing: " + why->description);
  } else {
    gathered.catalog = std::move(std::get<AssetCatalog>(checked.catalog));
  }
  if (gathered.store->version && gathered.catalog) {
    AssetDestination of{checked.app.path, checked.app.platform, options.of.version};
    auto shown = outcome([&] { return client.get(of.app + "/assets", of.query(), ShownAssets::read).value; });
    if (const auto* why = std::get_if<CLIError>(&shown)) {
      gathered.leftOut.push_back("The assets are compared with nothing: " + why->description);
    } else {
      gathered.shown = std::move(std::get<ShownAssets>(shown));
    }
  } else if (gathered.catalog) {
    gathered.shown.emplace(); // a version that isn't there shows nothing
  }
  gathered.app = std::move(checked.app);
}

Gathered gather(Context& context, const PreviewOptions& options) {
  fs::path root = Project::root(context.folder);
  Project::link(context.folder); // a broken one is told, whether or not it is needed
  Gathered gathered;
  gathered.platform = options.of.platform.value_or("ios");
  gathered.repository = options.of.layout.read(root, options.of.version, gathered.platform).value_or(RepoListing{});
  std::optional<Client> client;
  auto checked = outcome([&] {
    client.emplace(context.signedIn());
    return checkRelease(context, *client, options.of);
  });
  Console::Busy busy(context.console);
  if (const auto* why = std::get_if<CLIError>(&checked)) {
    if (mustBeTold(*why, options)) throw *why;
    gatherOffline(context, gathered, *why);
  } else {
    gatherOnline(*client, std::move(std::get<ReleaseChecked>(checked)), options, context, gathered);
  }
  ScanOptions scan;
  scan.platform = gathered.platform;
  scan.probe = context.probe;
  scan.stop = context.stop;
  scan.locales = options.locales;
  AssetSelection selection{{allAssetKinds.begin(), allAssetKinds.end()}, options.locales, {}};
  if (gathered.catalog) {
    gathered.sets = AssetPush::scan(selection, root, *gathered.catalog, scan).sets;
  } else {
    FolderAssets found = assetsByFolder(root, scan);
    gathered.sets = std::move(found.sets);
    append(gathered.findings, std::move(found.findings));
  }
  return gathered;
}

/// What the app is called without the service: in the repository, by its link, or by its folder.
std::string nameOf(const Context& context, const Gathered& gathered) {
  if (gathered.app && !gathered.app->name.empty()) return gathered.app->name;
  const LocaleTexts& texts = gathered.repository.texts;
  auto first = texts.contains("en-US") ? texts.find("en-US") : texts.begin();
  if (first != texts.end() && first->second[ListingField::name]) return *first->second[ListingField::name];
  auto link = Project::link(context.folder);
  return link ? link->bundleId : Project::root(context.folder).filename().string();
}

ReleasePreview previewOf(const Context& context, const Gathered& gathered, const PreviewOptions& options) {
  PreviewFacts facts{.repository = gathered.repository};
  if (gathered.store) {
    facts.store = &*gathered.store;
    facts.primaryLocale = gathered.store->primaryLocale;
  }
  if (gathered.catalog) facts.catalog = &*gathered.catalog;
  if (gathered.shown) facts.shown = &*gathered.shown;
  facts.sets = gathered.sets;
  facts.findings = gathered.findings;
  facts.locales = options.locales;
  ReleasePreview preview = ReleasePreview::of(std::move(facts));
  preview.title = nameOf(context, gathered) + " " + options.of.version + " for " + platformLabel(gathered.platform);
  if (gathered.store) {
    const auto& version = gathered.store->version;
    preview.state = version ? version->stateText() : "not in App Store Connect yet";
  }
  preview.made = Format::moment(context.clock.now(), Moment{}); // with its year
  preview.leftOut = gathered.leftOut;
  preview.embed(mostImages);
  return preview;
}

void requireLanguages(const Context& context, const ReleasePreview& preview, const PreviewOptions& options) {
  for (const std::string& locale : options.locales) {
    bool isThere = std::any_of(preview.languages.begin(), preview.languages.end(),
                               [&](const PreviewLanguage& each) { return each.locale == locale; });
    if (isThere) continue;
    throw CLIError(Kind::notFound, std::string(preview.isCompared ? "Neither the repo nor App Store Connect has "
                                                                  : "The repo doesn't have ") +
                                       printable(locale) + ", so nothing was written.");
  }
  if (preview.languages.empty()) throw ListingPush::noListing(Project::root(context.folder));
}

/// A push sends a language that Apple isn't known to have too, so the page has it.
void tellLanguages(const Context& context, const ReleasePreview& preview) {
  for (const PreviewLanguage& each : preview.languages) {
    if (AppleLocales::standing(each.locale) != AppleLocales::Standing::unknown) continue;
    context.console.error(printable(each.locale) + AppleLocales::doubt(each.locale) +
                          ", so Apple may not take it: it's shown since a push sends it.");
  }
}

/// The file named, or one of its own in the user's cache folder, which nobody else reads.
PreviewFile placeOf(const Context& context, const PreviewOptions& options, const Gathered& gathered) {
  std::string name = "kestu-preview-" + options.of.version + "-" + gathered.platform + ".html";
  if (options.out) {
    fs::path path = context.folder / *options.out;
    std::error_code unknown;
    return {fs::is_directory(path, unknown) ? path / name : path, false};
  }
  auto cache = cacheFolder(context.environment);
  if (!cache) return {fs::temp_directory_path() / name, true};
  auto link = Project::link(context.folder);
  std::string app = gathered.app ? gathered.app->bundleId : link ? link->bundleId : "";
  if (app.empty()) app = Project::root(context.folder).filename().string();
  std::replace(app.begin(), app.end(), '/', '_');
  return {*cache / "previews" / (app.empty() || app.front() == '.' ? "app" : app) / name, true};
}

/// Without a shell; an opener that stays with what it opened isn't waited for.
void openFile(const Context& context, const fs::path& file) {
#ifdef __APPLE__
  const std::string opener = "open";
#else
  const std::string opener = "xdg-open";
#endif
  std::string reason;
  try {
    ProcessRequest request{.arguments = {opener, file.string()}};
    request.timeout = std::chrono::seconds(10);
    request.ownSession = true;
    ProcessResult result = Process::run(request, context.stop);
    if (result.succeeded() || result.end == ProcessResult::End::tooLong) return;
    reason = opener + " ended with " + std::to_string(result.status);
  } catch (const std::system_error& error) {
    reason = opener + ": " + error.code().message();
  }
  throw CLIError(Kind::failed, "It's written, and can't be opened from here (" + reason + ").");
}

std::string counted(std::size_t count, const std::string& one) {
  return Format::number(static_cast<std::int64_t>(count)) + " " + one + (count == 1 ? "" : "s");
}

std::string summary(const ReleasePreview& preview) {
  std::string text = printable(preview.title) + ": " + counted(preview.languages.size(), "language");
  for (AssetKind kind : {AssetKind::screenshots, AssetKind::previews}) {
    if (std::size_t count = preview.countOf(kind)) text += ", " + kestu::counted(kind, count);
  }
  if (std::size_t count = preview.differences()) {
    text += ", " + counted(count, "difference") + " from App Store Connect";
  }
  for (Level level : {Level::error, Level::warning}) {
    if (std::size_t count = preview.count(level)) text += ", " + counted(count, std::string(rawValue(level)));
  }
  return text + ".";
}

/// What sends what differs, mends what is wrong, or goes on; empty where that can't be told.
std::string next(const Gathered& gathered, const ReleasePreview& preview, const PreviewOptions& options) {
  if (!gathered.store || !gathered.app) return {};
  auto tail = commandTail(options.of.app, options.of.platform, *gathered.app);
  const auto& version = gathered.store->version;
  if (version && !version->takesUpdate()) return "kestu status" + tail.app;
  std::string command = !version || preview.differences() ? "release prepare"
                        : preview.count(Level::error)     ? "release check"
                                                          : "submit";
  return "kestu " + command + " " + Format::shellWord(options.of.version) + tail.all();
}

void runPreview(Context& context, const PreviewOptions& options) {
  Gathered gathered = gather(context, options);
  ReleasePreview preview = previewOf(context, gathered, options);
  requireLanguages(context, preview, options);
  tellLanguages(context, preview);
  if (options.isStandardOutput()) {
    for (const std::string& left : preview.leftOut) context.console.error(printable(left));
    return PreviewPage::write(
        preview, [&](std::string_view piece) { context.console.out(piece); }, context.stop);
  }
  PreviewFile file = placeOf(context, options, gathered);
  std::uint64_t bytes = context.console.during([&] { return file.write(preview, context.stop); });
  for (const std::string& left : preview.leftOut) context.console.error(printable(left));
  std::string path = file.path().string();
  if (options.quiet()) {
    JSONData answer = encoded(preview);
    answer.set("path", path).set("bytes", static_cast<std::int64_t>(bytes));
    answer.set("version", options.of.version).set("platform", gathered.platform);
    options.emit(context.console, answer, "");
  } else {
    context.console.line("✓ " + summary(preview));
    context.console.line("  " + printable(path) + " (" + Format::bytes(bytes) + ")");
  }
  if (options.open) openFile(context, file.path());
  std::string command = next(gathered, preview, options);
  if (!options.quiet() && !command.empty()) context.console.line("Next: " + command);
}

} // namespace

void addReleasePreview(Command& group) {
  Command& command = group.add("preview", "Write a page that shows a version's product page in every language, with "
                                          "what differs and what the check finds.");
  command.discussion =
      "One HTML file that needs nothing else, for a look before the release or for colleagues to say go: each "
      "language's texts, screenshots and app previews as customers would see them, what differs from App Store "
      "Connect, and the findings of kestu release check beside what they are about. Images of up to 200 MB stand in "
      "the page itself. Sends nothing. Without a sign-in or the network it shows what the repo has.";
  auto options = std::make_shared<PreviewOptions>();
  declareVersion(command, "The version, as 1.2.", true,
                 [options](std::string version) { options->of.version = std::move(version); });
  command.flag({"--open"}, options->open, "Open the page once it's written.");
  command.option({{"--out"},
                  "file",
                  "Where the page goes: a file, or - for standard output. In the cache folder when left out. Only a "
                  "page that kestu wrote is written over.",
                  [options](const std::string& value) { options->out = value; },
                  {},
                  false});
  declareLocales(command, options->locales, "Only these languages, several with commas.");
  declarePlatform(command, options->of.platform);
  options->of.layout.declare(command);
  options->of.app.declare(command);
  options->GlobalOptions::declare(command);
  command.example("1.2 --open", "Writes the page of 1.2, and opens it.");
  command.example("1.2 --out preview.html --locale en-US,de-DE", "Two languages, in a file to hand on.");
  command.validate = [options] {
    if (!options->isStandardOutput()) return;
    if (options->quiet()) throw UsageError("--out - writes the page alone, so --output has no place.");
    if (options->open) throw UsageError("--open opens a file, which --out - doesn't write.");
  };
  command.run = [options](Context& context) { runPreview(context, *options); };
}

} // namespace kestu
