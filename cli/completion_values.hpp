#pragma once

#include "cli/completion.hpp"
#include "cli/context.hpp"

namespace kestu {

/// The values that the repository's folders and the last answers of the service give, without a call: versions,
/// languages, displays, apps, builds, groups, and countries. `typed` are the words so far, which may name the app.
CompletionValues completionValues(Context& context, const std::vector<std::string>& typed);

} // namespace kestu
