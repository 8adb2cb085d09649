#pragma once

#include "cli/page.hpp"

#include <string>
#include <vector>

namespace kestu {

/// Pages of the help as those of the manual, in roff with the man macros.
namespace Manual {

/// "kestu-assets-push.1", or a topic's "kestu-files.7".
std::string fileName(const Page& page);

/// `all` are the pages that it can refer to.
std::string text(const Page& page, const std::vector<Page>& all);

} // namespace Manual

} // namespace kestu
