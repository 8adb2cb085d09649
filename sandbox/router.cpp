#include "sandbox/router.hpp"

#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/assets/assets.hpp"
#include "sandbox/builds/testflight.hpp"
#include "sandbox/control.hpp"
#include "sandbox/events/events.hpp"
#include "sandbox/kit/kit.hpp"
#include "sandbox/metadata/listing.hpp"
#include "sandbox/offers/offers.hpp"
#include "sandbox/overview/doctor.hpp"
#include "sandbox/overview/overview.hpp"
#include "sandbox/page/page.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/prices/prices.hpp"
#include "sandbox/release/releases.hpp"

#include <algorithm>
#include <string_view>

namespace kestu::sandbox {

namespace {

enum class Holds { state, nothing };

struct Route {
  std::string_view method, pattern; // a "*" stands for one segment
  std::string_view scope;           // "-": no sign-in is needed; empty: any sign-in
  Answer (*function)(State&, const Call&);
  Holds holds = Holds::state;
};

constexpr Route routes[] = {
    {"POST", "/v1/auth/device", "-", Accounts::device},
    {"POST", "/v1/auth/token", "-", Accounts::token},
    {"POST", "/v1/auth/revoke", "", Accounts::revoke},
    {"GET", "/v1/auth/whoami", "", Accounts::whoami},
    {"GET", "/v1/plans/*", "", Plans::poll},
    {"GET", "/v1/apps", "", Apps::list},
    {"GET", "/v1/apps/*/status", "", Overview::status},
    {"GET", "/v1/apps/*/versions", "release", Releases::list},
    {"POST", "/v1/apps/*/versions", "release", Releases::create},
    {"POST", "/v1/apps/*/versions/*", "release", Releases::update},
    {"DELETE", "/v1/apps/*/versions/*", "release", Releases::remove},
    {"POST", "/v1/apps/*/versions/*/submit", "release", Releases::submit},
    {"POST", "/v1/apps/*/versions/*/withdraw", "release", Releases::withdraw},
    {"POST", "/v1/apps/*/versions/*/release", "release", Releases::release},
    {"POST", "/v1/apps/*/versions/*/phased", "release", Releases::phased},
    {"GET", "/v1/apps/*/listing", "release", Listing::show},
    {"POST", "/v1/apps/*/listing", "release", Listing::change},
    {"GET", "/v1/review-times", "release", Listing::reviewTimes},
    {"GET", "/v1/apps/*/assets/catalog", "release", Assets::catalog},
    {"GET", "/v1/apps/*/assets", "release", Assets::listing},
    {"POST", "/v1/apps/*/assets", "release", Assets::plan},
    {"POST", "/v1/apps/*/assets/uploaded", "release", Assets::uploaded, Holds::nothing},
    {"POST", "/v1/apps/*/assets/commit", "release", Assets::commit},
    {"GET", "/v1/apps/*/doctor", "", Overview::doctor},
    {"GET", "/v1/apps/*/kit/flags", "kestukit", Kit::flags},
    {"POST", "/v1/apps/*/kit/flags", "kestukit", Kit::createFlag},
    {"POST", "/v1/apps/*/kit/flags/*", "kestukit", Kit::setFlag},
    {"DELETE", "/v1/apps/*/kit/flags/*", "kestukit", Kit::deleteFlag},
    {"GET", "/v1/apps/*/kit/experiments", "kestukit", Kit::experiments},
    {"POST", "/v1/apps/*/kit/experiments", "kestukit", Kit::createExperiment},
    {"POST", "/v1/apps/*/kit/experiments/*/start", "kestukit", Kit::startExperiment},
    {"POST", "/v1/apps/*/kit/experiments/*/stop", "kestukit", Kit::stopExperiment},
    {"DELETE", "/v1/apps/*/kit/experiments/*", "kestukit", Kit::deleteExperiment},
    {"GET", "/v1/apps/*/kit/update-prompts", "kestukit", Kit::prompts},
    {"POST", "/v1/apps/*/kit/update-prompts", "kestukit", Kit::createPrompt},
    {"POST", "/v1/apps/*/kit/update-prompts/*", "kestukit", Kit::setPrompt},
    {"DELETE", "/v1/apps/*/kit/update-prompts/*", "kestukit", Kit::deletePrompt},
    {"GET", "/v1/apps/*/kit/whats-new", "kestukit", Kit::whatsNew},
    {"POST", "/v1/apps/*/kit/whats-new/*", "kestukit", Kit::uploadPage},
    {"POST", "/v1/apps/*/kit/whats-new/*/commit", "kestukit", Kit::commitPage, Holds::nothing},
    {"POST", "/v1/apps/*/kit/whats-new/*/publish", "kestukit", Kit::publishPage},
    {"POST", "/v1/apps/*/kit/whats-new/*/unpublish", "kestukit", Kit::unpublishPage},
    {"DELETE", "/v1/apps/*/kit/whats-new/*", "kestukit", Kit::deletePage},
    {"GET", "/files/*", "-", Assets::file},
    {"GET", "/v1/apps/*/testflight/builds", "testflight", TestFlights::builds},
    {"GET", "/v1/apps/*/testflight/groups", "testflight", TestFlights::groups},
    {"POST", "/v1/apps/*/testflight/builds/wait", "testflight", TestFlights::wait, Holds::nothing},
    {"POST", "/v1/apps/*/testflight/builds/*/expire", "testflight", TestFlights::expire},
    {"POST", "/v1/apps/*/testflight/builds/*/compliance", "testflight", TestFlights::compliance},
    {"POST", "/v1/apps/*/testflight/builds/*/submit", "testflight", TestFlights::submit},
    {"POST", "/v1/apps/*/testflight/builds/*/groups", "testflight", TestFlights::distribute},
    {"POST", "/v1/apps/*/testflight/builds/*/test-notes", "testflight", TestFlights::testNotes},
    {"POST", "/v1/apps/*/testflight/uploads", "testflight", TestFlights::reserve},
    {"POST", "/v1/apps/*/testflight/uploads/*/commit", "testflight", TestFlights::commit, Holds::nothing},
    {"GET", "/v1/apps/*/testflight/uploads", "testflight", TestFlights::unfinished},
    {"DELETE", "/v1/apps/*/testflight/uploads/*", "testflight", TestFlights::remove},
    {"GET", "/v1/apps/*/prices", "store", Prices::show},
    {"POST", "/v1/apps/*/prices", "store", Prices::change},
    {"GET", "/v1/apps/*/prices/tiers", "store", Prices::tiers},
    {"GET", "/v1/apps/*/parity", "store", Prices::parity},
    {"GET", "/v1/apps/*/intro-offers", "store", Offers::introOffers},
    {"POST", "/v1/apps/*/intro-offers", "store", Offers::createIntroOffer},
    {"DELETE", "/v1/apps/*/intro-offers", "store", Offers::deleteIntroOffers},
    {"GET", "/v1/apps/*/offer-codes", "store", Offers::codes},
    {"POST", "/v1/apps/*/offer-codes", "store", Offers::createCode},
    {"POST", "/v1/apps/*/offer-codes/*/batches", "store", Offers::generate},
    {"GET", "/v1/apps/*/offer-codes/*/batches/*/codes", "store", Offers::values},
    {"POST", "/v1/apps/*/offer-codes/*/deactivate", "store", Offers::deactivate},
    {"POST", "/v1/apps/*/offer-codes/*/batches/*/deactivate", "store", Offers::deactivateBatch},
    {"GET", "/v1/apps/*/jobs/*", "store", Prices::job},
    {"POST", "/v1/apps/*/jobs/*/undo", "store", Prices::undo},
    {"GET", "/v1/apps/*/events", "release", Events::list},
    {"POST", "/v1/apps/*/events", "release", Events::create},
    {"POST", "/v1/apps/*/events/*", "release", Events::change},
    {"POST", "/v1/apps/*/events/*/languages/*", "release", Events::putLanguage},
    {"DELETE", "/v1/apps/*/events/*/languages/*", "release", Events::removeLanguage},
    {"POST", "/v1/apps/*/events/*/languages/*/media", "release", Events::reserveMedia},
    {"POST", "/v1/apps/*/events/*/languages/*/media/*/commit", "release", Events::commitMedia, Holds::nothing},
    {"POST", "/v1/apps/*/events/*/submit", "release", Events::submit},
    {"POST", "/v1/apps/*/events/*/cancel", "release", Events::cancel},
    {"DELETE", "/v1/apps/*/events/*", "release", Events::remove},
};

bool matches(std::string_view pattern, const std::vector<std::string>& segments) {
  std::size_t index = 0;
  while (!pattern.empty()) {
    pattern.remove_prefix(1);
    const auto end = std::min(pattern.find('/'), pattern.size());
    const auto part = pattern.substr(0, end);
    if (index == segments.size() || (part != "*" && part != segments[index])) return false;
    pattern.remove_prefix(end);
    ++index;
  }
  return index == segments.size();
}

} // namespace

bool Router::isService(const std::string& path) {
  return !path.starts_with("/sandbox/") && path != "/" && path != "/approve" && path != "/page.js" &&
         path != "/favicon.ico";
}

Answer Router::answer(Call& call, const Uploads::Body& body) {
  try {
    return routed(call, body);
  } catch (const Refused& refused) {
    return refused.answer();
  } catch (const nlohmann::json::exception& error) {
    return Refused(400, "invalid_request", error.what()).answer();
  } catch (const std::exception& error) {
    return Refused(500, "internal", error.what()).answer();
  }
}

Answer Router::routed(Call& call, const Uploads::Body& body) {
  if (isUpload(call.path)) return Uploads::part(state_, call, body);
  if (isService(call.path)) return service(call);
  needOwnOrigin(call);
  const std::lock_guard held(state_.mutex);
  if (call.path.starts_with("/sandbox/")) return Control::answer(state_, faults_, call);
  return Page::answer(state_, call);
}

Answer Router::service(Call& call) {
  const auto route = std::find_if(std::begin(routes), std::end(routes), [&](const Route& each) {
    return each.method == call.method && matches(each.pattern, call.segments);
  });
  const bool open = route != std::end(routes) && route->scope == "-";
  std::unique_lock held(state_.mutex);
  if (!open) call.token = Accounts::signedIn(state_, call);
  if (route == std::end(routes)) throw Refused(404, "not_found", "The sandbox has no such call.");
  if (!open && !route->scope.empty()) Accounts::needScope(state_, call, std::string(route->scope));
  if (route->holds == Holds::nothing) held.unlock();
  return route->function(state_, call);
}

// Another site's page may be open in the browser of whoever runs the sandbox; it must neither decide nor read anything,
// not even through a name of its own that leads to this machine.
void Router::needOwnOrigin(const Call& call) const {
  const auto scheme = state_.origin.substr(0, state_.origin.find("//") + 2);
  const auto port = state_.origin.substr(state_.origin.rfind(':'));
  const auto host = call.header("host");
  if (host != "127.0.0.1" + port && host != "localhost" + port) {
    throw Refused(403, "foreign_host", "The sandbox is reached as 127.0.0.1 or localhost only.");
  }
  const auto origin = call.headers.find("origin");
  if (origin != call.headers.end() && origin->second != scheme + host) {
    throw Refused(403, "foreign_origin", "Only the sandbox's own page may do that.");
  }
}

} // namespace kestu::sandbox
