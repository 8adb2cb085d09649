#pragma once

#include "core/console/text_style.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// One thing that is looked at.
struct DoctorItem {
  enum class State { ok, todo, problem, unknown }; ///< todo: not set up; problem: broken

  std::string key;
  std::string title;
  State state = State::ok;
  std::optional<std::string> detail{};
  std::optional<std::string> next{}; ///< a command, or a place in the kestu app

  /// Of the service's answer; a state that this version doesn't know is unknown.
  static DoctorItem read(const JSONValue& value);
};

struct DoctorGroup {
  std::string key; ///< "machine", "repo" or "app"
  std::string title;
  std::vector<DoctorItem> items{};
};

namespace Doctor {

/// A line for each item with ✓, ! or ✗ and what to do about it, folded to the width; the texts made printable.
std::string text(const std::vector<DoctorGroup>& groups, int width, const TextStyles& style);

/// {"items": [{"where", "key", "title", "state", "detail"?, "next"?}]}
JSONData data(const std::vector<DoctorGroup>& groups);

/// Whether something is broken.
bool fails(const std::vector<DoctorGroup>& groups);

} // namespace Doctor

} // namespace kestu
