#pragma once

#include "core/assets/asset_scan.hpp"
#include "core/assets/shown_assets.hpp"
#include "core/listing/listing_change.hpp"
#include "core/release/finding.hpp"
#include "core/support/json_data.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// How something in the repository stands to what App Store Connect has.
enum class Standing {
  unknown, ///< not compared
  same,
  added,
  changed, ///< a text, or a video's poster frame
  moved,   ///< shown too, in another order
  held,    ///< a text that differs, and that the version doesn't take any more
  stays,   ///< App Store Connect's own, of which the repository says nothing
  removed, ///< shown now, and no more with the repository's
};

std::string_view rawValue(Standing standing);

/// What a page shows of a text: what customers would read, and what else there is of it.
struct PreviewText {
  ListingField field = ListingField::name;
  std::string shown; ///< empty where there is none
  Standing standing = Standing::unknown;
  std::optional<std::string> other{}; ///< what it was before it changed, or what is held back
  Findings findings{};
};

struct PreviewAsset {
  AssetKind kind = AssetKind::screenshots;
  AssetFile file;     ///< its name alone for what isn't in the repository
  std::string path{}; ///< its repository path
  Standing standing = Standing::unknown;
  std::optional<std::size_t> before{}; ///< its place among those shown, from 1, where it moved
  bool embedded = false;               ///< in the page itself
  Findings findings{};

  bool isThere() const { return standing != Standing::stays && standing != Standing::removed; }
};

/// A display of a language: its app previews, then its screenshots, in order; what goes away last.
struct PreviewDisplay {
  std::string name;
  std::vector<PreviewAsset> assets{};
  Findings findings{};
};

struct PreviewLanguage {
  std::string locale;
  std::string name{}; ///< "German"; empty where it isn't known
  bool rightToLeft = false;
  bool isPrimary = false;
  bool isNew = false; ///< App Store Connect has no text of it
  std::vector<PreviewText> texts{};
  std::vector<PreviewDisplay> displays{};
  Findings findings{}; ///< that are about nothing else on the page

  /// Null where there is neither a text nor a finding.
  const PreviewText* text(ListingField field) const;
  std::size_t differences() const;
  std::size_t count(Level level) const; ///< findings in all of it
};

/// What a preview is made of. What couldn't be had is null.
struct PreviewFacts {
  const RepoListing& repository;
  const StoreListing* store = nullptr;
  const AssetCatalog* catalog = nullptr;
  const ShownAssets* shown = nullptr;
  std::vector<AssetSet> sets{}; ///< the repository's
  Findings findings{};
  std::vector<std::string> locales{}; ///< all when empty
  std::string primaryLocale{};
};

/// A version's product page as customers would see it, in every language.
struct ReleasePreview {
  std::string title; ///< "Daylight 1.2 for iOS"
  std::string state{};
  std::string made{};
  std::optional<std::string> copyright{};
  bool isCompared = false;
  std::vector<PreviewLanguage> languages{}; ///< the primary one first
  Findings findings{};                      ///< of no language on the page
  std::vector<std::string> leftOut{};       ///< what the page goes without, and why; sentences

  static ReleasePreview of(PreviewFacts facts);

  /// Marks the images that go into the page, in order, for as long as their bytes are within the limit. Says what is
  /// left out then.
  void embed(std::uint64_t limit);

  std::size_t differences() const;
  std::size_t count(Level level) const;
  std::size_t countOf(AssetKind kind) const; ///< the repository's
};

/// What is on the page, as data.
JSONData encoded(const ReleasePreview& preview);

/// Whether a language is written from right to left, by its code.
bool isRightToLeft(std::string_view locale);

} // namespace kestu
