#include "core/events/event_rules.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/events/event_text.hpp"
#include "core/release/web_address.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace kestu::EventRules {

namespace {

/// How much of an event may still change.
enum class Phase { open, withReview, approved, published, started, over };

Phase phaseOf(const Event& event, Moment now) {
  switch (event.stateKind()) {
  case EventState::waitingForReview:
  case EventState::inReview:
    return Phase::withReview;
  case EventState::accepted:
  case EventState::approved:
    return Phase::approved;
  case EventState::published:
    return event.schedule && event.schedule->dates.eventStart <= now ? Phase::started : Phase::published;
  case EventState::past:
  case EventState::archived:
    return Phase::over;
  default: // a state that isn't known is the service's to judge
    return Phase::open;
  }
}

struct PhaseFacts {
  std::vector<std::string> parts; ///< that may change
  std::string_view words;         ///< the same for people
};

PhaseFacts factsOf(Phase phase) {
  switch (phase) {
  case Phase::approved:
    return {{"countries", "priority", "start", "end", "promotion"}, "its countries, priority and dates to come change"};
  case Phase::published:
    return {{"start", "end"}, "its start and end change"};
  case Phase::started:
    return {{"end"}, "its end changes"};
  default:
    return {};
  }
}

/// The event's own date of that part; none for any other part.
std::optional<Moment> dateOf(const Event& event, const std::string& part) {
  if (!event.schedule) return std::nullopt;
  const EventDates& dates = event.schedule->dates;
  if (part == "start") return dates.eventStart;
  if (part == "end") return dates.eventEnd;
  if (part == "promotion") return dates.publishStart;
  return std::nullopt;
}

std::string listed(const std::vector<std::string>& parts) {
  std::string last = parts.back();
  if (parts.size() == 1) return last;
  return Text::joined({parts.begin(), parts.end() - 1}, ", ") + " and " + last;
}

/// "2 days 3 h", and to the minute where that matters: "31 days 1 min".
std::string length(std::chrono::system_clock::duration duration) {
  auto minutes = std::chrono::floor<std::chrono::minutes>(duration).count();
  std::int64_t days = minutes / (24 * 60), rest = minutes % (24 * 60);
  if (days == 0 || rest == 0 || rest % 60 == 0) return Format::minutes(minutes);
  std::string text = Format::minutes(days * 24 * 60);
  if (rest >= 60) text += fmt::format(" {} h", rest / 60);
  return text + fmt::format(" {} min", rest % 60);
}

bool isOwnScheme(const std::string& link) {
  std::size_t colon = link.find("://");
  if (colon == std::string::npos || colon == 0 || colon + 3 == link.size()) return false;
  auto isPart = [](unsigned char c) { return std::isalnum(c) != 0 || c == '+' || c == '-' || c == '.'; };
  bool scheme = std::isalpha(static_cast<unsigned char>(link.front())) != 0 &&
                std::all_of(link.begin(), link.begin() + static_cast<std::ptrdiff_t>(colon), isPart);
  // The rest is judged as that of a web address with a host, which an app's own link needn't have.
  return scheme && isWebAddress("https://host/" + link.substr(colon + 3));
}

} // namespace

std::string problem(const std::string& what, const std::string& text, std::size_t most, bool mayHaveLines) {
  if (Text::trimmed(text).empty()) return what + " is empty.";
  for (std::size_t at = 0; at < text.size();) {
    UTF8::Decoded next = UTF8::decode(text, at);
    if (next.broken) return what + " isn't UTF-8 text.";
    bool control = next.value < 0x20 || (next.value >= 0x7F && next.value < 0xA0) || next.value == 0x2028;
    if (control && !(mayHaveLines && next.value == '\n')) return what + " has a line break or a control character.";
    at += next.length;
  }
  std::size_t count = Text::characters(text);
  if (count <= most) return "";
  return fmt::format("{} has {} characters, and App Store Connect takes {} at most.", what, count, most);
}

std::string linkProblem(const std::string& link) {
  std::string scheme = Text::lowercased(link.substr(0, link.find(':')));
  bool web = scheme == "https" || scheme == "http";
  if (web ? isWebAddress(link) : isOwnScheme(link)) return "";
  return "--deep-link is a link: https://example.com/event, or the app's own (myapp://event).";
}

EventDates merged(const std::optional<EventDates>& now, const EventDatesGiven& given) {
  EventDates dates = now.value_or(EventDates{});
  bool together = !now || now->publishStart == now->eventStart;
  if (given.starts) dates.eventStart = *given.starts;
  if (given.ends) dates.eventEnd = *given.ends;
  if (together) dates.publishStart = dates.eventStart;
  if (given.promoteFrom) dates.publishStart = *given.promoteFrom;
  return dates;
}

std::vector<std::string> problems(const EventDates& dates) {
  std::vector<std::string> all;
  auto lasts = dates.eventEnd - dates.eventStart;
  if (lasts <= lasts.zero()) {
    all.emplace_back("--ends is after --starts.");
  } else if (lasts < shortest || lasts > longest) {
    all.push_back("An event lasts 15 minutes to 31 days; this one would last " + length(lasts) + ".");
  }
  auto before = dates.eventStart - dates.publishStart;
  if (before < before.zero()) {
    all.emplace_back("--promote-from isn't after the start.");
  } else if (before > earliestPromotion) {
    all.push_back("--promote-from is up to 14 days before the start, not " + length(before) + ".");
  }
  return all;
}

std::string refusal(const Event& event, const std::vector<std::string>& parts, Moment now,
                    const std::string& takeBack) {
  Phase phase = phaseOf(event, now);
  if (phase == Phase::open || parts.empty()) return "";
  std::string is = event.quoted() + (phase == Phase::started ? " has started" : " is " + Format::eventState(event));
  if (phase == Phase::withReview) {
    return is + ", so nothing of it changes. Take it back first: " + takeBack;
  }
  if (phase == Phase::over) return is + ": nothing of it changes any more.";
  PhaseFacts facts = factsOf(phase);
  std::vector<std::string> refused, gone;
  for (const std::string& part : parts) {
    auto date = dateOf(event, part);
    if (std::find(facts.parts.begin(), facts.parts.end(), part) == facts.parts.end()) {
      refused.push_back(part);
    } else if (date && *date <= now) {
      gone.push_back(part);
    }
  }
  if (!refused.empty()) return is + ": only " + std::string(facts.words) + " now, not its " + listed(refused) + ".";
  if (!gone.empty()) return is + ", and its " + listed(gone) + " has come: only dates to come change now.";
  return "";
}

bool waits(const Event& event) {
  EventState state = event.stateKind();
  return state == EventState::accepted || state == EventState::approved || state == EventState::published;
}

std::string submitRefusal(const Event& event) {
  EventState state = event.stateKind();
  bool open = state == EventState::draft || state == EventState::readyForReview || state == EventState::rejected ||
              state == EventState::other;
  if (!open) return event.quoted() + " is " + Format::eventState(event) + ": there's nothing to submit.";
  if (event.needs.empty()) return "";
  std::string text = event.quoted() + " isn't ready for App Review. It still needs:";
  for (const std::string& need : event.needs) text += "\n  " + printable(need);
  return text;
}

std::string cancelRefusal(const Event& event) {
  switch (event.stateKind()) {
  case EventState::readyForReview:
  case EventState::waitingForReview:
  case EventState::inReview:
  case EventState::accepted:
  case EventState::other:
    return "";
  default:
    return event.quoted() + " isn't with App Review: it's " + Format::eventState(event) + ".";
  }
}

std::string deleteRefusal(const Event& event, const std::string& takeBack) {
  std::string is = event.quoted() + " is " + Format::eventState(event);
  switch (event.stateKind()) {
  case EventState::waitingForReview:
  case EventState::inReview:
    return is + ". Take it back first: " + takeBack;
  case EventState::published:
  case EventState::past:
    return is + ", and Apple deletes a draft, an approved one or an archived one alone.";
  default:
    return "";
  }
}

} // namespace kestu::EventRules
