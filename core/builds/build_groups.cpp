#include "core/builds/build_groups.hpp"

#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
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

/// None when no group is called so.
const BuildGroup* one(const std::string& name, const std::vector<BuildGroup>& groups) {
  auto folded = [](const std::string& text) { return Text::folded(Text::trimmed(text)); };
  auto found = those(groups, [&](const std::string& each) { return each == name; });
  if (found.empty()) {
    found = those(groups, [&](const std::string& each) { return folded(each) == folded(name); });
  }
  if (found.size() > 1) {
    throw CLIError(Kind::usage,
                   "Several groups are called \"" + printable(name) + "\". Give them names of their own first.");
  }
  return found.empty() ? nullptr : found.front();
}

CLIError noneCalled(const std::vector<std::string>& unknown, const std::vector<BuildGroup>& groups) {
  std::vector<std::string> names;
  for (const BuildGroup* group : those(groups, [](const std::string&) { return true; })) {
    names.push_back(printable(*group->name));
  }
  return {Kind::notFound, (unknown.size() == 1 ? "No group is called " : "No groups are called ") +
                              Text::joined(unknown, ", ") +
                              ". The app's groups: " + (names.empty() ? "none yet" : Text::joined(names, ", ")) + "."};
}

} // namespace

std::vector<BuildGroup> fetch(const Client& client, const std::string& appPath) {
  auto read = [](const JSONValue& value) { return value.listAt("groups", BuildGroup::read); };
  return client.get(appPath + "/testflight/groups", {}, read).value;
}

std::vector<BuildGroup> named(const std::vector<std::string>& names, const std::vector<BuildGroup>& groups) {
  std::vector<BuildGroup> found;
  std::vector<std::string> unknown;
  for (const std::string& name : names) {
    const BuildGroup* group = one(name, groups);
    if (!group) {
      unknown.push_back("\"" + printable(Text::trimmed(name)) + "\"");
    } else if (std::none_of(found.begin(), found.end(),
                            [&](const BuildGroup& other) { return other.groupId == group->groupId; })) {
      found.push_back(*group);
    }
  }
  if (!unknown.empty()) throw noneCalled(unknown, groups);
  return found;
}

} // namespace kestu::BuildGroups
