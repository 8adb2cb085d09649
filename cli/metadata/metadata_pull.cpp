#include "cli/metadata/metadata.hpp"
#include "cli/outcome.hpp"
#include "core/console/printable.hpp"
#include "core/listing/listing_file.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/platform.hpp"
#include "core/project/project.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <iterator>
#include <set>
#include <system_error>

namespace kestu {

namespace {

namespace fs = std::filesystem;
using Kind = CLIError::Kind;

struct PullOptions : GlobalOptions {
  MetadataChoice choice;
  bool force = false;
  bool dryRun = false;
};

/// A pull's files, beside what the repository has.
struct Writing {
  struct File {
    std::string path;
    std::optional<std::string> before; ///< as it is now; none when there is none
    std::string after;
  };
  std::vector<File> changed;
  std::vector<std::string> unchanged;
  std::vector<std::string> conflicts; ///< those of `changed` that say something that would be lost
};

void requireLocales(const StoreListing& store, const PullOptions& options, const MetadataTarget& target) {
  for (const std::string& locale : options.choice.locales) {
    if (store.texts.contains(locale)) continue;
    throw CLIError(Kind::notFound, target.title() + " has no " + printable(locale) +
                                       " in App Store Connect, so nothing was written. It has " +
                                       Text::joined(store.locales(), ", ") + ".");
  }
}

ListingToWrite toWrite(const StoreListing& store, const PullOptions& options, const MetadataTarget& target) {
  const std::set<std::string> only(options.choice.locales.begin(), options.choice.locales.end());
  ListingToWrite listing;
  listing.version = target.version;
  listing.platform = target.platform;
  listing.platforms = target.platforms;
  listing.texts = store.texts;
  listing.testNotes = store.testNotes;
  auto unwanted = [&](const auto& entry) { return !only.empty() && !only.contains(entry.first); };
  std::erase_if(listing.texts, unwanted);
  std::erase_if(listing.testNotes, unwanted);
  listing.copyright = store.copyright;
  listing.contentRights = store.contentRights;
  listing.review = store.review.value_or(ReviewInfo{});
  listing.appValues = only.empty();
  listing.appReviewInfo = only.empty() && store.review.has_value();
  return listing;
}

CLIError failure(const std::string& path, const std::string& what, const std::error_code& reason) {
  return {Kind::failed, printable(path) + " can't be " + what + " (" + reason.message() + "), so nothing was written."};
}

Writing compared(const ListingFiles& files, const fs::path& root) {
  Writing writing;
  for (const auto& [path, contents] : files) {
    if (auto other = ListingFile::inTheWay(root, path)) {
      auto depth = std::count(other->begin(), other->end(), '/');
      std::size_t end = path.find('/');
      while (end != std::string::npos && depth-- > 0) end = path.find('/', end + 1);
      throw CLIError(Kind::failed, printable(*other) + " is in the way: a Mac takes it for " +
                                       printable(path.substr(0, end)) +
                                       ". Rename it, then pull again. Nothing was written.");
    }
    try {
      auto before = Files::read(root / path, UINT64_MAX);
      if (before && Metadata::saysTheSame(*before, contents)) {
        writing.unchanged.push_back(path);
        continue;
      }
      bool isLink = !before && fs::is_symlink(fs::symlink_status(root / path));
      if (isLink || (before && Metadata::saysOtherwise(*before, contents))) writing.conflicts.push_back(path);
      writing.changed.push_back({path, std::move(before), contents});
    } catch (const std::system_error& error) {
      throw failure(path, "read", error.code());
    }
  }
  return writing;
}

/// Puts back what was there, as far as that can be done.
void undo(const std::vector<Writing::File>& files, std::size_t written, const fs::path& root) {
  for (std::size_t i = 0; i < written; ++i) {
    std::error_code ignored;
    try {
      if (files[i].before) {
        Files::writeAtomically(root / files[i].path, *files[i].before);
      } else {
        fs::remove(root / files[i].path, ignored);
      }
    } catch (const std::system_error&) {
    }
  }
}

/// All of them or none.
void write(const std::vector<Writing::File>& files, const fs::path& root) {
  for (std::size_t i = 0; i < files.size(); ++i) {
    try {
      fs::create_directories((root / files[i].path).parent_path());
      Files::writeAtomically(root / files[i].path, files[i].after);
    } catch (const std::system_error& error) {
      undo(files, i, root);
      throw failure(files[i].path, "written", error.code());
    }
  }
}

/// What the files say otherwise all the same, since they have no place to tell the two apart.
std::vector<ListingDifference> leftApart(const StoreListing& store, const PullOptions& options,
                                         const MetadataTarget& target, MetadataLayout layout, const fs::path& root) {
  auto listing = outcome([&] { return Metadata::read(layout, root, target.version, target.platform); });
  if (!std::holds_alternative<RepoListing>(listing)) return {}; // a broken file that this pull has nothing to do with
  auto change = ListingChange::between(std::get<RepoListing>(listing), store, {.locales = options.choice.locales});
  change.differences.insert(change.differences.end(), change.held.begin(), change.held.end());
  return change.differences;
}

std::string apartText(const std::vector<ListingDifference>& values, const MetadataTarget& target) {
  return "The repo still says otherwise than " + target.title() + ", and a push would send it: " + placesText(values) +
         ". Its files have one place for what App Store Connect has apart: a default.json that every language takes, "
         "or a review.json for every platform.";
}

/// For a layout whose files know no platforms.
std::string sharedText(const MetadataTarget& target) {
  std::vector<std::string> others;
  for (const std::string& each : target.platforms) {
    if (each != target.platform) others.push_back(platformLabel(each));
  }
  return "fastlane's layout has one place for every platform, so a push for " + Text::orList(others) +
         " sends this too.";
}

std::string counted(std::size_t count) { return count == 1 ? "1 file" : std::to_string(count) + " files"; }

std::string filesText(const Writing& writing) {
  std::string text;
  for (const Writing::File& file : writing.changed) {
    text += (file.before ? "  changed  " : "  new      ") + printable(file.path) + "\n";
  }
  return text;
}

std::string doneText(const Writing& writing, const MetadataTarget& target, MetadataLayout layout, bool same) {
  if (writing.changed.empty() && writing.unchanged.empty()) {
    return "✓ App Store Connect says nothing of " + target.title() + " yet: nothing to write.";
  }
  if (writing.changed.empty()) {
    std::string count = counted(writing.unchanged.size());
    if (!same) return "✓ Nothing written for " + target.title() + ": " + count + " already so.";
    return "✓ The repo says what " + target.title() + " does already: nothing written, " + count + " already so.";
  }
  std::string text = filesText(writing);
  text +=
      "✓ Wrote " + target.title() + " in " + std::string(facts(layout).name) + ": " + counted(writing.changed.size());
  if (!writing.unchanged.empty()) text += ", and " + counted(writing.unchanged.size()) + " already so";
  return text + ".";
}

JSONData answerOf(const Writing& writing, const MetadataTarget& target, MetadataLayout layout,
                  const std::vector<ListingDifference>& apart) {
  JSONData written = JSONData::array();
  for (const Writing::File& file : writing.changed) written.add(file.path);
  JSONData places = JSONData::array();
  for (const ListingDifference& each : apart) places.add(each.place + " " + each.label);
  return JSONData::object({{"layout", facts(layout).word},
                           {"version", target.version},
                           {"platform", target.platform},
                           {"written", std::move(written)},
                           {"unchanged", writing.unchanged},
                           {"apart", std::move(places)}});
}

std::vector<ChangeItem> changesOf(const Writing& writing) {
  std::vector<ChangeItem> all;
  for (const Writing::File& file : writing.changed) {
    auto items = Metadata::differences(file.path, file.before, file.after);
    all.insert(all.end(), std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()));
  }
  return all;
}

/// Word by word, for --diff.
std::string differencesOf(const Context& context, const PullOptions& options, const Writing& writing) {
  std::vector<ListingDifference> differences;
  for (const ChangeItem& each : changesOf(writing)) {
    differences.push_back({each.place, each.field, each.from, each.to.value_or(""), each.hidden});
  }
  return options.choice.linesOf(context, differences, options.quiet() ? Stream::err : Stream::out);
}

/// What a pull would write, and what it would need --force for.
void tellDryRun(Context& context, const PullOptions& options, const Writing& writing, const MetadataTarget& target,
                MetadataLayout layout) {
  JSONData answer = answerOf(writing, target, layout, {});
  answer.set("conflicts", writing.conflicts).set("changes", changesData(changesOf(writing)));
  std::string text = filesText(writing);
  if (options.choice.diff && !writing.changed.empty()) text += differencesOf(context, options, writing) + "\n";
  text += "Dry run: would write " + (writing.changed.empty() ? "nothing" : counted(writing.changed.size())) + " for " +
          target.title() + " in " + std::string(facts(layout).name);
  if (!writing.unchanged.empty()) text += ", and " + counted(writing.unchanged.size()) + " already so";
  text += ".";
  if (!writing.conflicts.empty() && !options.force) {
    bool one = writing.conflicts.size() == 1;
    text += "\nThat takes --force, since " + counted(writing.conflicts.size()) + (one ? " says" : " say") +
            " something else: " + printable(Text::joined(writing.conflicts, ", ")) + ".";
  }
  options.emit(context.console, answer, text);
}

void runPull(Context& context, const PullOptions& options) {
  fs::path root = Project::root(context.folder);
  Client client = context.signedIn();
  MetadataTarget target = options.choice.resolve(client, context, "kestu metadata pull");
  StoreListing store = ListingPush::fetch(client, target);
  requireLocales(store, options, target);
  MetadataLayout layout = options.choice.layout.chosen(root).value_or(MetadataLayout::kestu);
  if (auto text = Metadata::newLayoutText(layout, root)) context.console.error(*text);
  Writing writing = compared(Metadata::files(layout, root, toWrite(store, options, target)), root);
  if (options.dryRun) return tellDryRun(context, options, writing, target, layout);
  if (!writing.conflicts.empty() && !options.force) {
    throw CLIError::notWritten("These files say something else than " + target.title() + " in App Store Connect",
                               writing.conflicts);
  }
  write(writing.changed, root);
  if (options.choice.diff && !writing.changed.empty()) {
    options.say(context.console, differencesOf(context, options, writing));
  }
  if (layout == MetadataLayout::fastlane && target.platforms.size() > 1 && !writing.changed.empty()) {
    context.console.error(sharedText(target));
  }
  auto apart = leftApart(store, options, target, layout, root);
  if (!apart.empty()) context.console.error(apartText(apart, target));
  JSONData answer = answerOf(writing, target, layout, apart);
  options.emit(context.console, answer, doneText(writing, target, layout, apart.empty()));
}

} // namespace

void addMetadataPull(Command& group) {
  Command& command = group.add("pull", "Write a version's App Store listing into the repo, each language's.");
  command.discussion =
      "Writes over no file that says something else, unless --force says so, and deletes none. Another platform's "
      "values that differ from those of the first one pulled stand in an object of its own (\"macos\": {…}). "
      "fastlane's layout has no "
      "place for those, nor for Content Rights and What to Test; the JSON layout holds the languages' text alone.";
  auto options = std::make_shared<PullOptions>();
  options->choice.declare(command);
  options->choice.declareDiff(command);
  command.flag({"--dry-run"}, options->dryRun, "Show what it would write, and write nothing.");
  command.flag({"--force"}, options->force, "Write over files that say something else.");
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runPull(context, *options); };
  command.example("", "The version that can be edited.");
  command.example("1.2 --diff", "What differs from the repo first, word by word.");
  command.example("--layout fastlane --force", "In fastlane's layout, over what is there.");
}

} // namespace kestu
