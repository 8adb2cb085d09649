#include "core/builds/build_groups.hpp"

#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <functional>

namespace kestu::BuildGroups {

using Kind = CLIError::Kind;

namespace {

std::vector<const BuildGroup*> those(const std::vector<BuildGroup>& groups,
                                     const std::function<bool(const std::string& name)>& fits) {
  std::vector<const BuildGroup*> found;
  for (const BuildGroup& group : groups) {
    if (group.name && fits(*group.name)) found.push_back(&group);
  }
  return found;
}

const BuildGroup& one(const std::string& name, const std::vector<BuildGroup>& groups) {
  auto found = those(groups, [&](const std::string& each) { return each == name; });
  if (found.empty()) {
    found = those(groups, [&](const std::string& each) { return Text::folded(each) == Text::folded(name); });
  }
  if (found.size() == 1) return *found.front();
  if (!found.empty()) {
    throw CLIError(Kind::usage,
                   "Several groups are called \"" + printable(name) + "\". Give them names of their own first.");
  }
  std::vector<std::string> names;
  for (const BuildGroup* group : those(groups, [](const std::string&) { return true; })) {
    names.push_back(printable(*group->name));
  }
  throw CLIError(Kind::notFound, "No group is called \"" + printable(name) + "\". The app's groups: " +
                                     (names.empty() ? "none yet" : Text::joined(names, ", ")) + ".");
}

} // namespace

std::vector<BuildGroup> fetch(const Client& client, const std::string& appPath) {
  auto read = [](const JSONValue& value) { return value.listAt("groups", BuildGroup::read); };
  return client.get(appPath + "/testflight/groups", {}, read).value;
}

std::vector<BuildGroup> named(const std::vector<std::string>& names, const std::vector<BuildGroup>& groups) {
  std::vector<BuildGroup> found;
  for (const std::string& name : names) found.push_back(one(name, groups));
  return found;
}

} // namespace kestu::BuildGroups
