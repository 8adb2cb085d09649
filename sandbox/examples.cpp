#include "sandbox/examples.hpp"

#include "sandbox/offers/offers.hpp"
#include "sandbox/prices/prices.hpp"

#include <chrono>
#include <utility>

namespace kestu::sandbox {

namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr std::int64_t daylight = 1234567890, ledger = 3456789012;
const std::string yearly = "com.example.daylight.pro.yearly", family = "com.example.daylight.pro.family";
// Far enough ahead for what is made of it to be taken back.
constexpr const char* startsOn = "2027-02-01";

void addBuilds(State& state) {
  state.testFlight.groups.push_back({daylight, randomUuid(), "Beta testers", false});
  // Its first half hour is over, so that no list of builds has it.
  state.testFlight.uploads.push_back({"upload-40", daylight, "ios", "1.2", "40", state.clock() - 1h});
}

void addPhases(State& state) {
  for (const auto& [platform, phase] : {std::pair{"ios", "active"}, std::pair{"macos", "paused"}}) {
    auto& out = *state.version(daylight, platform, "1.1");
    out.phased = true;
    out.phasedState = phase;
    out.phasedDay = 1;
    out.since = state.clock();
  }
  state.version(daylight, "macos", "1.2")->state = "pendingdeveloperrelease";
  std::erase_if(state.versions, [](const Version& each) { return each.appId == ledger && each.version == "1.2"; });
}

EventLanguage language(const State& state, const char* name, const char* shortText, const char* longText) {
  const auto now = state.clock();
  return {{{"name", name}, {"shortDescription", shortText}, {"longDescription", longText}},
          {{"card", {randomUuid(), "card.png", false, "", now}},
           {"details", {randomUuid(), "page.mov", true, "00:00:02:00", now}}}};
}

void addEvents(State& state) {
  InAppEvent lights{daylight, "6500000002", "draft", state.clock()};
  lights.fields = {{"name", "Winter Lights"},
                   {"badge", "liveevent"},
                   {"purpose", "appropriateforallusers"},
                   {"priority", "normal"},
                   {"primaryLocale", "en-US"}};
  const auto start = *momentOf(std::string(startsOn) + "T15:00:00Z");
  lights.dates = EventDates{start - 24h * 7, start, start + 24h * 4};
  lights.languages["en-US"] = language(state, "Winter Lights", "The northern lights, wherever you are.",
                                       "See tonight's northern lights live, and how far south they reach.");
  lights.languages["sv"] = language(state, "Vinterljus", "Norrskenet, var du än är.",
                                    "Se nattens norrsken direkt, och hur långt söderut det når.");
  auto moon = lights;
  moon.eventId = "6500000003";
  moon.state = "readyforreview";
  moon.fields["name"] = "Harvest Moon";
  auto& all = state.events.events;
  all.insert(all.end(), {lights, moon});
}

void addOffer(State& state) {
  OfferCodeMade winter{
      daylight, randomUuid(), "Winter", yearly, {"new", "expired"}, OfferTermsMade{"freetrial", "onemonth"}, {}};
  for (const char* storefront : {"us", "se", "no"}) winter.prices[storefront] = 0;
  const auto now = state.clock();
  winter.batches = {{randomUuid(), "", 500, now - 24h * 2, "2027-03-31", true, now - 24h * 2},
                    {randomUuid(), "WINTER26", 1000, now - 24h, "2027-03-31", true, now - 24h}};
  state.offers.codes.push_back(std::move(winter));
}

// Both are through, and their day is still to come.
PriceJob job(const char* id, const std::string& productId, const json& details) {
  PriceJob made{id, daylight, productId, details.dump(), startsOn, Prices::undoUntil(startsOn), {}, 3999, 3999};
  for (const char* storefront : {"no", "se"}) made.countries.push_back({storefront, std::nullopt, 49900});
  made.done = made.countries.size();
  made.state = "done";
  return made;
}

void addJobs(State& state) {
  const std::string name = "Daylight Pro for families";
  state.prices.products.push_back({daylight, family, name, "subscription", 3999, {}});
  state.offers.periods[family] = "oneyear";
  json details{{"product", family},  {"productName", name}, {"price", 499},        {"currency", "SEK"},
               {"storefront", "se"}, {"countries", 2},      {"startsOn", startsOn}};
  auto price = job("0B9A3A8E-5D4C-4F6E-8A37-2D1F6C9E7B10", family, details);
  for (const auto& country : price.countries)
    Prices::product(state, *state.app(daylight), family).own[country.storefront] = *country.after;
  state.prices.jobs.push_back(std::move(price));

  const OfferTermsMade terms{"freetrial", "oneweek"};
  details = Offers::termsJson(terms);
  details.update({{"product", family}, {"productName", name}, {"countries", 2}, {"startsOn", startsOn}});
  auto offer = job("6C1E4F0A-92D7-4B35-A0C8-5E7D3F218B94", family, details);
  offer.kind = "introoffer";
  for (const auto& country : offer.countries)
    state.offers.intro.push_back({daylight, family, country.storefront, terms, 0, startsOn, ""});
  offer.move = [&state](const std::string& storefront, bool) {
    std::erase_if(state.offers.intro, [&](const IntroOfferMade& each) {
      return each.productId == family && each.storefront == storefront && each.startsOn == startsOn;
    });
  };
  state.prices.jobs.push_back(std::move(offer));
}

} // namespace

void addExamples(State& state) {
  addBuilds(state);
  addPhases(state);
  addEvents(state);
  addOffer(state);
  addJobs(state);
}

} // namespace kestu::sandbox
