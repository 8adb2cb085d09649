#include "sandbox/page/versions.hpp"

#include "core/console/format.hpp"
#include "core/listing/store_version.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/release/releases.hpp"

#include <fmt/format.h>

namespace kestu::sandbox::Page {

namespace {

std::string button(const Version& version, const std::string& title, bool approves) {
  const char* const label = approves ? "Approve" : "Reject";
  return fmt::format(R"(<form method="post" action="/sandbox/reviews/{}"><button class="{}" name="approve" value="{}" )"
                     R"(aria-label="{} {} as App Review">{}</button></form>)",
                     version.versionId, approves ? "approve" : "deny", approves, label, htmlEscaped(title), label);
}

// Red is for what is wrong alone.
std::string look(const std::string& versionState) {
  if (versionState == "readyfordistribution") return " good";
  for (const char* const each : {"rejected", "metadatarejected", "invalidbinary"}) {
    if (versionState == each) return " bad";
  }
  return "";
}

std::string stateText(const Version& version) {
  StoreVersion shown;
  shown.state = version.state;
  if (version.phasedState.empty()) return shown.stateText();
  return fmt::format("{}, phased: {}, day {}", shown.stateText(), version.phasedState, version.phasedDay);
}

} // namespace

std::string versionsInReview(const State& state) {
  std::string html;
  for (const auto& app : state.apps) {
    for (const auto& version : state.versions) {
      if (version.appId != app.appId || !Releases::isWithReview(version)) continue;
      const auto title = Apps::title(app, version);
      const auto sent = Format::ago(version.submittedAt.value_or(version.since), state.clock());
      html += fmt::format(
          R"(<section class="card"><h3>{}</h3><p class="soft">{} · sent {}</p><div class="buttons">{}{}</div></section>)",
          htmlEscaped(title), version.state == "inreview" ? "in review" : "waiting for review", htmlEscaped(sent),
          button(version, title, true), button(version, title, false));
    }
  }
  return html.empty() ? html : "<h2>App Review</h2>" + html;
}

std::string versionStates(const State& state) {
  std::string html;
  for (const auto& app : state.apps) {
    std::string rows;
    for (const auto& version : state.versions) {
      if (version.appId != app.appId) continue;
      rows += fmt::format(R"(<div class="row"><span>{} for {}</span><span class="badge{}">{}</span></div>)",
                          htmlEscaped(version.version), htmlEscaped(platformName(version.platform)),
                          look(version.state), htmlEscaped(stateText(version)));
    }
    html += fmt::format(R"(<section class="card"><h3>{}</h3>{}</section>)", htmlEscaped(app.name), rows);
  }
  return html;
}

} // namespace kestu::sandbox::Page
