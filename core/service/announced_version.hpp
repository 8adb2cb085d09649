#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// This program, as it names itself to the service.
struct CLI {
  static constexpr std::string_view version = "1.1.2";
  static constexpr std::string_view client = "kestu-cli 1.1.2";
};

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
