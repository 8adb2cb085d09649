#pragma once

#include "core/events/event.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// A text of an event and what App Store Connect takes of it, in characters as people count them.
struct EventText {
  std::string_view option; ///< that it is given with: "--display-name"
  std::string_view key;    ///< the service's: "name"
  std::string_view word;   ///< in a sentence: "name"
  std::size_t most;
};

/// What of an event's dates is given; the rest stays as it is.
struct EventDatesGiven {
  std::optional<Moment> starts, ends, promoteFrom;

  bool any() const { return starts || ends || promoteFrom; }
};

/// What App Store Connect takes, known before anything is sent.
namespace EventRules {

inline constexpr std::size_t referenceNameMost = 64;
inline constexpr std::array<EventText, 3> texts = {
    EventText{"--display-name", "name", "name", 30},
    EventText{"--short-description", "shortDescription", "short description", 50},
    EventText{"--long-description", "longDescription", "long description", 120}};

inline constexpr std::chrono::minutes shortest{15};
inline constexpr std::chrono::days longest{31};
inline constexpr std::chrono::days earliestPromotion{14}; ///< before the start

/// Why a text isn't taken, named `what` in the sentence: too long, or with control characters. Empty when it is fine.
std::string problem(const std::string& what, const std::string& text, std::size_t most, bool mayHaveLines = false);

/// Why a deep link isn't one; empty when it is.
std::string linkProblem(const std::string& link);

/// The dates that those of now become. Without a start and an end of their own, both have to be given. A promotion that
/// begins with the event goes on doing so.
EventDates merged(const std::optional<EventDates>& now, const EventDatesGiven& given);

/// What is wrong with the dates, a whole sentence each.
std::vector<std::string> problems(const EventDates& dates);

/// Why these parts of the event ("name", "countries", "start", "end", "promotion", "priority", …) can't change in its
/// state; empty when all can. `takeBack` is the command line that takes it back from App Review.
std::string refusal(const Event& event, const std::vector<std::string>& parts, Moment now, const std::string& takeBack);

/// Whether a change has to be approved: App Review has approved what users may see already.
bool waits(const Event& event);

/// Why it can't be sent to App Review, taken back from it or deleted; empty when it can, as far as is known here.
std::string submitRefusal(const Event& event);
std::string cancelRefusal(const Event& event);
std::string deleteRefusal(const Event& event, const std::string& takeBack);

} // namespace EventRules

} // namespace kestu
