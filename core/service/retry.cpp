#include "core/service/retry.hpp"

#include "core/console/format.hpp"
#include "core/support/moments.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <optional>
#include <string_view>
#include <system_error>

namespace kestu {

namespace {

using std::chrono::seconds;

constexpr int attempts = 3;
constexpr seconds firstWait(3);
constexpr seconds longestWait = firstWait * (attempts - 1);

bool isForGood(int status) {
  switch (status) {
  case 400:
  case 401:
  case 403:
  case 404:
  case 410:
  case 413:
    return true;
  default:
    return false;
  }
}

/// Seconds, or the moment until which to wait; none when it is neither, or isn't there.
std::optional<seconds> askedWait(const HTTPAnswer& answer, Moment now) {
  auto header = answer.headers.find("retry-after");
  if (header == answer.headers.end()) return std::nullopt;
  const std::string& text = header->second;
  if (auto moment = Moments::parseHTTP(text)) return std::chrono::ceil<seconds>(*moment - now);
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
  int count = 0;
  bool fits = std::from_chars(text.data(), text.data() + text.size(), count).ec == std::errc();
  return fits ? seconds(count) : longestWait;
}

} // namespace

HTTPAnswer retried(Clock& clock, const std::stop_token& stop, const std::function<HTTPAnswer()>& operation,
                   const std::function<CLIError(const TransferRefusal&)>& refused,
                   const std::function<CLIError(const std::string& description)>& failed) {
  for (int attempt = 1;; ++attempt) {
    std::optional<CLIError> error;
    std::optional<seconds> asked;
    bool isLast = attempt == attempts;
    try {
      HTTPAnswer answer = operation();
      if (answer.status >= 200 && answer.status <= 299) return answer;
      asked = askedWait(answer, clock.now());
      error = refused({answer.status, asked > longestWait ? asked : std::nullopt});
      isLast = isLast || isForGood(answer.status);
    } catch (const TransportError& failure) {
      error = failed(failure.what());
    }
    if (isLast) throw *error;
    clock.sleep(asked ? std::clamp(*asked, firstWait, longestWait) : firstWait * attempt, stop);
  }
}

bool TransferRefusal::isOfTheFile() const { return status == 400 || status == 413; }

CLIError::Kind TransferRefusal::kind() const {
  bool mayPass = status == 408 || status == 429 || status >= 500;
  return mayPass ? CLIError::Kind::unavailable : CLIError::Kind::failed;
}

std::string TransferRefusal::reason() const {
  std::string number = std::to_string(status);
  if (isOfTheFile()) return number + ": Apple refuses it as it is";
  if (isForGood(status)) return number + ": its address may have expired, and a new run gets a new one";
  return wait ? number + ": Apple asks to wait " + Format::seconds(wait->count()) : number;
}

} // namespace kestu
