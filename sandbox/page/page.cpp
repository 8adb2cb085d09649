#include "sandbox/page/page.hpp"

#include "core/console/format.hpp"
#include "core/listing/listing_field.hpp"
#include "sandbox/assets/catalog.hpp"
#include "sandbox/page/difference.hpp"
#include "sandbox/page/script.hpp"
#include "sandbox/page/style.hpp"
#include "sandbox/page/versions.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/release/releases.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace kestu::sandbox::Page {

namespace {

constexpr std::size_t historyLength = 20;

std::string buttons(const std::string& action, const std::string& what) {
  const auto button = [&](const char* value, const char* look, const char* label) {
    return fmt::format(R"(<form method="post" action="{}"><button class="{}" name="approve" value="{}" )"
                       R"(aria-label="{} {}">{}</button></form>)",
                       htmlEscaped(action), look, value, label, htmlEscaped(what), label);
  };
  return "<div class=\"buttons\">" + button("true", "approve", "Approve") + button("false", "deny", "Deny") + "</div>";
}

std::string scopesText(const Grant& grant) {
  auto text = fmt::format("May use: {}", fmt::join(grant.scopes, ", "));
  if (grant.appIds) text += fmt::format("; only for app {}", fmt::join(*grant.appIds, ", "));
  return text;
}

// Within a minute the words stay the same, so that the page isn't drawn anew for them alone.
std::string ago(const State& state, Moment at) { return htmlEscaped(Format::ago(at, state.clock())); }
std::string when(const State& state, Moment at) { return htmlEscaped(Format::moment(at, state.clock())); }

std::string waitingSignIns(const State& state, const std::string& asked) {
  std::string html;
  for (const auto& each : state.signIns) {
    if (each.decision != Decision::waiting || state.clock() >= each.expiresAt) continue;
    html +=
        fmt::format(R"(<section class="card{}"><h3>Sign-in of {}</h3><p class="code">{}</p>)"
                    R"(<p class="soft">{} · until {}</p><p class="soft">{}</p>{}</section>)",
                    lowered(asked) == lowered(each.userCode) ? " asked" : "", htmlEscaped(each.machine), each.userCode,
                    htmlEscaped(each.client), when(state, each.expiresAt), htmlEscaped(scopesText(each.grant)),
                    buttons("/sandbox/signins/" + each.userCode, "the sign-in " + each.userCode));
  }
  return html;
}

std::string assetFigure(const Asset& asset, const Placement& placement) {
  const auto name = htmlEscaped(asset.fileName);
  const auto address = "/files/" + asset.assetId;
  const auto picture = asset.video
                           ? fmt::format(R"(<video src="{}" preload="metadata" muted controls></video>)", address)
                           : fmt::format(R"(<img src="{}" alt="{}" loading="lazy">)", address, name);
  const auto frame = placement.frame ? " · " + htmlEscaped(*placement.frame) : "";
  return fmt::format(R"(<figure>{}<figcaption title="{}">{}{}</figcaption></figure>)", picture, name, name, frame);
}

std::string strip(const State& state, const std::vector<Placement>& placements) {
  std::string html;
  for (const auto& placement : placements) {
    const auto found = state.assets.find(placement.assetId);
    if (found != state.assets.end()) html += assetFigure(found->second, placement);
  }
  return html.empty() ? "<p class=\"soft\">nothing</p>" : "<div class=\"strip\">" + html + "</div>";
}

// A field's key as people read it: "What's New", "Marketing URL", "Contact First Name".
std::string fieldTitle(const std::string& key) {
  const auto field = listingFieldOfKey(key);
  std::string title;
  for (const char each : field ? std::string(facts(*field).label) : key) {
    const bool isFirst = title.empty() || title.back() == ' ';
    const bool isLower = each >= 'a' && each <= 'z';
    if (!field && !isFirst && each >= 'A' && each <= 'Z') title += ' ';
    title += isFirst && isLower ? static_cast<char>(each - 'a' + 'A') : each;
  }
  return title;
}

// What a plan would change: texts with their differences, pictures before and after, or its lines.
std::string changes(const State& state, const Plan& plan) {
  std::string html;
  for (const auto& text : plan.details.texts) {
    html += fmt::format(R"(<h4>{} · {}</h4><p class="text" dir="auto">{}</p>)", htmlEscaped(text.place),
                        htmlEscaped(fieldTitle(text.field)), wordDifference(text.before, text.after));
  }
  for (const auto& pictures : plan.details.pictures) {
    html += fmt::format(R"(<h4>{}</h4><div class="sides"><div><p class="soft">now</p>{}</div>)"
                        R"(<div><p class="soft">then</p>{}</div></div>)",
                        htmlEscaped(pictures.title), strip(state, pictures.before), strip(state, pictures.after));
  }
  if (!html.empty()) return html;
  for (const auto& line : plan.lines) html += "<li>" + htmlEscaped(line) + "</li>";
  return "<ul>" + html + "</ul>";
}

std::string waitingPlans(const State& state) {
  std::string html;
  for (const auto& each : state.plans) {
    if (each.state != "waiting") continue;
    html +=
        fmt::format(R"(<section class="card"><h3>{}</h3>{}<p class="soft">asked {} · until {}</p>{}</section>)",
                    htmlEscaped(each.title), changes(state, each), ago(state, each.createdAt),
                    when(state, each.expiresAt), buttons("/sandbox/plans/" + each.id, "the change of " + each.title));
  }
  return html;
}

std::string historyRow(const std::string& what, const std::string& at, const std::string& outcome, bool good) {
  return fmt::format(
      R"(<div class="row"><span>{} <span class="soft">{}</span></span><span class="badge{}">{}</span></div>)",
      htmlEscaped(what), at,
      good                   ? " good"
      : outcome == "expired" ? ""
                             : " bad",
      htmlEscaped(outcome));
}

std::string history(const State& state) {
  std::vector<std::pair<Moment, std::string>> rows;
  for (const auto& each : state.plans) {
    if (each.state == "waiting") continue;
    const auto outcome = each.error.empty()        ? each.state
                         : each.error == "changed" ? "not applied: it had changed since it was asked for"
                                                   : fmt::format("{}: {}", each.state, each.error);
    rows.emplace_back(each.createdAt,
                      historyRow(each.title, ago(state, each.createdAt), outcome, each.state == "applied"));
  }
  for (const auto& each : state.signIns) {
    const bool approved = each.decision == Decision::approved;
    if (each.decision == Decision::waiting && state.clock() < each.expiresAt) continue;
    const char* const outcome = each.decision == Decision::waiting ? "expired" : approved ? "approved" : "denied";
    rows.emplace_back(each.createdAt,
                      historyRow("Sign-in of " + each.machine, ago(state, each.createdAt), outcome, approved));
  }
  std::stable_sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  if (rows.size() > historyLength) rows.resize(historyLength);
  std::string html;
  for (const auto& [at, row] : rows) html += row;
  return html.empty() ? html : "<h2>Decided</h2><div class=\"card\">" + html + "</div>";
}

std::string shownDisplays(const State& state, const Version& version) {
  std::string html;
  for (const auto& language : version.languages) {
    for (const auto& display : language.displays) {
      const auto found = Catalog::find(version.platform, display.kind, display.group);
      html += fmt::format("<h4>{} · {} · {}</h4>{}", htmlEscaped(language.locale),
                          htmlEscaped(found ? found->name : display.group),
                          Catalog::countedAssets(display.kind, display.assets.size()), strip(state, display.assets));
    }
  }
  return html;
}

std::string shownVersions(const State& state) {
  std::string html;
  for (const auto& app : state.apps) {
    for (const auto& version : state.versions) {
      if (version.appId != app.appId || version.languages.empty()) continue;
      html += fmt::format(R"(<section class="card"><h3>{} {} for {}</h3>{}</section>)", htmlEscaped(app.name),
                          htmlEscaped(version.version), htmlEscaped(platformName(version.platform)),
                          shownDisplays(state, version));
    }
  }
  return html.empty() ? "<p class=\"soft\">No version shows any asset yet.</p>" : html;
}

std::string shownListings(const State& state) {
  std::string html;
  for (const auto& app : state.apps) {
    const auto found = state.listings.apps.find(app.appId);
    if (found == state.listings.apps.end()) continue;
    std::string rows;
    for (const auto& [locale, fields] : found->second.texts) {
      const auto text = [&said = fields](const char* key) {
        const auto field = said.find(key);
        return field == said.end() ? std::string() : htmlEscaped(field->second);
      };
      rows += fmt::format(
          R"(<div class="row"><span dir="auto">{} <span class="soft">{}</span></span><span>{}</span></div>)",
          text("name"), text("subtitle"), htmlEscaped(locale));
    }
    html += fmt::format(R"(<section class="card"><h3>{}</h3>{}</section>)", htmlEscaped(app.name), rows);
  }
  return html;
}

std::string page(const State& state, const std::string& asked) {
  auto waiting = waitingSignIns(state, asked) + waitingPlans(state);
  if (waiting.empty()) waiting = "<p class=\"soft\">Nothing waits for you.</p>";
  return fmt::format(
      R"(<!doctype html><html lang="en"><head><meta charset="utf-8"><title>kestu app (sandbox)</title>)"
      R"(<meta name="viewport" content="width=device-width, initial-scale=1">)"
      R"(<noscript><meta http-equiv="refresh" content="3"></noscript><style>{}</style>)"
      R"(<script src="/page.js" defer></script></head><body><header><h1>kestu app (sandbox)</h1>)"
      R"(<span class="soft">{}</span></header><main><h2>Waiting for you</h2>{}{})"
      R"(<h2>Versions</h2>{}<h2>What Apple has now</h2>{}<h2>Names and subtitles</h2>{}{}</main><footer></footer></body></html>)",
      style, state.origin, waiting, versionsInReview(state), versionStates(state), shownVersions(state),
      shownListings(state), history(state));
}

} // namespace

Answer answer(State& state, const Call& call) {
  Answer answer;
  if (call.method != "GET") throw Refused(405, "method", "The page is only read.");
  if (call.path == "/page.js") {
    answer.contentType = "text/javascript; charset=utf-8";
    answer.body = script;
    return answer;
  }
  if (call.path == "/favicon.ico") return Answer::nothing();
  Plans::lapse(state);
  Releases::advance(state);
  answer.contentType = "text/html; charset=utf-8";
  answer.headers["Content-Security-Policy"] =
      "default-src 'none'; style-src 'unsafe-inline'; script-src 'self'; connect-src 'self'; img-src 'self'; "
      "media-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'";
  answer.body = page(state, call.param("code"));
  return answer;
}

} // namespace kestu::sandbox::Page
