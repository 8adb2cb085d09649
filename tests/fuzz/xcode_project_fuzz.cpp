#include "core/project/project_search.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>

namespace kestu::fuzz {

/// Bundle IDs are told as they stand in the project, no variable among them, and what a folder gives is of them.
void xcodeProject(std::string_view input) {
  auto ids = Project::bundleIDsIn(input);
  auto parts = Project::partIDsIn(input);
  for (const std::string& id : ids) {
    require(!id.empty() && id.find_first_of("$\";\n") == std::string::npos, "an ID is one: " + id);
    require(input.find("PRODUCT_BUNDLE_IDENTIFIER = " + id + ";") != std::string_view::npos ||
                input.find("PRODUCT_BUNDLE_IDENTIFIER = \"" + id) != std::string_view::npos ||
                input.find("PRODUCT_BUNDLE_IDENTIFIER = " + id + "\"") != std::string_view::npos,
            "an ID is the project's: " + id);
  }
  require(std::includes(ids.begin(), ids.end(), parts.begin(), parts.end()), "parts are among the IDs");
  const auto& folder = freshFolder();
  write(folder, "App.xcodeproj/project.pbxproj", input);
  write(folder, "Config/App.xcconfig", input);
  require(Project::bundleIDs(folder) == ids, "a folder has its project's IDs");
  auto apps = Project::appIDs(folder);
  require(apps.empty() == ids.empty(), "where there are IDs, one may be the app's");
  for (const std::string& app : apps) require(ids.contains(app), "an app's ID is one of them");
  for (const std::string& source : Project::bundleIDSources(folder)) require(!source.empty(), "a source is said");
}

} // namespace kestu::fuzz
