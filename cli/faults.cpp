#include "cli/faults.hpp"

#include "cli/command.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

namespace kestu {

void Faults::settle(Console& console) const {
  if (!all.empty()) {
    std::vector<std::string> told = all;
    told.insert(told.end(), notes.begin(), notes.end());
    throw UsageError(Text::joined(told, "\n"));
  }
  for (const std::string& note : notes) console.error(note);
}

void Faults::collect(const std::function<void()>& work) {
  try {
    work();
  } catch (const CLIError& error) {
    add(error.description);
  } catch (const UsageError& error) {
    add(error.what());
  }
}

} // namespace kestu
