#include "core/assets/asset_folders.hpp"
#include "core/release/release_check.hpp"
#include "core/support/text.hpp"

namespace kestu::ReleaseCheck {

std::optional<std::string> assetLocale(std::string_view problem, std::string_view kindFolder) {
  if (!problem.starts_with(kindFolder)) return std::nullopt;
  problem.remove_prefix(kindFolder.size());
  if (!problem.starts_with('/')) return std::nullopt;
  problem.remove_prefix(1);
  std::size_t end = problem.find_first_of("/ ");
  // A file beside the languages has a point in its name, and no language has.
  if (end == 0 || end == std::string_view::npos) return std::nullopt;
  std::string_view locale = problem.substr(0, end);
  if (locale.find('.') != std::string_view::npos) return std::nullopt;
  return std::string(locale);
}

namespace {

/// The file or folder that a problem begins with: the longest start that is there, since names have blanks in them.
std::optional<std::string> fileOf(const std::filesystem::path& root, const std::string& problem,
                                  const std::string& folder) {
  if (folder.empty() || !problem.starts_with(folder + "/")) return std::nullopt;
  std::size_t end = problem.size();
  while (end != std::string::npos && end > folder.size()) {
    std::error_code ignored;
    if (std::string path = problem.substr(0, end); std::filesystem::exists(root / path, ignored)) return path;
    end = problem.find_last_of(" ,:", end - 1);
  }
  return std::nullopt;
}

} // namespace

Findings assets(const std::filesystem::path& root, const AssetCatalog& catalog, const ScanOptions& options) {
  Findings findings;
  for (AssetKind kind : Assets::kinds(root)) {
    AssetScan scan = Assets::sets(kind, root, catalog, options);
    for (const auto& [level, texts] : {std::pair(Level::error, scan.problems), {Level::note, scan.notes}}) {
      Findings more = assetFindings(kind, root, level, texts);
      findings.insert(findings.end(), more.begin(), more.end());
    }
  }
  return findings;
}

Findings assetFindings(AssetKind kind, const std::filesystem::path& root, Level level,
                       const std::vector<std::string>& texts) {
  Findings findings;
  std::string folder = Assets::repositoryFolder(kind, root).value_or("");
  for (const std::string& text : texts) {
    bool ended = text.ends_with('.') || text.ends_with('?');
    findings.push_back({level,
                        std::string(facts(kind).key),
                        assetLocale(text, folder),
                        text + (ended ? "" : "."),
                        {},
                        fileOf(root, text, folder)});
  }
  return findings;
}

Findings assets(const std::filesystem::path& root, const CLIError& noCatalog, Level level) {
  std::vector<std::string> plurals;
  for (AssetKind kind : Assets::kinds(root)) plurals.emplace_back(facts(kind).plural);
  if (plurals.empty()) return {};
  return {{level, "assets", std::nullopt,
           "The " + list(plurals) + " weren't checked against Apple's specs: " + noCatalog.description}};
}

} // namespace kestu::ReleaseCheck
