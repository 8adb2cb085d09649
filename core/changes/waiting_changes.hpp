#pragma once

#include "core/changes/plan.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// The changes sent from this machine that waited for an approval when they were last looked at, so that one that is
/// sent again can be told for what it is. Of each only a digest and its plan's ID are kept, in the user's state folder.
class WaitingChanges {
 public:
  /// Apart for each origin of the service; nothing is kept or found without a folder.
  WaitingChanges(const std::optional<std::filesystem::path>& folder, std::string origin);

  /// `change` is what a change is known again by. Quietly does nothing where it can't be written.
  void keep(std::string_view change, const Plan& plan, Moment now) const;

  /// The ID of the plan of such a change, a UUID in lower case; whether it still waits, the service knows.
  std::optional<std::string> find(std::string_view change, Moment now) const;

 private:
  struct Kept {
    std::string digest, plan;
    Moment expiresAt;
  };
  std::vector<Kept> read(Moment now) const;
  void write(const std::vector<Kept>& all) const;
  std::string digest(std::string_view change) const;

  std::optional<std::filesystem::path> file_;
  std::string origin_;
};

} // namespace kestu
