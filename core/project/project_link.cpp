#include "core/project/project_link.hpp"

#include "core/console/printable.hpp"
#include "core/support/error.hpp"

namespace kestu {

ProjectLink ProjectLink::read(const JSONValue& value) {
  return {value.at("appId").integer(), value.at("bundleId").text(), value.find("screenshotFolders", &JSONValue::text),
          value.find("keywords", &JSONValue::text)};
}

bool ProjectLink::assetFolderIDs() const {
  if (!assetFolders || *assetFolders == "names") return false;
  if (*assetFolders == "ids") return true;
  throw CLIError(
      CLIError::Kind::failed,
      "kestu.json's screenshotFolders is names (iPhone 6.9, to start with) or ids (Apple's placement groups): " +
          printable(*assetFolders));
}

bool ProjectLink::keywordCharacters() const {
  if (!keywords || *keywords == "bytes") return false;
  if (*keywords == "characters") return true;
  throw CLIError(CLIError::Kind::failed,
                 "kestu.json's keywords is bytes (to start with) or characters: " + printable(*keywords));
}

} // namespace kestu
