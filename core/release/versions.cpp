#include "core/release/versions.hpp"

#include "core/console/format.hpp"
#include "core/release/phased.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace kestu::Versions {

namespace {

std::vector<StoreVersion> read(const JSONValue& value) { return value.listAt("versions", StoreVersion::read); }

/// "{}" stands for the version and what else names it in a command line, "~" for what names the app.
struct Road {
  std::string_view state, advice, command;
};

constexpr std::array<Road, 14> roads = {{
    {"prepareforsubmission", "kestu release check {} says what it lacks, kestu submit {} sends it to App Review.",
     "kestu release check {}"},
    {"readyforreview", "kestu submit {} sends it to App Review.", "kestu submit {}"},
    {"waitingforreview", "App Review decides first: kestu status~ shows when it has.", "kestu status~"},
    {"inreview", "App Review decides first: kestu status~ shows when it has.", "kestu status~"},
    {"pendingdeveloperrelease", "kestu release now {} releases it.", "kestu release now {}"},
    {"pendingapplerelease", "Apple releases it by itself: kestu status~ shows when.", "kestu status~"},
    {"processingfordistribution", "Apple puts it on the App Store within a day: kestu status~ shows when it's there.",
     "kestu status~"},
    {"readyfordistribution", "", "kestu status~"},
    {"rejected",
     "App Store Connect says why: kestu release prepare {} sends what you mend, kestu submit {} sends it again.",
     "kestu release prepare {}"},
    {"metadatarejected",
     "App Store Connect says why: kestu release prepare {} sends what you mend, kestu submit {} sends it again.",
     "kestu release prepare {}"},
    {"developerrejected", "kestu submit {} sends it again.", "kestu submit {}"},
    {"invalidbinary", "kestu builds upload sends another build, kestu release prepare {} --build latest attaches it.",
     "kestu release prepare {} --build latest"},
    {"removedfromsale", "", "kestu status~"},
    {"replacedwithnewversion", "", "kestu status~"},
}};

const Road* roadOf(const StoreVersion& version) {
  const auto* found =
      std::find_if(roads.begin(), roads.end(), [&](const Road& each) { return each.state == version.state; });
  return found == roads.end() ? nullptr : found;
}

std::string filled(std::string_view text, const StoreVersion& version, const CommandTail& tail) {
  std::string named = Format::shellWord(version.number()) + tail.all();
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text.substr(at, 2) == "{}") {
      result += named;
      ++at;
    } else if (text[at] == '~') {
      result += tail.app;
    } else {
      result += text[at];
    }
  }
  return result;
}

} // namespace

Response<std::vector<StoreVersion>> fetch(const Client& client, const std::string& appPath,
                                          const std::optional<std::string>& platform) {
  Query query;
  if (platform) query.emplace_back("platform", *platform);
  return client.get(appPath + "/versions", query, read);
}

const StoreVersion* find(const std::vector<StoreVersion>& all, const std::string& number, const std::string& platform) {
  auto found = std::find_if(all.begin(), all.end(), [&](const StoreVersion& each) {
    return each.version == number && each.platform == platform;
  });
  return found == all.end() ? nullptr : &*found;
}

const StoreVersion* underWay(const std::vector<StoreVersion>& all, const std::string& platform) {
  auto found = std::find_if(all.begin(), all.end(),
                            [&](const StoreVersion& each) { return each.platform == platform && !each.isOut(); });
  return found == all.end() ? nullptr : &*found;
}

std::string advice(const StoreVersion& version, const CommandTail& tail) {
  const Road* road = roadOf(version);
  return filled(road ? road->advice : "kestu status~ shows where it is.", version, tail);
}

std::string nextCommand(const StoreVersion& version, const CommandTail& tail) {
  const Road* road = roadOf(version);
  if (version.state == "prepareforsubmission" && !version.build)
    return filled("kestu release prepare {}", version, tail);
  return filled(road ? road->command : "kestu status~", version, tail);
}

std::string commandLine(const std::string& command, const StoreVersion& version, const CommandTail& tail) {
  return filled("kestu " + command + " {}", version, tail);
}

std::string stateText(const StoreVersion& version, const TextStyles& style) {
  std::string phases = Phased::text(version);
  std::string text = version.stateText() + (phases.empty() ? "" : ", " + phases);
  bool refused = version.state == "rejected" || version.state == "metadatarejected" || version.state == "invalidbinary";
  if (refused) return style.red(text);
  if (version.state == "pendingdeveloperrelease" || version.phasedState == "paused") return style.amber(text);
  return version.state == "readyfordistribution" ? style.green(text) : text;
}

CLIError refusal(const StoreVersion& version, const std::string& reason, const CommandTail& tail) {
  std::string more = advice(version, tail);
  return {CLIError::Kind::failed,
          version.title() + " is " + version.stateText() + ", so " + reason + "." + (more.empty() ? "" : " " + more)};
}

} // namespace kestu::Versions
