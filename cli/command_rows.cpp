#include "cli/command_rows.hpp"

#include "core/support/error.hpp"

namespace kestu {

const std::vector<CommandRow>& commandRows() {
  static const std::vector<CommandRow> rows = {
      {"login", "Sign in to kestu, approved in the kestu app."},
      {"logout", "Sign out: kestu revokes this sign-in, and the Keychain forgets it."},
      {"whoami", "Who this sign-in is: the account, what it may do, and the calls used."},
      {"apps", "Your apps this sign-in covers, the repo's linked one marked."},
      {"link", "Tie this repo to one of your apps: writes kestu.json at its root."},
      {"config", "The repo's settings in its kestu.json: show them, or set one."},
      {"status", "One app at a glance: where each platform's versions are, its rating, reviews, builds and ranks."},
      {"doctor", "What's set up for an app in kestu, and what to do about what isn't."},
      {"update", "Update kestu the way it was installed: with Homebrew, or kestu's install script."},
      {"reviews", "An app's reviews, from the App Store and App Store Connect, with your read marks."},
      {"email", "An app's support email in kestu (Feedback → Email): its threads, sorted, and each one's messages."},
      {"sales",
       "An app's downloads and proceeds by day, as Apple's reports count them: UTC days, or Pacific Time while its "
       "Analytics reports aren't in."},
      {"payouts", "Apple's payouts: those paid, and the next ones with their expected date and amount, estimated until "
                  "Apple's report is out."},
      {"kit", "KestuKit in an app: its feature flags, experiments, update prompts and What's New pages."},
      {"builds", "An app's TestFlight builds: list them, upload one, wait for Apple, and what to do with each."},
      {"testers", "An app's TestFlight testers, by email: list, invite, remove, invite again, and as a CSV."},
      {"testflight",
       "An app's TestFlight: its test information, groups, automatic distribution, testers' sessions by day, "
       "and their feedback and crashes."},
      {"versions", "An app's App Store versions: list them, make the next, or delete one never sent to App Review."},
      {"metadata",
       "An app's App Store listing as files in its repo: pull it, push it, check it; and its categories, age "
       "rating and content rights."},
      {"assets",
       "An app's App Store assets from its repo, sent straight to Apple: screenshots, app previews, its header "
       "and search results assets."},
      {"release", "Get a version out: prepare it from the repo, check it, then release it and its phases."},
      {"submit", "Send a version to App Review, or take it back."},
      {"events", "An app's in-app events: list and view them, make one with its dates, give it its languages, card and "
                 "details page, submit it, change or delete it."},
      {"products",
       "An app's in-app purchases and subscriptions: list and view them, or make one, give it its languages "
       "and files, submit it or delete it."},
      {"prices",
       "Change the price of the app, an in-app purchase or a subscription, starting on a date you choose, and "
       "follow or undo a subscription's change."},
      {"intro-offers",
       "A subscription's introductory offers: list them, make one in every country or some or take them "
       "off, and follow or undo the job."},
      {"offer-codes",
       "An in-app purchase's or a subscription's offer codes: list them, make one, generate and download "
       "its codes, or turn one off for good."},
      {"availability", "Where the app, an in-app purchase or a subscription is on sale: list it, set, add or remove "
                       "regions, and follow the app's job."},
      {"ci", "kestu in CI: a token for one app, kept in the CI's secrets."},
  };
  return rows;
}

Command bareRoot() {
  Command root("kestu", "kestu from the terminal: your apps, with the App Store Connect key kestu already holds.");
  root.discussion = "Sign in once with kestu login, approved in the kestu app. Run kestu link in an app's repo, and "
                    "commands about an app use it from then on.\n\n" +
                    CLIError::help();
  root.options.push_back({{"--version"}, "", "Show the version.", [](const std::string&) {}, {}, false});
  for (const CommandRow& row : commandRows()) root.add(std::string(row.word), std::string(row.abstract));
  root.example("login", "Once on a machine; elsewhere KESTU_TOKEN signs in.");
  root.example("link", "Once in an app's repo.");
  root.example("status", "How the app is doing.");
  return root;
}

} // namespace kestu
