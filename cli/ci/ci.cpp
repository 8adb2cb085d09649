#include "cli/account/sign_in.hpp"
#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/console/printable.hpp"
#include "core/overview/ci_secrets.hpp"
#include "core/platform/machine_name.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/project.hpp"
#include "core/service/device_flow.hpp"
#include "core/support/json_data.hpp"
#include "core/support/process_input.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <exception>
#include <memory>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct TokenOptions : GlobalOptions {
  std::vector<std::string> scopes;
  std::optional<std::string> provider;
  bool print = false;
  bool force = false;
  AppTarget app;
};

/// Where the token is to go: a CI's secrets, or standard output where there is none.
struct Destination {
  const CIProvider* provider = nullptr;
  CISecrets secrets;
};

/// Throws before anybody is asked to approve where the token would have nowhere to go.
Destination destinationOf(Context& context, const TokenOptions& options) {
  auto run = [&context](const ProcessRequest& request, const std::string& input) {
    return context.console.during([&] { return Process::runWith(input, request, context.stop); });
  };
  Destination to{nullptr, CISecrets(Project::root(context.folder), run)};
  if (options.print) {
    if (!context.console.isTerminal(Stream::out) || options.force) return to;
    throw CLIError(Kind::usage,
                   "--print would show the token on this terminal. Send it on, as kestu ci token --print | "
                   "pbcopy, or say --force. Nothing was asked for.");
  }
  to.provider = options.provider ? CISecrets::provider(*options.provider) : to.secrets.detected();
  if (!to.provider) {
    throw CLIError(Kind::usage, "This repo's origin is at neither GitHub nor GitLab, so the token has nowhere to go. "
                                "Name one with --provider, or use --print. Nothing was asked for.");
  }
  to.secrets.check(*to.provider);
  return to;
}

/// The app by name where a sign-in knows it, else the one that the repository is linked to, so that a machine without a
/// sign-in can make a token too.
App appOf(Context& context, const TokenOptions& options) {
  if (auto current = context.credentials().current()) {
    return AppChoice::choose(options.app.app, fetchApps(context.client(current->token)).value, context.folder).app;
  }
  auto link = Project::link(context.folder);
  if (options.app.app || !link) throw CLIError::signedOut();
  return {link->appId, link->bundleId, {}, {}, {}};
}

/// Takes the token back, also where the command was stopped.
std::string takenBack(Context& context, const Token& token) {
  try {
    context.client(token).unstopped().post("/v1/auth/revoke");
    return "The token was taken back, so approve another next time.";
  } catch (const CLIError&) {
    return "The token couldn't be taken back: revoke it in the kestu app.";
  }
}

/// Hands the token over. One that nobody got, or nobody surely, is taken back, so that none is left that nobody has.
void handOver(Context& context, const Destination& to, const Token& token) {
  try {
    if (to.provider) return to.secrets.put(*to.provider, token);
    context.console.out(token.reveal() + "\n");
  } catch (const CLIError& error) {
    throw CLIError(error.kind, error.description + "\n" + takenBack(context, token));
  } catch (const std::exception&) { // it was stopped, or standard output takes nothing
    context.console.error(takenBack(context, token));
    throw;
  }
}

void runToken(Context& context, const TokenOptions& options) {
  Destination to = destinationOf(context, options);
  App app = appOf(context, options);
  std::string name = app.name.empty() ? "the app " + std::to_string(app.appId) : app.described();
  Client client = context.client(std::nullopt);
  DeviceFlow::Request request{std::string(CLI::client), machineName(), options.scopes, app.appId};
  DeviceStart start = DeviceFlow::start(request, client);
  GlobalOptions telling = options;
  telling.json = telling.quiet() || options.print; // standard output is the token's alone
  telling.say(context.console, "A token for CI, which covers " + name + " alone.");
  showStart(context, telling, start);
  SignedIn signedIn = DeviceFlow::wait(start, client);
  handOver(context, to, signedIn.token);
  if (options.print) {
    return context.console.error("✓ The token for " + name + " is on standard output. Keep it as the secret " +
                                 std::string(CISecrets::secret) + ".");
  }
  std::string provider(to.provider->name);
  if (options.quiet()) {
    JSONData answer =
        JSONData::object({{"appId", app.appId}, {"provider", to.provider->word}, {"secret", CISecrets::secret}});
    if (signedIn.grant) answer.set("scopes", signedIn.grant->scopes);
    return context.console.json(answer.pretty());
  }
  context.console.line("✓ " + provider + " keeps the token for " + name + " as " + std::string(CISecrets::secret) +
                       ", in " + std::string(to.provider->where) + ".");
}

void addScopes(std::vector<std::string>& scopes, const std::string& given) {
  std::vector<std::string> words;
  addWords(words, given);
  if (words.empty()) throw UsageError("--scopes is empty.");
  for (std::string& word : words) {
    if (!scopeLabel(word)) {
      throw UsageError("There's no scope " + printable(word) +
                       ": they're apps, reviews, replies, feedback, kestukit, testflight, release, sales and store.");
    }
    if (std::find(scopes.begin(), scopes.end(), word) == scopes.end()) scopes.push_back(std::move(word));
  }
}

void addToken(Command& group) {
  Command& command = group.add("token", "Make a token for one app, approved in the kestu app, and keep it in the CI's "
                                        "secrets as KESTU_TOKEN.");
  command.discussion = "It goes to GitHub with gh, to GitLab with glab, whichever the repo's origin is at, through "
                       "their standard input. For any other CI, --print writes it to standard output.";
  auto options = std::make_shared<TokenOptions>();
  command.option({{"--scopes"},
                  "scopes",
                  "What it may do, with commas: testflight,release. What the approval ticks when left out.",
                  [options](const std::string& given) { addScopes(options->scopes, given); },
                  {},
                  false});
  command.option({{"--provider"},
                  "provider",
                  "github or gitlab. The one that the repo's origin is at when left out.",
                  [options](const std::string& given) {
                    requireOneOf("--provider", given, {"github", "gitlab"});
                    options->provider = given;
                  },
                  {"github", "gitlab"},
                  false});
  command.flag({"--print"}, options->print, "Write it to standard output alone, which isn't a terminal.");
  command.flag({"--force"}, options->force, "With --print: on a terminal too.");
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.validate = [options] {
    if (options->force && !options->print) throw UsageError("--force is for --print.");
    if (options->print && options->provider) throw UsageError("--print or --provider, but not both.");
    if (options->print && options->quiet())
      throw UsageError("--print writes the token alone, so --output has no place.");
  };
  command.run = [options](Context& context) { runToken(context, *options); };
  command.example("", "In the repo's GitHub or GitLab secrets.");
  command.example("--scopes testflight,release --provider github", "For builds and releases alone.");
}

} // namespace

void addCI(Command& command) {
  command.discussion = "Ready workflows for GitHub Actions, GitLab CI, Xcode Cloud and Bitrise are in "
                       "share/doc/kestu/ci, below the folder "
                       "that kestu is installed in (/usr for a package), and in docs/ci of the sources.";
  addToken(command);
  command.example("token", "In the app's repo: the CI may do what this app needs, and nothing of others.");
}

} // namespace kestu
