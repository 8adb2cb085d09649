#include "core/kit/update_prompts.hpp"

#include "core/console/printable.hpp"
#include "core/project/platform.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

using Kind = CLIError::Kind;

UpdatePrompt UpdatePrompt::read(const JSONValue& value) {
  UpdatePrompt prompt{value.at("promptId").text(), value.at("platform").text(), value.at("below").text(),
                      value.at("required").boolean(), value.at("on").boolean()};
  for (const auto& [locale, message] : value.at("messages").members()) prompt.messages[locale] = message.text();
  prompt.shown = value.at("shown").integer();
  prompt.updated = value.at("updated").integer();
  return prompt;
}

std::string UpdatePrompt::title() const {
  return "the update prompt for " + platformLabel(platform) + " below " + printable(below);
}

namespace UpdatePrompts {

Response<std::vector<UpdatePrompt>> fetch(const Client& client, std::int64_t appId) {
  return client.get("/v1/apps/" + std::to_string(appId) + "/kit/update-prompts", {},
                    [](const JSONValue& answer) { return answer.listAt("prompts", UpdatePrompt::read); });
}

const UpdatePrompt& named(const std::string& text, const std::vector<UpdatePrompt>& all) {
  std::vector<const UpdatePrompt*> found;
  for (const UpdatePrompt& each : all) {
    if (each.promptId == text) return each;
    if (each.platform == text) found.push_back(&each);
  }
  if (found.size() == 1) return *found.front();
  if (found.empty()) {
    throw CLIError(Kind::notFound, "KestuKit has no update prompt " + printable(text) +
                                       " for the app. kestu kit update-prompts list shows those it has.");
  }
  std::vector<std::string> ids;
  for (const UpdatePrompt* each : found) ids.push_back(printable(each->promptId));
  throw CLIError(Kind::usage,
                 "Several update prompts are for " + platformLabel(text) + ". Use an ID: " + Text::orList(ids) + ".");
}

bool isVersion(std::string_view text) {
  auto parts = Text::split(text, '.');
  return std::all_of(parts.begin(), parts.end(), [](const std::string& part) {
    return !part.empty() && part.size() <= 9 &&
           std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; });
  });
}

} // namespace UpdatePrompts

} // namespace kestu
