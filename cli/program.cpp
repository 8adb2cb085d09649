#include "cli/program.hpp"

#include "cli/context.hpp"
#include "cli/entry.hpp"
#include "core/assets/video_probe.hpp"
#include "core/platform/core_dumps.hpp"
#include "core/platform/state_folder.hpp"
#include "core/platform/stop_signals.hpp"
#include "core/platform/terminal.hpp"
#include "core/service/answer_memory.hpp"
#include "core/service/curl_transport.hpp"
#include "core/service/logged_transport.hpp"
#include "core/service/proxy.hpp"
#include "core/support/clock.hpp"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

/// Answers are kept for whoever types at this machine, which CI isn't, and of a service that can be named.
std::optional<RememberingTransport> rememberedFor(const Environment& environment, Transport& transport) {
  if (environment.has("CI")) return std::nullopt;
  try {
    AnswerMemory memory(cacheFolder(environment), APIURL::from(environment).origin());
    return std::optional<RememberingTransport>(std::in_place, transport, std::move(memory));
  } catch (const CLIError&) {
    return std::nullopt; // the command says what is wrong with the address
  }
}

} // namespace

int runProgram(int count, char** words, Clock& clock, std::chrono::milliseconds longestRequest) {
  leaveNoCoreDump();
  std::stop_source stopping;
  StopSignals signals(stopping);
  SystemTerminal terminal;
  int status = 1;
  {
    Environment environment = Environment::captured();
    Console console(terminal, environment, clock);
    CurlTransport curl(Certificates::from(environment), CurlTransport::largestAnswer, longestRequest);
    ProxiedTransport proxied(curl, ProxyChoice(environment));
    LoggedTransport logged(proxied, console, clock);
    Transport& told = LoggedTransport::isAsked(environment) ? static_cast<Transport&>(logged) : proxied;
    std::optional<RememberingTransport> remembering = rememberedFor(environment, told);
    Transport& transport = remembering ? static_cast<Transport&>(*remembering) : told;
    auto store = systemTokenStore();
    AnnouncedVersion announced;
    try {
      std::error_code gone;
      std::filesystem::path folder = std::filesystem::current_path(gone);
      if (gone)
        throw std::runtime_error("The current folder can't be read (" + gone.message() + "). Go to another one.");
      Context context{environment,         folder, clock, console, transport, *store, announced, VideoProbe::system(),
                      stopping.get_token()};
      status = runEntry(context, std::vector<std::string>(words + 1, words + count));
    } catch (const Stopped&) {
      status = 130;
    } catch (const BrokenPipe&) {
      status = 141;
    } catch (const std::exception& error) {
      console.error(error.what());
    }
  }
  if (int signal = signals.received()) StopSignals::endWith(signal);
  return status;
}

} // namespace kestu

int kestuProgram(int count, char** words) {
  kestu::SystemClock clock;
  return kestu::runProgram(count, words, clock);
}
