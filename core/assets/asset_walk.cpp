#include "core/assets/asset_walk.hpp"

#include "core/assets/display_hint.hpp"
#include "core/project/apple_locales.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

class Walker {
 public:
  Walker(AssetWalk& walk, const std::filesystem::path& root, const DisplayChoice& displays)
      : walk_(walk), root_(root), displays_(displays) {}

  /// Calls `each` for what is in the folder; a folder or a link that can't be followed is a problem.
  void forEntries(const std::string& folder, auto each) {
    try {
      for (const Assets::Entry& entry : Assets::entries(root_ / folder)) {
        if (entry.error && !mediaType(entry.name)) {
          complain(displays_.named(entry.name), Assets::unreadable(folder + "/" + entry.name, entry.error));
        } else {
          each(entry);
        }
      }
    } catch (const std::system_error& error) {
      complain(displays_.named(folder.substr(folder.rfind('/') + 1)), Assets::unreadable(folder, error.code()));
    }
  }

  /// Nothing of a folder whose name can't be a language's is taken for it.
  void language(const std::string& locale) {
    using AppleLocales::Standing;
    Standing standing = AppleLocales::standing(locale);
    std::string folder = walk_.kindFolder + "/" + locale;
    if (standing == Standing::unknown) walk_.notes.push_back(folder + AppleLocales::doubt(locale) + ".");
    if (standing != Standing::refused) return files(locale, folder);
    AssetWalk unused{walk_.kindFolder, {}, {}, {}, {}, {}};
    Walker(unused, root_, displays_).files(locale, folder);
    walk_.locales.insert(locale);
    walk_.present.merge(unused.present);
    bool isMeant = std::any_of(unused.places.begin(), unused.places.end(),
                               [&](const AssetPlace& place) { return place.display || !displays_.isLimited(); });
    bool isWrong = isMeant || (!unused.problems.empty() && !displays_.isLimited());
    std::string text = folder + AppleLocales::refusal(locale);
    (isWrong ? walk_.problems : walk_.notes).push_back(isWrong ? text : text + " Nothing in it would be sent.");
  }

 private:
  /// A problem of another display than those asked for keeps nothing from being sent.
  void complain(const AssetDisplay* display, std::string problem) {
    bool counts = !displays_.isLimited() || (display && displays_.keeps(*display));
    (counts ? walk_.problems : walk_.notes).push_back(std::move(problem));
  }

  void files(const std::string& locale, const std::string& folder) {
    walk_.locales.insert(locale);
    AssetPlace loose{locale, folder, nullptr, {}};
    forEntries(folder, [&](const Assets::Entry& entry) {
      if (entry.isFolder) {
        display(locale, entry.name);
      } else if (mediaType(entry.name)) {
        add(loose, entry.name);
      } else if (const AssetDisplay* display = displays_.named(entry.name); display && !entry.error) {
        complain(display, folder + "/" + entry.name + " is a file, and " + display->name + " takes a folder of files.");
      }
    });
    leaveOutUnframed(loose);
    if (!loose.files.empty()) walk_.places.push_back(std::move(loose));
  }

  /// A picture whose framed one lies beside it is what that was made from.
  void leaveOutUnframed(AssetPlace& loose) {
    std::set<std::string> stems;
    for (const auto& file : loose.files) stems.insert(file.stem().string());
    auto erased = std::erase_if(loose.files, [&](const std::filesystem::path& file) {
      return stems.contains(file.stem().string() + "_framed");
    });
    if (erased == 0) return;
    walk_.notes.push_back(loose.folder + ": " + (erased == 1 ? "a file is" : std::to_string(erased) + " files are") +
                          " left out for the framed one beside it (…_framed).");
  }

  void display(const std::string& locale, const std::string& name) {
    AssetPlace place{locale, walk_.kindFolder + "/" + locale + "/" + name, displays_.named(name), {}};
    std::size_t problems = walk_.problems.size();
    forEntries(place.folder, [&](const Assets::Entry& entry) {
      if (!entry.isFolder && mediaType(entry.name)) add(place, entry.name);
    });
    if (place.display) {
      if (!place.files.empty() && displays_.keeps(*place.display)) walk_.places.push_back(std::move(place));
    } else if (!place.files.empty()) {
      complain(nullptr, place.folder + ": " + displays_.unknown(name));
    } else if (walk_.problems.size() == problems) {
      walk_.notes.push_back(place.folder + " is called as no display is, and has no media files.");
    }
  }

  void add(AssetPlace& place, const std::string& name) {
    std::string path = place.folder + "/" + name;
    walk_.present.insert(path.substr(walk_.kindFolder.size() + 1));
    place.files.push_back(root_ / path);
  }

  AssetWalk& walk_;
  const std::filesystem::path& root_;
  const DisplayChoice& displays_;
};

} // namespace

DisplayChoice::DisplayChoice(AssetDisplays all, const ScanOptions& options)
    : all_(std::move(all)), ofPlatform_(all_), groups_(options.groups) {
  if (options.platform.empty()) return;
  std::erase_if(ofPlatform_.displays,
                [&](const AssetDisplay& display) { return display.platform != options.platform; });
}

bool DisplayChoice::keeps(const AssetDisplay& display) const {
  bool asked = groups_.empty() || std::find(groups_.begin(), groups_.end(), display.group) != groups_.end();
  return asked && ofPlatform_.position(display) < ofPlatform_.displays.size();
}

const AssetDisplay* DisplayChoice::named(const std::string& folder) const { return all_.named(folder); }

const AssetDisplay* DisplayChoice::fitting(const AssetFile& file) const {
  if (file.isVideo && !file.facts) {
    auto takesVideos = [](const AssetDisplay& display) { return !display.videos.empty(); };
    const auto& displays = ofPlatform_.displays;
    auto first = std::find_if(displays.begin(), displays.end(), takesVideos);
    bool only = first != displays.end() && std::none_of(first + 1, displays.end(), takesVideos);
    return only ? &*first : nullptr;
  }
  for (const AssetDisplays* displays : {&ofPlatform_, &all_}) {
    std::vector<const AssetDisplay*> taking;
    for (const AssetDisplay& display : displays->displays) {
      bool takes = file.isVideo ? display.spec(&AssetDisplay::videos, file.width, file.height, true) != nullptr
                                : display.spec(&AssetDisplay::images, file.width, file.height, true) != nullptr;
      if (takes) taking.push_back(&display);
    }
    if (!taking.empty()) return displayMeant(file.name, taking);
  }
  return nullptr;
}

std::string DisplayChoice::unknown(const std::string& name) const {
  auto groups = all_.sharing(name);
  if (groups.empty()) return "No display is called " + name + ": kestu assets sizes lists them.";
  return Text::joined(groups, " and ") + " are both called " + name + ": an ID says which one is meant.";
}

bool DisplayChoice::takes(const AssetDisplay* display, MediaType type) const {
  if (all_.kind == AssetKind::screenshots) return type == MediaType::image;
  if (all_.kind == AssetKind::previews) return type == MediaType::video;
  auto has = [&](const AssetDisplay& each) {
    return type == MediaType::image ? !each.images.empty() : !each.videos.empty();
  };
  return display ? has(*display) : std::any_of(ofPlatform_.displays.begin(), ofPlatform_.displays.end(), has);
}

bool isAskedFor(const std::string& locale, const std::vector<std::string>& locales) {
  auto same = [&](const std::string& asked) { return Text::lowercased(asked) == Text::lowercased(locale); };
  return locales.empty() || std::any_of(locales.begin(), locales.end(), same);
}

AssetWalk AssetWalk::of(AssetKind kind, const std::filesystem::path& root, const DisplayChoice& displays,
                        const std::vector<std::string>& locales) {
  AssetWalk walk;
  walk.kindFolder = Assets::repositoryFolder(kind, root).value_or("");
  if (walk.kindFolder.empty()) return walk;
  Walker walker(walk, root, displays);
  walker.forEntries(walk.kindFolder, [&](const Assets::Entry& entry) {
    if (entry.isFolder && isAskedFor(entry.name, locales)) walker.language(entry.name);
  });
  return walk;
}

} // namespace kestu
