#include "core/builds/build_file.hpp"

#include "core/builds/info_plist.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <ctime>

#include <sys/stat.h>

namespace kestu {

namespace fs = std::filesystem;
using Kind = CLIError::Kind;

namespace {

/// What the file says, or why it says nothing.
struct Facts {
  InfoPlist info{};
  std::string problem{};
  bool noBuild = false;
};

Facts factsOf(const fs::path& file, const std::vector<std::string>& unzipPrograms, const std::stop_token& stop) {
  auto found = BuildArchive(file, unzipPrograms, stop).infoPlist();
  if (!found.problem.empty()) return {{}, found.problem, found.noBuild};
  auto info = InfoPlist::read(found.bytes);
  if (!info) return {{}, "Its Info.plist isn't a property list."};
  return {*info, ""};
}

std::string extensionOf(const std::string& path) {
  if (path.empty()) throw CLIError(Kind::usage, "The file's path is empty.");
  std::string extension = Text::lowercased(fs::path(path).extension().string());
  if (extension == ".ipa" || extension == ".pkg") return extension;
  throw CLIError(Kind::usage, printable(path) + " isn't an .ipa or a .pkg.");
}

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + std::int64_t{time.tv_nsec};
}

FileStamp stampOf(const fs::path& file, const std::string& path) {
  std::error_code error;
  fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) throw CLIError(Kind::notFound, "No file at " + printable(path));
  if (!fs::is_regular_file(status)) throw CLIError(Kind::failed, printable(path) + " isn't a file.");
  auto stamp = FileStamp::of(file);
  if (!stamp) throw CLIError(Kind::failed, printable(path) + " can't be read.");
  if (stamp->size == 0) throw CLIError(Kind::failed, printable(path) + " is empty.");
  return *stamp;
}

} // namespace

std::optional<FileStamp> FileStamp::of(const fs::path& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) != 0) return std::nullopt;
#ifdef __APPLE__
  const timespec &written = facts.st_mtimespec, &changed = facts.st_ctimespec;
#else
  const timespec &written = facts.st_mtim, &changed = facts.st_ctim;
#endif
  return FileStamp{static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino),
                   static_cast<std::uint64_t>(facts.st_size), nanoseconds(written), nanoseconds(changed)};
}

BuildFile BuildFile::read(const fs::path& folder, const std::string& path, const Given& given,
                          const std::stop_token& stop, const std::vector<std::string>& unzipPrograms) {
  std::string extension = extensionOf(path);
  BuildFile build;
  build.file = folder / path;
  build.stamp = stampOf(build.file, path);
  build.size = build.stamp.size;
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
  if (facts.noBuild) throw CLIError(Kind::failed, printable(path) + " can't be sent." + why);
  build.version = *version;
  build.number = *number;
  build.problem = facts.problem;
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
