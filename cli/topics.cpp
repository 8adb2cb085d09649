#include "cli/topics.hpp"

#include "core/support/error.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

Page environmentTopic() {
  Page page;
  page.path = "kestu help environment";
  page.abstract = "The variables that kestu reads.";
  page.discussion = "None has to be set. The programs that kestu runs, such as git and unzip, get neither the token "
                    "nor the password.";
  page.sections = {
      {"Signing in",
       {{"KESTU_TOKEN", "The sign-in's token, before the one in the keyring: for CI and other machines without one. "
                        "kestu ci token makes one."},
        {"KESTU_REVIEW_DEMO_PASSWORD", "The demo account's password that App Review is told, before the one in the "
                                       "repo's review.json."}}},
      {"The service and the network",
       {{"KESTU_API_URL", "Another service than Kestu's own, such as kestu-sandbox: https, or http on this machine."},
        {"HTTPS_PROXY, ALL_PROXY, NO_PROXY", "The proxy to go through, and what goes past it, as curl reads them."},
        {"CURL_CA_BUNDLE", "A file of certificates to trust in place of the system's."},
        {"SSL_CERT_FILE, SSL_CERT_DIR", "The same, a file and a folder, where CURL_CA_BUNDLE isn't set."},
        {"KESTU_DEBUG", "1 writes each call and transfer on standard error as it ends: its status, time, bytes and "
                        "name. No secrets."}}},
      {"What is shown",
       {{"NO_COLOR", "When set, no colours."},
        {"CI", "When set, no colours, no word on newer versions, and no lists kept for completing words."},
        {"TERM", "dumb: no colours, and no line that is drawn again."},
        {"COLUMNS", "The width of what doesn't go to a terminal. 80 when left out."},
        {"TZ", "The time zone of times that are shown, and of those typed without --time-zone. The machine's when left "
               "out."},
        {"KESTU_NO_UPDATE_NOTIFIER", "When set, no word on newer versions."}}},
      {"Folders",
       {{"HOME", "The folder that the next two stand in when they aren't set."},
        {"XDG_STATE_HOME",
         "Where kestu notes that it told of a newer version, and which changes were sent that wait. ~/.local/state "
         "when left out."},
        {"XDG_CACHE_HOME", "Where the pages of kestu release preview go, and the last lists are kept for completing "
                           "words. ~/.cache when left out."}}},
      {"Examples",
       {{"KESTU_DEBUG=1 kestu apps", "Each call that it makes, and how long it took."},
        {"COLUMNS=120 kestu builds list >builds.txt", "Wider lines in a file."}},
       true},
  };
  return page;
}

Page exitCodesTopic() {
  static constexpr std::array<std::pair<Kind, const char*>, 11> kinds = {{
      {Kind::failed, "Failed; the message says why. Also a check that found something: kestu release check, metadata "
                     "validate, prices parity --check, kit flags check, doctor."},
      {Kind::usage, "Used wrongly: no such command or option, a value that can't be, something left out."},
      {Kind::signedOut, "Not signed in. kestu login signs in; CI sets KESTU_TOKEN."},
      {Kind::notAllowed, "Not allowed: the sign-in's scopes or apps don't reach so far. kestu whoami shows them."},
      {Kind::denied, "Denied in the kestu app, or answered with no at the question."},
      {Kind::unconfirmed, "Needs --yes: it would change something, and there is no terminal to ask at. Nothing was "
                          "sent."},
      {Kind::notFound, "Not found: the app, version, build, language or file."},
      {Kind::quota, "Over a quota. The message says until when."},
      {Kind::unavailable, "Kestu is unreachable, or couldn't answer. Run it again later: nothing is sent twice."},
      {Kind::pending, "Still waiting when the time ran out. What was sent stays sent: look again later."},
      {Kind::outdated, "Kestu needs updating: the service no longer takes this version. kestu update does it."},
  }};
  Page page;
  page.path = "kestu help exit-codes";
  page.abstract = "The status that kestu ends with, for scripts and CI.";
  page.discussion = "Messages are on standard error, so that standard output holds the answer alone.";
  page.sections = {{"Exit codes", {{"0", "Done."}}}};
  for (const auto& [kind, text] : kinds)
    page.sections[0].entries.push_back({std::to_string(static_cast<int>(kind)), text});
  page.sections[0].entries.push_back({"130", "Interrupted with Ctrl-C. Another signal ends kestu as itself."});
  page.sections[0].entries.push_back({"141", "What it wrote to ended first, as head does."});
  page.sections.push_back(
      {"Examples",
       {{"kestu release check 1.2 || echo \"1.2 isn't ready.\"", "Goes on where a check found something."},
        {"kestu builds wait --timeout 30; echo $?", "10 where Apple still processes the build after 30 minutes."}},
       true});
  return page;
}

Page filesTopic() {
  Page page;
  page.path = "kestu help files";
  page.abstract = "The files that kestu reads and writes.";
  page.discussion = "<locale> is Apple's code for a language (en-US), <display> a display's name (iPhone 6.9) or ID. "
                    "Paths begin at the repo's root, or at the folder of a kestu.json further down.";
  page.sections = {
      {"The repo",
       {{"kestu.json", "The app that the repo is linked to, and its settings: kestu link and kestu config write it."}}},
      {"The listing, below metadata",
       {{"app.json", "copyright and contentRightsDeclaration."},
        {"review.json", "What App Review is told."},
        {"listing/<locale>.json", "name, subtitle, description, keywords and the rest of a language; default.json has "
                                  "what every language takes that doesn't say it itself."},
        {"releases/<version>/<locale>.json", "whatsNew and whatToTest."},
        {"releases/<version>/release.json", "releaseType, earliestReleaseDate, phased and build."},
        {"releases/<version>/review.json", "What App Review is told otherwise for this version."},
        {"app-info/<locale>.json", "The JSON layout (--layout json): name, subtitle and privacy links."},
        {"version/<version>/<locale>.json", "The JSON layout: all else of a language."}}},
      {"Assets, below metadata",
       {{"screenshots/<locale>/<display>/", "01.png, 02.png and so on, shown in the order of their names."},
        {"previews/<locale>/<display>/", "01.mov and so on."},
        {"header/<locale>/<display>/", "The header assets."},
        {"search-results/<locale>/<display>/", "The search results assets."},
        {"<kind>/frames.json", "The poster frames of a kind with videos."},
        {"<kind>/pulled.json", "Which of Apple's assets each file is: a pull writes it. Commit it."}}},
      {"Prices, below metadata",
       {{"pricing.json", "The countries with a price of their own: kestu prices parity --write writes it."}}},
      {"fastlane's layout",
       {{"fastlane/metadata/<locale>/", "name.txt, description.txt and so on; a folder default for every language."},
        {"fastlane/screenshots/", "Read where metadata/screenshots has no files."}}},
      {"Outside the repo",
       {{"The system's keyring", "The sign-in's token: Keychain on macOS, else the Secret Service. It's in no file."},
        {"~/.local/state/kestu", "When it was told of a newer version. On macOS ~/Library/Application Support/kestu."},
        {"~/.cache/kestu", "The pages of kestu release preview, and the last lists of apps, builds and the like for "
                           "completing words. On macOS ~/Library/Caches/kestu. It can be deleted at any time."}}},
      {"Examples",
       {{"kestu metadata pull", "Writes the listing's files."}, {"kestu assets pull 1.2", "Writes what 1.2 shows."}},
       true},
  };
  return page;
}

} // namespace

const std::vector<Page>& topics() {
  static const std::vector<Page> all = {environmentTopic(), exitCodesTopic(), filesTopic()};
  return all;
}

std::string topicWord(const Page& topic) { return topic.path.substr(topic.path.rfind(' ') + 1); }

const Page* topicCalled(std::string_view word) {
  auto found =
      std::find_if(topics().begin(), topics().end(), [&](const Page& topic) { return topicWord(topic) == word; });
  return found == topics().end() ? nullptr : &*found;
}

} // namespace kestu
