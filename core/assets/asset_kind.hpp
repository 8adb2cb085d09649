#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kestu {

enum class AssetKind { screenshots, previews, header, searchResults };

inline constexpr std::array allAssetKinds = {AssetKind::screenshots, AssetKind::previews, AssetKind::header,
                                             AssetKind::searchResults};

struct AssetKindFacts {
  AssetKind kind;
  std::string_view key;  ///< in the service's catalog and plans
  std::string_view word; ///< on the command line
  std::string_view singular;
  std::string_view plural;
  std::span<const std::string_view> folders; ///< under the repository root; the first with files is the kind's
};

const AssetKindFacts& facts(AssetKind kind);

std::optional<AssetKind> assetKindOfKey(std::string_view key);
std::optional<AssetKind> assetKindOfWord(std::string_view word);

/// "1 screenshot", "11 screenshots".
std::string counted(AssetKind kind, std::size_t count);

} // namespace kestu
