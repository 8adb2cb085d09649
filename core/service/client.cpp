#include "core/service/client.hpp"

#include "core/console/printable.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

const std::pair<std::string, std::string> Client::dryRun = {"dryRun", "true"};

RequestBody bodyOf(std::string bytes) {
  auto held = std::make_shared<const std::string>(std::move(bytes));
  return {held->size(), [held](std::uint64_t offset, char* buffer, std::size_t capacity) {
            std::size_t count = std::min(capacity, held->size() - static_cast<std::size_t>(offset));
            std::copy_n(held->data() + offset, count, buffer);
            return count;
          }};
}

Client Client::unstopped() const {
  ServiceContext context = context_;
  context.stop = {};
  return {std::move(context), base_, token_};
}

Client Client::through(Transport& transport) const {
  return {{transport, context_.clock, context_.console, context_.announced, context_.stop}, base_, token_};
}

HTTPAnswer Client::perform(HTTPRequest request) const {
  std::string agent(CLI::client);
  std::replace(agent.begin(), agent.end(), ' ', '/');
  request.headers.insert(
      request.headers.begin(),
      {{"Accept", "application/json"}, {"User-Agent", agent}, {"App-Version", std::string(CLI::version)}});
  request.token = token_;
  request.timeout = std::chrono::seconds(60);
  Console::Busy busy(context_.console);
  try {
    HTTPAnswer answer = context_.transport.send(request, context_.stop);
    if (auto header = answer.headers.find("app-update-available"); header != answer.headers.end()) {
      context_.announced.set(header->second);
    }
    return answer;
  } catch (const TransportError& failure) {
    std::string message = "Couldn't reach kestu: " + printable(failure.what());
    if (failure.sent) throw AnswerLost(CLIError::Kind::unavailable, message);
    throw CLIError(CLIError::Kind::unavailable, message);
  }
}

HTTPAnswer Client::send(std::string_view method, std::string_view path, const Query& query,
                        const std::optional<std::string>& json) const {
  if (json) return send(method, path, query, *json, "application/json");
  HTTPRequest request;
  request.method = std::string(method);
  request.url = base_.url(path, query);
  return perform(std::move(request));
}

HTTPAnswer Client::send(std::string_view method, std::string_view path, const Query& query, const std::string& raw,
                        std::string_view contentType) const {
  HTTPRequest request;
  request.method = std::string(method);
  request.url = base_.url(path, query);
  request.headers.emplace_back("Content-Type", std::string(contentType));
  request.body = bodyOf(raw);
  return perform(std::move(request));
}

void Client::post(std::string_view path) const { checked(send("POST", path, {}, std::nullopt)); }

std::string Client::checked(HTTPAnswer answer) const {
  if (answer.status < 200 || answer.status > 299) throw error(answer.status, answer.body);
  return std::move(answer.body);
}

CLIError Client::error(int status, std::string_view body) const {
  CLIError error = Refusal::read(body).asError(status, context_.announced.newer(), context_.clock.now());
  bool refused = error.kind == CLIError::Kind::signedOut || (status == 403 && error.kind == CLIError::Kind::notAllowed);
  if (refused && token_ && token_->isFromEnvironment()) {
    error.description += "\nKESTU_TOKEN is this sign-in: set it to another token, or unset it.";
  }
  return error;
}

} // namespace kestu
