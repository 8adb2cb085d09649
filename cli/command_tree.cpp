#include "cli/command_tree.hpp"

#include "cli/families.hpp"
#include "core/support/error.hpp"

namespace kestu {

const std::vector<TreeRow>& commandTree() {
  static const std::vector<TreeRow> rows = {
      {"login", "Sign in to kestu, approved in the kestu app.", addLogin},
      {"logout", "Sign out: kestu revokes this sign-in, and the Keychain forgets it.", addLogout},
      {"whoami", "Who this sign-in is: the account, what it may do, and the calls used.", addWhoami},
      {"apps", "Your apps this sign-in covers, the repo's linked one marked.", addApps},
      {"link", "Tie this repo to one of your apps: writes kestu.json at its root.", addLink},
      {"config", "The repo's settings in its kestu.json: show them, or set one.", addConfig},
      {"status", "One app at a glance: where each platform's versions are, its rating, reviews, builds and ranks.",
       nullptr},
      {"doctor", "What's set up for an app in kestu, and what to do about what isn't.", nullptr},
      {"update", "Update kestu the way it was installed: with Homebrew, or kestu's install script.", nullptr},
      {"reviews", "An app's reviews, from the App Store and App Store Connect, with your read marks.", nullptr},
      {"email", "An app's support email in kestu (Feedback → Email): its threads, sorted, and each one's messages.",
       nullptr},
      {"sales",
       "An app's downloads and proceeds by day, as Apple's reports count them: UTC days, or Pacific Time while its "
       "Analytics reports aren't in.",
       nullptr},
      {"payouts",
       "Apple's payouts: those paid, and the next ones with their expected date and amount, estimated until "
       "Apple's report is out.",
       nullptr},
      {"kit", "KestuKit in an app: its feature flags, experiments, update prompts and What's New pages.", nullptr},
      {"builds", "An app's TestFlight builds: list them, upload one, wait for Apple, and what to do with each.",
       nullptr},
      {"testers", "An app's TestFlight testers, by email: list, invite, remove, invite again, and as a CSV.", nullptr},
      {"testflight",
       "An app's TestFlight: its test information, groups, automatic distribution, testers' sessions by day, "
       "and their feedback and crashes.",
       nullptr},
      {"versions", "An app's App Store versions: list them, make the next, or delete one never sent to App Review.",
       nullptr},
      {"metadata",
       "An app's App Store listing as files in its repo: pull it, push it, check it; and its categories, age "
       "rating and content rights.",
       nullptr},
      {"assets",
       "An app's App Store assets from its repo, sent straight to Apple: screenshots, app previews, its header "
       "and search results assets.",
       addAssets},
      {"release", "Get a version out: prepare it from the repo, check it, then release it and its phases.", nullptr},
      {"submit", "Send a version to App Review, or take it back.", nullptr},
      {"events",
       "An app's in-app events: list and view them, make one with its dates, give it its languages, card and "
       "details page, submit it, change or delete it.",
       nullptr},
      {"products",
       "An app's in-app purchases and subscriptions: list and view them, or make one, give it its languages "
       "and files, submit it or delete it.",
       nullptr},
      {"prices",
       "Change the price of the app, an in-app purchase or a subscription, starting on a date you choose, and "
       "follow or undo a subscription's change.",
       nullptr},
      {"intro-offers",
       "A subscription's introductory offers: list them, make one in every country or some or take them "
       "off, and follow or undo the job.",
       nullptr},
      {"offer-codes",
       "An in-app purchase's or a subscription's offer codes: list them, make one, generate and download "
       "its codes, or turn one off for good.",
       nullptr},
      {"availability",
       "Where the app, an in-app purchase or a subscription is on sale: list it, set, add or remove "
       "regions, and follow the app's job.",
       nullptr},
      {"ci", "kestu in CI: a token for one app, kept in the CI's secrets.", nullptr},
  };
  return rows;
}

namespace {

/// In the tree, but not built yet: fails before anything is sent.
void expandMissing(Command& command) {
  command.takesAnything = true;
  command.discussion = "This command isn't in this version of kestu yet.";
  command.run = [path = command.path](Context&) {
    throw CLIError(CLIError::Kind::failed, path + " isn't in this version of kestu yet.");
  };
}

} // namespace

Command rootCommand(const std::string& word) {
  Command root("kestu", "kestu from the terminal: your apps, with the App Store Connect key kestu already holds.");
  root.discussion = "Sign in once with kestu login, approved in the kestu app. Run kestu link in an app's repo, and "
                    "commands about an app use it from then on.\n\n" +
                    CLIError::help();
  root.options.push_back({{"--version"}, "", "Show the version.", [](const std::string&) {}, {}, false});
  for (const TreeRow& row : commandTree()) {
    Command& command = root.add(std::string(row.word), std::string(row.abstract));
    if (word != row.word && word != "*") continue;
    if (row.expand) {
      row.expand(command);
    } else {
      expandMissing(command);
    }
  }
  return root;
}

} // namespace kestu
