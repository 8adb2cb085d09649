#include "cli/release/preparation.hpp"

#include "cli/metadata/check_options.hpp"
#include "core/builds/build_number.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/project.hpp"
#include "core/release/listing_refusals.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <chrono>
#include <set>
#include <utility>

namespace kestu {

using Kind = CLIError::Kind;
using ReleasePrepare::Step;
using ReleasePrepare::StepState;

namespace {

std::string indented(const std::string& lines) {
  return lines.empty() ? "" : "  " + Text::joined(Text::split(lines, '\n'), "\n  ");
}

/// A display that changes, and the files that it is to show.
std::vector<ChangeItem> itemsOf(const AssetSending& sending) {
  std::vector<ChangeItem> items;
  for (const AssetSet& set : sending.sets()) {
    if (AssetPush::displayOf(sending.planned(), set).unchanged) continue;
    std::vector<std::string> names;
    for (const AssetFile& file : set.files) names.push_back(file.name);
    items.push_back({set.locale + " " + set.display.name, std::string(facts(set.kind).plural), std::nullopt,
                     Text::joined(names, ", ")});
  }
  return items;
}

std::string counted(std::size_t count) { return count == 1 ? "1 value" : std::to_string(count) + " values"; }

} // namespace

Preparation::Preparation(Context& context, const PrepareOptions& options)
    : context_(context), options_(options), client_(context.signedIn()),
      app_(AppOnPlatform::resolve(client_, options.target.app, options.target.platform, context)),
      number_(*options.target.version), tail_(commandTail(options.target.app, options.target.platform, app_)) {
  Console::Busy busy(context.console);
  repo_ = ListingPush::read(Project::root(context.folder), options.layout.layout, listingTarget());
  if (repo_) {
    tellNotes(context, *repo_);
    warnOfTrackedPassword(context, *repo_);
  }
  wanted_ = ReleasePrepare::settings(options.settings, repo_ ? repo_->release : std::nullopt);
  requireToCome();
  std::vector<StoreVersion> versions;
  AssetCatalog catalog;
  const std::vector<std::function<void()>> each = {
      [&] { versions = Versions::fetch(client_, app_.path, app_.platform).value; },
      [&] { builds_ = Builds::fetch(client_, app_.path, app_.platform).value.builds; },
      [&] {
        if (!options.noAssets) catalog = AssetPush::catalogs(client_, app_.path, app_.platforms);
      },
  };
  fewAtOnce(each.size(), each.size(), context.stop, [&](std::size_t index, const auto&) { each[index](); });
  version_ = ReleasePrepare::planVersion(versions, number_, app_.platform, tail_);
  if (version_.stored) versionId_ = version_.stored->versionId;
  findBuild();
  findListing();
  if (!options.noAssets) findAssets(catalog);
}

void Preparation::requireToCome() const {
  const auto& earliest = wanted_.earliestReleaseDate;
  Moment now = context_.clock.now();
  if (!earliest || *earliest > now) return;
  std::string passed = Format::moment(*earliest, now) + ", has passed";
  if (options_.settings.earliestReleaseDate) {
    throw CLIError(Kind::usage, "--earliest, " + passed + ": give a moment that's still to come.");
  }
  context_.console.error("The earliest release in release.json, " + passed + ": it would go out once approved.");
}

void Preparation::findBuild() {
  const auto& attached = version_.stored ? version_.stored->build : std::nullopt;
  bool keeps = attached && (!version_.renames || BuildNumber::sameVersion(attached->version, number_));
  if (wanted_.build) {
    build_ = ReleasePrepare::planBuild(builds_, number_, app_.platform, *wanted_.build);
    attaches_ = !keeps || attached->buildId != build_->buildId;
    return;
  }
  for (const ManagedBuild& build : builds_) {
    if (keeps && build.buildId == attached->buildId) build_ = build;
  }
  if (keeps) return;
  // A version without a build goes nowhere, so that the newest is attached also where none is named.
  if (const ManagedBuild* newest = ReleasePrepare::newestBuild(builds_, number_, app_.platform)) {
    build_ = *newest;
    attaches_ = true;
  }
}

void Preparation::findListing() {
  const auto& base = version_.stored ? version_.stored : version_.model;
  ListingTarget target = listingTarget();
  if (base) target.version = base->version;
  store_ = client_.get(target.path, target.query(), StoreListing::read).value;
  if (version_.makes()) {
    store_.version = StoreVersion{"", app_.platform, number_, "prepareforsubmission", context_.clock.now()};
    for (auto& [locale, text] : store_.texts) text[ListingField::whatsNew].reset();
    store_.testNotes.clear();
  }
  if (!repo_) return;
  RepoListing withoutCopyright = *repo_; // goes with the release
  withoutCopyright.copyright.reset();
  auto choice = ListingPush::choice(*repo_, {}, false, context_.environment);
  listing_ = ListingPush::change(withoutCopyright, store_, choice);
  if (auto refusals = ReleaseCheck::refusals(*repo_, listing_, {}); !refusals.empty())
    throw ReleaseCheck::notSent(refusals);
  for (const std::string& doubt : ReleaseCheck::doubts(listing_, keywordCount(context_))) {
    context_.console.error(printable(doubt));
  }
}

void Preparation::findAssets(const AssetCatalog& catalog) {
  selection_.kinds = {allAssetKinds.begin(), allAssetKinds.end()};
  ScanOptions scan;
  scan.platform = app_.platform;
  scan.probe = context_.probe;
  scan.stop = context_.stop;
  AssetScan found = AssetPush::scan(selection_, Project::root(context_.folder), catalog, scan);
  for (const std::string& note : found.notes) context_.console.error(printable(note));
  if (found.sets.empty() && found.problems.empty()) return;
  AssetPush::requireSendable(found, selection_);
  sets_ = std::move(found.sets);
  if (version_.makes()) return; // what it will show to begin with isn't known, and the one before may be out
  AssetDestination from = destination();
  from.version = version_.stored->version;
  assets_ = AssetSending::plan(client_, from, sets_, selection_.plural(), true);
}

std::string Preparation::title() const { return listingTarget().title(); }

std::string Preparation::nextCommand() const {
  // Without a build the check can only fail.
  if (!build_) return "kestu builds upload <file>" + tail_.app;
  return "kestu release check " + Format::shellWord(printable(number_)) + tail_.all();
}

std::string Preparation::versionPath() const { return app_.path + "/versions/" + percentEncoded(versionId_); }

ListingTarget Preparation::listingTarget() const { return {app_.path + "/listing", app_.platform, number_}; }

AssetDestination Preparation::destination() const { return {app_.path, app_.platform, number_}; }

PreparedStep Preparation::unchanged(Step step, const std::string& subject) const {
  return {step, StepState::unchanged, subject + " already has what the repo says."};
}

PreparedStep Preparation::left(Step step, const std::string& why) const { return {step, StepState::left, why}; }

std::vector<PreparedStep> Preparation::steps() {
  std::vector<PreparedStep> all;
  all.push_back(versionStep());
  all.push_back(buildStep());
  all.push_back(releaseStep());
  all.push_back(listingStep());
  all.push_back(assetsStep());
  all.push_back(testNotesStep());
  return all;
}

/// A version just made may take Apple a while to list.
void Preparation::awaitListed() {
  constexpr int tries = 3;
  for (int tried = 1;; ++tried) {
    auto all = Versions::fetch(client_, app_.path, app_.platform).value;
    if (const StoreVersion* found = Versions::find(all, number_, app_.platform)) {
      versionId_ = found->versionId;
      return;
    }
    if (tried == tries) break;
    context_.clock.sleep(std::chrono::seconds(2), context_.stop);
  }
  throw CLIError(Kind::pending, printable(number_) + " is made, but App Store Connect doesn't list it yet. Run it "
                                                     "again in a minute.");
}

/// An earlier run may have made it whose answer was lost, and Apple listed it since.
bool Preparation::isListedByNow() {
  try {
    awaitListed();
    return true;
  } catch (const CLIError&) {
    return false;
  }
}

PreparedStep Preparation::versionStep() {
  if (!version_.makes() && !version_.renames) return unchanged(Step::version, "App Store Connect");
  PreparedStep step{Step::version, StepState::planned};
  std::string number = printable(number_);
  JSONData body = JSONData::object({{"version", number_}});
  std::string path = app_.path + "/versions";
  if (version_.makes()) {
    step.text = "make " + number;
    step.done = number + " made";
    step.items = {{title(), "version", std::nullopt, number_}};
    body.set("platform", app_.platform);
    step.isMadeAlready = [this] { return isListedByNow(); };
  } else {
    std::string old = version_.stored->number();
    step.text = "rename " + old + ", the version being prepared, to " + number;
    step.done = old + ", which was being prepared, renamed to " + number;
    step.items = {{version_.stored->title(), "version", version_.stored->version, number_}};
    path = versionPath();
  }
  step.requests = [path, body] { return std::vector<ChangeRequest>{{"POST", path, {}, body.compact()}}; };
  step.after = [this] { awaitListed(); };
  return step;
}

PreparedStep Preparation::buildStep() const {
  if (!build_) {
    bool keeps = version_.stored && version_.stored->build && !version_.renames;
    return keeps ? unchanged(Step::build, printable(number_))
                 : left(Step::build, "none of " + printable(number_) +
                                         " that Apple has processed yet: kestu builds upload sends one.");
  }
  if (!attaches_) return unchanged(Step::build, printable(number_));
  PreparedStep step{Step::build, StepState::planned};
  const auto& attached = version_.stored ? version_.stored->build : std::nullopt;
  std::string instead = attached ? " in place of " + printable(attached->number) : "";
  step.text = "attach " + build_->text() + instead;
  step.done = build_->text() + " attached" + instead;
  step.items = {{title(), "build", attached ? std::optional(attached->number) : std::nullopt, build_->number}};
  step.requests = [this] {
    std::string body = JSONData::object({{"buildId", build_->buildId}}).compact();
    return std::vector<ChangeRequest>{{"POST", versionPath(), {}, body}};
  };
  return step;
}

PreparedStep Preparation::releaseStep() const {
  auto copyright = repo_ ? repo_->copyright : std::nullopt;
  bool any = wanted_.releaseType || wanted_.earliestReleaseDate || wanted_.phased || copyright;
  if (!any) return left(Step::release, "stays as App Store Connect has it.");
  auto current = version_.stored;
  if (current && !current->copyright) current->copyright = store_.copyright;
  auto plan = ReleasePrepare::planRelease(current, title(), wanted_, copyright, context_.clock.now());
  if (plan.items.empty()) return unchanged(Step::release, printable(number_));
  PreparedStep step{Step::release, StepState::planned, plan.text, plan.text};
  step.items = plan.items;
  step.requests = [this, body = plan.body.compact()] {
    return std::vector<ChangeRequest>{{"POST", versionPath(), {}, body}};
  };
  return step;
}

PreparedStep Preparation::listingStep() const {
  if (!repo_) return left(Step::listing, "the repo has none.");
  if (listing_.isEmpty()) return unchanged(Step::listing, printable(number_));
  PreparedStep step{Step::listing, StepState::planned};
  std::string count = counted(listing_.differences.size());
  step.text = count + " from the repo";
  step.done = "the repo's, " + count + " changed";
  const Console& console = context_.console;
  bool shown = console.isTerminal(Stream::out) || console.isTerminal(Stream::err);
  std::optional<int> width = shown ? std::optional(console.width() - 2) : std::nullopt; // a pipe gets texts in full
  step.lines = indented(differencesText(listing_.differences, width, console.style()));
  step.items = changeItems(listing_.differences);
  step.waits = true;
  step.requests = [this] {
    ListingChange change = listing_;
    if (version_.makes()) { // App Store Connect may have begun it otherwise than was thought
      RepoListing repo = *repo_;
      repo.copyright.reset();
      StoreListing now = ListingPush::fetch(client_, listingTarget());
      change = ListingPush::change(repo, now, ListingPush::choice(repo, {}, false, context_.environment));
    }
    std::vector<ChangeRequest> requests;
    if (!change.isEmpty()) requests.push_back(ListingPush::request(listingTarget(), change, false));
    return requests;
  };
  return step;
}

PreparedStep Preparation::assetsStep() {
  if (options_.noAssets) return left(Step::assets, "stay as they are (--no-assets).");
  if (sets_.empty()) return left(Step::assets, "the repo has none.");
  if (assets_ && assets_->unchanged()) return unchanged(Step::assets, printable(number_));
  PreparedStep step{Step::assets, StepState::planned};
  std::size_t files = 0;
  std::set<std::string> locales;
  for (const AssetSet& set : sets_) {
    files += set.files.size();
    locales.insert(set.locale);
  }
  step.text = assets_ ? assets_->totals().toUpload()
                      : Format::number(static_cast<std::int64_t>(files)) + (files == 1 ? " file" : " files") + " in " +
                            Text::joined({locales.begin(), locales.end()}, ", ");
  step.done = assets_ ? "the repo's, " + assets_->totals().uploaded() : "the repo's";
  if (assets_) step.lines = indented(assets_->lines(context_.console.style()));
  if (assets_) step.items = itemsOf(*assets_);
  step.waits = true;
  step.requests = [this] {
    std::vector<ChangeRequest> requests;
    auto sending = AssetSending::plan(client_, destination(), sets_, selection_.plural(), false);
    if (sending.unchanged()) return requests;
    sending.upload(client_);
    requests.push_back(sending.commit());
    return requests;
  };
  return step;
}

PreparedStep Preparation::testNotesStep() const {
  if (!repo_ || repo_->testNotes.empty()) return left(Step::testNotes, "the repo has none.");
  if (!build_) return left(Step::testNotes, "waits for a build.");
  StoreListing before = store_;
  if (attaches_) before.testNotes.clear(); // are those of another build
  auto differences = ListingPush::testNotes(*repo_, before, {});
  if (differences.empty()) return unchanged(Step::testNotes, build_->text());
  PreparedStep step{Step::testNotes, StepState::planned};
  std::vector<std::string> locales;
  for (const ListingDifference& each : differences) locales.push_back(printable(each.place));
  step.text = build_->text() + "'s What to Test in " + Text::joined(locales, ", ");
  step.done = step.text;
  step.items = changeItems(differences);
  step.requests = [this] {
    std::vector<ChangeRequest> requests;
    StoreListing now = ListingPush::fetch(client_, listingTarget());
    std::string path = app_.path + "/testflight/builds/" + percentEncoded(build_->buildId) + "/test-notes";
    for (const ListingDifference& each : ListingPush::testNotes(*repo_, now, {})) {
      std::string body = JSONData::object({{"locale", each.place}, {"text", each.after}}).compact();
      requests.push_back({"POST", path, {}, body});
    }
    return requests;
  };
  return step;
}

} // namespace kestu
