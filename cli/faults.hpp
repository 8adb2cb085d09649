#pragma once

#include "core/console/console.hpp"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

/// All that is wrong with what was typed, and what is worth saying of it. Both are whole sentences.
struct Faults {
  std::vector<std::string> all, notes;

  void add(std::string fault) {
    if (!fault.empty()) all.push_back(std::move(fault));
  }
  void add(const std::vector<std::string>& faults) { all.insert(all.end(), faults.begin(), faults.end()); }
  /// Runs the work; a CLIError or a UsageError of it is a fault.
  void collect(const std::function<void()>& work);
  /// The same where something is wrong already; what the work throws goes on as it is where nothing is.
  void also(const std::function<void()>& work) {
    if (all.empty()) return work();
    collect(work);
  }

  /// Throws a UsageError of all of them, with the notes that may explain them; else writes the notes to standard error.
  void settle(Console& console) const;
};

} // namespace kestu
