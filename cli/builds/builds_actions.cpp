#include "cli/app_platform.hpp"
#include "cli/builds/builds.hpp"
#include "cli/context.hpp"
#include "core/builds/build_groups.hpp"
#include "core/builds/build_notes.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct ActionOptions : ChangeOptions {
  BuildTarget target;
};

/// A build found, and all that an action on it needs.
struct Action {
  Client client;
  std::string appPath;
  std::string title; ///< "Daylight (com.example.daylight) 1.2 (45) for iOS"
  TestFlightBuilds all;
  ManagedBuild build;

  static Action on(const BuildTarget& target, const Context& context) {
    Client client = context.signedIn();
    auto app = AppOnPlatform::resolve(client, target.app, target.platform.platform, context);
    TestFlightBuilds all = Builds::fetch(client, app.path, target.platform.platform).value;
    ManagedBuild build = target.build->find(all.builds, target.platform.platform);
    std::string title = app.appTitle() + " " + build.described();
    return {std::move(client), std::move(app.path), std::move(title), std::move(all), std::move(build)};
  }

  ChangeRequest request(const std::string& word, const std::optional<JSONData>& body) const {
    return {"POST",
            appPath + "/testflight/builds/" + percentEncoded(build.buildId) + "/" + word,
            {},
            body ? std::optional(body->compact()) : std::nullopt};
  }
};

std::string capitalized(std::string text) {
  text.front() = static_cast<char>(text.front() - 'a' + 'A');
  return text;
}

/// What a change does, for before and after it is sent.
struct ChangeWords {
  std::string would; ///< "expire … 1.2 (45) for iOS"; also shown with a capital letter before the question
  std::string more;  ///< sentences after it
  std::string done;
  std::string field;
  std::optional<std::string> from, to;
  bool waits = false;
};

void change(Context& context, const ChangeOptions& options, const Action& action, const ChangeRequest& request,
            const ChangeWords& words) {
  ProposedChange change;
  change.title = capitalized(words.would) + "." + words.more;
  change.items = {{action.build.described(), words.field, words.from, words.to}};
  change.would = "Dry run: would " + words.would + (words.waits ? ", after your approval." : ".");
  change.done = words.done;
  change.waits = words.waits;
  options.make(context, action.client, request, change);
}

void runExpire(Context& context, const ActionOptions& options) {
  Action action = Action::on(options.target, context);
  change(context, options, action, action.request("expire", std::nullopt),
         {"expire " + action.title, " Testers can't install it any more, nor open it. Can't be undone.",
          "✓ Expired " + action.build.text() + ". Testers can't install or open it any more.", "state",
          action.build.state, "expired", true});
}

void runCompliance(Context& context, const ActionOptions& options) {
  Action action = Action::on(options.target, context);
  JSONData body = JSONData::object({{"usesNonExemptEncryption", false}});
  change(context, options, action, action.request("compliance", body),
         {"answer export compliance for " + action.title, " It uses no encryption that needs documents.",
          "✓ Answered export compliance for " + action.build.text() +
              ": no encryption to document.\nNext: " + options.target.next("wait", action.build) + " --testable",
          "usesNonExemptEncryption", std::nullopt, "false"});
}

/// What gets a submitted build to somebody: a group of outsiders, once it's in none.
std::string afterSubmit(const Action& action, const BuildTarget& target) {
  const BuildGroup* open = nullptr;
  std::string list = "kestu builds list" + target.ofApp();
  for (const BuildGroup& group : action.all.groups) {
    if (group.internal || !group.name) continue;
    const auto& ids = action.build.groupIds;
    if (std::find(ids.begin(), ids.end(), group.groupId) != ids.end()) return list;
    if (!open) open = &group;
  }
  if (!open) return list;
  return target.next("distribute", action.build) + " --add " + Format::shellWord(printable(*open->name));
}

void runSubmit(Context& context, const ActionOptions& options) {
  Action action = Action::on(options.target, context);
  change(context, options, action, action.request("submit", std::nullopt),
         {"submit " + action.title + " to Beta App Review", "",
          "✓ Submitted " + action.build.text() + " to Beta App Review.\nNext: " + afterSubmit(action, options.target),
          "state", action.build.state, "waitingforbetareview"});
}

// distribute

struct DistributeOptions : ActionOptions {
  std::vector<std::string> add, remove;
};

std::string quotedNames(const std::vector<BuildGroup>& groups) {
  std::vector<std::string> names;
  for (const BuildGroup& group : groups) names.push_back("\"" + printable(group.name.value_or(group.groupId)) + "\"");
  return Text::joined(names, ", ");
}

std::vector<std::string> ids(const std::vector<BuildGroup>& groups) {
  std::vector<std::string> all;
  for (const BuildGroup& group : groups) all.push_back(group.groupId);
  return all;
}

/// "put 1.2 (45) in "Team" and take it out of "Friends"".
std::string moves(const std::string& put, const std::string& build, const std::vector<BuildGroup>& add,
                  const std::string& take, const std::vector<BuildGroup>& remove) {
  std::string text;
  if (!add.empty()) text = put + " " + build + " in " + quotedNames(add);
  if (remove.empty()) return text;
  return text + (add.empty() ? take + " " + build : " and " + take + " it") + " out of " + quotedNames(remove);
}

/// The names of the groups that the build is in, and is to be in.
std::pair<std::string, std::string> groupsBeforeAndAfter(const Action& action, const std::vector<BuildGroup>& groups,
                                                         const std::vector<BuildGroup>& add,
                                                         const std::vector<BuildGroup>& remove) {
  std::vector<std::string> before, after;
  for (const BuildGroup& group : groups) {
    auto among = [&](const std::vector<std::string>& all) {
      return std::find(all.begin(), all.end(), group.groupId) != all.end();
    };
    std::string name = group.name.value_or(group.groupId);
    if (among(action.build.groupIds)) before.push_back(name);
    if (among(ids(add)) || (among(action.build.groupIds) && !among(ids(remove)))) after.push_back(name);
  }
  return {Text::joined(before, ", "), Text::joined(after, ", ")};
}

void runDistribute(Context& context, const DistributeOptions& options) {
  Action action = Action::on(options.target, context);
  auto groups = BuildGroups::fetch(action.client, action.appPath);
  auto all = options.add;
  all.insert(all.end(), options.remove.begin(), options.remove.end());
  BuildGroups::named(all, groups); // tells of all the unknown names at once
  auto add = BuildGroups::named(options.add, groups);
  auto remove = BuildGroups::named(options.remove, groups);
  for (const BuildGroup& group : add) {
    auto both = [&](const BuildGroup& other) { return other.groupId == group.groupId; };
    if (std::any_of(remove.begin(), remove.end(), both)) {
      throw CLIError(Kind::usage, "\"" + printable(*group.name) + "\" is in both --add and --remove.");
    }
  }
  JSONData body = JSONData::object({{"add", ids(add)}, {"remove", ids(remove)}});
  std::string done = capitalized(moves("put", action.build.text(), add, "took", remove));
  auto [from, to] = groupsBeforeAndAfter(action, groups, add, remove);
  change(context, options, action, action.request("groups", body),
         {moves("put", action.title, add, "take", remove), "", "✓ " + done + ".", "groups", from, to});
}

// test-notes

struct TestNotesOptions : ActionOptions {
  std::optional<std::string> text, file, locale;
};

void runTestNotes(Context& context, const TestNotesOptions& options) {
  std::string text = options.file ? BuildNotes::readFile(context.folder, *options.file, context.stop)
                                  : BuildNotes::read(*options.text, "The text");
  Action action = Action::on(options.target, context);
  auto locale = options.locale ? options.locale : action.all.primaryLocale;
  if (!locale) throw CLIError(Kind::usage, "Name its language with --locale (en-US).");
  std::string in = " in " + printable(*locale);
  std::string indented = "\n  " + Text::joined(Text::split(printableText(text), '\n'), "\n  ");
  JSONData body = JSONData::object({{"locale", *locale}, {"text", text}});
  change(context, options, action, action.request("test-notes", body),
         {"set What to Test for " + action.title + in, indented,
          "✓ Set What to Test for " + action.build.text() + in + ".", "What to Test " + *locale, std::nullopt, text});
}

// the tree

/// `own` declares what only this action takes, between the build and what all changes take.
template <class Options>
std::shared_ptr<Options> addAction(Command& command, void (*run)(Context&, const Options&),
                                   const std::function<void(Options&)>& own = nullptr) {
  auto options = std::make_shared<Options>();
  options->target.declare(command);
  if (own) own(*options);
  options->ChangeOptions::declare(command);
  command.run = [options, run](Context& context) { run(context, *options); };
  return options;
}

void declareWord(Command& command, const std::string& name, const std::string& value, const std::string& help,
                 const std::function<void(const std::string&)>& set) {
  command.option({{name}, value, help, set, {}, false});
}

} // namespace

void addBuildsExpire(Command& group) {
  Command& command = group.add("expire", "Expire a build: testers can't install it any more, nor open it. Can't be "
                                         "undone, so it waits for your approval.");
  addAction<ActionOptions>(command, runExpire);
  command.example("43", "Takes build 43 from its testers.");
  command.example("\"1.2 (43)\" --dry-run", "What would happen; nothing is sent.");
}

void addBuildsCompliance(Command& group) {
  Command& command = group.add("compliance", "Answer a build's export compliance: it uses no encryption that needs "
                                             "documents, so testers can have it.");
  command.discussion = "An app that does use such encryption answers in App Store Connect, with its documents.";
  addAction<ActionOptions>(command, runCompliance);
  command.example("44 --yes", "In CI, once the build is processed.");
}

void addBuildsSubmit(Command& group) {
  Command& command = group.add("submit", "Submit a build to Beta App Review, for external groups. A version's first "
                                         "build needs it; Apple approves later ones itself.");
  addAction<ActionOptions>(command, runSubmit);
  command.example("43", "Sends build 43 to Beta App Review.");
}

void addBuildsDistribute(Command& group) {
  Command& command = group.add("distribute", "Put a build in TestFlight groups, or take it out, by the groups' names.");
  auto options = addAction<DistributeOptions>(command, runDistribute, [&](DistributeOptions& own) {
    declareWord(command, "--add", "group", "A group to put it in. Repeat for several.",
                [&own](const std::string& name) { own.add.push_back(name); });
    declareWord(command, "--remove", "group", "A group to take it out of. Repeat for several.",
                [&own](const std::string& name) { own.remove.push_back(name); });
  });
  command.validate = [options] {
    if (options->add.empty() && options->remove.empty()) throw UsageError("Name a group with --add or --remove.");
  };
  command.needs({"--add", "--remove"});
  command.example("42 --add \"Beta testers\"", "Puts build 42 in one more group.");
  command.example("43 --remove Team --yes", "Takes it out of one, without a question.");
}

void addBuildsTestNotes(Command& group) {
  Command& command =
      group.add("test-notes", "A build's What to Test, what TestFlight shows its testers, in one language.");
  command.discussion = "--file - reads it from standard input.";
  auto options = addAction<TestNotesOptions>(command, runTestNotes, [&](TestNotesOptions& own) {
    command.argument({"text", "What to test; --file reads it from a file instead.",
                      [&own](const std::string& text) { own.text = text; }, false});
    declareWord(command, "--file", "file", "A file with what to test.",
                [&own](const std::string& file) { own.file = file; });
    declareWord(command, "--locale", "language",
                "Apple's code for its language (en-US). The app's primary language when left out.",
                [&own](const std::string& locale) { own.locale = localeGiven(locale); });
  });
  command.validate = [options] {
    if (options->text && options->file) throw UsageError("Give the text, or --file, but not both.");
    if (!options->text && !options->file) throw UsageError("Give the text, or --file.");
  };
  command.needs({"<text>", "--file"});
  command.example("43 \"The radar has colours now.\"", "In the app's primary language.");
  command.example("43 --file notes.txt --locale de-DE", "From a file, in German.");
}

} // namespace kestu
