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

Findings assets(const std::filesystem::path& root, const AssetCatalog& catalog, const ScanOptions& options) {
  Findings findings;
  for (AssetKind kind : Assets::kinds(root)) {
    std::string rule(facts(kind).key);
    std::string folder = Assets::repositoryFolder(kind, root).value_or("");
    AssetScan scan = Assets::sets(kind, root, catalog, options);
    auto add = [&](Level level, const std::vector<std::string>& texts) {
      for (const std::string& text : texts) {
        bool ended = text.ends_with('.') || text.ends_with('?');
        findings.push_back({level, rule, assetLocale(text, folder), text + (ended ? "" : ".")});
      }
    };
    add(Level::error, scan.problems);
    add(Level::note, scan.notes);
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
