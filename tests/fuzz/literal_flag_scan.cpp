#include "tests/fuzz/literal_flag_scan.hpp"

#include "core/kit/source_blanker.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <functional>
#include <optional>

namespace kestu::fuzz::Literal {

namespace {

using Text32 = std::u32string;
using Class = std::function<bool(char32_t)>;

/// A piece of a pattern: a run of a class, or a text.
struct Piece {
  Class isOne{};
  std::size_t least = 0;
  Text32 text{};
  int group = 0; ///< 1 or 2 for one that is kept
};

Piece blanks(std::size_t least) { return {UTF8::isWhiteSpace, least}; }
Piece literal(Text32 text) { return {{}, 0, std::move(text)}; }

/// Tries every length of every run, the longest first, as a regular expression does.
std::optional<std::size_t> end(const Text32& text, std::size_t at, const std::vector<Piece>& pattern, std::size_t next,
                               Match& match) {
  if (next == pattern.size()) return at;
  const Piece& piece = pattern[next];
  if (!piece.isOne) {
    if (text.compare(at, piece.text.size(), piece.text) != 0) return std::nullopt;
    return end(text, at + piece.text.size(), pattern, next + 1, match);
  }
  std::size_t most = at;
  while (most < text.size() && piece.isOne(text[most])) ++most;
  for (std::size_t stop = most; stop >= at + piece.least; --stop) {
    if (auto found = end(text, stop, pattern, next + 1, match)) {
      if (piece.group == 1) match.name = text.substr(at, stop - at);
      if (piece.group == 2) match.group = text.substr(at, stop - at);
      return found;
    }
    if (stop == 0) break;
  }
  return std::nullopt;
}

/// All matches of any of the patterns, from left to right, none over another.
std::vector<Match> all(const Text32& text, const std::vector<std::vector<Piece>>& patterns) {
  std::vector<Match> matches;
  for (std::size_t at = 0; at < text.size();) {
    std::optional<std::size_t> found;
    for (const auto& pattern : patterns) {
      Match match;
      match.at = at;
      if (!found && (found = end(text, at, pattern, 0, match))) {
        match.end = *found;
        matches.push_back(match);
      }
    }
    at = found.value_or(at + 1);
  }
  return matches;
}

} // namespace

std::string withoutComments(std::string_view text) {
  std::string result(text);
  enum class In { code, literal, lineComment, comment } in = In::code;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bool breaks = isLineBreak(text[i]);
    std::string_view two = text.substr(i, 2);
    if (in == In::literal && (breaks || text[i] == '"')) {
      in = In::code;
    } else if (in == In::literal) {
      if (text[i] == '\\' && i + 1 < text.size() && !isLineBreak(text[i + 1])) ++i;
    } else if (in == In::lineComment) {
      if (breaks) in = In::code;
      if (!breaks) result[i] = ' ';
    } else if (in == In::comment) {
      if (!breaks) result[i] = ' ';
      if (two != "*/") continue;
      result[++i] = ' ';
      in = In::code;
    } else if (two == "//" || two == "/*") {
      in = two == "//" ? In::lineComment : In::comment;
      result[i] = ' ';
      result[++i] = ' ';
    } else if (text[i] == '"') {
      in = In::literal;
    }
  }
  return result;
}

std::vector<Match> literalReads(const Text32& text) {
  Class isKey = [](char32_t c) { return c != '"' && c != '\\' && c != '\n' && c != '\r'; };
  std::vector<std::vector<Piece>> patterns;
  for (const char32_t* function : {U"isOn", U"string", U"number", U"int", U"value", U"force"}) {
    patterns.push_back({literal(U"KestuFlags"),
                        blanks(0),
                        literal(U"."),
                        blanks(0),
                        literal(function),
                        blanks(0),
                        literal(U"("),
                        blanks(0),
                        literal(U"\""),
                        {isKey, 1, {}, 2},
                        literal(U"\"")});
  }
  return all(text, patterns);
}

std::vector<Match> declarations(const Text32& text, bool extensions) {
  Class isInherited = [](char32_t c) { return c != '{'; };
  std::vector<std::vector<Piece>> patterns;
  for (const char32_t* word : {U"enum", U"extension"}) {
    if (word[1] == U'x' && !extensions) continue;
    patterns.push_back({literal(word),
                        blanks(1),
                        {Text::isWordCharacter, 1, {}, 1},
                        blanks(0),
                        literal(U":"),
                        blanks(0),
                        {isInherited, 0, {}, 2},
                        literal(U"{")});
  }
  return all(text, patterns);
}

int line(const Text32& text, std::size_t at) {
  int line = 1;
  for (std::size_t i = 0; i < at; ++i) {
    bool pair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if ((text[i] == '\n' || text[i] == '\r') && !pair) ++line;
  }
  return line;
}

} // namespace kestu::fuzz::Literal
