#include "core/listing/metadata.hpp"
#include "core/project/platform.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>

namespace fs = std::filesystem;

namespace kestu::fuzz {

namespace {

/// A repository whose files are an input's, and what is read of it.
class Repository {
 public:
  Repository(MetadataLayout layout, std::string version, std::string platform)
      : layout_(layout), version_(std::move(version)), platform_(std::move(platform)) {}

  const fs::path root = freshFolder();

  std::optional<RepoListing> read() const { return readFor(platform_); }

  std::optional<RepoListing> readFor(const std::string& platform) const {
    try {
      return Metadata::read(layout_, root, version_, platform);
    } catch (const CLIError& error) {
      bool ours = error.kind == CLIError::Kind::failed || error.kind == CLIError::Kind::usage;
      require(ours && !error.description.empty(), "a broken file is a failure");
      requirePrintable(error.description, "the message");
      return std::nullopt;
    }
  }

  /// Writes what a pull would; the files that it changed.
  ListingFiles pull(const RepoListing& listing) const {
    ListingToWrite wanted{version_, platform_, {platforms.begin(), platforms.end()}};
    wanted.texts = listing.texts;
    wanted.copyright = listing.copyright;
    wanted.contentRights = listing.contentRights;
    wanted.review = listing.review.value_or(ReviewInfo());
    wanted.release = listing.release;
    wanted.testNotes = listing.testNotes;
    wanted.appReviewInfo = listing.review.has_value();
    ListingFiles changed;
    for (const auto& [path, contents] : Metadata::files(layout_, root, wanted)) {
      bool inside = path.starts_with(layout_ == MetadataLayout::fastlane ? "fastlane/metadata/" : "metadata/");
      require(inside && Files::inside(root, path), "a listing's files are among them: " + path);
      auto before = Files::read(root / path, 1 << 24);
      if (before && Metadata::saysTheSame(*before, contents)) continue;
      changed[path] = contents;
      requirePrintable(contents.empty() ? "" : path, "a path");
      fuzz::write(root, path, contents);
    }
    return changed;
  }

 private:
  MetadataLayout layout_;
  std::string version_, platform_;
};

void requireSame(const RepoListing& one, const RepoListing& other, const std::string& when) {
  require(one.texts == other.texts && one.defaults == other.defaults, when + ": the texts");
  require(one.copyright == other.copyright && one.contentRights == other.contentRights, when + ": the app's values");
  require(one.review.value_or(ReviewInfo()) == other.review.value_or(ReviewInfo()), when + ": what App Review is told");
  require(one.demoPassword == other.demoPassword, when + ": the demo account's password");
  require(one.release == other.release, when + ": how it is released");
  require(one.testNotes == other.testNotes, when + ": What to Test");
}

} // namespace

/// A repository's listing in any layout: refused with a message, or read; written as it was read it reads the same on
/// every platform, and a second time nothing is written at all.
void metadata(std::string_view bytes) {
  Input input(bytes);
  auto words = Text::words(input.line());
  words.resize(3);
  auto layout = metadataLayoutOfWord(words[0]).value_or(MetadataLayout::kestu);
  bool known = std::find(platforms.begin(), platforms.end(), words[2]) != platforms.end();
  Repository repo(layout, words[1].empty() ? "1.2" : words[1], known ? words[2] : "ios");
  for (const auto& [path, contents] : filesIn(input.rest())) write(repo.root, path, contents);

  auto before = repo.read();
  if (!before || words[1].size() > 100) return;
  for (const std::string& note : before->notes) require(!note.empty(), "a note says something");
  std::vector<std::optional<RepoListing>> others;
  for (std::string_view platform : platforms) others.push_back(repo.readFor(std::string(platform)));
  repo.pull(*before);
  auto after = repo.read();
  require(after.has_value(), "what is written is read");
  requireSame(*before, *after, "written as it was read");
  require(repo.pull(*after).empty(), "a second time nothing is written");
  for (std::size_t i = 0; i < platforms.size(); ++i) {
    auto other = repo.readFor(std::string(platforms[i]));
    require(!others[i] || other, "other platforms are still read");
    if (others[i] && !others[i]->isEmpty()) requireSame(*others[i], *other, std::string(platforms[i]));
  }
}

} // namespace kestu::fuzz
