#pragma once

#include "core/support/process.hpp"

#include <stop_token>
#include <string>

namespace kestu::Process {

/// `run`, with the text on the program's standard input: 4 KiB at most.
ProcessResult runWith(const std::string& input, const ProcessRequest& request, const std::stop_token& stop);

} // namespace kestu::Process
