#include "tests/support/every_command.hpp"

#include "cli/command_tree.hpp"
#include "core/support/text.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/command_lines.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>

namespace kestu::tests {

namespace {

const std::string pro = "com.example.daylight.pro.monthly";

struct Row {
  Words more;
  int status = 0;
  Words before = {};
};

const std::map<std::string, Row>& rows() {
  static const Words offer =
      wordsOf("offer-codes create Spring --product " + pro + " --mode free --duration 1w --countries se,no");
  static const Words intro = wordsOf("intro-offers create --product " + pro +
                                     " --mode free --duration 1w --countries se,no --from 2026-12-01");
  static const Words event =
      wordsOf("events create 'Fall Cup' --starts 2026-12-01 --ends 2026-12-05 --display-name Cup");
  static const Words price = wordsOf("prices set 6.99 --product " + pro);
  auto ended = [](Words words) {
    words.emplace_back("--wait");
    return words;
  };
  static const std::map<std::string, Row> table = {
      {"link", {{"Daylight Weather"}}},
      {"config screenshot-folders", {{"ids"}}},
      {"config keywords", {{"characters"}}},
      {"kit flags create", {{"shiny"}}},
      {"kit flags set", {{"new-radar", "--rollout", "5", "--notes", "Slowly"}}},
      {"kit flags delete", {{"new-radar"}}},
      {"kit experiments view", {{"Radar first"}}},
      {"kit experiments create",
       {wordsOf("More --flag hourly-limit --metric sessions --variant a=12:50 --variant b=24:50")}},
      {"kit experiments start", {{"Longer forecast"}}},
      {"kit experiments stop", {{"Radar first"}}},
      {"kit experiments delete", {{"Longer forecast"}}},
      {"kit update-prompts create", {{"--below", "1.2", "--platform", "macos", "--message", "en-US=Do"}}},
      {"kit update-prompts set", {{"prompt-1", "--message", "de-DE=Neu"}}},
      {"kit update-prompts delete", {{"prompt-1"}}},
      {"kit whats-new upload", {{"page", "--version", "1.3"}}},
      {"kit whats-new publish", {{"1.2"}}},
      {"kit whats-new unpublish", {{"1.1"}}},
      {"kit whats-new delete", {{"1.2"}}},
      {"builds upload", {{"Mac.pkg", "--version", "1.3", "--build", "50"}}},
      {"builds remove", {{"1.3 (48)"}}},
      {"builds wait", {{"43", "--timeout", "1"}}},
      {"builds expire", {{"43"}}},
      {"builds compliance", {{"44"}}},
      {"builds submit", {{"43"}}},
      {"builds distribute", {{"43", "--add", "Team"}}},
      {"builds test-notes", {{"43", "Look at the radar.", "--locale", "en-US"}}},
      {"versions create", {{"1.3", "--platform", "ios"}, 0, {"versions", "delete", "1.2", "--platform", "ios"}}},
      {"versions delete", {{"1.2", "--platform", "ios"}}},
      {"metadata pull", {{"1.2", "--force"}}},
      {"metadata push", {{"1.2", "--no-check"}}},
      {"metadata content-rights set", {{"--third-party-content", "yes"}}},
      {"assets push", {{"1.2"}}},
      {"assets previews push", {{"1.2"}, 7}},
      {"assets header push", {{"1.2"}, 7}},
      {"assets search-results push", {{"1.2"}, 7}},
      {"assets pull", {{"1.2", "--force"}}},
      {"assets sizes", {}},
      {"release prepare", {{"1.2"}}},
      {"release check", {{"1.2"}, 1}},
      {"release preview", {{"1.2"}}},
      {"release now", {{"--platform", "macos"}}},
      {"release phased", {{}, 2}},
      {"submit", {{"1.2"}, 1}},
      {"events view", {{"Meteor Night 2026"}}},
      {"events create", {Words(event.begin() + 2, event.end())}},
      {"events set", {{"Fall Cup", "--priority", "high"}, 0, event}},
      {"events localize", {{"Fall Cup", "--language", "sv", "--display-name", "Cupen"}, 0, event}},
      {"events card", {{"Fall Cup", "card.jpg"}, 0, event}},
      {"events details", {{"Fall Cup", "details.jpg"}, 0, event}},
      {"events submit", {{"Meteor Night 2026"}, 1}},
      {"events cancel", {{"Meteor Night 2026"}, 1}},
      {"events delete", {{"Fall Cup"}, 0, event}},
      {"prices parity", {{"--product", pro}}},
      {"prices set", {Words(price.begin() + 2, price.end())}},
      {"prices tiers", {{"--product", pro}}},
      {"prices status", {{"{job}"}, 0, price}},
      {"prices undo", {{"{job}"}, 0, ended(price)}},
      {"intro-offers create", {Words(intro.begin() + 2, intro.end())}},
      {"intro-offers delete", {{"--product", "com.example.daylight.pro.yearly"}}},
      {"intro-offers status", {{"{job}"}, 0, intro}},
      {"intro-offers undo", {{"{job}"}, 0, ended(intro)}},
      {"offer-codes view", {{"Spring"}, 0, offer}},
      {"offer-codes create", {Words(offer.begin() + 2, offer.end())}},
      {"offer-codes generate", {{"Spring", "--count", "3", "--expires", "2027-01-31", "--to", "codes.txt"}, 0, offer}},
      {"offer-codes download", {{"Spring", "--to", "-"}, 7, offer}},
      {"offer-codes deactivate", {{"Spring"}, 0, offer}},
      {"ci token", {{"--provider", "github"}}},
  };
  return table;
}

/// The commands that need nothing more.
bool standsAlone(const std::string& path) {
  static const Words paths = Text::split(
      "login,logout,whoami,apps,config,status,doctor,update,kit flags list,kit flags check,kit experiments list,"
      "kit update-prompts list,kit whats-new list,builds list,builds latest,builds next-number,versions list,"
      "metadata validate,metadata content-rights show,metadata content-rights,release phased pause,"
      "release phased resume,release phased complete,events,events list,intro-offers list,offer-codes list",
      ',');
  return std::find(paths.begin(), paths.end(), path) != paths.end();
}

/// One kind of assets has the commands of all kinds.
const Row* rowOf(std::string path) {
  static const Row none;
  if (standsAlone(path)) return &none;
  if (auto own = rows().find(path); own != rows().end()) return &own->second;
  for (const char* kind : {"screenshots ", "previews ", "header ", "search-results "}) {
    if (auto at = path.find(std::string("assets ") + kind); at == 0) path.erase(7, std::string(kind).size());
  }
  auto found = rows().find(path);
  return found == rows().end() ? nullptr : &found->second;
}

void collect(const Command& command, std::vector<SomeCommand>& all) {
  for (const Command& each : command.subcommands) collect(each, all);
  if (!command.run) return;
  SomeCommand found;
  found.path = command.path.substr(std::string("kestu ").size());
  found.words = Text::split(found.path, ' ');
  found.asks = optionOf(command, "--yes") != nullptr;
  found.tries = optionOf(command, "--dry-run") != nullptr;
  for (const char* name : {"--output", "--report"}) {
    const Option* option = optionOf(command, name);
    if (!option) continue;
    for (const std::string& choice : option->choices) found.forms.push_back({name, choice});
  }
  const Row* row = rowOf(found.path);
  if (command.takesAnything) {
    found.status = 1;
  } else if (!row) {
    ADD_FAILURE() << found.path << " has no row in tests/support/every_command.cpp";
  } else {
    found.words.insert(found.words.end(), row->more.begin(), row->more.end());
    found.before = row->before;
    found.status = row->status;
  }
  all.push_back(std::move(found));
}

} // namespace

Words SomeCommand::with(const Words& more) const {
  Words all = words;
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

std::vector<SomeCommand> everyCommand() {
  std::vector<SomeCommand> all;
  collect(rootCommand("*"), all);
  return all;
}

void layRepository(const TemporaryFolder& folder, const std::string& text, const std::string& password) {
  using nlohmann::json;
  auto object = [&](const std::string& name, const json& value) { folder.write(name, value.dump()); };
  object("kestu.json", {{"appId", 1234567890}, {"bundleId", "com.example.daylight"}});
  object("metadata/app.json", {{"copyright", text}});
  object(
      "metadata/review.json",
      {{"notes", text}, {"demoAccountRequired", true}, {"demoAccountName", "anna"}, {"demoAccountPassword", password}});
  object("metadata/listing/en-US.json", {{"subtitle", text}, {"keywords", "sun,moon"}});
  object("metadata/listing/de-DE.json", {{"promotionalText", text}});
  object("metadata/releases/1.2/en-US.json", {{"whatsNew", text}, {"whatToTest", text}});
  folder.write("metadata/screenshots/en-US/iPhone 6.9/01.jpg", jpeg(1290, 2796));
  folder.write("page/en-US.md", "# " + text + "\n\n" + text + "\n");
  folder.write("Source.swift", "import KestuKit\nlet radar = KestuFlags.isOn(\"new-radar\")\n");
  folder.write("card.jpg", jpeg(1920, 1080));
  folder.write("details.jpg", jpeg(1080, 1920));
  folder.write("Mac.pkg", "xar!" + std::string(3000, 'k'));
}

void laySandbox(sandbox::State& state) {
  state.reset();
  constexpr std::int64_t app = 1234567890;
  auto* out = state.version(app, "ios", "1.1");
  out->phased = true;
  out->phasedState = "active";
  out->phasedDay = 2;
  state.version(app, "macos", "1.2")->state = "pendingdeveloperrelease";
  state.testFlight.uploads.push_back({"upload-48", app, "ios", "1.3", "48", state.clock()});
  state.announced = "9.9.9";
}

} // namespace kestu::tests
