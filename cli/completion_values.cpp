#include "cli/completion_values.hpp"

#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_kind.hpp"
#include "core/builds/managed_build.hpp"
#include "core/console/format_money.hpp"
#include "core/platform/state_folder.hpp"
#include "core/pricing/offer_codes.hpp"
#include "core/pricing/storefronts.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/apple_locales.hpp"
#include "core/project/project.hpp"
#include "core/service/answer_memory.hpp"
#include "core/support/files.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

namespace fs = std::filesystem;

/// What completes one word; whatever can't be read gives nothing.
class Values {
 public:
  Values(Context& context, const std::vector<std::string>& typed)
      : memory_(cacheFolder(context.environment), context.base().origin()), now_(context.clock.now()),
        root_(Project::root(context.folder)), app_(given(typed, {"--app", "-a"})),
        begun_(!typed.empty() && !typed.back().empty() && !typed.back().ends_with('=')),
        platform_(given(typed, {"--platform"})),
        command_(typed.begin(), typed.begin() + std::min<std::ptrdiff_t>(2, std::ssize(typed))) {}

  std::vector<Candidate> named(std::string_view name) const {
    if (name == "version") return versions();
    if (name == "locale" || name == "language") return languages();
    if (name == "display") return displays();
    if (name == "app") return apps();
    if (name == "build") return builds();
    if (name == "group") return groups();
    if (name == "country" || name == "countries" || name == "regions") return countries();
    if (name == "whom") return buyers();
    return {};
  }

 private:
  static std::optional<std::string> given(const std::vector<std::string>& typed,
                                          const std::vector<std::string>& names) {
    for (std::size_t at = 0; at < typed.size(); ++at) {
      for (const std::string& name : names) {
        if (typed[at] == name && at + 1 < typed.size()) return typed[at + 1];
        if (typed[at].starts_with(name + "=")) return typed[at].substr(name.size() + 1);
      }
    }
    return std::nullopt;
  }

  bool isOf(const std::vector<std::string>& command) const { return command_ == command; }

  /// The kinds of assets that the command is about.
  std::vector<AssetKind> kinds() const {
    if (command_.size() == 2 && command_[0] == "assets") {
      if (auto kind = assetKindOfWord(command_[1])) return {*kind};
    }
    return {allAssetKinds.begin(), allAssetKinds.end()};
  }

  /// The entries of a folder of the repository without the hidden ones.
  std::vector<std::string> entries(const std::string& folder) const {
    std::vector<std::string> names;
    try {
      names = Files::entries(root_ / folder);
    } catch (const std::system_error&) {
    }
    std::erase_if(names, [](const std::string& name) { return name.starts_with('.'); });
    std::sort(names.begin(), names.end());
    return names;
  }

  std::vector<Candidate> versions() const {
    std::vector<Candidate> found;
    for (const std::string& name : entries("metadata/releases")) found.push_back({name, ""});
    std::reverse(found.begin(), found.end()); // the newest is the likeliest
    return found;
  }

  std::vector<Candidate> languages() const {
    std::set<std::string> codes;
    auto add = [&](const std::string& folder) {
      for (const std::string& name : entries(folder)) codes.insert(fs::path(name).stem().string());
    };
    for (const char* folder : {"metadata/listing", "metadata/app-info", "fastlane/metadata"}) add(folder);
    for (AssetKind kind : allAssetKinds) {
      for (std::string_view folder : facts(kind).folders) add(std::string(folder));
    }
    std::vector<Candidate> here, all;
    for (const AppleLocale& each : AppleLocales::all()) {
      Candidate candidate{std::string(each.code), std::string(each.name)};
      if (codes.contains(candidate.value)) here.push_back(candidate);
      all.push_back(std::move(candidate));
    }
    return here.empty() ? all : here;
  }

  std::vector<Candidate> displays() const {
    std::map<std::string, std::string> found;
    for (AssetKind kind : kinds()) {
      for (std::string_view folder : facts(kind).folders) {
        for (const std::string& locale : entries(std::string(folder))) {
          for (const std::string& name : entries(std::string(folder) + "/" + locale)) {
            if (!fs::path(name).has_extension() || name.find(' ') != std::string::npos) found.emplace(name, "");
          }
        }
      }
    }
    remembered("/assets/catalog", [&](const JSONValue& answer) {
      AssetCatalog catalog = AssetCatalog::read(answer);
      for (AssetKind kind : kinds()) {
        for (const AssetDisplay& display : catalog[kind].displays) {
          std::string name = display.name;
          if (std::size_t mark = name.find("″"); mark != std::string::npos) name.erase(mark, std::string("″").size());
          found.emplace(std::move(name), "");
        }
      }
    });
    std::vector<Candidate> candidates;
    for (auto& [name, what] : found) candidates.push_back({name, what});
    return candidates;
  }

  std::vector<Candidate> apps() const {
    std::vector<Candidate> found;
    std::vector<App> all = allApps();
    for (const App& app : all) found.push_back({app.bundleId, app.name});
    if (!begun_) return found; // each once; a name is offered to who begins one
    for (const App& app : all) found.push_back({app.name, app.bundleId});
    return found;
  }

  std::vector<App> allApps() const {
    std::vector<App> found;
    read("/v1/apps", [&](const JSONValue& answer) { found = answer.listAt("apps", App::read); });
    return found;
  }

  std::vector<Candidate> builds() const {
    std::vector<Candidate> found;
    if (isOf({"release", "prepare"})) found.push_back({"latest", "The newest that Apple has processed."});
    remembered("/testflight/builds", [&](const JSONValue& answer) {
      std::vector<ManagedBuild> all = TestFlightBuilds::read(answer).builds;
      if (platform_) std::erase_if(all, [&](const ManagedBuild& build) { return build.platform != *platform_; });
      std::map<std::string, int> numbers, texts;
      std::set<std::string> told;
      for (const ManagedBuild& build : all) {
        ++numbers[build.number];
        ++texts[build.text()];
      }
      for (const ManagedBuild& build : all) {
        std::string what = build.described() + ", " + build.stateText();
        if (texts[build.text()] > 1) what = "On several platforms: --platform says which.";
        if (numbers[build.number] == 1) found.push_back({build.number, what});
        if (numbers[build.number] == 1 && !begun_) continue;
        if (told.insert(build.text()).second) found.push_back({build.text(), what});
      }
    });
    return found;
  }

  static std::vector<Candidate> buyers() {
    std::vector<Candidate> found;
    for (bool ofSubscription : {true, false}) {
      for (const std::string& word : Eligibility::words(ofSubscription)) {
        found.push_back({word, ofSubscription ? "of a subscription" : "of an in-app purchase"});
      }
    }
    return found;
  }

  std::vector<Candidate> groups() const {
    std::vector<Candidate> found;
    remembered("/testflight/groups", [&](const JSONValue& answer) {
      for (const BuildGroup& group : answer.listAt("groups", BuildGroup::read)) {
        if (group.name) found.push_back({*group.name, group.internal ? "internal testers" : "external testers"});
      }
    });
    return found;
  }

  static std::vector<Candidate> countries() {
    std::vector<Candidate> found;
    for (const Storefront& each : Storefronts::all()) {
      found.push_back({std::string(each.code), Format::country(each.code)});
    }
    return found;
  }

  /// The App Store ID of the app that the words name, else of the repository's.
  std::optional<std::int64_t> appID() const {
    try {
      if (app_) return AppChoice::match(*app_, allApps()).appId;
      if (auto link = Project::link(root_)) return link->appId;
    } catch (const CLIError&) {
    }
    return std::nullopt;
  }

  template <class Use>
  void remembered(const std::string& rest, Use use) const {
    if (auto app = appID()) read("/v1/apps/" + std::to_string(*app) + rest, use);
  }

  template <class Use>
  void read(const std::string& path, Use use) const {
    auto body = memory_.find(path, now_);
    if (!body) return;
    try {
      use(JSONValue::parse(*body));
    } catch (const JSONError&) {
    }
  }

  AnswerMemory memory_;
  Moment now_;
  fs::path root_;
  std::optional<std::string> app_;
  bool begun_; ///< something of the word is typed
  std::optional<std::string> platform_;
  std::vector<std::string> command_; ///< the first two words
};

} // namespace

CompletionValues completionValues(Context& context, const std::vector<std::string>& typed) {
  return [values = Values(context, typed)](std::string_view name) { return values.named(name); };
}

} // namespace kestu
