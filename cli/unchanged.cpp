#include "cli/unchanged.hpp"

#include "cli/context.hpp"

namespace kestu {

void tellUnchanged(Context& context, const ChangeOptions& options, const std::string& line) {
  JSONData answer = JSONData::object({{"unchanged", true}});
  if (options.dryRun) answer.set("changes", JSONData::array());
  options.emit(context.console, answer, line);
}

} // namespace kestu
