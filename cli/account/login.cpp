#include "cli/account/sign_in.hpp"
#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/qr.hpp"
#include "core/console/table.hpp"
#include "core/platform/machine_name.hpp"
#include "core/project/project.hpp"
#include "core/service/device_flow.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

namespace kestu {

namespace {

const std::string environmentWins = "KESTU_TOKEN is set, so commands keep using it rather than this sign-in.";

/// What has been used of one quota.
struct Use {
  std::int64_t used = 0;
  std::int64_t limit = 0;
  std::optional<Moment> resetsAt;

  static Use read(const JSONValue& value) {
    return {value.at("used").integer(), value.at("limit").integer(), value.find("resetsAt", &JSONValue::moment)};
  }
};

struct WhoamiAnswer {
  std::string name, email;
  Grant grant;
  Use window, week, minute;

  static WhoamiAnswer read(const JSONValue& value) {
    JSONValue account = value.at("account");
    JSONValue quota = value.at("quota");
    return {account.at("name").text(),     account.at("email").text(),  Grant::read(value.at("grant")),
            Use::read(quota.at("window")), Use::read(quota.at("week")), Use::read(quota.at("minute"))};
  }
};

/// The link, and at a terminal with room for it its QR code: below the link, or in a short window above it, since there
/// only the code's empty margin may scroll away.
void showLink(Console& console, const GlobalOptions& options, const DeviceStart& start) {
  constexpr int linesWithGap = 4; // beside the code's: the link, an empty one, what is waited for, the cursor's
  constexpr int fewest = 1;       // the same without the gap and the two of the code's upper margin
  const std::string& link = start.verificationUriComplete;
  std::string line = "Approve in kestu: " + printable(start.userCode) + "  " + printable(link);
  int columns = qrColumns(link);
  int codeLines = (columns + 1) / 2;
  int rows = console.rows().value_or(codeLines + linesWithGap);
  bool drawn = !options.quiet() && console.isTerminal(Stream::out) && columns > 0 && columns <= console.width();
  if (!drawn || rows < codeLines + fewest) return options.say(console, line);
  std::string code = qr(link, console.styles());
  console.line(rows >= codeLines + linesWithGap ? line + "\n\n" + code : code + "\n" + line);
}

} // namespace

void showStart(Context& context, const GlobalOptions& options, const DeviceStart& start) {
  Console& console = context.console;
  showLink(console, options, start);
  Moment until = context.clock.now() + start.expiresIn;
  options.say(console,
              "● Waiting for your approval in the kestu app, until " + Format::moment(until, context.clock.now()));
}

namespace {

/// Who a sign-in is; none where the service doesn't say.
std::optional<WhoamiAnswer> holder(const Context& context, const Token& token) {
  try {
    return context.client(token).get("/v1/auth/whoami", {}, WhoamiAnswer::read).value;
  } catch (const CLIError&) {
    return std::nullopt;
  }
}

std::string nameOf(const WhoamiAnswer& who) { return printable(who.name) + " (" + printable(who.email) + ")"; }

/// A link that can't be read is told by the command that needs it.
bool isLinked(const Context& context) {
  try {
    return Project::link(context.folder).has_value();
  } catch (const CLIError&) {
    return false;
  }
}

void runLogin(Context& context, const GlobalOptions& options) {
  Credentials credentials = context.credentials();
  credentials.checkKeyring();
  if (auto before = credentials.stored()) {
    if (auto who = holder(context, *before)) {
      options.say(context.console, "Signed in as " + nameOf(*who) + " so far: a new sign-in takes its place.");
    }
  }
  // Before anybody approves what won't be used.
  if (credentials.isFromEnvironment()) context.console.error(environmentWins);
  Client client = context.client(std::nullopt);
  DeviceStart start = DeviceFlow::start({std::string(CLI::client), machineName(), {}, std::nullopt}, client);
  showStart(context, options, start);
  SignedIn signedIn = DeviceFlow::wait(start, client);
  credentials.save(signedIn.token);
  JSONData answer = JSONData::object({{"signedIn", true}});
  std::string done = "✓ Signed in";
  if (signedIn.grant) {
    answer.set("name", signedIn.grant->name).set("scopes", signedIn.grant->scopes);
  }
  if (auto who = holder(context, signedIn.token)) {
    answer.set("account", JSONData::object({{"name", who->name}, {"email", who->email}}));
    done += " as " + nameOf(*who);
  }
  options.emit(context.console, answer, done + "\nNext: kestu " + (isLinked(context) ? "status" : "link"));
}

/// The stored token; where KESTU_TOKEN is the sign-in, a machine without a keyring has simply none.
std::optional<Token> storedToken(const Credentials& credentials) {
  try {
    return credentials.stored();
  } catch (const CLIError&) {
    if (!credentials.isFromEnvironment()) throw;
    return std::nullopt;
  }
}

void runLogout(Context& context, const GlobalOptions& options) {
  Credentials credentials = context.credentials();
  auto token = storedToken(credentials);
  if (!token) {
    if (credentials.isFromEnvironment()) {
      throw CLIError(CLIError::Kind::failed,
                     "KESTU_TOKEN is this sign-in, and only whoever set it can unset it. Nothing was signed out.");
    }
    throw CLIError::signedOut();
  }
  try {
    context.client(token).post("/v1/auth/revoke");
  } catch (const CLIError& error) {
    // The service has forgotten it already: what is left is to forget it here.
    if (error.kind != CLIError::Kind::signedOut) throw;
  }
  credentials.remove();
  if (credentials.isFromEnvironment()) context.console.error("KESTU_TOKEN is set, so commands keep using it.");
  options.emit(context.console, JSONData::object({{"signedOut", true}}), "✓ Signed out");
}

std::string scopesText(const std::vector<std::string>& scopes) {
  std::vector<std::string> labels;
  for (const std::string& scope : scopes) {
    auto label = scopeLabel(scope);
    labels.push_back(label ? std::string(*label) : printable(scope));
  }
  return labels.empty() ? "nothing" : Text::joined(labels, ", ");
}

std::string appsText(const Grant& grant) {
  if (!grant.appIds) return "every app";
  std::vector<std::string> ids;
  for (std::int64_t id : *grant.appIds) ids.push_back(std::to_string(id));
  return ids.empty() ? "none" : Text::joined(ids, ", ");
}

std::string approvalsText(const std::string& approvals) {
  if (approvals == "every") return "every change waits for your approval";
  if (approvals == "reaching") return "changes that reach customers wait for your approval";
  if (approvals == "none") return "no change waits for your approval";
  return printable(approvals);
}

std::string useText(const Use& use, Moment now) {
  return Format::number(use.used) + " of " + Format::number(use.limit) + " calls" +
         (use.resetsAt ? ", until " + Format::moment(*use.resetsAt, now) : "");
}

std::string whoamiText(const WhoamiAnswer& answer, Credentials::Source source, const Context& context) {
  Moment now = context.clock.now();
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"Account", printable(answer.name) + " (" + printable(answer.email) + ")"},
      {"Sign-in", printable(answer.grant.name) + ", " + printable(answer.grant.client) +
                      (source == Credentials::Source::environment ? ", from KESTU_TOKEN" : "")},
      {"May use", scopesText(answer.grant.scopes)},
      {"Apps", appsText(answer.grant)},
      {"Approvals", approvalsText(answer.grant.approvals)},
      {"5 hours", useText(answer.window, now)},
      {"Week", useText(answer.week, now)},
      {"Minute", useText(answer.minute, now)},
  };
  constexpr int unfolded = 10'000;
  return Format::facts(rows, context.console.isTerminal(Stream::out) ? context.console.width() : unfolded);
}

void runWhoami(Context& context, const GlobalOptions& options) {
  auto current = context.credentials().current();
  if (!current) throw CLIError::signedOut();
  auto answer = context.client(current->token).get("/v1/auth/whoami", {}, WhoamiAnswer::read);
  options.emitBody(context.console, answer.body, whoamiText(answer.value, current->source, context));
}

void add(Command& command, void (*run)(Context&, const GlobalOptions&)) {
  auto options = std::make_shared<GlobalOptions>();
  options->declare(command);
  command.run = [options, run](Context& context) { run(context, *options); };
}

} // namespace

void addLogin(Command& command) {
  add(command, runLogin);
  command.example("", "Prints a code and a link to approve it at in the kestu app, then waits for it.");
}

void addLogout(Command& command) {
  add(command, runLogout);
  command.example("", "Takes back this machine's sign-in.");
}

void addWhoami(Command& command) {
  add(command, runWhoami);
  command.example("", "Which account this is, and what it may do.");
  command.example("-o json", "The same for a script.");
}

} // namespace kestu
