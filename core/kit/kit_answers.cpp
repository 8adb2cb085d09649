#include "core/kit/kit_answers.hpp"

namespace kestu {

namespace {

std::string path(std::int64_t appId, const char* what) { return "/v1/apps/" + std::to_string(appId) + "/kit/" + what; }

} // namespace

KitFlag KitFlag::read(const JSONValue& value) {
  return {value.at("key").text(), value.at("type").text(), value.find("on", &JSONValue::boolean)};
}

WhatsNewPage WhatsNewPage::read(const JSONValue& value) {
  return {value.at("version").text(), value.find("platform", &JSONValue::text), value.at("state").text()};
}

Response<std::vector<KitFlag>> fetchKitFlags(const Client& client, std::int64_t appId) {
  return client.get(path(appId, "flags"), {},
                    [](const JSONValue& answer) { return answer.listAt("flags", KitFlag::read); });
}

Response<std::vector<WhatsNewPage>> fetchWhatsNewPages(const Client& client, std::int64_t appId) {
  return client.get(path(appId, "whats-new"), {},
                    [](const JSONValue& answer) { return answer.listAt("pages", WhatsNewPage::read); });
}

} // namespace kestu
