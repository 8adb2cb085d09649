#include "core/assets/asset_kind.hpp"

#include <algorithm>

namespace kestu {

namespace {

constexpr std::string_view screenshotFolders[] = {"metadata/screenshots", "fastlane/screenshots"};
constexpr std::string_view previewFolders[] = {"metadata/previews"};
constexpr std::string_view headerFolders[] = {"metadata/header"};
constexpr std::string_view searchResultsFolders[] = {"metadata/search-results"};

/// One row a kind, in the order of the enumeration. The catalog's key of the last one has no hyphen, its folder has.
constexpr std::array<AssetKindFacts, allAssetKinds.size()> table = {{
    {AssetKind::screenshots, "screenshots", "screenshots", "screenshot", "screenshots", screenshotFolders},
    {AssetKind::previews, "previews", "previews", "app preview", "app previews", previewFolders},
    {AssetKind::header, "header", "header", "header asset", "header assets", headerFolders},
    {AssetKind::searchResults, "searchresults", "search-results", "search results asset", "search results assets",
     searchResultsFolders},
}};

std::optional<AssetKind> kindWith(std::string_view AssetKindFacts::*column, std::string_view value) {
  auto row = std::find_if(table.begin(), table.end(), [&](const auto& facts) { return facts.*column == value; });
  return row == table.end() ? std::nullopt : std::optional(row->kind);
}

} // namespace

const AssetKindFacts& facts(AssetKind kind) { return table.at(static_cast<std::size_t>(kind)); }

std::optional<AssetKind> assetKindOfKey(std::string_view key) { return kindWith(&AssetKindFacts::key, key); }

std::optional<AssetKind> assetKindOfWord(std::string_view word) { return kindWith(&AssetKindFacts::word, word); }

std::string counted(AssetKind kind, std::size_t count) {
  return std::to_string(count) + " " + std::string(count == 1 ? facts(kind).singular : facts(kind).plural);
}

} // namespace kestu
