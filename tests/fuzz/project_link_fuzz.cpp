#include "core/project/project.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

namespace {

JSONData withoutOurs(const JSONValue& value) {
  JSONData data = JSONData::copied(value);
  for (const char* key : {"appId", "bundleId", "screenshotFolders", "keywords"}) data.erase(key);
  return data;
}

} // namespace

/// kestu.json as anybody may have edited it: refused with a message, or read, and written so that it reads the same and
/// nothing that others put there is lost.
void projectLink(std::string_view input) {
  const auto& folder = freshFolder();
  write(folder, "kestu.json", input);
  std::optional<ProjectLink> link;
  try {
    link = Project::link(folder);
    require(link.has_value(), "a file that is there is read or refused");
    static_cast<void>(link->assetFolderIDs());
    static_cast<void>(link->keywordCharacters());
  } catch (const CLIError& error) {
    require(error.kind == CLIError::Kind::failed, "a broken file is a failure");
    requirePrintable(error.description, "the message");
  }
  ProjectLink wanted = link.value_or(ProjectLink{123, "com.example.app", std::nullopt});
  Project::write(folder, wanted);
  auto again = Project::link(folder);
  require(again && again->appId == wanted.appId && again->bundleId == wanted.bundleId, "what is written is read");
  if (!link) return;
  require(again->assetFolders == link->assetFolders && again->keywords == link->keywords, "settings stay");
  auto after = JSONValue::parse(*Files::read(folder / "kestu.json", 1 << 24));
  require(withoutOurs(after).compact() == withoutOurs(JSONValue::parse(input)).compact(),
          "what others put there stays");
}

} // namespace kestu::fuzz
