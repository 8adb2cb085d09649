#include "sandbox/account/accounts.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/prices/prices.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

namespace kestu::sandbox::Prices {

namespace {

using nlohmann::json;

PriceJob& named(State& state, const App& app, const Call& call) {
  advance(state);
  auto& jobs = state.prices.jobs;
  const auto found = std::find_if(jobs.begin(), jobs.end(), [&](const PriceJob& each) {
    return each.appId == app.appId && lowered(each.id) == lowered(call.segments[4]);
  });
  if (found == jobs.end()) throw Refused(404, "not_found", "There is no such job.");
  return *found;
}

bool canUndo(const State& state, const PriceJob& job) {
  return (job.state == "done" || job.state == "failed") && state.clock() < job.undoUntil;
}

json jobJson(const State& state, const PriceJob& job) {
  json value{{"state", job.state},
             {"done", job.done},
             {"total", job.countries.size()},
             {"canUndo", canUndo(state, job)},
             {"kind", job.kind},
             {"details", json::parse(job.details)}};
  if (!job.startsOn.empty()) value["startsOn"] = job.startsOn;
  if (job.undoUntil != Moment()) value["undoUntil"] = isoText(job.undoUntil);
  if (!job.error.empty()) value["error"] = job.error;
  return value;
}

// The country's own price, or none of its own.
void put(PricedProduct& product, const std::string& storefront, const std::optional<Amount>& own) {
  if (own) {
    product.own[storefront] = *own;
  } else {
    product.own.erase(storefront);
  }
}

void forth(State& state, PriceJob& job, const PriceJob::Country& country) {
  if (job.move) return job.move(country.storefront, true);
  put(Prices::product(state, *state.app(job.appId), job.productId), country.storefront, country.after);
}

void back(State& state, PriceJob& job, const PriceJob::Country& country) {
  if (job.move) return job.move(country.storefront, false);
  put(Prices::product(state, *state.app(job.appId), job.productId), country.storefront,
      country.before.value_or(PricePoints::match(country.storefront, job.baseBefore)));
}

void advance(State& state, PriceJob& job) {
  const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(state.clock() - job.since).count();
  const auto steps = static_cast<std::size_t>(std::max<std::int64_t>(0, passed * state.prices.countriesASecond / 1000));
  if (job.state == "running") {
    const auto end = std::min(job.countries.size(), job.stopAt.value_or(job.countries.size()));
    // Prices are there as they are made, as if their day had come.
    for (; job.done < std::min(end, steps); ++job.done) forth(state, job, job.countries[job.done]);
    if (job.done == job.countries.size()) job.state = "done";
    if (job.stopAt && job.done == *job.stopAt && job.state == "running") {
      job.state = "failed";
      job.error = state.prices.nextError;
    }
  } else if (job.state == "undoing") {
    const auto left = job.doneWhenTurned - std::min(job.doneWhenTurned, steps);
    for (; job.done > left; --job.done) back(state, job, job.countries[job.done - 1]);
    if (job.done > 0) return;
    job.state = "undone";
    if (job.move) return;
    auto& product = Prices::product(state, *state.app(job.appId), job.productId);
    product.base = job.baseBefore;
    for (const auto& country : job.countries) put(product, country.storefront, country.before);
  }
}

// The base moves at once; a country that waits for its turn keeps what it had.
void moveBase(State& state, const PriceJob& job) {
  auto& product = Prices::product(state, *state.app(job.appId), job.productId);
  for (const auto& country : job.countries) {
    if (!country.before) put(product, country.storefront, today(product, country.storefront));
  }
  product.base = job.baseAfter;
}

} // namespace

void advance(State& state) {
  for (auto& each : state.prices.jobs) advance(state, each);
}

std::string start(State& state, PriceJob job) {
  advance(state);
  job.since = state.clock();
  job.stopAt = std::exchange(state.prices.nextStopsAt, std::nullopt);
  if (!job.move) moveBase(state, job);
  state.prices.jobs.push_back(std::move(job));
  return state.prices.jobs.back().id;
}

Answer job(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  return Answer::json(jobJson(state, named(state, app, call)));
}

json running(State& state, const App& app) {
  advance(state);
  auto list = json::array();
  for (const auto& each : state.prices.jobs) {
    if (each.appId != app.appId || (each.state != "running" && each.state != "undoing")) continue;
    list.push_back({{"id", each.id}, {"group", each.move ? "intro-offers" : "prices"}, {"job", jobJson(state, each)}});
  }
  return list;
}

Answer undo(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& there = named(state, app, call);
  if (there.state == "undone" || there.state == "undoing") throw Refused(409, "conflict", "It's being undone already.");
  if (there.state == "running") {
    throw Refused(409, "conflict", "It's still on its way: it can be undone once it's done or stopped.");
  }
  if (!canUndo(state, there)) {
    throw Refused(409, "conflict", "It has started in its first country, so it can't be undone any more.");
  }
  auto apply = [&state, id = there.id]() -> std::string {
    for (auto& each : state.prices.jobs) {
      if (each.id != id) continue;
      if (!canUndo(state, each)) return "changed";
      each.state = "undoing";
      each.error.clear();
      each.since = state.clock();
      each.doneWhenTurned = each.done;
    }
    return "";
  };
  if (state.tokens.at(call.token).approvals == "every") {
    return Plans::change(
        state, call, app.name,
        {"Undo the " + std::string(there.move ? "introductory offer" : "price change") + " of " + there.productId},
        apply);
  }
  if (!call.dryRun()) apply();
  return Answer::json({{"waits", false}});
}

} // namespace kestu::sandbox::Prices
