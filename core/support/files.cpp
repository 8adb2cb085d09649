#include "core/support/files.hpp"

#include "core/support/incoming_file.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestu {

namespace {

[[noreturn]] void fail(const std::filesystem::path& file, int code = errno) {
  throw std::system_error(code, std::generic_category(), file.string());
}

ssize_t restarted(auto call) {
  ssize_t count;
  do {
    count = call();
  } while (count < 0 && errno == EINTR);
  return count;
}

} // namespace

FileReader::FileReader(const std::filesystem::path& file)
    : descriptor_(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (descriptor_ < 0) fail(file);
  struct stat facts {};
  int code = ::fstat(descriptor_, &facts) != 0 ? errno
             : S_ISDIR(facts.st_mode)          ? EISDIR
             : S_ISREG(facts.st_mode)          ? 0
                                               : EINVAL;
  if (code != 0) {
    ::close(descriptor_);
    fail(file, code);
  }
  size_ = static_cast<std::uint64_t>(facts.st_size);
}

FileReader::~FileReader() { ::close(descriptor_); }

std::size_t FileReader::read(char* buffer, std::size_t capacity) {
  ssize_t count = restarted([&] { return ::read(descriptor_, buffer, capacity); });
  if (count < 0) fail("read");
  return static_cast<std::size_t>(count);
}

std::size_t FileReader::readAt(std::uint64_t offset, char* buffer, std::size_t capacity) const {
  std::size_t done = 0;
  while (done < capacity) {
    ssize_t count = restarted(
        [&] { return ::pread(descriptor_, buffer + done, capacity - done, static_cast<off_t>(offset + done)); });
    if (count < 0) fail("read");
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

namespace Files {

std::optional<std::string> read(const std::filesystem::path& file, std::uint64_t limit) {
  try {
    FileReader reader(file);
    std::string bytes(static_cast<std::size_t>(std::min(limit, reader.size())), '\0');
    bytes.resize(reader.readAt(0, bytes.data(), bytes.size()));
    return bytes;
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::no_such_file_or_directory || error.code() == std::errc::not_a_directory) {
      return std::nullopt;
    }
    throw;
  }
}

void writeAtomically(const std::filesystem::path& file, std::string_view bytes) {
  std::error_code ignored;
  std::filesystem::path target = file;
  if (std::filesystem::is_symlink(file, ignored)) {
    auto resolved = std::filesystem::weakly_canonical(file, ignored);
    if (!ignored) target = resolved;
  }
  struct stat facts {};
  std::optional<mode_t> mode;
  if (::stat(target.c_str(), &facts) == 0) mode = facts.st_mode & 07777;
  IncomingFile incoming(target);
  incoming.write(bytes);
  incoming.replaceTarget(mode);
}

bool moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) {
  struct stat facts {};
  if (::lstat(from.c_str(), &facts) != 0) fail(from);
  if (S_ISREG(facts.st_mode)) {
    if (::link(from.c_str(), to.c_str()) == 0) {
      if (::unlink(from.c_str()) != 0) fail(from);
      return true;
    }
    if (errno == EEXIST) return false;
  }
  // No hard links here, or no regular file: looked at first, which is as near as it gets.
  if (::lstat(to.c_str(), &facts) == 0) return false;
  if (::rename(from.c_str(), to.c_str()) != 0) fail(from);
  return true;
}

std::optional<std::filesystem::path> inside(const std::filesystem::path& folder, std::string_view relative) {
  if (relative.empty() || relative.find('\0') != std::string_view::npos) return std::nullopt;
  std::filesystem::path path(relative);
  if (path.is_absolute()) return std::nullopt;
  for (const auto& part : path) {
    if (part == ".." || part == "." || part.empty()) return std::nullopt;
  }
  return folder / path;
}

std::vector<std::string> entries(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename().string());
  return names;
}

} // namespace Files

} // namespace kestu
