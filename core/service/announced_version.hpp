#pragma once

#include "core/support/version.hpp"

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// The newest version of the program that the service has announced: written by every answer, read at the end.
class AnnouncedVersion {
 public:
  void set(std::string version);

  /// The announced version when it is newer than this program.
  std::optional<std::string> newer() const;

 private:
  mutable std::mutex mutex_;
  std::string version_;
};

} // namespace kestu
