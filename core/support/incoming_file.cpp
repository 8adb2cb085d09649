#include "core/support/incoming_file.hpp"

#include "core/support/files.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestu {

namespace {

constexpr std::string_view mark = ".kestu-";
constexpr std::size_t markedLength = 6;

[[noreturn]] void fail(const std::filesystem::path& file) {
  throw std::system_error(errno, std::generic_category(), file.string());
}

/// ".01.png.kestu-" and six characters, the name cut so that file systems take it.
std::filesystem::path hidden(const std::filesystem::path& file, std::string_view end) {
  std::string name = file.filename().string();
  std::size_t length = std::min<std::size_t>(name.size(), 200);
  while (length > 0 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U) --length;
  return file.parent_path() / ("." + name.substr(0, length) + std::string(mark) + std::string(end));
}

std::string randomEnd() {
  constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::random_device random;
  std::string end;
  while (end.size() < markedLength) end += letters[random() % letters.size()];
  return end;
}

bool isHiddenName(const std::string& name) {
  if (name.size() <= mark.size() + markedLength || name.front() != '.') return false;
  std::string_view end = std::string_view(name).substr(name.size() - mark.size() - markedLength);
  return end.starts_with(mark) &&
         std::all_of(end.end() - markedLength, end.end(), [](unsigned char c) { return std::isalnum(c) != 0; });
}

} // namespace

IncomingFile::IncomingFile(const std::filesystem::path& target) : target_(target) {
  // Made with the permissions that any new file gets here, so that the umask counts.
  constexpr int attempts = 100;
  for (int attempt = 0; descriptor_ < 0 && attempt < attempts; ++attempt) {
    path_ = hidden(target, randomEnd()).string();
    descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ < 0 && errno != EEXIST) break;
  }
  if (descriptor_ < 0) fail(target);
  // Held for as long as somebody writes; without it the file counts as left behind.
  ::flock(descriptor_, LOCK_EX | LOCK_NB);
}

IncomingFile::~IncomingFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!path_.empty()) ::unlink(path_.c_str());
}

void IncomingFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(target_);
    bytes.remove_prefix(static_cast<std::size_t>(count));
    size_ += static_cast<std::uint64_t>(count);
  }
}

void IncomingFile::flush() {
  if (::fsync(descriptor_) != 0) fail(target_);
}

void IncomingFile::replaceTarget(std::optional<mode_t> mode) {
  if (mode && ::fchmod(descriptor_, *mode) != 0) fail(target_);
  flush();
  if (::rename(path_.c_str(), target_.c_str()) != 0) fail(target_);
  path_.clear();
}

bool IncomingFile::becomeTarget() {
  flush();
  if (!Files::moveWithoutReplacing(path_, target_)) return false;
  path_.clear();
  return true;
}

void IncomingFile::removeAbandoned(const std::filesystem::path& folder) {
  std::error_code failed;
  for (std::filesystem::directory_iterator item(folder, failed), end; !failed && item != end; item.increment(failed)) {
    std::string path = item->path().string();
    if (!isHiddenName(item->path().filename().string())) continue;
    int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) continue;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) ::unlink(path.c_str());
    ::close(descriptor);
  }
}

} // namespace kestu
