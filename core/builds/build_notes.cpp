#include "core/builds/build_notes.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace kestu::BuildNotes {

using Kind = CLIError::Kind;

namespace {

constexpr std::size_t longest = 4000;                     // characters, in App Store Connect
constexpr std::size_t longestFile = std::size_t{1} << 20; // bytes

std::string withLineFeeds(std::string_view text) {
  std::string lines;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n') continue;
    lines += text[at] == '\r' ? '\n' : text[at];
  }
  return lines;
}

void requireText(std::string_view text, const std::string& source) {
  for (std::size_t at = 0; at < text.size();) {
    UTF8::Decoded next = UTF8::decode(text, at);
    if (next.broken) throw CLIError(Kind::usage, source + " isn't UTF-8 text.");
    bool control = next.value < 0x20 || (next.value >= 0x7F && next.value < 0xA0);
    if (control && next.value != '\n' && next.value != '\t') {
      throw CLIError(Kind::usage,
                     source + " has a control character in it (" + printable(text.substr(at, next.length)) + ").");
    }
    at += next.length;
  }
}

CLIError tooLong(const std::string& count) {
  return {Kind::usage, "What to Test is " + count + " characters, " + Format::number(longest) + " at most."};
}

/// Whatever can be read from, for as long as it stays open.
class Input {
 public:
  explicit Input(const std::filesystem::path& file) : descriptor_(::open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), file.string());
  }
  ~Input() { ::close(descriptor_); }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  /// All of it, or more than `limit` bytes.
  std::string read(std::size_t limit, const std::stop_token& stop) const {
    std::string bytes;
    std::array<char, 65536> buffer{};
    pollfd end{descriptor_, POLLIN, 0};
    while (bytes.size() <= limit) {
      if (stop.stop_requested()) throw Stopped();
      // Short enough that a stop is noticed at once, as a person sees it.
      if (::poll(&end, 1, 50) <= 0) continue;
      ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
      if (count == 0) break;
      if (count < 0 && errno != EINTR && errno != EAGAIN) {
        throw std::system_error(errno, std::generic_category(), "read");
      }
      if (count > 0) bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return bytes;
  }

 private:
  int descriptor_;
};

} // namespace

std::string read(std::string bytes, const std::string& source) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
  std::string text = Text::trimmed(withLineFeeds(bytes));
  requireText(text, source);
  if (text.empty()) throw CLIError(Kind::usage, "The text is empty.");
  std::size_t length = Text::characters(text);
  if (length > longest) throw tooLong(Format::number(static_cast<std::int64_t>(length)));
  return text;
}

std::string readFile(const std::filesystem::path& folder, const std::string& path, const std::stop_token& stop) {
  std::filesystem::path file = folder / path;
  if (path == "-") file = "/dev/stdin";
  std::error_code error;
  if (!std::filesystem::exists(file, error)) throw CLIError(Kind::notFound, "No file at " + printable(path));
  if (std::filesystem::is_directory(file, error)) {
    throw CLIError(Kind::failed, printable(path) + " isn't a file.");
  }
  std::string bytes = Input(file).read(longestFile, stop);
  if (bytes.size() > longestFile) throw tooLong("over " + Format::number(longest));
  return read(std::move(bytes), path == "-" ? "Standard input" : printable(path));
}

} // namespace kestu::BuildNotes
