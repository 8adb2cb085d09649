#include "core/service/retry.hpp"

#include <optional>

namespace kestu {

HTTPAnswer retried(Clock& clock, const std::stop_token& stop, const std::function<HTTPAnswer()>& operation,
                   const std::function<CLIError(int status)>& refused,
                   const std::function<CLIError(const std::string& description)>& failed) {
  constexpr int attempts = 3;
  for (int attempt = 1;; ++attempt) {
    std::optional<CLIError> error;
    try {
      HTTPAnswer answer = operation();
      if (answer.status >= 200 && answer.status <= 299) return answer;
      error = refused(answer.status);
    } catch (const TransportError& failure) {
      error = failed(failure.what());
    }
    if (attempt == attempts) throw *error;
    clock.sleep(std::chrono::seconds(3 * attempt), stop);
  }
}

} // namespace kestu
