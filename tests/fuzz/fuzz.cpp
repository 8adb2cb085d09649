#include "tests/fuzz/fuzz.hpp"

#include "core/console/text_style.hpp"
#include "core/support/files.hpp"
#include "tests/support/temporary_folder.hpp"

#include <algorithm>
#include <fstream>

namespace fs = std::filesystem;

namespace kestu::fuzz {

namespace {

unsigned valueOf(char byte) { return static_cast<unsigned char>(byte); }

/// How many bytes follow a first byte, and what the first of them may be; none for what begins nothing.
struct Following {
  std::size_t count = 0;
  unsigned low = 0x80, high = 0xBF;
};

Following followingOf(unsigned first) {
  if (first >= 0xC2 && first <= 0xDF) return {1};
  if (first == 0xE0) return {2, 0xA0};
  if (first == 0xED) return {2, 0x80, 0x9F};
  if (first >= 0xE1 && first <= 0xEF) return {2};
  if (first == 0xF0) return {3, 0x90};
  if (first == 0xF4) return {3, 0x80, 0x8F};
  if (first >= 0xF1 && first <= 0xF3) return {3};
  return {};
}

/// The length of the well-formed sequence at the text's start; 0 when there is none.
std::size_t sequenceAt(std::string_view text) {
  unsigned first = valueOf(text.front());
  if (first < 0x80) return 1;
  auto [count, low, high] = followingOf(first);
  if (count == 0 || text.size() <= count) return 0;
  for (std::size_t i = 1; i <= count; ++i) {
    unsigned byte = valueOf(text[i]);
    if (byte < (i == 1 ? low : 0x80) || byte > (i == 1 ? high : 0xBF)) return 0;
  }
  return count + 1;
}

} // namespace

void require(bool holds, const std::string& rule) {
  if (!holds) throw Broken(rule);
}

std::u32string codePoints(std::string_view bytes, bool* broken) {
  std::u32string points;
  while (!bytes.empty()) {
    std::size_t length = sequenceAt(bytes);
    if (length == 0 && broken) *broken = true;
    unsigned first = valueOf(bytes.front());
    char32_t point = length == 0 ? U'\uFFFD' : length == 1 ? first : first & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) point = point << 6U | (valueOf(bytes[i]) & 0x3FU);
    points += point;
    bytes.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return points;
}

void requirePrintable(const std::string& text, const std::string& what) {
  bool broken = false;
  for (char32_t point : codePoints(TextStyle::plain(text), &broken)) {
    bool control = (point < 0x20 && point != '\n') || (point >= 0x7F && point < 0xA0);
    bool reorders = (point >= 0x202A && point <= 0x202E) || (point >= 0x2066 && point <= 0x2069);
    if (control || reorders || point == 0x2028 || point == 0x2029) {
      throw Broken(what + " can't steer a terminal: " + text);
    }
  }
  if (broken) throw Broken(what + " is UTF-8: " + text);
}

unsigned Input::byte() {
  if (rest_.empty()) return 0;
  unsigned value = valueOf(rest_.front());
  rest_.remove_prefix(1);
  return value;
}

std::string_view Input::line() {
  std::string_view line = rest_.substr(0, rest_.find('\n'));
  rest_.remove_prefix(std::min(line.size() + 1, rest_.size()));
  return line;
}

std::vector<std::pair<std::string, std::string>> filesIn(std::string_view bytes) {
  constexpr std::string_view mark = "=== ";
  std::vector<std::pair<std::string, std::string>> files;
  Input input(bytes);
  while (!input.ended()) {
    std::string_view line = input.line();
    if (line.starts_with(mark)) {
      files.emplace_back(line.substr(mark.size()), "");
    } else if (!files.empty()) {
      files.back().second.append(line).append("\n");
    }
  }
  std::erase_if(files, [](const auto& file) {
    return !Files::inside("/", file.first) || file.first.find('\0') != std::string::npos;
  });
  return files;
}

const fs::path& freshFolder() {
  static const tests::TemporaryFolder folder;
  for (const auto& entry : fs::directory_iterator(folder.path())) fs::remove_all(entry.path());
  return folder.path();
}

bool write(const fs::path& folder, const std::string& path, std::string_view bytes) {
  std::error_code error;
  fs::create_directories((folder / path).parent_path(), error);
  if (error) return false;
  std::ofstream file(folder / path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return file.flush().good();
}

} // namespace kestu::fuzz
