#pragma once

#include "sandbox/server.hpp"
#include "tests/support/temporary_folder.hpp"

#include <nlohmann/json.hpp>

#include <atomic>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kestu::chaos {

/// A file's checksum by its path.
using Tree = std::map<std::string, std::string>;

/// A service of its own, and a repository and a home folder, where one seed is run.
class World {
 public:
  World();

  std::filesystem::path repo() const { return folder.path() / "repo"; }
  std::filesystem::path home() const { return folder.path() / "home"; }
  std::filesystem::path temporary() const { return folder.path() / "tmp"; }
  void write(const std::string& path, std::string_view bytes) const { folder.write("repo/" + path, bytes); }

  static Tree tree(const std::filesystem::path& root);

  /// Apple has the bytes as an asset, which the version shows last on that display.
  void show(const std::string& version, const std::string& locale, const std::string& group, const std::string& name,
            const std::string& bytes, bool checksumHidden = false);

  /// All that matters of what the service has, without its random IDs; an hour passes first, so that what it does by
  /// itself is done.
  nlohmann::json told();
  /// Everything that still waits for an approval gets it.
  void approveWaiting();
  std::size_t unfinishedUploads();
  /// How many changes came: all, or those that are "applied" or "waiting" now.
  std::size_t plans(std::string_view inState = {});
  /// The files of the repository, the home folder and the others that hold the text.
  std::string filesWith(const std::string& text) const;
  void expireAddresses();

  tests::TemporaryFolder folder;
  std::atomic<int> hoursAhead = 0;
  sandbox::Server server;
  std::string token;
  std::vector<std::string> variables; ///< of the program's environment, beside the usual ones
};

} // namespace kestu::chaos
