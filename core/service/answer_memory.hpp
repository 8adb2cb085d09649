#pragma once

#include "core/service/transport.hpp"
#include "core/support/clock.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// The last answers of the service that name things which are typed again: the apps, and an app's displays, groups and
/// builds. Kept as they came, in files that only their owner reads, so that completing a word needs no call.
class AnswerMemory {
 public:
  /// Below the folder, apart for each origin of the service; nothing is kept or found without a folder.
  AnswerMemory(const std::optional<std::filesystem::path>& folder, const std::string& origin);

  /// Keeps the answer where the address is one of those; quietly does nothing where it can't be written.
  void keep(std::string_view url, std::string_view body) const;

  /// The answer to the path ("/v1/apps/123/testflight/groups") that was kept within the last day.
  std::optional<std::string> find(std::string_view path, Moment now) const;

 private:
  std::optional<std::filesystem::path> file(std::string_view path) const;

  std::optional<std::filesystem::path> folder_;
  std::string origin_;
};

/// Another transport whose answers are kept.
class RememberingTransport final : public Transport {
 public:
  RememberingTransport(Transport& transport, AnswerMemory memory) : transport_(transport), memory_(std::move(memory)) {}
  HTTPAnswer send(const HTTPRequest& request, const std::stop_token& stop) override;

 private:
  Transport& transport_;
  AnswerMemory memory_;
};

} // namespace kestu
