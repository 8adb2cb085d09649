#include "core/overview/installation.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <system_error>

namespace fs = std::filesystem;

namespace kestu {

namespace {

constexpr std::uint64_t largest = 16'777'216;

std::string contents(const fs::path& file) {
  try {
    return Files::read(file, largest).value_or("");
  } catch (const std::system_error&) {
    return "";
  }
}

bool lists(const fs::path& file, const std::string& line) {
  auto lines = Text::split(contents(file), '\n');
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

/// The sources that the build in the folder is of; none when it is no such folder.
std::optional<fs::path> sourcesOf(const fs::path& folder) {
  constexpr std::string_view key = "CMAKE_HOME_DIRECTORY:INTERNAL=";
  for (const std::string& line : Text::split(contents(folder / "CMakeCache.txt"), '\n')) {
    if (line.starts_with(key)) return fs::path(line.substr(key.size()));
  }
  return std::nullopt;
}

} // namespace

Installation Installation::of(const fs::path& program, const fs::path& packages) {
  auto cellar = std::find(program.begin(), program.end(), "Cellar");
  if (cellar != program.end() && std::next(cellar) != program.end() && *std::next(cellar) == "kestu") {
    return {Kind::homebrew};
  }
  // A system whose /bin is a link to /usr/bin may list either.
  for (const std::string& path : {program.string(), "/usr" + program.string()}) {
    if (lists(packages / "kestu.list", path)) return {Kind::debian};
  }
  fs::path prefix = program.parent_path().parent_path();
  if (auto sources = sourcesOf(prefix)) return {Kind::build, *sources};
  return {Kind::folder, prefix};
}

std::string Installation::described() const {
  switch (kind) {
  case Kind::homebrew:
    return "with Homebrew";
  case Kind::debian:
    return "as a Debian package";
  case Kind::build:
    return "built from the sources in " + printable(place.string());
  case Kind::folder:
    break;
  }
  return "in the folder " + printable(place.string());
}

std::vector<std::string> Installation::commands() const {
  std::string folder = Format::shellWord(printable(place.string()));
  switch (kind) {
  case Kind::homebrew:
    return {"brew upgrade kestu"};
  case Kind::debian:
    return {"sudo apt-get update", "sudo apt-get install --only-upgrade kestu"};
  case Kind::build:
    return {"git -C " + folder + " pull", folder + "/scripts/build"};
  case Kind::folder:
    break;
  }
  return {};
}

std::optional<std::vector<std::string>> Installation::runnable() const {
  if (kind != Kind::homebrew) return std::nullopt;
  return std::vector<std::string>{"brew", "upgrade", "kestu"};
}

std::string Installation::advice() const {
  auto all = commands();
  if (!all.empty()) return "Update it with:\n  " + Text::joined(all, "\n  ");
  std::string folder = printable(place.string());
  return "Unpack the new version's archive over " + folder +
         ", or where it came from its sources, bring those up to date there and run scripts/install " +
         Format::shellWord(folder) + ".";
}

} // namespace kestu
