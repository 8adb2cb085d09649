#pragma once

#include "core/kit/flag_scan.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace kestu {

class Command;
struct Context;

/// The sources that are looked through for reads of flags.
namespace FlagSources {

/// The argument that names their folder.
void declare(Command& command, std::optional<std::string>& folder);

/// The folder named, else the repository's root; one that isn't there is a CLIError.
std::filesystem::path folder(const std::optional<std::string>& named, const Context& context);

/// "App/Radar.swift:12", printable.
std::string place(const FlagRead& read);

} // namespace FlagSources

} // namespace kestu
