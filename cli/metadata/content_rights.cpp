#include "cli/metadata/metadata.hpp"
#include "cli/unchanged.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/app_choice.hpp"

namespace kestu {

namespace {

struct ShowOptions : GlobalOptions {
  AppTarget app;
};

struct SetOptions : ChangeOptions {
  AppTarget app;
  std::optional<ContentRights> rights;
};

std::string listingPath(const AppTarget& app, const Client& client, const Context& context) {
  return "/v1/apps/" + std::to_string(AppChoice::resolve(app.app, client, context.folder)) + "/listing";
}

std::string words(ContentRights rights) {
  return rights == ContentRights::usesThirdPartyContent ? "uses third-party content, with the rights to it"
                                                        : "uses no third-party content";
}

void runShow(Context& context, const ShowOptions& options) {
  Client client = context.signedIn();
  auto rights = client.get(listingPath(options.app, client, context), {}, StoreListing::read).value.contentRights;
  JSONData answer = JSONData::object({{"contentRights", JSONData()}});
  if (rights) answer.set("contentRights", appleValue(*rights));
  options.emit(context.console, answer,
               rights ? "Content Rights: the app " + words(*rights) + "."
                      : "Content Rights isn't answered, and App Review requires it.\nNext: kestu metadata "
                        "content-rights set --third-party-content yes or no");
}

void runSet(Context& context, const SetOptions& options) {
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  std::string path = app.path + "/listing";
  auto now = client.get(path, {}, StoreListing::read).value.contentRights;
  if (now == options.rights) {
    tellUnchanged(context, options, "✓ Content Rights says that the app " + words(*now) + " already: nothing sent.");
    return;
  }
  ProposedChange change;
  change.title = app.appTitle() + ", Content Rights: the app " + words(*options.rights) +
                 (now ? "; now it " + words(*now) : "") + ".";
  change.items = {{"App", "content rights", now ? std::optional(std::string(appleValue(*now))) : std::nullopt,
                   std::string(appleValue(*options.rights))}};
  change.would = "Dry run: " + app.appTitle() + ", Content Rights would say that the app " + words(*options.rights) +
                 ", after your approval.";
  change.done = "✓ Content Rights says that the app " + words(*options.rights) + ".";
  ChangeRequest request{"POST", path, {}, JSONData::object({{"contentRights", appleValue(*options.rights)}}).compact()};
  options.make(context, client, request, change);
}

} // namespace

void addContentRights(Command& group) {
  Command& command = group.add("content-rights", "Whether the app uses content of others: the answer, and setting it.");
  auto addShow = [](Command& to) {
    auto shown = std::make_shared<ShowOptions>();
    shown->app.declare(to);
    shown->GlobalOptions::declare(to);
    to.example("", "The answer that App Store Connect has.");
    to.run = [shown](Context& context) { runShow(context, *shown); };
  };
  addShow(command);
  addShow(command.add("show", "The answer that App Store Connect has."));

  Command& set = command.add("set", "Answer Content Rights, for the app on every platform.");
  set.discussion = "Yes says too that you have the rights to that content. In kestu's layout the answer can stand in "
                   "metadata/app.json (contentRightsDeclaration), which the next push sends.";
  auto options = std::make_shared<SetOptions>();
  set.option({{"--third-party-content"},
              "yes|no",
              "Whether the app contains, shows or accesses content of others: yes or no.",
              [options](const std::string& value) {
                requireOneOf("--third-party-content", value, {"yes", "no"});
                options->rights =
                    value == "yes" ? ContentRights::usesThirdPartyContent : ContentRights::doesNotUseThirdPartyContent;
              },
              {"yes", "no"},
              false});
  options->app.declare(set);
  options->ChangeOptions::declare(set);
  set.validate = [options] {
    if (!options->rights) throw UsageError("--third-party-content says yes or no.");
  };
  set.run = [options](Context& context) { runSet(context, *options); };
  set.needs({"--third-party-content"});
  set.example("--third-party-content no", "The app uses no content of others.");
}

} // namespace kestu
