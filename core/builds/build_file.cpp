#include "core/builds/build_file.hpp"

#include "core/builds/info_plist.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

namespace kestu {

namespace fs = std::filesystem;
using Kind = CLIError::Kind;

namespace {

/// What the file says, or why it says nothing.
struct Facts {
  InfoPlist info{};
  std::string problem{};
};

Facts factsOf(const fs::path& file, const std::vector<std::string>& unzipPrograms, const std::stop_token& stop) {
  auto found = BuildArchive(file, unzipPrograms, stop).infoPlist();
  if (!found.problem.empty()) return {{}, found.problem};
  auto info = InfoPlist::read(found.bytes);
  if (!info) return {{}, "Its Info.plist isn't a property list."};
  return {*info, ""};
}

std::string extensionOf(const std::string& path) {
  std::string extension = Text::lowercased(fs::path(path).extension().string());
  if (extension == ".ipa" || extension == ".pkg") return extension;
  throw CLIError(Kind::usage, printable(path) + " isn't an .ipa or a .pkg.");
}

std::uint64_t sizeOf(const fs::path& file, const std::string& path) {
  std::error_code error;
  fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) throw CLIError(Kind::notFound, "No file at " + printable(path));
  if (!fs::is_regular_file(status)) throw CLIError(Kind::failed, printable(path) + " isn't a file.");
  std::uint64_t size = fs::file_size(file);
  if (size == 0) throw CLIError(Kind::failed, printable(path) + " is empty.");
  return size;
}

} // namespace

BuildFile BuildFile::read(const fs::path& folder, const std::string& path, const Given& given,
                          const std::stop_token& stop, const std::vector<std::string>& unzipPrograms) {
  std::string extension = extensionOf(path);
  BuildFile build;
  build.file = folder / path;
  build.size = sizeOf(build.file, path);
  Facts facts;
  if (extension == ".pkg") {
    facts.info.platform = "macos";
  } else {
    facts = factsOf(build.file, unzipPrograms, stop);
  }
  std::string why = facts.problem.empty() ? "" : " " + facts.problem;
  auto version = given.version ? given.version : facts.info.version;
  auto number = given.number ? given.number : facts.info.number;
  if (!version || !number) {
    throw CLIError(Kind::usage, "Couldn't read the version and build number from " + printable(path) +
                                    ": give --version and --build." + why);
  }
  build.version = *version;
  build.number = *number;
  build.platform = given.platform.value_or(facts.info.platform);
  // An archive that can't be looked into could be for any platform.
  if (build.platform.empty()) {
    throw CLIError(Kind::usage, "Couldn't read the platform from " + printable(path) + ": give --platform." + why);
  }
  return build;
}

std::string BuildFile::name() const { return printable(file.filename().string()); }

std::string BuildFile::text() const { return printable(version) + " (" + printable(number) + ")"; }

} // namespace kestu
