#pragma once

#include "core/service/token.hpp"
#include "core/support/process.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

namespace kestu {

/// A CI that keeps secrets, and its own tool that puts them there.
struct CIProvider {
  std::string_view word;  ///< "github"
  std::string_view name;  ///< "GitHub"
  std::string_view tool;  ///< "gh"
  std::string_view where; ///< "the repository's Actions secrets"
};

/// A CI's secrets, through its tool, run in the repository. A test puts another runner in its place.
class CISecrets {
 public:
  using Run = std::function<ProcessResult(const ProcessRequest&, const std::string& input)>;

  static constexpr std::string_view secret = "KESTU_TOKEN";

  CISecrets(std::filesystem::path folder, Run run) : folder_(std::move(folder)), run_(std::move(run)) {}

  /// Of its word; none for any other.
  static const CIProvider* provider(std::string_view word);

  /// That of a git remote's address: "git@github.com:a/b.git"; none for another host.
  static const CIProvider* ofRemote(std::string_view address);

  /// That of the repository's remote "origin".
  const CIProvider* detected() const;

  /// Throws a CLIError where the tool isn't there or can't get at the repository's secrets.
  void check(const CIProvider& provider) const;

  /// Puts the token there, through the tool's standard input. A CLIError when the tool didn't take it.
  void put(const CIProvider& provider, const Token& token) const;

 private:
  ProcessResult run(const CIProvider& provider, std::vector<std::string> words, const std::string& input) const;

  std::filesystem::path folder_;
  Run run_;
};

} // namespace kestu
