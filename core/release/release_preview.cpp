#include "core/release/release_preview.hpp"

#include "core/project/apple_locales.hpp"
#include "core/release/preview_assets.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace kestu {

namespace {

std::size_t countOf(const Findings& findings, Level level) {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(), [&](const Finding& each) { return each.level == level; }));
}

bool differs(Standing standing) {
  return standing != Standing::unknown && standing != Standing::same && standing != Standing::stays;
}

/// Puts the facts together, a language at a time.
class Gathering {
 public:
  explicit Gathering(PreviewFacts facts) : facts_(std::move(facts)) {
    if (facts_.store) change_ = ListingChange::between(facts_.repository, *facts_.store, {facts_.locales, {}, false});
    repository_ = facts_.repository.resolved(facts_.store ? facts_.store->locales() : std::vector<std::string>());
    orderDisplays();
  }

  ReleasePreview preview() {
    ReleasePreview preview;
    preview.isCompared = facts_.store != nullptr;
    if (facts_.store) preview.copyright = facts_.store->copyright;
    if (facts_.repository.copyright) preview.copyright = facts_.repository.copyright;
    for (const std::string& locale : locales()) preview.languages.push_back(language(locale));
    for (Finding& finding : facts_.findings) place(preview, std::move(finding));
    return preview;
  }

 private:
  bool isAskedFor(const std::string& locale) const {
    const auto& asked = facts_.locales;
    return asked.empty() || std::find(asked.begin(), asked.end(), locale) != asked.end();
  }

  /// Every language that there is anything of, the primary one first.
  std::vector<std::string> locales() const {
    std::set<std::string> all;
    for (const auto& [locale, text] : repository_) all.insert(locale);
    if (facts_.store) {
      for (const auto& [locale, text] : facts_.store->texts) all.insert(locale);
    }
    for (const AssetSet& set : facts_.sets) all.insert(set.locale);
    std::vector<std::string> list(all.begin(), all.end());
    std::erase_if(list, [&](const std::string& locale) { return !isAskedFor(locale); });
    std::stable_partition(list.begin(), list.end(),
                          [&](const std::string& locale) { return locale == facts_.primaryLocale; });
    return list;
  }

  PreviewLanguage language(const std::string& locale) {
    PreviewLanguage language{.locale = locale};
    for (const AppleLocale& each : AppleLocales::all()) {
      if (each.code == locale) language.name = each.name;
    }
    language.rightToLeft = isRightToLeft(locale);
    language.isPrimary = locale == facts_.primaryLocale;
    language.isNew = facts_.store && !facts_.store->texts.contains(locale);
    for (const ListingFieldFacts& field : listingFields()) {
      if (auto text = this->text(locale, field.field)) language.texts.push_back(*std::move(text));
    }
    language.displays = displays(locale);
    return language;
  }

  static const std::optional<std::string>* find(const LocaleTexts& texts, const std::string& locale,
                                                ListingField field) {
    auto found = texts.find(locale);
    return found == texts.end() || !found->second[field] ? nullptr : &found->second[field];
  }

  std::optional<PreviewText> text(const std::string& locale, ListingField field) const {
    const auto* own = find(repository_, locale, field);
    const auto* stored = facts_.store ? find(facts_.store->texts, locale, field) : nullptr;
    if (!own && !stored) return std::nullopt;
    if (!facts_.store) return PreviewText{field, **own, Standing::unknown, {}, {}};
    if (!own) return PreviewText{field, **stored, Standing::stays, {}, {}};
    auto isIt = [&](const ListingDifference& each) { return each.place == locale && each.label == facts(field).label; };
    // A version that isn't there yet takes everything once it is.
    bool holds = facts_.store->version && std::any_of(change_.held.begin(), change_.held.end(), isIt);
    if (holds) return PreviewText{field, stored ? **stored : "", Standing::held, **own, {}};
    bool changes = std::any_of(change_.differences.begin(), change_.differences.end(), isIt) ||
                   std::any_of(change_.held.begin(), change_.held.end(), isIt);
    if (!changes) return PreviewText{field, **own, Standing::same, {}, {}};
    return PreviewText{field,
                       **own,
                       stored ? Standing::changed : Standing::added,
                       stored ? *stored : std::optional<std::string>(),
                       {}};
  }

  /// As Apple lists them; without its catalog by their names.
  void orderDisplays() {
    if (!facts_.catalog) return;
    for (AssetKind kind : allAssetKinds) {
      for (const AssetDisplay& display : (*facts_.catalog)[kind].displays) {
        order_.emplace(display.name, order_.size());
        names_.emplace(std::pair(kind, display.group), display.name);
      }
    }
  }

  const std::vector<ShownAsset>* shownOf(const AssetKey& key) const {
    if (!facts_.shown) return nullptr;
    for (const ShownLanguage& language : facts_.shown->languages) {
      if (language.locale != key.locale) continue;
      for (const ShownDisplay& display : language.displays) {
        if (display.kind == key.kind && display.group == key.group) return &display.assets;
      }
    }
    return nullptr;
  }

  std::vector<PreviewAsset> assetsOf(const AssetSet& set) {
    static const std::vector<ShownAsset> none;
    std::vector<PreviewAsset> assets;
    if (facts_.shown) {
      const auto* shown = shownOf(set.key());
      assets = comparedAssets(set, shown ? *shown : none);
    } else {
      for (const AssetFile& file : set.files) {
        assets.push_back({set.kind, file, {}, Standing::unknown, {}, false, {}});
      }
    }
    for (PreviewAsset& asset : assets) {
      if (!asset.isThere()) continue;
      asset.path = set.folder + "/" + asset.file.name;
      claim(asset.path, asset.findings);
    }
    return assets;
  }

  /// Takes the findings whose text begins with the path.
  void claim(const std::string& path, Findings& into) {
    auto begins = [&](const Finding& finding) {
      const std::string& message = finding.message;
      return message.starts_with(path) && message.size() > path.size() &&
             (message[path.size()] == ' ' || message[path.size()] == ':');
    };
    auto& all = facts_.findings;
    auto end = std::stable_partition(all.begin(), all.end(), [&](const auto& each) { return !begins(each); });
    std::move(end, all.end(), std::back_inserter(into));
    all.erase(end, all.end());
  }

  /// By the display's name: its app previews stand before its screenshots, as on the App Store.
  std::vector<PreviewDisplay> displays(const std::string& locale) {
    auto before = [this](const std::string& a, const std::string& b) {
      return position(a) != position(b) ? position(a) < position(b) : Text::naturalLess(a, b);
    };
    std::map<std::string, std::map<int, std::vector<PreviewAsset>>, decltype(before)> found(before);
    std::map<std::string, Findings> findings;
    std::set<AssetKey> own;
    for (const AssetSet& set : facts_.sets) {
      if (set.locale != locale) continue;
      own.insert(set.key());
      found[titleOf(set.kind, set.display.name)][rank(set.kind)] = assetsOf(set);
      claim(set.folder, findings[titleOf(set.kind, set.display.name)]);
    }
    for (const ShownLanguage& language : facts_.shown ? facts_.shown->languages : std::vector<ShownLanguage>()) {
      if (language.locale != locale) continue;
      for (const ShownDisplay& display : language.displays) {
        auto name = names_.find({display.kind, display.group});
        if (own.contains({locale, display.kind, display.group}) || display.assets.empty()) continue;
        auto& assets =
            found[titleOf(display.kind, name == names_.end() ? display.group : name->second)][rank(display.kind)];
        for (const ShownAsset& asset : display.assets) {
          assets.push_back(shownAlone(display.kind, asset, Standing::stays));
        }
      }
    }
    std::vector<PreviewDisplay> list;
    for (auto& [name, kinds] : found) {
      PreviewDisplay display{name, {}, std::move(findings[name])};
      for (auto& [kind, assets] : kinds) std::move(assets.begin(), assets.end(), std::back_inserter(display.assets));
      list.push_back(std::move(display));
    }
    return list;
  }

  std::size_t position(const std::string& name) const {
    auto found = order_.find(name);
    return found == order_.end() ? order_.size() : found->second;
  }

  static int rank(AssetKind kind) { return kind == AssetKind::previews ? -1 : static_cast<int>(kind); }

  /// Places that show assets of one kind alone may have no name that says so.
  static std::string titleOf(AssetKind kind, const std::string& name) {
    return name.empty() ? std::string(kestu::facts(kind).plural) : name;
  }

  /// To the texts that it is about, else to its language, else to the whole.
  static void place(ReleasePreview& preview, Finding finding) {
    if (!finding.locale) return preview.findings.push_back(std::move(finding));
    auto language = std::find_if(preview.languages.begin(), preview.languages.end(),
                                 [&](const PreviewLanguage& each) { return each.locale == *finding.locale; });
    if (language == preview.languages.end()) {
      // A language that can't be one is on no page, and not to be passed over.
      bool isOff = AppleLocales::standing(*finding.locale) == AppleLocales::Standing::refused;
      if (isOff) preview.findings.push_back(std::move(finding));
      return;
    }
    if (finding.fields.empty()) return language->findings.push_back(std::move(finding));
    if (finding.fields.size() == 1) {
      return textOf(*language, finding.fields.front()).findings.push_back(std::move(finding));
    }
    // A list of what is missing is no use beside each, whose places are shown empty.
    if (finding.rule == "required" || finding.rule == "missing") {
      for (ListingField field : finding.fields) textOf(*language, field);
    }
    language->findings.push_back(std::move(finding));
  }

  /// The language's text, made empty where there is none.
  static PreviewText& textOf(PreviewLanguage& language, ListingField field) {
    auto& texts = language.texts;
    auto text = std::lower_bound(texts.begin(), texts.end(), field,
                                 [](const PreviewText& each, ListingField value) { return each.field < value; });
    if (text == texts.end() || text->field != field) {
      text = texts.insert(text, PreviewText{field, "", Standing::unknown, {}, {}});
    }
    return *text;
  }

  PreviewFacts facts_;
  ListingChange change_;
  LocaleTexts repository_;
  std::map<std::string, std::size_t> order_;                       ///< by a display's name
  std::map<std::pair<AssetKind, std::string>, std::string> names_; ///< of displays, by their IDs
};

} // namespace

std::string_view rawValue(Standing standing) {
  static constexpr std::array<std::string_view, 8> words = {"unknown", "same", "added", "changed",
                                                            "moved",   "held", "stays", "removed"};
  return words[static_cast<std::size_t>(standing)];
}

const PreviewText* PreviewLanguage::text(ListingField field) const {
  auto found = std::find_if(texts.begin(), texts.end(), [&](const PreviewText& each) { return each.field == field; });
  return found == texts.end() ? nullptr : &*found;
}

std::size_t PreviewLanguage::differences() const {
  auto differ = [](const auto& list) {
    return static_cast<std::size_t>(
        std::count_if(list.begin(), list.end(), [](const auto& each) { return differs(each.standing); }));
  };
  std::size_t sum = differ(texts);
  for (const PreviewDisplay& display : displays) sum += differ(display.assets);
  return sum;
}

std::size_t PreviewLanguage::count(Level level) const {
  std::size_t sum = kestu::countOf(findings, level);
  for (const PreviewText& text : texts) sum += kestu::countOf(text.findings, level);
  for (const PreviewDisplay& display : displays) {
    sum += kestu::countOf(display.findings, level);
    for (const PreviewAsset& asset : display.assets) sum += kestu::countOf(asset.findings, level);
  }
  return sum;
}

ReleasePreview ReleasePreview::of(PreviewFacts facts) { return Gathering(std::move(facts)).preview(); }

void ReleasePreview::embed(std::uint64_t limit) {
  std::uint64_t bytes = 0;
  std::size_t out = 0;
  for (PreviewLanguage& language : languages) {
    for (PreviewDisplay& display : language.displays) {
      for (PreviewAsset& asset : display.assets) {
        auto size = static_cast<std::uint64_t>(asset.file.size);
        if (!asset.isThere() || asset.file.isVideo) continue;
        asset.embedded = size <= limit - bytes;
        if (asset.embedded) bytes += size;
        if (!asset.embedded) ++out;
      }
    }
  }
  if (out == 0) return;
  leftOut.push_back((out == 1 ? "1 image" : std::to_string(out) + " images") +
                    " beyond the page's size, shown by name: --locale makes a page of fewer languages.");
}

std::size_t ReleasePreview::differences() const {
  std::size_t sum = 0;
  for (const PreviewLanguage& language : languages) sum += language.differences();
  return sum;
}

std::size_t ReleasePreview::count(Level level) const {
  std::size_t sum = kestu::countOf(findings, level);
  for (const PreviewLanguage& language : languages) sum += language.count(level);
  return sum;
}

std::size_t ReleasePreview::countOf(AssetKind kind) const {
  std::size_t sum = 0;
  for (const PreviewLanguage& language : languages) {
    for (const PreviewDisplay& display : language.displays) {
      sum += static_cast<std::size_t>(
          std::count_if(display.assets.begin(), display.assets.end(),
                        [&](const PreviewAsset& each) { return each.kind == kind && each.isThere(); }));
    }
  }
  return sum;
}

bool isRightToLeft(std::string_view locale) {
  static constexpr std::array<std::string_view, 11> languages = {"ar", "ckb", "dv", "fa", "he", "iw",
                                                                 "ps", "sd",  "ug", "ur", "yi"};
  std::string code = Text::lowercased(locale);
  if (code.find("-latn") != std::string::npos) return false;
  if (code.find("-arab") != std::string::npos || code.find("-hebr") != std::string::npos) return true;
  return std::find(languages.begin(), languages.end(), code.substr(0, code.find('-'))) != languages.end();
}

} // namespace kestu
