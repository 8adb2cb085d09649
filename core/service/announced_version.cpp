#include "core/service/announced_version.hpp"

#include <charconv>
#include <vector>

namespace kestu {

namespace {

/// The numbers between the dots; empty when the text is no version.
std::vector<unsigned> numbers(std::string_view version) {
  std::vector<unsigned> parts;
  const char* at = version.data();
  const char* end = at + version.size();
  while (at != end) {
    unsigned value = 0;
    auto [next, error] = std::from_chars(at, end, value);
    if (error != std::errc() || (next != end && *next != '.') || next + 1 == end) return {};
    parts.push_back(value);
    at = next == end ? end : next + 1;
  }
  while (!parts.empty() && parts.back() == 0) parts.pop_back();
  return parts;
}

} // namespace

void AnnouncedVersion::set(std::string version) {
  std::lock_guard lock(mutex_);
  version_ = std::move(version);
}

std::optional<std::string> AnnouncedVersion::newer() const {
  std::lock_guard lock(mutex_);
  if (numbers(version_) > numbers(CLI::version)) return version_;
  return std::nullopt;
}

} // namespace kestu
