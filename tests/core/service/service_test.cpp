#include "tests/support/command_test.hpp"
#include "tests/support/tables.hpp"

#include "core/service/logged_transport.hpp"
#include "core/service/part_uploader.hpp"
#include "core/service/proxy.hpp"
#include "core/service/retry.hpp"
#include "core/support/tasks.hpp"

#include <atomic>
#include <thread>

namespace kestu::tests {
namespace {

using Kind = CLIError::Kind;
using Variables = std::map<std::string, std::string, std::less<>>;

HTTPRequest requestTo(const std::string& url) {
  HTTPRequest request;
  request.url = url;
  return request;
}

TEST(Refusal, MapsEveryRuleFirstMatchFirst) {
  const std::string old = "kestu CLI 1.1.2 is too old to use now";
  const std::string revoked = "kestu no longer takes this sign-in: it was revoked, went unused for 90 days, or was "
                              "never made. Run kestu login.";
  using enum CLIError::Kind;
  for (const auto& [status, body, kind, message] : Rows<int, std::string, Kind, std::string>{
           {401, R"({"message":"other"})", signedOut, revoked},
           {426, "", outdated, old + ". Update it: kestu update"},
           {403, R"({"error":"scope_required","scope":"feedback","message":"x"})", notAllowed,
            "This sign-in can't do that. Run kestu login again and tick Support Email as you approve it."},
           {403, R"({"error":"scope_required","scope":"ads"})", notAllowed,
            "This sign-in can't do that. Run kestu login again and tick what it needs as you approve it."},
           {403, R"({"error":"app_not_granted"})", notAllowed,
            "This sign-in doesn't cover that app. Run kestu login again and include it."},
           {404, R"({"error":"app_not_granted"})", notFound, "Not found."},
           {429, R"({"error":"agent_quota","limit":"week"})", quota, "Over the account's calls for this week."},
           {429, R"({"error":"agent_quota","limit":"window","message":"x"})", quota,
            "Over the account's calls for this 5-hour window."},
           {429, R"({"error":"agent_quota"})", quota, "Over this sign-in's calls a minute."},
           {403, R"({"message":"No."})", notAllowed, "No."},
           {404, R"({"message":"No."})", notFound, "No."},
           {429, R"({"message":"No."})", quota, "No."},
           {409, R"({"message":"No."})", failed, "No."},
           {500, R"({"message":"No."})", unavailable, "No."},
           {409, "{\"message\":\"a\\u001b[2Jb\"}", failed, "a\\u{1b}[2Jb"},
           {500, R"({"message":")" + std::string(9'999, 'x') + "ü" + std::string(3 << 20, 'x') + "\"}", unavailable,
            std::string(9'999, 'x') + "… (3 MB in all)"},
           {429, "<html>", quota, "Too many requests. Try again in a minute."},
           {503, "<html>", unavailable, "kestu couldn't answer (503). Try again in a moment."},
           {0, "", unavailable, "kestu couldn't answer (0). Try again in a moment."},
           {302, "", failed, "kestu refused that (302)."},
           {418, R"({"error":"teapot"})", failed, "kestu refused that (418, teapot)."},
           {418, R"({"error":7,"message":"x"})", failed, "kestu refused that (418)."},
       }) {
    SCOPED_TRACE(std::to_string(status) + " " + body);
    CLIError error = Refusal::read(body).asError(status, std::nullopt, Moment());
    EXPECT_EQ(error.description, message);
    EXPECT_EQ(error.kind, kind);
  }
  EXPECT_EQ(Refusal::read(R"({"message":"x"})").asError(426, "1.2.0", Moment()).description,
            old + ": 1.2.0 is out. Update it: kestu update");
}

TEST(AnnouncedVersion, IsNewerByItsNumbers) {
  auto isNewer = [](const char* version) {
    AnnouncedVersion announced;
    announced.set(version);
    return announced.newer().has_value();
  };
  for (const char* version : {"1.1.3", "1.1.10", "1.2", "2"}) EXPECT_TRUE(isNewer(version)) << version;
  for (const char* version : {"1.1.2", "1.1.2.0", "1.1", "0.9.9", "", "2x", "9."})
    EXPECT_FALSE(isNewer(version)) << version;
}

APIURL apiURL(const std::string& text) {
  return APIURL::from(Environment(std::map<std::string, std::string, std::less<>>{{"KESTU_API_URL", text}}));
}

TEST(APIURL, TakesHTTPSAnywhereAndHTTPHere) {
  for (const auto& [text, origin] :
       Rows<std::string, std::string>{{"https://API.example.com/base/", "https://api.example.com"},
                                      {"https://a.example:443", "https://a.example"},
                                      {"http://127.0.0.1:80", "http://127.0.0.1"},
                                      {"http://localhost:8080", "http://localhost:8080"},
                                      {"http://[::1]:9", "http://[::1]:9"},
                                      {"http://127.1.2.3", "http://127.1.2.3"},
                                      {"", "https://api.kestu.com"}})
    EXPECT_EQ(apiURL(text).origin(), origin) << text;
  for (const char* text : {"http://example.com", "http://127.0.0.1.example.com", "http://127.0.0.1@example.com",
                           "https://user@example.com", "http://127.0.0.1\\@example.com", "ftp://127.0.0.1", "https://",
                           "api.kestu.com", "https://a.example/?x", "https://a b", "http://127.0.0.999"}) {
    std::string said = outcomeOf([&] { apiURL(text); });
    EXPECT_NE(said, "") << text;
    EXPECT_FALSE(has(said, "user")) << "what may be a name isn't told";
  }
  APIURL url = apiURL("https://a.example/base/");
  EXPECT_EQ(url.url("/v1/apps", {{"version", "1.2 ü&"}, {"x", ""}}),
            "https://a.example/base/v1/apps?version=1.2%20%C3%BC%26&x=");
}

TEST(ProxiedTransport, NamesWhoseProxyAFailureWentThrough) {
  class Broken final : public Transport {
    HTTPAnswer send(const HTTPRequest&, const std::stop_token&) override { throw TransportError("broken", false); }
  } broken;
  for (const auto& [environment, url, variable] : Rows<Variables, std::string, std::string>{
           {{}, "https://api.x", ""},
           {{{"https_proxy", ""}, {"HTTPS_PROXY", "p"}, {"ALL_PROXY", "p"}}, "https://api.x", "HTTPS_PROXY"},
           {{{"https_proxy", "p"}, {"HTTPS_PROXY", "p"}}, "https://api.x", "https_proxy"},
           {{{"HTTPS_PROXY", "p"}}, "http://127.0.0.1", ""},
           {{{"ALL_PROXY", "p"}, {"NO_PROXY", "y, .X"}}, "https://API.x:443/a", ""},
           {{{"ALL_PROXY", "p"}, {"NO_PROXY", "pi.x"}}, "https://api.x/a", "ALL_PROXY"},
           {{{"ALL_PROXY", "p"}, {"no_proxy", "*"}}, "https://[::1]:9", ""},
       }) {
    SCOPED_TRACE(testing::PrintToString(environment));
    try {
      ProxiedTransport(broken, ProxyChoice(Environment(environment))).send(requestTo(url), {});
    } catch (const TransportError& error) {
      EXPECT_EQ(error.what(), "broken" + (variable.empty() ? "" : " (through the proxy of " + variable + ")"));
      EXPECT_FALSE(error.sent);
    }
  }
}

TEST(Retried, TriesThreeTimesWithItsWaitsWhereThatCanHelp) {
  using std::chrono::milliseconds;
  const milliseconds three(3000), four(4000), six(6000);
  const std::string expired = ": its address may have expired, and a new run gets a new one";
  // A status of 0 stands for no answer; the answers' Retry-After come last.
  for (const auto& [statuses, expected, sleeps, waits] :
       Rows<std::vector<int>, std::string, std::vector<milliseconds>, std::vector<std::string>>{
           {{200}, "200", {}, {}},
           {{503, 299}, "299", {three}, {}},
           {{0, 409, 204}, "204", {three, six}, {}},
           {{500, 0, 418, 200}, "refused 418", {three, six}, {}},
           {{500, 500, 0, 200}, "failed broken", {three, six}, {}},
           {{400, 200}, "refused 400: Apple refuses it as it is", {}, {}},
           {{401, 200}, "refused 401" + expired, {}, {}},
           {{403, 200}, "refused 403" + expired, {}, {}},
           {{404, 200}, "refused 404" + expired, {}, {}},
           {{0, 410, 200}, "refused 410" + expired, {three}, {}},
           {{503, 413, 200}, "refused 413: Apple refuses it as it is", {three}, {}},
           {{503, 503, 200}, "200", {four, three}, {"4", "0"}},
           {{429, 503, 200}, "200", {six, six}, {"7", "99999999999999999999"}},
           {{503, 503, 200}, "200", {four, three}, {"Sat, 21 Nov 2026 12:00:04 GMT", "Sat, 21 Nov 2026 11:00:00 GMT"}},
           {{503, 503, 200}, "200", {six, six}, {"Sun, 22 Nov 2026 00:00:00 GMT", ""}},
           {{503, 503, 200}, "200", {three, six}, {"soon", "-4"}},
           {{503, 503, 200}, "200", {three, six}, {"Sat, 31 Feb 2026 12:00:04 GMT", "Sat, 21 Mon 2026 12:00:04 GMT"}},
           {{403, 200}, "refused 403" + expired, {}, {"4"}},
           {{503, 503, 503}, "refused 503", {six, six}, {"3600", "3600", "6"}},
           {{503, 503, 503}, "refused 503: Apple asks to wait 7 seconds", {six, six}, {"3600", "6", "7"}},
       }) {
    FakeClock clock;
    std::size_t attempt = 0;
    std::string outcome = outcomeOf([&, all = statuses, after = waits] {
      auto answer = retried(
          clock, {},
          [&] {
            int status = all.at(attempt++);
            if (status == 0) throw TransportError("broken");
            HTTPAnswer answer{status, {}, ""};
            if (attempt <= after.size()) answer.headers["retry-after"] = after[attempt - 1];
            return answer;
          },
          [](const TransferRefusal& refusal) { return CLIError(Kind::failed, "refused " + refusal.reason()); },
          [](const std::string& reason) { return CLIError(Kind::failed, "failed " + reason); });
      return std::to_string(answer.status);
    });
    EXPECT_EQ(outcome, expected);
    EXPECT_EQ(clock.sleeps(), sleeps);
  }
}

TEST(FewAtOnce, BoundsWorkersAndStopsThemAtTheFirstError) {
  std::atomic<int> running = 0, most = 0, begun = 0, stopped = 0;
  auto each = [&](std::size_t index, const std::stop_token& stop) {
    int now = ++running;
    for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
    }
    ++begun;
    if (index == 5) {
      --running;
      throw CLIError(Kind::failed, "first");
    }
    if (index >= 4) { // so that whatever else begins before the error waits for it
      while (!stop.stop_requested()) std::this_thread::yield();
      ++stopped;
    }
    --running;
  };
  EXPECT_EQ(outcomeOf([&] { fewAtOnce(1000, 3, {}, each); }), "first");
  EXPECT_LE(most, 3);
  EXPECT_LE(begun, 8) << "something began after the error";
  EXPECT_GE(stopped, 1);
  std::stop_source stopping;
  stopping.request_stop();
  EXPECT_THROW(fewAtOnce(1, 1, stopping.get_token(), [](std::size_t, const std::stop_token&) {}), Stopped);
}

TEST(CurlTransport, TrustsNoUnknownCertificateButTheOneNamed) {
  sandbox::Server server(sandbox::Options{.tls = true});
  TemporaryFolder folder;
  folder.write("own.pem", server.certificate());
  const std::string own = (folder.path() / "own.pem").string(), none = (folder.path() / "none.pem").string();
  for (const auto& [environment, trusts] : Rows<Variables, bool>{
           {Variables(), false},
           {{{"SSL_CERT_FILE", own}}, true},
           {{{"CURL_CA_BUNDLE", own}, {"SSL_CERT_FILE", none}}, true},
           {{{"CURL_CA_BUNDLE", none}, {"SSL_CERT_FILE", own}}, false},
           {{{"CURL_CA_BUNDLE", ""}, {"SSL_CERT_FILE", own}}, true},
       }) {
    SCOPED_TRACE(testing::PrintToString(environment));
    server.forgetRequests();
    CurlTransport transport(Certificates::from(Environment(environment)));
    HTTPRequest request = requestTo(server.origin() + "/v1/apps");
    if (trusts) {
      EXPECT_EQ(transport.send(request, {}).status, 401);
    } else {
      EXPECT_THROW(transport.send(request, {}), TransportError);
      EXPECT_TRUE(server.requests().empty());
    }
  }
}

TEST(LoggedTransport, TellsWhatHappenedAndNothingSecret) {
  class Scripted final : public Transport {
   public:
    std::function<HTTPAnswer(const HTTPRequest&)> answer;
    HTTPAnswer send(const HTTPRequest& request, const std::stop_token&) override { return answer(request); }
  } scripted;
  auto answered = [](int status, std::string id, std::string body) {
    return [=](const HTTPRequest&) { return HTTPAnswer{status, {{"x-request-id", id}}, body}; };
  };
  for (const auto& [method, url, body, answer, line] :
       Rows<std::string, std::string, std::string, std::function<HTTPAnswer(const HTTPRequest&)>, std::string>{
           {"GET", "https://api.x/v1/apps?a=secret#secret", "", answered(200, "r1", "12345"),
            "GET https://api.x/v1/apps: 200 after 0 ms, received 5 bytes, request r1"},
           {"PUT", "https://secret:secret@x@up.x/a@b?sig=secret", "secret", answered(403, "\x1b[2J", ""),
            "PUT https://up.x/a@b: 403 after 0 ms, sent 6 bytes, received 0 bytes, request \\u{1b}[2J"},
           {"GET", "https://a/f", "",
            [](const HTTPRequest& request) {
              request.sink(std::string(2048, 's'));
              return HTTPAnswer{200, {}, ""};
            },
            "GET https://a/f: 200 after 0 ms, received 2 KB"},
           {"GET", "https://a/f", "", [](const HTTPRequest&) -> HTTPAnswer { throw TransportError("a\nb"); },
            "GET https://a/f: no answer (a b) after 0 ms"},
           {"GET", "https://a/f", "", [](const HTTPRequest&) -> HTTPAnswer { throw Stopped(); },
            "GET https://a/f: stopped after 0 ms"},
       }) {
    SCOPED_TRACE(line);
    FakeTerminal terminal;
    FakeClock clock;
    Environment environment;
    Console console(terminal, environment, clock);
    scripted.answer = answer;
    HTTPRequest request = requestTo(url);
    request.method = method;
    request.headers = {{"X-Secret", "secret"}};
    request.token = Token("secret");
    if (!body.empty()) request.body = bodyOf(body);
    std::string sunk;
    if (url == "https://a/f") request.sink = [&](std::string_view bytes) { sunk += bytes; };
    try {
      LoggedTransport(scripted, console, clock).send(request, {});
    } catch (const std::exception&) {
    }
    EXPECT_EQ(terminal.errText(), "debug: " + line + "\n");
    EXPECT_TRUE(sunk.empty() || sunk.size() == 2048) << "the bytes are passed on";
  }
  for (const auto& [value, asked] : std::map<std::string, bool>{{"", false}, {"0", false}, {"1", true}})
    EXPECT_EQ(LoggedTransport::isAsked(Environment({{"KESTU_DEBUG", value}})), asked) << value;
}

TEST(CurlTransport, RefusesHugeAnswersAndDoesNotFollowRedirects) {
  sandbox::Server server;
  server.onNext({.path = "/v1/big", .status = 200, .body = std::string(1001, 'x')});
  server.onNext({.path = "/v1/moved", .status = 302, .body = "", .headers = {{"Location", "/v1/apps"}}});
  CurlTransport transport({}, 1000);
  EXPECT_THROW(transport.send(requestTo(server.origin() + "/v1/big"), {}), TransportError);
  EXPECT_EQ(transport.send(requestTo(server.origin() + "/v1/moved"), {}).status, 302);
}

TEST(CurlTransport, SendsWhatChangesSomethingOnce) {
  for (const auto& [method, sent, fails] : Rows<const char*, std::size_t, bool>{
           {"GET", 2, false}, {"PUT", 2, false}, {"POST", 1, true}, {"DELETE", 1, true}}) {
    for (bool withBody : {false, true}) {
      SCOPED_TRACE(std::string(method) + (withBody ? " with a body" : ""));
      sandbox::Server server;
      CurlTransport transport;
      HTTPRequest request = requestTo(server.origin() + "/v1/apps");
      EXPECT_EQ(transport.send(request, {}).status, 401);
      server.forgetRequests();
      server.onNext({.cut = true, .made = true});
      request.method = method;
      if (withBody) request.body = bodyOf("{}");
      EXPECT_EQ(outcomeOf<TransportError>([&] { transport.send(request, {}); }),
                fails ? "the connection broke before an answer came" : "");
      EXPECT_EQ(server.requests().size(), sent);
    }
  }
}

TEST(CurlTransport, StopsATransferInFlight) {
  sandbox::Server server;
  server.onNext({.path = "/v1/slow", .status = 200, .delay = std::chrono::minutes(5)});
  CurlTransport transport;
  std::stop_source stopping;
  HTTPRequest request = requestTo(server.origin() + "/v1/slow");
  std::jthread stopper([&] {
    while (server.requests().empty()) std::this_thread::yield();
    stopping.request_stop();
  });
  EXPECT_THROW(transport.send(request, stopping.get_token()), Stopped);
  request.timeout = std::chrono::milliseconds(50);
  server.onNext({.path = "/v1/slow", .status = 200, .delay = std::chrono::minutes(5)});
  EXPECT_THROW(transport.send(request, {}), TransportError);
}

class ServiceTest : public CommandTest {};

TEST_F(ServiceTest, BadAnswersEndWithOneMessage) {
  signIn();
  for (const std::string& body : std::vector<std::string>{
           "<html>",
           R"({"apps":[{"appId":)",
           "{}",
           R"({"apps":[{"appId":"1","bundleId":"a","name":"b","platforms":[],"primaryLocale":"c"}]})",
           std::string(100000, '['),
       }) {
    SCOPED_TRACE(body.substr(0, 40));
    server.onNext({.status = 200, .body = body});
    Ran ran = run({"apps"});
    EXPECT_EQ(ran.status, 9);
    EXPECT_EQ(ran.err, "kestu's answer wasn't what this version of the CLI expects. Update the CLI, or try again.\n");
    EXPECT_EQ(ran.out, "");
  }
  server.onNext({.cut = true});
  Ran ran = run({"apps"});
  EXPECT_EQ(ran.status, 9);
  EXPECT_TRUE(begins(ran.err, "Couldn't reach kestu: "));
}

TEST_F(ServiceTest, SendsItsHeadersAndNoTokenToSignIn) {
  signIn();
  run({"apps"});
  auto headers = server.requests().at(0).headers;
  EXPECT_EQ(headers["accept"], "application/json");
  EXPECT_EQ(headers["user-agent"], "kestu-cli/1.1.2");
  EXPECT_EQ(headers["app-version"], "1.1.2");
  EXPECT_EQ(headers["authorization"], "Bearer " + store.items.begin()->second);
  server.forgetRequests();
  server.scriptNextSignIn({});
  EXPECT_EQ(run({"login"}).status, 0);
  for (const auto& request : server.requests())
    EXPECT_EQ(request.headers.contains("authorization"), request.path == "/v1/auth/whoami") << request.path;
}

} // namespace
} // namespace kestu::tests
