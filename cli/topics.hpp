#pragma once

#include "cli/page.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What the help tells beside the commands: "kestu help environment", "exit-codes" and "files".
const std::vector<Page>& topics();

/// "environment" of "kestu help environment".
std::string topicWord(const Page& topic);

/// The topic of the word; null where it is none.
const Page* topicCalled(std::string_view word);

} // namespace kestu
