#include "core/builds/build_reference.hpp"

#include "core/builds/build_number.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

constexpr std::string_view digitsAndDots = "0123456789.";

/// Groups of digits between dots: 1.2, not 1..2 or 1.
bool isVersion(const std::string& word) {
  if (word.find_first_not_of(digitsAndDots) != std::string::npos) return false;
  std::vector<std::string> groups = Text::split(word, '.');
  return std::none_of(groups.begin(), groups.end(), [](const std::string& group) { return group.empty(); });
}

bool isNumber(const std::string& word) {
  return word.find_first_not_of(digitsAndDots) == std::string::npos && word.find_first_not_of('.') != std::string::npos;
}

/// What is left to name where one of both was named; empty where none was, as the message names both.
std::string toldApartBy(const ManagedBuild& one, const std::optional<std::string>& version,
                        const std::optional<std::string>& platform) {
  if (version && !platform) return "\nHere the platform tells them apart: --platform " + one.platform;
  if (platform && !version) return "\nHere the version tells them apart: " + BuildReference::of(one).word();
  return "";
}

} // namespace

BuildReference BuildReference::read(std::string_view text) {
  std::string blank(text);
  std::replace_if(
      blank.begin(), blank.end(), [](char c) { return c == '(' || c == ')'; }, ' ');
  std::vector<std::string> words = Text::words(blank);
  if (words.size() == 2 && isVersion(words[0])) return {words[0], words[1], std::nullopt};
  if (words.size() == 1 && isNumber(words[0])) return {std::nullopt, words[0], std::nullopt};
  return {std::nullopt, std::nullopt, Text::trimmed(text)};
}

std::string BuildReference::text() const {
  if (id) return printable(*id);
  std::string build = printable(number.value_or(""));
  return version ? printable(*version) + " (" + build + ")" : build;
}

std::string BuildReference::word() const {
  std::string name = text();
  // A version that no command reads back ("1.3-beta") is left out.
  if (version && number && !id && read(name).number != number) return BuildReference{{}, number, {}}.word();
  bool plain = name.find_first_not_of("0123456789.() ") == std::string::npos;
  return plain && version && !id ? "\"" + name + "\"" : Format::shellWord(name);
}

bool BuildReference::names(const ManagedBuild& build) const {
  if (id) return build.buildId == *id;
  return build.number == number && (!version || BuildNumber::sameVersion(version, build.version));
}

const ManagedBuild* BuildReference::among(const std::vector<ManagedBuild>& builds,
                                          const std::optional<std::string>& platform) const {
  const ManagedBuild* found = nullptr;
  std::vector<std::string> all;
  for (const ManagedBuild& build : builds) {
    if ((platform && build.platform != *platform) || !names(build)) continue;
    if (std::string one = "\n  " + build.described(); std::find(all.begin(), all.end(), one) == all.end()) {
      all.push_back(one);
    }
    // A number may be uploaded again as long as no build came of it; what did become one is meant then.
    if (!found || (found->upload && !build.upload)) found = &build;
  }
  if (all.size() > 1) {
    throw CLIError(CLIError::Kind::usage, "Several builds are " + text() +
                                              ": name its version too (\"1.2 (45)\"), or --platform." +
                                              Text::joined(all, "") + toldApartBy(*found, version, platform));
  }
  return found;
}

const ManagedBuild& BuildReference::find(const std::vector<ManagedBuild>& builds,
                                         const std::optional<std::string>& platform) const {
  if (const ManagedBuild* found = among(builds, platform)) return *found;
  throw CLIError(CLIError::Kind::notFound, "No build is " + text() +
                                               (platform ? " for " + platformLabel(*platform) : "") +
                                               ": kestu builds list lists them.");
}

} // namespace kestu
