#include "sandbox/metadata/listing.hpp"

#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/release/releases.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace kestu::sandbox::Listing {

namespace {

using nlohmann::json;

constexpr std::array<std::string_view, 4> appFields{"name", "subtitle", "privacyPolicyUrl", "privacyChoicesUrl"};
constexpr std::array<std::string_view, 6> versionFields{"description",     "keywords",     "whatsNew",
                                                        "promotionalText", "marketingUrl", "supportUrl"};
constexpr std::array<std::string_view, 8> reviewFields{"contactFirstName",    "contactLastName",    "contactPhone",
                                                       "contactEmail",        "demoAccountName",    "notes",
                                                       "demoAccountPassword", "demoAccountRequired"};
constexpr std::string_view passwordKey = "demoAccountPassword", requiredKey = "demoAccountRequired";

template <class Words>
bool among(const Words& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool isOpen(const Version& version) {
  constexpr std::array<std::string_view, 6> open{"prepareforsubmission", "readyforreview",    "rejected",
                                                 "metadatarejected",     "developerrejected", "invalidbinary"};
  return among(open, version.state);
}

const json& under(const json& body, const char* key) {
  static const json nothing = json::object();
  const auto found = body.find(key);
  return found == body.end() ? nothing : *found;
}

json reviewJson(const VersionInfo& info) {
  json review = info.review;
  review.erase(std::string(passwordKey));
  if (info.demoAccountRequired) review[std::string(requiredKey)] = *info.demoAccountRequired;
  return review;
}

// What the change would do, a line each; throws Refused for what App Store Connect doesn't take.
std::vector<std::string> linesOf(const json& body, const Version* version) {
  std::vector<std::string> lines;
  const auto need = [&](bool allowed, const std::string& what) {
    if (!allowed) throw Refused(409, "not_taken", fmt::format("App Store Connect doesn't take {} here.", what));
  };
  const bool open = version != nullptr && isOpen(*version);
  for (const auto& [locale, fields] : under(body, "locales").items()) {
    for (const auto& [field, text] : fields.items()) {
      need(among(appFields, field) || among(versionFields, field), field);
      need(open || (version != nullptr && field == "promotionalText"), field);
      lines.push_back(fmt::format("{} {}: {}", locale, field, text.get_ref<const std::string&>()));
    }
  }
  if (body.contains("copyright")) {
    need(open, "the copyright");
    lines.push_back("Copyright: " + body.at("copyright").get<std::string>());
  }
  if (body.contains("contentRights")) {
    const auto rights = body.at("contentRights").get<std::string>();
    need(rights == "USES_THIRD_PARTY_CONTENT" || rights == "DOES_NOT_USE_THIRD_PARTY_CONTENT", rights);
    lines.push_back("Content Rights: " + rights);
  }
  for (const auto& [field, value] : under(body, "review").items()) {
    need(open && among(reviewFields, field), field);
    need(field == requiredKey ? value.is_boolean() : value.is_string(), field);
    lines.push_back("App Review: " + field);
  }
  if (lines.empty()) throw Refused(400, "invalid_request", "The change changes nothing.");
  return lines;
}

// The same as texts before and after, for whoever decides. Secrets are left out.
PlanDetails detailsOf(const json& body, const AppInfo& app, const VersionInfo* version) {
  PlanDetails details;
  const auto old = [](const FieldTexts& texts, const std::string& key) {
    const auto found = texts.find(key);
    return found == texts.end() ? std::string() : found->second;
  };
  for (const auto& [locale, fields] : under(body, "locales").items()) {
    for (const auto& [field, text] : fields.items()) {
      const auto& texts = among(appFields, field) || version == nullptr ? app.texts : version->texts;
      const auto language = texts.find(locale);
      const auto before = language == texts.end() ? std::string() : old(language->second, field);
      details.texts.push_back({locale, field, before, text.get<std::string>()});
    }
  }
  if (body.contains("copyright") && version != nullptr) {
    details.texts.push_back(
        {"App", "copyright", version->copyright.value_or(""), body.at("copyright").get<std::string>()});
  }
  if (body.contains("contentRights")) {
    details.texts.push_back(
        {"App", "Content Rights", app.contentRights.value_or(""), body.at("contentRights").get<std::string>()});
  }
  for (const auto& [field, value] : under(body, "review").items()) {
    if (version == nullptr) continue;
    if (field == passwordKey) {
      details.texts.push_back({"App Review", field, "", "••••••••"});
    } else if (field == requiredKey) {
      const auto before = version->demoAccountRequired;
      details.texts.push_back(
          {"App Review", field, before ? (*before ? "yes" : "no") : "", value.get<bool>() ? "yes" : "no"});
    } else {
      details.texts.push_back({"App Review", field, old(version->review, field), value.get<std::string>()});
    }
  }
  return details;
}

void applyTo(AppInfo& app, VersionInfo* version, const json& body) {
  for (const auto& [locale, fields] : under(body, "locales").items()) {
    for (const auto& [field, text] : fields.items()) {
      auto& texts = among(appFields, field) ? app.texts : version->texts;
      texts[locale][field] = text.get<std::string>();
    }
  }
  if (body.contains("contentRights")) app.contentRights = body.at("contentRights").get<std::string>();
  if (body.contains("copyright")) version->copyright = body.at("copyright").get<std::string>();
  for (const auto& [field, value] : under(body, "review").items()) {
    if (field == requiredKey) {
      version->demoAccountRequired = value.get<bool>();
    } else {
      version->review[field] = value.get<std::string>();
    }
  }
}

// Those of its build, where it has one.
std::map<std::string, std::string> testNotes(const State& state, const Version& version, const VersionInfo& own) {
  for (const auto& build : state.testFlight.builds) {
    if (build.buildId == version.buildId) return build.notes;
  }
  return own.testNotes;
}

// The version that the query names; null when it names none, or one that App Store Connect doesn't have.
const Version* versionOf(State& state, const App& app, const Call& call) {
  if (call.param("version").empty()) return nullptr;
  return state.version(app.appId, Apps::platform(app, call), call.param("version"));
}

} // namespace

VersionInfo& of(State& state, const Version& version) {
  auto& versions = state.listings.versions;
  if (const auto found = versions.find(version.versionId); found != versions.end()) return found->second;
  VersionInfo info;
  const auto other = std::find_if(state.versions.begin(), state.versions.end(), [&](const Version& each) {
    return each.appId == version.appId && each.platform == version.platform && versions.contains(each.versionId);
  });
  if (other != state.versions.end()) info = versions.at(other->versionId);
  for (auto& [locale, fields] : info.texts) fields.erase("whatsNew");
  info.testNotes.clear();
  return versions.emplace(version.versionId, std::move(info)).first->second;
}

Answer show(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Releases::advance(state);
  const auto* const version = versionOf(state, app, call);
  const auto& info = state.listings.apps[app.appId];
  json locales = json::object();
  for (const auto& [locale, fields] : info.texts) locales[locale] = fields;
  json answer{{"primaryLocale", app.primaryLocale}};
  if (info.contentRights) answer["contentRights"] = *info.contentRights;
  if (version != nullptr) {
    const auto& own = of(state, *version);
    for (const auto& [locale, fields] : own.texts) {
      for (const auto& [field, text] : fields) locales[locale][field] = text;
    }
    answer["version"] = Apps::versionJson(state, *version);
    if (own.copyright) answer["copyright"] = *own.copyright;
    if (const auto review = reviewJson(own); !review.empty()) answer["review"] = review;
    if (const auto notes = testNotes(state, *version, own); !notes.empty()) answer["testNotes"] = notes;
  }
  answer["locales"] = locales;
  return Answer::json(answer);
}

Answer change(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto* const version = call.param("version").empty() ? nullptr : &Apps::version(state, app, call);
  auto body = call.object();
  auto lines = linesOf(body, version);
  const auto title = (version == nullptr ? app.name : Apps::title(app, *version)) + ", its listing";
  const auto versionId = version == nullptr ? std::string() : version->versionId;
  auto details = detailsOf(body, state.listings.apps[app.appId], version == nullptr ? nullptr : &of(state, *version));
  auto apply = [&state, body, versionId, appId = app.appId] {
    const auto found = std::find_if(state.versions.begin(), state.versions.end(),
                                    [&](const Version& each) { return each.versionId == versionId; });
    if (!versionId.empty() && found == state.versions.end()) return std::string("changed");
    applyTo(state.listings.apps[appId], versionId.empty() ? nullptr : &of(state, *found), body);
    return std::string();
  };
  return Plans::change(state, call, title, std::move(lines), std::move(apply), std::move(details));
}

Answer reviewTimes(State&, const Call&) {
  return Answer::json({{"platforms",
                        {{"ios", {{"hours", 21.5}, {"reviews", 412}, {"days", 7}}},
                         {"macos", {{"hours", 30}, {"reviews", 57}, {"days", 7}}},
                         {"tvos", {{"hours", 26}, {"reviews", 9}, {"days", 30}}},
                         {"visionos", {{"hours", 40}, {"reviews", 4}, {"days", 30}}}}}});
}

} // namespace kestu::sandbox::Listing
