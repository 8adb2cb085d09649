#include "core/builds/build_archive.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>

namespace kestu::fuzz {

namespace {

/// Whether unzip's pattern takes the name: a backslash makes the next character plain; any other special one is none
/// that a pattern of ours has.
bool matches(std::string_view pattern, std::string_view name) {
  std::string plain;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '*' || pattern[i] == '?' || pattern[i] == '[') return false;
    if (pattern[i] == '\\' && ++i == pattern.size()) return false;
    plain += pattern[i];
  }
  return plain == name;
}

} // namespace

/// The member found is a line of the listing, an app's own Info.plist, the first such, and its pattern takes it alone.
void archiveListing(std::string_view input) {
  std::string member = infoPlistMember(std::string(input));
  auto isApps = [](const std::string& name) {
    auto pieces = Text::split(name, '/');
    return pieces.size() == 3 && pieces[0] == "Payload" && pieces[1].ends_with(".app") && pieces[2] == "Info.plist";
  };
  auto names = Text::split(input, '\n');
  auto first = std::find_if(names.begin(), names.end(), isApps);
  require(member == (first == names.end() ? "" : *first), "an app's Info.plist is found where there is one");
  for (const std::string& name : names) {
    require(matches(unzipPattern(name), name), "a pattern takes its name alone: " + name);
  }
}

} // namespace kestu::fuzz
