#include "cli/metadata/layout_option.hpp"

#include "cli/options.hpp"
#include "core/listing/metadata.hpp"

namespace kestu {

void LayoutOption::declare(Command& command) {
  command.option({{"--layout"},
                  "layout",
                  "kestu, fastlane or json: the repo's layout to read or write, when it has several or none yet.",
                  [this](const std::string& value) {
                    requireOneOf("--layout", value, {"kestu", "fastlane", "json"});
                    layout = metadataLayoutOfWord(value);
                  },
                  {"kestu", "fastlane", "json"},
                  false});
}

std::optional<MetadataLayout> LayoutOption::chosen(const std::filesystem::path& root) const {
  return layout ? layout : Metadata::detect(root);
}

std::optional<RepoListing> LayoutOption::read(const std::filesystem::path& root,
                                              const std::optional<std::string>& version,
                                              const std::optional<std::string>& platform) const {
  auto one = chosen(root);
  if (!one) return std::nullopt;
  return Metadata::read(*one, root, version, platform);
}

} // namespace kestu
