#pragma once

#include <filesystem>
#include <stop_token>
#include <string>

/// What to Test, as TestFlight takes it.
namespace kestu::BuildNotes {

/// Trimmed and with line feeds alone between its lines. Text that is empty, too long, not in UTF-8 or has control
/// characters in it is a CLIError; `source` begins its message.
std::string read(std::string bytes, const std::string& source);

/// The same of a file, a pipe too; `path` is seen from `folder`, and "-" is standard input. No file is a CLIError, what
/// can't be read std::system_error. Throws Stopped.
std::string readFile(const std::filesystem::path& folder, const std::string& path, const std::stop_token& stop);

} // namespace kestu::BuildNotes
