#include "core/builds/build_archive.hpp"

#include "core/console/format.hpp"
#include "core/support/process.hpp"
#include "core/support/text.hpp"

#include <cerrno>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <stdlib.h>
#include <unistd.h>

namespace kestu {

namespace {

constexpr std::string_view patternCharacters = "\\*?[";

/// unzip takes an archive's path for a pattern too, and then may read another file; a link of a plain name leads it to
/// the right one.
class PlainPath {
 public:
  explicit PlainPath(const std::filesystem::path& file) {
    if (file.native().find_first_of(patternCharacters) == std::string::npos) {
      path_ = file;
      return;
    }
    std::error_code error;
    std::string made = (std::filesystem::temp_directory_path(error) / "kestu-XXXXXX").string();
    if (error || !mkdtemp(made.data())) return;
    folder_ = made;
    std::filesystem::create_symlink(file, folder_ / "build.ipa", error);
    if (!error) path_ = folder_ / "build.ipa";
  }
  ~PlainPath() {
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
  }
  PlainPath(const PlainPath&) = delete;
  PlainPath& operator=(const PlainPath&) = delete;

  /// Empty when no link could be made.
  std::string text() const { return path_.string(); }

 private:
  std::filesystem::path folder_, path_;
};

/// None when the machine has none of the programs, or none that runs.
std::optional<ProcessResult> unzip(const std::vector<std::string>& programs, std::vector<std::string> arguments,
                                   std::size_t limit, const std::stop_token& stop) {
  arguments.insert(arguments.begin(), "");
  for (const std::string& program : programs) {
    arguments.front() = program;
    ProcessRequest request;
    request.arguments = arguments;
    // Options that the user keeps in the environment would change what it prints.
    request.environment = {{"UNZIP", ""}, {"UNZIPOPT", ""}, {"ZIPINFO", ""}, {"ZIPINFOOPT", ""}, {"LC_ALL", "C.UTF-8"}};
    request.outputLimit = limit;
    request.ownSession = true; // it asks at the terminal for a password
    try {
      return Process::run(request, stop);
    } catch (const std::system_error& error) {
      bool next = error.code() == std::errc::no_such_file_or_directory ||
                  error.code() == std::errc::permission_denied || error.code() == std::errc::executable_format_error;
      if (!next) throw;
    }
  }
  return std::nullopt;
}

/// 1 is a warning with which everything was read all the same.
bool readAll(const ProcessResult& result) {
  return result.end == ProcessResult::End::exited && (result.status == 0 || result.status == 1);
}

} // namespace

const std::vector<std::string> BuildArchive::unzipPrograms = {"/usr/bin/unzip", "unzip"};

BuildArchive::BuildArchive(std::filesystem::path file, std::vector<std::string> programs, std::stop_token stop)
    : file_(std::move(file)), programs_(std::move(programs)), stop_(std::move(stop)) {}

BuildArchive::InfoPlistBytes BuildArchive::infoPlist() const {
  PlainPath path(file_);
  if (path.text().empty()) {
    return {"",
            "Its path has one of \\ * ? [ in it, and no temporary folder can be made to read it through: set TMPDIR."};
  }
  constexpr std::size_t largestListing = std::size_t{256} << 20U;
  auto names = unzip(programs_, {"-Z1", path.text()}, largestListing, stop_);
  if (!names) return {"", "This machine has no unzip to look into it with: install unzip."};
  if (names->end == ProcessResult::End::tooLong) return {"", "Listing what is in it took too long."};
  if (!readAll(*names)) return {"", "It can't be read as a zip archive, which an .ipa is."};
  std::string member = infoPlistMember(names->out);
  if (member.empty()) return {"", "It has no Info.plist of an app in Payload."};
  auto bytes = unzip(programs_, {"-p", path.text(), unzipPattern(member)}, largestInfoPlist, stop_);
  if (bytes && bytes->end == ProcessResult::End::tooMuchOutput) {
    return {"", "Its Info.plist is over " + Format::bytes(largestInfoPlist) + ", which no app's is.", true};
  }
  bool encrypted = bytes && !readAll(*bytes) && bytes->err.find("unable to get password") != std::string::npos;
  if (encrypted) return {"", "Its Info.plist is encrypted."};
  if (!bytes || !readAll(*bytes)) return {"", "Its Info.plist can't be read from the archive."};
  return {std::move(bytes->out), ""};
}

std::string infoPlistMember(const std::string& names) {
  std::string_view rest = names;
  while (!rest.empty()) {
    std::size_t end = std::min(rest.find('\n'), rest.size());
    std::string_view name = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    std::size_t first = name.find('/');
    std::size_t last = name.rfind('/');
    if (first == std::string_view::npos || name.find('/', first + 1) != last || first == last) continue;
    bool app = name.substr(first + 1, last - first - 1).ends_with(".app");
    if (app && name.substr(0, first) == "Payload" && name.substr(last + 1) == "Info.plist") return std::string(name);
  }
  return "";
}

std::string unzipPattern(const std::string& member) {
  std::string pattern;
  for (char c : member) {
    if (patternCharacters.find(c) != std::string_view::npos) pattern += '\\';
    pattern += c;
  }
  return pattern;
}

} // namespace kestu
