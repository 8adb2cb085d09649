#include "sandbox/server.hpp"

#include "sandbox/account/accounts.hpp"
#include "sandbox/certificate.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/router.hpp"
#include "sandbox/sockets.hpp"

#include <fmt/format.h>
#include <httplib.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <utility>

namespace kestu::sandbox {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t mostThreads = 32;
constexpr std::size_t largestBody = std::size_t{64} << 20; // of a call of the service
constexpr std::size_t largestPart = std::size_t{8} << 30;  // of an upload
constexpr std::size_t fileBlock = std::size_t{1} << 18;

Call callOf(const httplib::Request& request) {
  Call call;
  call.method = request.method == "HEAD" ? "GET" : request.method;
  call.path = request.path;
  const auto mark = request.target.find('?');
  if (mark != std::string::npos) call.query = request.target.substr(mark + 1);
  for (const auto& [name, value] : request.headers) {
    // The library adds these four to what came.
    if (name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" || name == "LOCAL_PORT") continue;
    call.headers.emplace(lowered(name), value);
  }
  for (const auto& [name, value] : request.params) call.params.emplace(name, value);
  call.segments = segmentsOf(call.path);
  return call;
}

bool hasBody(const httplib::Request& request) {
  return request.has_header("Content-Length") || request.has_header("Transfer-Encoding");
}

void sendFile(const Answer& answer, httplib::Response& response) {
  const std::shared_ptr<std::FILE> file(std::fopen(answer.file.c_str(), "rb"), [](std::FILE* open) {
    if (open != nullptr) std::fclose(open);
  });
  if (!file) {
    response.status = 404;
    return;
  }
  // The library asserts that what it is to ask for isn't empty.
  if (answer.fileSize == 0) return response.set_content("", answer.contentType);
  response.set_content_provider(answer.fileSize, answer.contentType,
                                [file](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                  std::string block(std::min(length, fileBlock), '\0');
                                  if (::fseeko(file.get(), static_cast<off_t>(offset), SEEK_SET) != 0) return false;
                                  block.resize(std::fread(block.data(), 1, block.size(), file.get()));
                                  return !block.empty() && sink.write(block.data(), block.size());
                                });
}

void sendHalf(const Answer& answer, httplib::Response& response) {
  if (answer.body.empty()) return response.set_content("", answer.contentType);
  response.set_content_provider(answer.body.size(), answer.contentType,
                                [body = answer.body](std::size_t, std::size_t, httplib::DataSink& sink) {
                                  sink.write(body.data(), body.size() / 2);
                                  return false;
                                });
}

Answer faulty(const Fault& fault) {
  Answer answer;
  answer.status = fault.status;
  answer.contentType = fault.contentType;
  answer.body = fault.body;
  return answer;
}

} // namespace

struct Server::Listener {
  explicit Listener(Options options);
  ~Listener();

  void handle(const httplib::Request& request, httplib::Response& response, const httplib::ContentReader* reader);
  Answer answered(Call& call, const Uploads::Body& body, const std::optional<Fault>& fault);
  void log(const Call& call);
  void bind(int port);

  State state;
  Faults faults;
  Router router;
  std::unique_ptr<Certificate> certificate;
  std::unique_ptr<httplib::Server> http;
  int port = 0;
  int listening = -1;
  std::atomic<bool> ended = false;
  std::atomic<std::uint64_t> answers = 0;
  std::thread thread;
  mutable std::mutex logMutex;
  std::vector<Request> requests;
  std::mutex alterMutex;
  std::function<void(const Request&, Answer&)> alter;
};

Server::Listener::Listener(Options options)
    : state({options.approve, options.partSize, options.interval, options.holdsWaits, options.examples},
            std::move(options.now)),
      router(state, faults) {
  if (options.tls) {
    certificate = std::make_unique<Certificate>();
    http = std::make_unique<httplib::SSLServer>(certificate->certificate(), certificate->key());
  } else {
    http = std::make_unique<httplib::Server>();
  }
  if (!http->is_valid()) throw std::runtime_error("Couldn't set TLS up.");
  http->new_task_queue = [] { return new httplib::ThreadPool(mostThreads); };
  http->set_tcp_nodelay(true);
  http->set_keep_alive_max_count(1'000'000);
  http->set_keep_alive_timeout(20);
  http->set_read_timeout(120);
  http->set_write_timeout(120);
  http->set_payload_max_length(largestPart);
  const char* const every = "[^]*";
  const auto reading = [this](const auto& request, auto& response, const auto& reader) {
    handle(request, response, &reader);
  };
  http->Get(every, [this](const auto& request, auto& response) { handle(request, response, nullptr); });
  http->Post(every, httplib::Server::HandlerWithContentReader(reading));
  http->Put(every, httplib::Server::HandlerWithContentReader(reading));
  http->Patch(every, httplib::Server::HandlerWithContentReader(reading));
  http->Delete(every, httplib::Server::HandlerWithContentReader(reading));
  bind(options.port);
  state.origin = fmt::format("{}://127.0.0.1:{}", options.tls ? "https" : "http", port);
  thread = std::thread([this] {
    http->listen_after_bind();
    ended = true;
  });
  // The library loses a stop that comes before it runs.
  while (!http->is_running() && !ended) std::this_thread::sleep_for(100us);
}

void Server::Listener::bind(int wanted) {
  // The library would share the port with another sandbox, and queue no more than five connections.
  http->set_socket_options([this](int socket) { Sockets::prepare(listening = socket); });
  port = wanted == 0 ? http->bind_to_any_port("127.0.0.1") : wanted;
  if (port < 0 || (wanted != 0 && !http->bind_to_port("127.0.0.1", wanted))) {
    throw std::runtime_error(fmt::format("Couldn't listen on port {}.", wanted));
  }
  Sockets::queueMore(listening);
}

// Connections that are kept alive would hold their threads until they time out, so they are ended here, also those
// that are accepted while the library stops.
Server::Listener::~Listener() {
  state.ending = true;
  faults.stop();
  http->stop();
  while (!ended) {
    Sockets::endConnections(port);
    std::this_thread::sleep_for(500us);
  }
  thread.join();
}

void Server::Listener::log(const Call& call) {
  const std::lock_guard held(logMutex);
  requests.push_back(call);
}

Answer Server::Listener::answered(Call& call, const Uploads::Body& body, const std::optional<Fault>& fault) {
  if (fault && fault->status != 0 && !fault->made) {
    if (Router::isUpload(call.path)) body([](const char*, std::size_t) { return true; });
    return faulty(*fault);
  }
  auto answer = router.answer(call, body);
  const std::lock_guard held(alterMutex);
  if (alter && Router::isService(call.path)) alter(call, answer);
  return answer;
}

void Server::Listener::handle(const httplib::Request& request, httplib::Response& response,
                              const httplib::ContentReader* reader) {
  auto call = callOf(request);
  const Uploads::Body body = [&](const std::function<bool(const char*, std::size_t)>& take) {
    return reader == nullptr || !hasBody(request) || (*reader)(take);
  };
  bool fits = true;
  if (!Router::isUpload(call.path)) {
    body([&](const char* data, std::size_t size) {
      fits = fits && call.body.size() + size <= largestBody;
      if (fits) call.body.append(data, size);
      return true;
    });
  }
  std::optional<Fault> fault;
  if (Router::isService(call.path)) {
    log(call);
    fault = faults.take(call.method, call.path);
  }
  if (fault && fault->met) fault->met(call.path);
  if (fault) faults.wait(fault->delay);
  if (fault && fault->cut && !fault->made) return Sockets::endConnections(port, request.remote_port);

  auto answer = fits ? answered(call, body, fault) : Refused(413, "too_large", "The body is too large.").answer();
  if (fault && fault->made && fault->cut) return Sockets::endConnections(port, request.remote_port);
  if (fault && fault->made && fault->status != 0) answer = faulty(*fault);
  response.status = answer.status;
  for (const auto& [name, value] : answer.headers) response.set_header(name, value);
  if (fault) {
    for (const auto& [name, value] : fault->headers) response.set_header(name, value);
  }
  {
    const std::lock_guard held(state.mutex);
    if (!state.announced.empty()) response.set_header("App-Update-Available", state.announced);
  }
  response.set_header("X-Request-Id", fmt::format("sandbox-{}", ++answers));
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("Cache-Control", "no-store");
  if (fault && fault->half) return sendHalf(answer, response);
  if (!answer.file.empty()) return sendFile(answer, response);
  if (!answer.contentType.empty()) response.set_content(answer.body, answer.contentType);
}

Server::Server(Options options) : listener_(std::make_unique<Listener>(std::move(options))) {}
Server::~Server() = default;

std::string Server::origin() const { return listener_->state.origin; }
int Server::port() const { return listener_->port; }
std::string Server::certificate() const {
  return listener_->certificate ? listener_->certificate->pem() : std::string();
}

std::string Server::tokenFor(std::vector<std::string> scopes, std::optional<std::vector<std::int64_t>> appIds) {
  const std::lock_guard held(listener_->state.mutex);
  if (scopes.empty()) scopes = Accounts::allScopes();
  return Accounts::makeToken(listener_->state, {"test", "test", std::move(scopes), std::move(appIds)});
}

void Server::accept(const std::string& token) {
  withState([&](State& state) { state.tokens.emplace(token, Grant{"kept", "kept", Accounts::allScopes()}); });
}

std::vector<Request> Server::requests() const {
  const std::lock_guard held(listener_->logMutex);
  return listener_->requests;
}

void Server::forgetRequests() {
  const std::lock_guard held(listener_->logMutex);
  listener_->requests.clear();
}

void Server::onNext(Fault fault) { listener_->faults.add(std::move(fault)); }
void Server::onAnswer(std::function<void(const Request&, Answer&)> alter) {
  const std::lock_guard held(listener_->alterMutex);
  listener_->alter = std::move(alter);
}
Faults& Server::faults() { return listener_->faults; }

void Server::announce(const std::string& version) {
  withState([&](State& state) { state.announced = version; });
}

bool Server::decide(const std::string& planOrUserCode, bool approve) {
  const std::lock_guard held(listener_->state.mutex);
  if (auto* const plan = Plans::find(listener_->state, planOrUserCode)) {
    return Plans::decide(listener_->state, *plan, approve);
  }
  auto* const signIn = Accounts::find(listener_->state, planOrUserCode);
  if (signIn == nullptr || signIn->decision != Decision::waiting) return false;
  signIn->decision = approve ? Decision::approved : Decision::denied;
  return true;
}

void Server::scriptNextPlan(Script script) {
  withState([&](State& state) { state.nextPlan = std::move(script); });
}

void Server::scriptNextSignIn(std::vector<std::string> words) {
  withState([&](State& state) { state.nextSignIn = std::move(words); });
}

void Server::withState(const std::function<void(State&)>& change) {
  const std::lock_guard held(listener_->state.mutex);
  change(listener_->state);
}

} // namespace kestu::sandbox
