#pragma once

#include "cli/command.hpp"
#include "core/listing/repo_listing.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace kestu {

/// Which of the repository's layouts a command reads or writes.
struct LayoutOption {
  std::optional<MetadataLayout> layout;

  void declare(Command& command);

  /// The layout named, else the one that the repository has.
  std::optional<MetadataLayout> chosen(const std::filesystem::path& root) const;

  /// The listing in that layout; none when the repository has none.
  std::optional<RepoListing> read(const std::filesystem::path& root, const std::optional<std::string>& version,
                                  const std::optional<std::string>& platform) const;
};

} // namespace kestu
