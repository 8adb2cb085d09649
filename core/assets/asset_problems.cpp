#include "core/assets/asset_problems.hpp"

#include "core/assets/asset_file.hpp"
#include "core/assets/asset_kind.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/text_style.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace kestu {

namespace {

/// A problem of one file.
struct FileProblem {
  std::string path, what; ///< what is wrong follows the path and a blank
};

/// None for a problem of a folder or of several files.
std::optional<FileProblem> ofFile(const std::string& problem) {
  for (std::size_t at = problem.find(' '); at != std::string::npos; at = problem.find(' ', at + 1)) {
    std::string path = problem.substr(0, at);
    std::size_t name = path.rfind('/');
    if (name == std::string::npos || !mediaType(path.substr(name + 1))) continue;
    std::string what = problem.substr(at + 1);
    return what.starts_with("and ") ? std::nullopt : std::optional(FileProblem{path, what});
  }
  return std::nullopt;
}

/// The folder that follows the kind's, which is the language's.
std::string languageOf(const std::string& path) {
  for (AssetKind kind : allAssetKinds) {
    for (std::string_view folder : facts(kind).folders) {
      if (!path.starts_with(folder) || path.size() <= folder.size() + 1) continue;
      std::string under = path.substr(folder.size() + 1);
      return under.substr(0, under.find('/'));
    }
  }
  return {};
}

/// "39 more in de-DE and fr-FR", "39 more in 12 languages".
std::string others(const std::vector<std::string>& paths) {
  constexpr std::size_t mostNamed = 3;
  std::vector<std::string> languages;
  for (std::size_t i = 1; i < paths.size(); ++i) {
    std::string language = languageOf(paths[i]);
    if (std::find(languages.begin(), languages.end(), language) == languages.end()) languages.push_back(language);
  }
  std::string text = Format::number(static_cast<std::int64_t>(paths.size() - 1)) + " more in ";
  if (languages.size() > mostNamed) return text + std::to_string(languages.size()) + " languages";
  return text + Text::joined(languages, ", ");
}

} // namespace

std::string problemLines(const std::vector<std::string>& problems, int columns) {
  std::vector<std::pair<std::string, std::vector<std::string>>> lines; // what is wrong, and with which files
  std::map<std::string, std::size_t> known;
  for (const std::string& problem : problems) {
    auto file = columns > 0 ? ofFile(problem) : std::nullopt;
    if (!file) {
      lines.push_back({problem, {}});
      continue;
    }
    auto [at, isNew] = known.emplace(file->what, lines.size());
    if (isNew) lines.push_back({file->what, {}});
    lines[at->second].second.push_back(file->path);
  }
  std::string text;
  for (const auto& [what, paths] : lines) {
    std::string line;
    if (!paths.empty()) line += printable(paths.front()) + " ";
    if (paths.size() > 1) line += "(and " + printable(others(paths)) + ") ";
    line += printable(what);
    text += "\n" + (columns > 0 ? TextStyle::wrap(line, columns, 2) : line);
  }
  return text;
}

} // namespace kestu
