#include "core/release/listing_refusals.hpp"

#include "core/console/printable.hpp"
#include "core/release/release_check.hpp"

namespace kestu::ReleaseCheck {

Findings refusals(const ListingChange& change) {
  Findings found = texts(change.texts, "", Purpose::repository, "");
  std::erase_if(found, [](const Finding& finding) { return finding.level != Level::error; });
  return found;
}

CLIError notSent(const Findings& refusals) {
  std::string message = "Apple wouldn't take these, so nothing was sent:";
  for (const Finding& finding : refusals) message += "\n" + printable(finding.message);
  return {CLIError::Kind::failed, message};
}

} // namespace kestu::ReleaseCheck
