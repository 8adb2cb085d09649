#pragma once

#include "core/builds/managed_build.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// How a build is named: by its number, its version and number, or Apple's ID.
struct BuildReference {
  std::optional<std::string> version{};
  std::optional<std::string> number{};
  std::optional<std::string> id{};

  /// Of "45", "1.2 (45)", "1.2 45", and Apple's ID for any other text.
  static BuildReference read(std::string_view text);

  /// The name of a listed build.
  static BuildReference of(const ManagedBuild& build) { return {build.version, build.number, std::nullopt}; }

  /// The ID, "1.2 (45)" or "45"; printable.
  std::string text() const;

  /// The text as a word of a command line ("\"1.2 (45)\""), or the number alone where the text wouldn't be read so.
  std::string word() const;

  bool names(const ManagedBuild& build) const;

  /// The build that it names, on the platform when one is given; none when none is listed. An upload is passed over for
  /// a build of the same name. Several are a CLIError.
  const ManagedBuild* among(const std::vector<ManagedBuild>& builds, const std::optional<std::string>& platform) const;

  /// The same, and none is a CLIError too.
  const ManagedBuild& find(const std::vector<ManagedBuild>& builds, const std::optional<std::string>& platform) const;
};

} // namespace kestu
