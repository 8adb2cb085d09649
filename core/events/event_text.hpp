#pragma once

#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/events/event.hpp"
#include "core/support/time_zone.hpp"

#include <string>
#include <vector>

/// Events as text for people, their times as clocks in a zone show them.
namespace kestu::Format {

/// "a draft", "waiting for App Review": as it follows "is"; printable.
std::string eventState(const Event& event);

/// "16:00" today, "tomorrow, 16:00", "20 Nov, 16:00", with its year where that is another one and half a year away.
std::string eventTime(Moment moment, const TimeZone& zone, Moment now);

/// "20 Nov, 16:00 to 22 Nov, 23:59", "20 Nov, 16:00 to 18:00".
std::string eventDates(const EventDates& dates, const TimeZone& zone, Moment now);

/// Where its dates are from now: "starts in 6 days", "runs for 5 days more", "ended 2 days ago".
std::string eventDays(const EventDates& dates, Moment now);

/// A list for a terminal or a page of so many columns; 0 for any width.
std::string events(const std::vector<Event>& events, const TimeZone& zone, Moment now, const TextStyles& style,
                   int width);
Table eventsTable(const std::vector<Event>& events);

/// One event in full, with what App Review still needs.
std::string eventDetails(const Event& event, const TimeZone& zone, Moment now, const TextStyles& style, int width);
Table eventTable(const Event& event);

} // namespace kestu::Format
