#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Rules that hold for any bytes that the program reads. A fuzzer looks for bytes that break one, and the tests go
/// through those that it found before.
namespace kestu::fuzz {

/// The program broke a rule.
class Broken : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

/// Throws Broken unless the rule, said in words, holds.
void require(bool holds, const std::string& rule);

/// Throws where the program breaks a rule; returns for all else, also for what the program refuses as it should.
struct Target {
  std::string_view name;
  void (*run)(std::string_view bytes);
};

/// Every target, by name.
const std::vector<Target>& targets();

/// The text is UTF-8 that can't steer a terminal; line feeds may be in it, styles of ours are left aside.
void requirePrintable(const std::string& text, const std::string& what);

/// Code points by the Unicode Standard's table of well-formed byte sequences, each broken byte as U+FFFD; what the
/// program's own reader is held against.
std::u32string codePoints(std::string_view bytes, bool* broken = nullptr);

/// Takes an input apart from its front. At its end come zeros and empty texts.
class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  unsigned byte();
  std::string_view line(); ///< without its line feed
  std::string_view rest() const { return rest_; }
  bool ended() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

/// Files by path, each after a line "=== path". Paths lead nowhere outside.
std::vector<std::pair<std::string, std::string>> filesIn(std::string_view bytes);

/// The process's folder for what targets write, emptied.
const std::filesystem::path& freshFolder();

/// Writes a file and the folders on its way; false where another file is in the way, or the name is too long.
bool write(const std::filesystem::path& folder, const std::string& path, std::string_view bytes);

} // namespace kestu::fuzz
