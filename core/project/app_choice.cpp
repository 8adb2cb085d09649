#include "core/project/app_choice.hpp"

#include "core/console/printable.hpp"
#include "core/project/project.hpp"
#include "core/project/project_search.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <functional>

namespace kestu {

using Kind = CLIError::Kind;

App App::read(const JSONValue& value) {
  return {value.at("appId").integer(), value.at("bundleId").text(), value.at("name").text(),
          value.at("platforms").texts(), value.at("primaryLocale").text()};
}

std::string App::described() const { return printable(name) + " (" + std::to_string(appId) + ")"; }

Response<std::vector<App>> fetchApps(const Client& client) {
  return client.get("/v1/apps", {}, [](const JSONValue& value) { return value.listAt("apps", App::read); });
}

namespace AppChoice {

namespace {

/// The first of a list, and how many more there are.
std::string some(const std::vector<std::string>& texts, const std::string& where) {
  constexpr std::size_t most = 8;
  if (texts.size() <= most + 1) return printable(Text::joined(texts, ", "));
  std::vector<std::string> first(texts.begin(), texts.begin() + most);
  return printable(Text::joined(first, ", ")) + " and " + std::to_string(texts.size() - most) + " more" + where;
}

std::string described(const std::vector<const App*>& apps) {
  std::vector<std::string> texts;
  for (const App* app : apps) texts.push_back(app->described());
  return some(texts, " (kestu apps lists them)");
}

std::vector<const App*> those(const std::vector<App>& apps, const std::function<bool(const App&)>& wanted) {
  std::vector<const App*> found;
  for (const App& app : apps) {
    if (wanted(app)) found.push_back(&app);
  }
  return found;
}

/// A link that can't be read doesn't keep an app from being named.
bool linkedToAnother(std::int64_t appId, const std::filesystem::path& folder) {
  try {
    auto link = Project::link(folder);
    return link && link->appId != appId;
  } catch (const CLIError&) {
    return false;
  }
}

} // namespace

const App& match(const std::string& text, const std::vector<App>& apps) {
  std::string folded = Text::folded(text);
  auto found = those(apps, [&](const App& app) { return std::to_string(app.appId) == text || app.bundleId == text; });
  if (!found.empty()) return *found.front();
  found = those(apps, [&](const App& app) { return Text::folded(app.name) == folded; });
  if (found.empty() && !folded.empty()) {
    found = those(apps, [&](const App& app) { return Text::folded(app.name).starts_with(folded); });
  }
  if (found.size() == 1) return *found.front();
  if (found.empty()) throw CLIError(Kind::notFound, "None of your apps this sign-in covers is " + printable(text));
  std::vector<std::string> names;
  for (const App* app : found) names.push_back(printable(app->name));
  throw CLIError(Kind::usage, printable(text) + " could be " + Text::joined(names, " or ") + ". Use its App Store ID.");
}

Chosen choose(const std::optional<std::string>& app, const std::vector<App>& apps,
              const std::filesystem::path& folder) {
  if (app) return {match(*app, apps), linkedToAnother(match(*app, apps).appId, folder)};
  if (auto link = Project::link(folder)) {
    for (const App& each : apps) {
      if (each.appId == link->appId) return {each};
    }
    return {{link->appId, link->bundleId, {}, {}, {}}};
  }
  if (apps.empty()) {
    throw CLIError(Kind::notFound, "This sign-in covers none of your apps. Add one in the kestu app.");
  }
  throw CLIError(Kind::usage, "Name an app, or run kestu link in its repo. Yours: " +
                                  described(those(apps, [](const App&) { return true; })));
}

std::int64_t resolve(const std::optional<std::string>& app, const Client& client, const std::filesystem::path& folder) {
  if (!app) {
    if (auto link = Project::link(folder)) return link->appId;
  }
  return choose(app, fetchApps(client).value, folder).app.appId;
}

namespace {

/// Where the bundle ID comes from when no project sets it outright, and the apps to choose from: lines after a message.
std::string explained(const std::filesystem::path& root, const std::vector<App>& apps) {
  std::string text;
  std::vector<std::string> sources = Project::bundleIDSources(root);
  constexpr std::size_t most = 3;
  for (std::size_t i = 0; i < std::min(most, sources.size()); ++i) text += "\n" + printable(sources[i]);
  if (apps.empty()) return text + "\nThis sign-in covers none of your apps. Add one in the kestu app.";
  return text + "\nYours: " + described(those(apps, [](const App&) { return true; }));
}

} // namespace

const App& ofRepository(const std::filesystem::path& root, const std::vector<App>& apps) {
  std::set<std::string> bundleIDs = Project::bundleIDs(root);
  if (bundleIDs.empty()) {
    throw CLIError(Kind::usage,
                   "No Xcode project here sets a bundle ID. Name the app: kestu link <app>." + explained(root, apps));
  }
  auto found = those(apps, [&](const App& app) { return bundleIDs.contains(app.bundleId); });
  if (found.size() == 1) return *found.front();
  if (found.empty()) {
    throw CLIError(Kind::notFound, "None of your apps this sign-in covers is " + some(Project::appIDs(root), "") +
                                       ". Name the app: kestu link <app>." + explained(root, apps));
  }
  throw CLIError(Kind::usage,
                 "This repo has several of your apps: " + described(found) +
                     ". Name one: kestu link <app>.\nWhere each has a folder of its own: kestu link --here in each.");
}

} // namespace AppChoice

} // namespace kestu
