#include "core/release/preview_file.hpp"

#include "core/console/printable.hpp"
#include "core/release/preview_page.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/incoming_file.hpp"

#include <array>
#include <string>
#include <string_view>
#include <system_error>

namespace kestu {

namespace fs = std::filesystem;

namespace {

CLIError failed(const fs::path& path, const std::string& what) {
  return {CLIError::Kind::failed, printable(path.string()) + what};
}

CLIError taken(const fs::path& path) {
  return failed(path, " is there already and isn't a preview that kestu wrote, so nothing was written: name another "
                      "file with --out.");
}

bool isPreview(const fs::path& path) {
  if (!fs::is_regular_file(path)) return false;
  std::array<char, PreviewPage::markWithin> start{};
  std::size_t count = FileReader(path).readAt(0, start.data(), start.size());
  return std::string_view(start.data(), count).find(PreviewPage::mark) != std::string_view::npos;
}

} // namespace

PreviewFile::PreviewFile(const fs::path& path, bool isOwn)
    : path_(fs::absolute(path).lexically_normal()), isOwn_(isOwn) {
  std::error_code unknown;
  if (fs::is_symlink(path_, unknown)) path_ = fs::weakly_canonical(path_); // what it leads to is written, not the link
}

std::uint64_t PreviewFile::write(const ReleasePreview& preview, const std::stop_token& stop) const {
  try {
    if (isOwn_ && fs::create_directories(path_.parent_path())) {
      fs::permissions(path_.parent_path(), fs::perms::owner_all);
    }
    bool isThere = fs::exists(fs::symlink_status(path_));
    if (isThere && !isPreview(path_)) throw taken(path_);
    IncomingFile::removeAbandoned(path_.parent_path());
    IncomingFile file(path_);
    PreviewPage::write(
        preview, [&](std::string_view piece) { file.write(piece); }, stop);
    if (isOwn_) {
      file.replaceTarget(0600);
    } else if (isThere) {
      file.replaceTarget();
    } else if (!file.becomeTarget()) {
      throw taken(path_);
    }
    return file.size();
  } catch (const std::system_error& error) {
    throw failed(path_, " can't be written (" + error.code().message() + ").");
  }
}

} // namespace kestu
