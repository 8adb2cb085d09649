#include "core/overview/doctor.hpp"

#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/assets/asset_kind.hpp"
#include "core/assets/asset_measure.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/project.hpp"
#include "core/service/device_flow.hpp"
#include "core/service/proxy.hpp"
#include "core/support/process.hpp"
#include "core/support/text.hpp"
#include "core/support/version.hpp"

#include <algorithm>
#include <memory>
#include <system_error>

namespace fs = std::filesystem;

namespace kestu {

using Kind = CLIError::Kind;
using State = DoctorItem::State;

namespace {

struct DoctorOptions : GlobalOptions {
  AppTarget app;
};

/// What is found out on the way, for what comes after it.
struct Findings {
  DoctorGroup machine{"machine", "This machine"};
  DoctorGroup repository{"repo", "This repo"};
  DoctorGroup app{"app", "In kestu"};
  std::optional<APIURL> base;
  std::optional<Token> token;
  bool given = false;   ///< the token is KESTU_TOKEN's
  bool answers = false; ///< the service does
  bool usable = false;  ///< the service takes the token
  bool broken = false;  ///< kestu.json is
  std::vector<App> apps;

  DoctorItem& add(DoctorGroup& group, std::string key, std::string title, State state, std::string detail,
                  std::optional<std::string> next = std::nullopt) {
    return group.items.emplace_back(
        DoctorItem{std::move(key), std::move(title), state, std::move(detail), std::move(next)});
  }
};

/// The first line that a tool says of itself; none where it can't be run.
std::optional<std::string> toolVersion(Context& context, const std::string& program, const std::string& option) {
  try {
    ProcessRequest request;
    request.arguments = {program, option};
    request.timeout = std::chrono::seconds(10);
    request.ownSession = true;
    ProcessResult result = Process::run(request, context.stop);
    if (!result.succeeded()) return std::nullopt;
    return Text::trimmed(result.out.substr(0, result.out.find('\n')));
  } catch (const std::system_error&) {
    return std::nullopt;
  }
}

// this machine

void lookAtBase(Context& context, Findings& found) {
  try {
    found.base = context.base();
  } catch (const CLIError& error) {
    found.add(found.machine, "service", "Service", State::problem, error.description,
              "Set KESTU_API_URL right, or unset it.");
  }
}

const std::string tokenAdvice = "Set KESTU_TOKEN right, or unset it.";

void lookAtSignIn(Context& context, Findings& found) {
  if (!found.base) return;
  const std::string title = "Sign-in", login = "kestu login";
  try {
    Credentials credentials = context.credentials();
    auto current = credentials.current();
    if (!current) {
      found.add(found.machine, "signin", title, State::todo, "not signed in", login);
      return;
    }
    found.token = current->token;
    found.given = current->source == Credentials::Source::environment;
    found.add(found.machine, "signin", title, State::ok, found.given ? "from KESTU_TOKEN" : "from the keyring");
  } catch (const CLIError& error) {
    bool misused = error.kind == Kind::usage;
    found.add(found.machine, "signin", title, misused ? State::problem : State::todo, error.description,
              misused ? tokenAdvice : "Set KESTU_TOKEN, or unlock the keyring.");
  }
}

void lookAtKeyring(Context& context, Findings& found) {
  try {
    static_cast<void>(context.store.find("token"));
    found.add(found.machine, "keyring", "Keyring", State::ok, "can be read");
  } catch (const KeyringError& error) {
    found.add(found.machine, "keyring", "Keyring", State::todo, "can't be used: " + std::string(error.what()),
              "Without one KESTU_TOKEN holds the sign-in.");
  }
}

std::string scopesText(const Grant& grant) {
  std::vector<std::string> labels;
  for (const std::string& scope : grant.scopes) labels.emplace_back(scopeLabel(scope).value_or(scope));
  return labels.empty() ? "nothing" : Text::joined(labels, ", ");
}

/// What to do where the service can't be reached.
std::string adviceFor(const Environment& environment, const std::string& service) {
  std::vector<std::string> settings;
  if (environment.has("KESTU_API_URL")) settings.emplace_back("KESTU_API_URL");
  if (std::string proxy = ProxyChoice(environment).variableFor(service); !proxy.empty()) settings.push_back(proxy);
  if (settings.empty()) return "See whether this machine's network lets it through, or try again in a moment.";
  return "See that " + Text::joined(settings, " and ") + (settings.size() == 1 ? " is" : " are") +
         " right, and this machine's network.";
}

/// Whether the service can be reached, and what it says of the sign-in.
void lookAtService(Context& context, Findings& found) {
  if (!found.base) return;
  const std::string title = "Service", where = found.base->origin();
  Client client = context.client(found.token);
  auto before = found.machine.items.begin(); // of all, since the rest depends on it
  try {
    HTTPAnswer answer = client.send("GET", "/v1/auth/whoami", {}, std::nullopt);
    found.answers = true;
    if (!found.token && answer.status == 401) {
      found.machine.items.insert(before, {"service", title, State::ok, where + " answers"});
      return;
    }
    auto grant =
        client.decoded(std::move(answer), [](const JSONValue& value) { return Grant::read(value.at("grant")); });
    found.machine.items.insert(before, {"service", title, State::ok, where + " answers"});
    found.usable = true;
    found.add(found.machine, "scopes", "May use", State::ok, scopesText(grant.value));
  } catch (const CLIError& error) {
    bool refused = error.kind == Kind::signedOut || error.kind == Kind::notAllowed;
    DoctorItem item{"service", title, State::problem, where + ": " + error.description};
    if (error.kind == Kind::unavailable) {
      item.next = adviceFor(context.environment, where);
    }
    if (refused) {
      item = {"signin", "Sign-in", State::problem, error.description, found.given ? tokenAdvice : "kestu login"};
      if (found.given && error.kind == Kind::signedOut) item.detail = "kestu doesn't take the token of KESTU_TOKEN";
      found.machine.items.insert(found.machine.items.begin(), {"service", title, State::ok, where + " answers"});
    }
    if (error.kind == Kind::outdated) item.next = "kestu update";
    if (error.kind == Kind::quota) item.state = State::unknown; // it answers, and is right
    auto own = std::find_if(found.machine.items.begin(), found.machine.items.end(),
                            [&](const DoctorItem& each) { return each.key == item.key; });
    if (own != found.machine.items.end()) {
      *own = item;
    } else {
      found.machine.items.insert(found.machine.items.begin(), item);
    }
  }
}

void lookAtVersion(Context& context, Findings& found) {
  std::string version = "kestu " + std::string(CLI::version);
  auto newer = context.announced.newer();
  if (newer) {
    found.add(found.machine, "version", "Version", State::todo, version + "; " + *newer + " is out", "kestu update");
  } else if (!found.answers) {
    found.add(found.machine, "version", "Version", State::unknown,
              version + "; whether a newer one is out isn't known");
  } else {
    found.add(found.machine, "version", "Version", State::ok, version);
  }
}

void lookAtTools(Context& context, Findings& found) {
  auto tool = [&](const std::string& key, const std::string& option, const std::string& use) {
    auto version = toolVersion(context, key, option);
    if (version) {
      found.add(found.machine, key, key, State::ok, TextStyle::line(*version, 60));
    } else {
      found.add(found.machine, key, key, State::todo, "can't be run: " + use, "Install " + key + ".");
    }
  };
  tool("git", "--version", "release check tells by it which translations are older than their original");
  tool("unzip", "-v", "builds upload reads an .ipa with it");
  if (VideoProbe::available()) {
    found.add(found.machine, "video", "Videos", State::ok, "are measured before they're sent");
  } else {
    found.add(found.machine, "video", "Videos", State::todo, "are sent unmeasured: libkestu-media isn't there",
              std::string(videoModuleRemedy));
  }
  const Console& console = context.console;
  std::string terminal = console.isTerminal(Stream::out) ? std::to_string(console.width()) + " columns, " +
                                                               (console.styles() ? "colours" : "no colours")
                                                         : "none for what is written: plain text";
  if (!console.asks()) terminal += "; nobody to ask, so changes need --yes";
  found.add(found.machine, "terminal", "Terminal", State::ok, terminal);
}

// this repo

void lookAtLink(Context& context, const DoctorOptions& options, Findings& found) {
  try {
    auto link = Project::link(context.folder);
    if (!link) {
      found.add(found.repository, "link", "kestu.json", State::todo, "isn't there: no app is tied to this folder",
                "kestu link");
      return;
    }
    auto app =
        std::find_if(found.apps.begin(), found.apps.end(), [&](const App& each) { return each.appId == link->appId; });
    if (app != found.apps.end()) {
      found.add(found.repository, "link", "kestu.json", State::ok, "ties it to " + app->described());
    } else if (found.usable && !options.app.app) {
      found.add(found.repository, "link", "kestu.json", State::problem,
                "ties it to the app " + std::to_string(link->appId) + ", which this sign-in doesn't cover",
                "kestu login, and include it");
    } else {
      found.add(found.repository, "link", "kestu.json", State::ok, "ties it to the app " + std::to_string(link->appId));
    }
  } catch (const CLIError& error) {
    found.broken = true;
    bool malformed = error.kind == Kind::failed;
    found.add(found.repository, "link", "kestu.json", State::problem,
              malformed ? "isn't one that this CLI can read" : error.description, "kestu link");
  }
}

void lookAtRepository(Context& context, const DoctorOptions& options, Findings& found) {
  fs::path root = Project::root(context.folder);
  std::error_code failed;
  bool isRepository = fs::symlink_status(root / ".git", failed).type() != fs::file_type::not_found;
  found.add(found.repository, "repo", "Repo", isRepository ? State::ok : State::todo,
            isRepository ? root.string() : root.string() + " is in no git repository",
            isRepository ? std::nullopt : std::optional<std::string>("git init"));
  lookAtLink(context, options, found);
  if (auto layout = Metadata::detect(root)) {
    static constexpr std::array<std::string_view, 3> names = {"kestu's", "the JSON layout", "fastlane's"};
    found.add(found.repository, "listing", "Listing", State::ok,
              "in files, layout: " + std::string(names.at(static_cast<std::size_t>(*layout))));
  } else {
    found.add(found.repository, "listing", "Listing", State::todo, "isn't kept in files here", "kestu metadata pull");
  }
  std::vector<std::string> folders;
  for (AssetKind kind : allAssetKinds) {
    for (std::string_view folder : facts(kind).folders) {
      if (!fs::is_directory(root / folder, failed)) continue;
      folders.emplace_back(folder);
      break;
    }
  }
  bool none = folders.empty();
  found.add(found.repository, "assets", "Assets", none ? State::todo : State::ok,
            none ? "no screenshots, app previews or others here" : Text::joined(folders, ", "),
            none ? std::optional<std::string>("kestu assets pull <version>") : std::nullopt);
}

// in kestu

void lookAtApp(Context& context, const DoctorOptions& options, Findings& found) {
  if (!found.usable || (found.broken && !options.app.app)) return;
  Client client = context.client(found.token);
  try {
    auto chosen = AppChoice::choose(options.app.app, found.apps, context.folder);
    if (!chosen.app.name.empty()) found.app.title = "In kestu: " + chosen.app.name;
    auto read = [](const JSONValue& value) { return value.listAt("items", DoctorItem::read); };
    found.app.items = client.get("/v1/apps/" + std::to_string(chosen.app.appId) + "/doctor", {}, read).value;
  } catch (const CLIError& error) {
    // Which app it is about is asked for; that no app is tied to the folder is told above.
    if (options.app.app && error.kind != Kind::unavailable) throw;
    if (error.kind == Kind::usage || error.kind == Kind::notAllowed) return;
    found.add(found.app, "app", "App", State::unknown, error.description);
  }
}

void runDoctor(Context& context, const DoctorOptions& options) {
  Findings found;
  {
    Console::Busy busy(context.console);
    lookAtBase(context, found);
    lookAtSignIn(context, found);
    lookAtService(context, found);
    lookAtKeyring(context, found);
    lookAtTools(context, found);
    if (found.usable) {
      try {
        found.apps = fetchApps(context.client(found.token)).value;
      } catch (const CLIError& error) {
        found.add(found.app, "apps", "Apps", State::unknown, error.description);
        found.usable = false;
      }
    }
    lookAtRepository(context, options, found);
    lookAtApp(context, options, found);
    lookAtVersion(context, found);
  }
  std::vector<DoctorGroup> groups = {found.machine, found.repository, found.app};
  if (options.quiet()) {
    context.console.json(Doctor::data(groups).pretty());
  } else {
    context.console.line(Doctor::text(groups, context.console.width(), context.console.style()));
  }
  if (Doctor::fails(groups)) throw NotPassed();
}

} // namespace

void addDoctor(Command& command) {
  command.discussion = "Looks at this machine, this repo, and what kestu has of the app. Exits 1 where something is "
                       "broken; what merely isn't set up is told. Needs no sign-in and no network for what is here.";
  auto options = std::make_shared<DoctorOptions>();
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runDoctor(context, *options); };
  command.example("", "This machine, this repo and its app.");
  command.example("--app com.example.daylight", "Another app than the repo's.");
}

} // namespace kestu
