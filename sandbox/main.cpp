#include "sandbox/server.hpp"

#include <fmt/format.h>

#include <csignal>

#include <charconv>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace {

using kestu::sandbox::Approve;

constexpr std::string_view help = R"(A local stand-in of the Kestu web service, reached from this machine only.

kestu-sandbox [options]

  --port N               listen on this port (0, the default, takes a free one)
  --approve WHO          ask (the default): you decide on the page; all; none
  --interval SECONDS     between polls of a sign-in (2)
  --token TEXT           take this token too, as one of every scope, also after a restart
  --part-size BYTES      the largest upload part (16777216)
  --tls                  speak https, with a certificate made for this run
  --certificate FILE     write that certificate there, for clients that check it
  --help                 show this

Open the printed address in a browser to approve sign-ins and changes.
)";

class Misuse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Arguments {
  kestu::sandbox::Options options;
  std::string certificateFile;
  std::string token;
  bool help = false;
};

template <typename Number>
Number number(std::string_view option, std::string_view text, Number least, Number most) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < least || value > most) {
    throw Misuse(fmt::format("{} takes a number from {} to {}.", option, least, most));
  }
  return value;
}

Approve approveOf(std::string_view text) {
  if (text == "ask") return Approve::ask;
  if (text == "all") return Approve::all;
  if (text == "none") return Approve::none;
  throw Misuse("--approve takes ask, all or none.");
}

Arguments parsed(int count, char** words) {
  Arguments arguments;
  auto& options = arguments.options;
  options.interval = 2;
  options.examples = true;
  for (int index = 1; index < count; ++index) {
    const std::string_view option = words[index];
    const auto value = [&]() -> std::string_view {
      if (++index == count) throw Misuse(fmt::format("{} takes a value.", option));
      return words[index];
    };
    if (option == "--port") {
      options.port = number(option, value(), 0, 65535);
    } else if (option == "--approve") {
      options.approve = approveOf(value());
    } else if (option == "--interval") {
      options.interval = number(option, value(), 0, 600);
    } else if (option == "--part-size") {
      options.partSize = number<std::uint64_t>(option, value(), 1, std::uint64_t{1} << 32);
    } else if (option == "--token") {
      arguments.token = value();
    } else if (option == "--tls") {
      options.tls = true;
    } else if (option == "--certificate") {
      arguments.certificateFile = value();
    } else if (option == "--help" || option == "-h") {
      arguments.help = true;
    } else {
      throw Misuse(fmt::format("There is no option {}.", option));
    }
  }
  if (!arguments.certificateFile.empty() && !options.tls) throw Misuse("--certificate needs --tls.");
  return arguments;
}

void serve(const Arguments& arguments) {
  // Blocked before the server starts its threads, so that only this one takes them.
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  kestu::sandbox::Server server(arguments.options);
  if (!arguments.token.empty()) server.accept(arguments.token);
  if (!arguments.certificateFile.empty()) {
    std::ofstream file(arguments.certificateFile);
    file << server.certificate() << std::flush;
    if (!file) throw std::runtime_error(fmt::format("Couldn't write {}.", arguments.certificateFile));
  }
  fmt::print("Listening on {}\n", server.origin());
  std::fflush(stdout);
  int received = 0;
  sigwait(&ends, &received);
}

} // namespace

int main(int count, char** words) {
  try {
    const auto arguments = parsed(count, words);
    if (arguments.help) {
      fmt::print("{}", help);
    } else {
      serve(arguments);
    }
    return 0;
  } catch (const Misuse& misuse) {
    fmt::print(stderr, "kestu-sandbox: {} See kestu-sandbox --help.\n", misuse.what());
    return 2;
  } catch (const std::exception& error) {
    fmt::print(stderr, "kestu-sandbox: {}\n", error.what());
    return 1;
  }
}
