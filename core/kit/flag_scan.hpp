#pragma once

#include <compare>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

/// One read of a flag in the app's sources.
struct FlagRead {
  std::string key;
  std::string file; ///< relative to the scanned folder, with forward slashes
  int line = 0;     ///< from 1 on

  bool operator==(const FlagRead&) const = default;
};

/// The flags that the code reads against those that the service has.
struct FlagComparison {
  std::size_t keys = 0;              ///< different keys that the code reads
  std::vector<FlagRead> missing{};   ///< the first read of each key that the service lacks, by file and line
  std::vector<std::string> unread{}; ///< the service's keys that no read names, in its order
};

/// Which flags the app's Swift sources read, found in their text alone.
namespace FlagScan {

/// The reads of all Swift files under the folder, by file and line. Left out: folders with the extension "xcodeproj",
/// linked folders, and files that can't be read, aren't UTF-8, or are of 1 GiB or more. Throws Stopped.
std::vector<FlagRead> reads(const std::filesystem::path& folder, const std::stop_token& stop);

/// The same for texts in memory, each with its path.
std::vector<FlagRead> reads(const std::vector<std::pair<std::string, std::string>>& files);

FlagComparison compare(const std::vector<FlagRead>& reads, const std::vector<std::string>& known);

} // namespace FlagScan

} // namespace kestu
