#include "core/kit/flag_patterns.hpp"

#include "core/kit/source_blanker.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <set>

namespace kestu::FlagPatterns {

namespace {

constexpr std::size_t none = std::string_view::npos;

bool isWordByte(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '_';
}

/// A place in a text that moves on over what it is asked to take.
struct Cursor {
  std::string_view text;
  std::size_t at = 0;

  bool ended() const { return at >= text.size(); }
  char peek() const { return ended() ? '\0' : text[at]; }

  bool take(char byte) {
    if (ended() || text[at] != byte) return false;
    ++at;
    return true;
  }

  /// Whether there was any white space, line breaks included.
  bool space() {
    std::size_t start = at;
    while (!ended()) {
      auto point = UTF8::decode(text, at);
      if (!UTF8::isWhiteSpace(point.value)) break;
      at += point.length;
    }
    return at > start;
  }

  /// The word characters from here on; may be empty.
  std::string_view word() {
    std::size_t start = at;
    while (!ended()) {
      if (isWordByte(text[at])) {
        ++at;
        continue;
      }
      if (static_cast<unsigned char>(text[at]) < 0x80) break;
      auto point = UTF8::decode(text, at);
      if (point.broken || !Text::isWordCharacter(point.value)) break;
      at += point.length;
    }
    return text.substr(start, at - start);
  }
};

bool isReadFunction(std::string_view word) {
  static constexpr std::array<std::string_view, 6> functions = {"isOn", "string", "number", "int", "value", "force"};
  return std::find(functions.begin(), functions.end(), word) != functions.end();
}

/// The text of the literal here, the cursor then behind it; none when it has a backslash or is empty.
std::optional<std::string_view> plainLiteral(Cursor& cursor) {
  if (cursor.peek() != '"') return std::nullopt;
  std::size_t start = cursor.at + 1;
  std::size_t end = cursor.text.find_first_of("\"\\\n\r", start);
  if (end == none || cursor.text[end] != '"' || end == start) return std::nullopt;
  std::string_view key = cursor.text.substr(start, end - start);
  cursor.at = end + 1;
  return key;
}

/// The next place of a word at or after one that only moves on; looks at each byte once.
class Finder {
 public:
  Finder(std::string_view text, std::string_view word) : text_(text), word_(word) {}

  std::size_t next(std::size_t from) {
    if (!begun_ || (found_ != none && found_ < from)) found_ = text_.find(word_, from);
    begun_ = true;
    return found_;
  }

 private:
  std::string_view text_, word_;
  std::size_t found_ = 0;
  bool begun_ = false;
};

std::vector<std::string> inheritedIn(std::string_view clause) {
  std::vector<std::string> types = Text::split(clause, ',');
  for (std::string& type : types) type = Text::trimmed(type);
  return types;
}

bool endsWithWordCharacter(std::string_view text) {
  if (text.empty()) return false;
  if (static_cast<unsigned char>(text.back()) < 0x80) return isWordByte(text.back());
  std::size_t start = text.size() - 1;
  while (start > 0 && text.size() - start < 4 && (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80) --start;
  return Text::isWordCharacter(UTF8::decode(text, start).value);
}

/// The keys of what follows the word "case" in an enumeration's body: names, each with or without a raw value.
void caseKeys(Cursor& cursor, std::size_t offset, std::vector<KeyAt>& keys) {
  do {
    cursor.space();
    bool quoted = cursor.take('`');
    std::string_view name = cursor.word();
    if (name.empty() || (quoted && !cursor.take('`'))) return;
    Cursor after = cursor;
    after.space();
    if (!after.take('=')) {
      keys.push_back({std::string(name), offset});
    } else {
      after.space();
      while (after.take('#')) {
      }
      if (after.peek() != '"') return;
      if (auto value = plainLiteral(after)) {
        keys.push_back({std::string(*value), offset});
      } else {
        after.at = SourceBlanker::pastLiteral(after.text, after.at);
      }
      while (after.take('#')) {
      }
      cursor = after;
    }
    cursor.space();
  } while (cursor.take(','));
}

} // namespace

std::vector<KeyAt> literalReads(std::string_view text) {
  constexpr std::string_view type = "KestuFlags";
  std::vector<KeyAt> reads;
  std::size_t start = text.find(type);
  while (start != none) {
    Cursor cursor{text, start + type.size()};
    cursor.space();
    bool reading = cursor.take('.');
    cursor.space();
    reading = reading && isReadFunction(cursor.word());
    cursor.space();
    reading = reading && cursor.take('(');
    cursor.space();
    auto key = reading ? plainLiteral(cursor) : std::nullopt;
    if (key) reads.push_back({std::string(*key), start});
    start = text.find(type, key ? cursor.at : start + type.size());
  }
  return reads;
}

bool Declaration::inherits(std::string_view type) const {
  return std::find(inherited.begin(), inherited.end(), type) != inherited.end();
}

std::vector<Declaration> declarations(std::string_view text, Declared which) {
  constexpr std::string_view enumeration = "enum", extension = "extension";
  Finder enumerations(text, enumeration), extensions(text, extension), braces(text, "{");
  std::vector<Declaration> found;
  std::size_t at = 0;
  while (true) {
    std::size_t first = enumerations.next(at);
    std::size_t other = which == Declared::enumerations ? none : extensions.next(at);
    std::size_t start = std::min(first, other);
    if (start == none) return found;
    Cursor cursor{text, start + (first < other ? enumeration : extension).size()};
    at = cursor.at;
    if (!cursor.space()) continue;
    std::string_view name = cursor.word();
    cursor.space();
    if (name.empty() || !cursor.take(':')) continue;
    std::size_t brace = braces.next(cursor.at);
    if (brace == none) return found;
    found.push_back({name, inheritedIn(text.substr(cursor.at, brace - cursor.at)), brace});
    at = brace + 1;
  }
}

std::vector<KeyAt> enumCases(std::string_view text, const std::function<bool(std::string_view)>& isFlag) {
  std::set<std::size_t> bodies; // where they open
  for (const Declaration& declaration : declarations(text, Declared::enumerations)) {
    if (isFlag(declaration.name) && declaration.inherits("String")) bodies.insert(declaration.brace);
  }
  std::vector<KeyAt> keys;
  if (bodies.empty()) return keys;
  std::vector<bool> open; // each open brace: whether an enumeration of flags opened with it
  Cursor cursor{text, 0};
  while (!cursor.ended()) {
    std::size_t start = cursor.at;
    char byte = cursor.peek();
    if (byte == '"') {
      cursor.at = SourceBlanker::pastLiteral(text, start);
    } else if (byte == '{') {
      open.push_back(bodies.contains(start));
      ++cursor.at;
    } else if (byte == '}') {
      if (!open.empty()) open.pop_back();
      ++cursor.at;
    } else if (byte == 'c' && !open.empty() && open.back() && text.substr(start, 4) == "case" &&
               !endsWithWordCharacter(text.substr(0, start)) && (start == 0 || text[start - 1] != '`')) {
      cursor.at += 4;
      if (cursor.word().empty() && (cursor.peek() == '`' || cursor.space())) caseKeys(cursor, start, keys);
    } else {
      ++cursor.at;
    }
  }
  return keys;
}

bool namesAfterEnum(std::string_view text, const std::function<void(std::string_view)>& found) {
  constexpr std::string_view enumeration = "enum";
  for (std::size_t at = text.find(enumeration); at != none; at = text.find(enumeration, at + 1)) {
    Cursor cursor{text, at + enumeration.size()};
    cursor.space();
    if (cursor.peek() == '/') return false;
    if (cursor.at == at + enumeration.size()) continue;
    if (std::string_view name = cursor.word(); !name.empty()) found(name);
  }
  return true;
}

} // namespace kestu::FlagPatterns
