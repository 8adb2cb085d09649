#include "core/overview/ci_secrets.hpp"

#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <system_error>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

constexpr std::array<CIProvider, 2> providers = {{{"github", "GitHub", "gh", "the repository's secrets for Actions"},
                                                  {"gitlab", "GitLab", "glab", "the project's CI/CD variables"}}};

/// The host of "https://user@host:1/path", "ssh://git@host/path" or "git@host:path", in lower case.
std::string hostOf(std::string_view address) {
  if (std::size_t scheme = address.find("://"); scheme != std::string_view::npos) address.remove_prefix(scheme + 3);
  std::string_view host = address.substr(0, address.find('/'));
  if (std::size_t user = host.rfind('@'); user != std::string_view::npos) host.remove_prefix(user + 1);
  return Text::lowercased(host.substr(0, host.find(':')));
}

std::string said(const ProcessResult& result) {
  if (result.end == ProcessResult::End::tooLong) return "it took too long";
  std::string text = Text::trimmed(result.err.empty() ? result.out : result.err);
  return text.empty() ? "it failed" : printable(text);
}

/// Whether the text has a piece of the token that is long enough to be one, blanks and line breaks between or not.
bool shows(std::string text, std::string_view token) {
  constexpr std::size_t piece = 12;
  std::erase_if(text, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
  for (std::size_t at = 0; at == 0 || at + piece <= token.size(); ++at) {
    if (text.find(token.substr(at, piece)) != std::string::npos) return true;
  }
  return false;
}

} // namespace

const CIProvider* CISecrets::provider(std::string_view word) {
  const auto* found =
      std::find_if(providers.begin(), providers.end(), [&](const auto& each) { return each.word == word; });
  return found == providers.end() ? nullptr : found;
}

const CIProvider* CISecrets::ofRemote(std::string_view address) {
  std::string host = hostOf(address);
  for (const CIProvider& each : providers) {
    std::string word(each.word);
    // A company's own server is mostly called as gitlab.example.com.
    if (host == word + ".com" || host.starts_with(word + ".")) return &each;
  }
  return nullptr;
}

const CIProvider* CISecrets::detected() const {
  ProcessRequest request;
  request.arguments = {"git", "remote", "get-url", "origin"};
  request.folder = folder_;
  try {
    ProcessResult result = run_(request, "");
    return result.succeeded() ? ofRemote(Text::trimmed(result.out)) : nullptr;
  } catch (const std::system_error&) {
    return nullptr;
  }
}

ProcessResult CISecrets::run(const CIProvider& provider, std::vector<std::string> words,
                             const std::string& input) const {
  ProcessRequest request;
  request.arguments = std::move(words);
  request.arguments.insert(request.arguments.begin(), std::string(provider.tool));
  request.folder = folder_;
  request.ownSession = true;
  return run_(request, input);
}

void CISecrets::check(const CIProvider& provider) const {
  std::string tool(provider.tool);
  const std::string list = provider.word == "github" ? "secret" : "variable";
  ProcessResult result;
  try {
    result = run(provider, {list, "list"}, "");
  } catch (const std::system_error& error) {
    throw CLIError(Kind::failed, std::string(provider.name) + "'s tool " + tool + " couldn't be run (" +
                                     error.code().message() + "). Install it, or use --print. Nothing was asked for.");
  }
  if (result.succeeded()) return;
  throw CLIError(Kind::failed, tool + " can't get at " + std::string(provider.where) + " (" + said(result) +
                                   "). Sign it in with " + tool +
                                   " auth login, or use --print. Nothing was asked for.");
}

void CISecrets::put(const CIProvider& provider, const Token& token) const {
  std::string name(secret);
  std::vector<std::string> words = {"secret", "set", name};
  if (provider.word == "gitlab") words = {"variable", "set", name, "--masked"};
  ProcessResult result;
  try {
    result = run(provider, words, token.reveal());
  } catch (const std::system_error& error) {
    throw CLIError(Kind::failed, std::string(provider.tool) + " couldn't be run (" + error.code().message() + ").");
  }
  if (result.succeeded()) return;
  std::string why = said(result);
  if (shows(why, token.reveal())) why = "it failed"; // a tool may repeat its input in an error
  throw CLIError(Kind::failed, std::string(provider.tool) + " didn't take " + name + " (" + why + ").");
}

} // namespace kestu
