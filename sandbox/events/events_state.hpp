#pragma once

#include "sandbox/text.hpp"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestu::sandbox {

struct EventMedia {
  std::string assetId, fileName;
  bool video = false;
  std::string frame;   // empty: Apple's own
  Moment processed;    // when Apple is through with it
  std::string error{}; // why it won't take it
};

struct EventLanguage {
  std::map<std::string, std::string> texts; // name, shortDescription, longDescription
  std::map<std::string, EventMedia> media;  // by slot: card, details
};

struct EventDates {
  Moment publishStart, eventStart, eventEnd;
};

struct InAppEvent {
  std::int64_t appId;
  std::string eventId, state;
  Moment since;                                      // when it came into that state
  std::map<std::string, std::string> fields{};       // name, badge, deepLink, purpose, priority, primaryLocale
  std::optional<std::vector<std::string>> regions{}; // none: every country
  std::optional<EventDates> dates{};
  std::map<std::vector<std::string>, EventDates> own{}; // of storefronts with dates of their own
  std::map<std::string, EventLanguage> languages{};     // by locale
};

// A file reserved for a place, and not committed yet.
struct EventUpload {
  std::string eventId, locale, slot;
  EventMedia media;
};

struct InAppEvents {
  std::vector<InAppEvent> events;             // newest first
  std::map<std::string, EventUpload> uploads; // by the asset's ID
  int made = 0;                               // so far, but for the demo's
  std::string nextError;                      // Apple won't take the next card or details page, for this reason
  std::chrono::seconds processing{4};         // how long Apple takes for a card or a details page
  std::chrono::seconds reviewing{4};          // for each step of the review
};

} // namespace kestu::sandbox
