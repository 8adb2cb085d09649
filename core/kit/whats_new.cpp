#include "core/kit/whats_new.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/platform.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

namespace kestu {

WhatsNewPage WhatsNewPage::read(const JSONValue& value) {
  WhatsNewPage page{value.at("version").text(), value.find("platform", &JSONValue::text), value.at("state").text()};
  page.languages = value.find("languages", &JSONValue::texts).value_or(std::vector<std::string>());
  page.updatedAt = value.find("updatedAt", &JSONValue::moment);
  return page;
}

Response<std::vector<WhatsNewPage>> fetchWhatsNewPages(const Client& client, std::int64_t appId) {
  return client.get("/v1/apps/" + std::to_string(appId) + "/kit/whats-new", {},
                    [](const JSONValue& answer) { return answer.listAt("pages", WhatsNewPage::read); });
}

namespace WhatsNew {

std::string title(const std::string& version, const std::optional<std::string>& platform) {
  return printable(version) + " for " + (platform ? platformLabel(*platform) : "every platform");
}

const WhatsNewPage* find(const std::vector<WhatsNewPage>& pages, const std::string& version,
                         const std::optional<std::string>& platform) {
  for (const WhatsNewPage& page : pages) {
    if (page.version == version && page.platform == platform) return &page;
  }
  return nullptr;
}

const WhatsNewPage& named(const std::vector<WhatsNewPage>& pages, const std::string& version,
                          const std::optional<std::string>& platform) {
  if (const WhatsNewPage* page = find(pages, version, platform)) return *page;
  std::vector<std::string> others;
  for (const WhatsNewPage& page : pages) {
    if (page.version != version) continue;
    others.push_back(page.platform ? "--platform " + Format::shellWord(printable(*page.platform))
                                   : "no --platform, as it's every platform's");
  }
  std::string hint = others.empty() ? "kestu kit whats-new upload <folder> --version " +
                                          Format::shellWord(printable(version)) + " makes one."
                                    : "There's one with " + Text::orList(others) + ".";
  throw CLIError(CLIError::Kind::notFound, "There's no What's New page of " + title(version, platform) + ". " + hint);
}

} // namespace WhatsNew

} // namespace kestu
