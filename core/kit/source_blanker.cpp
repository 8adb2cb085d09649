#include "core/kit/source_blanker.hpp"

#include <algorithm>
#include <vector>

namespace kestu::SourceBlanker {

namespace {

std::size_t lineEnd(std::string_view text, std::size_t at) {
  return std::min(text.find_first_of("\n\r", at), text.size());
}

/// Behind the literal whose text begins here, by the rule for comments: interpolations don't count.
std::size_t pastSimpleLiteral(std::string_view text, std::size_t at) {
  while (at < text.size() && !isLineBreak(text[at])) {
    char byte = text[at++];
    if (byte == '"') break;
    if (byte == '\\' && at < text.size() && !isLineBreak(text[at])) ++at;
  }
  return at;
}

void blank(std::string& text, std::size_t from, std::size_t to) {
  for (std::size_t at = from; at < to; ++at) {
    if (!isLineBreak(text[at])) text[at] = ' ';
  }
}

} // namespace

void blank(std::string& text) {
  std::size_t at = 0;
  while (at + 1 < text.size()) {
    if (text[at] == '"') {
      at = pastSimpleLiteral(text, at + 1);
    } else if (text[at] == '/' && text[at + 1] == '/') {
      std::size_t end = lineEnd(text, at);
      blank(text, at, end);
      at = end;
    } else if (text[at] == '/' && text[at + 1] == '*') {
      std::size_t close = text.find("*/", at + 2);
      std::size_t end = close == std::string::npos ? text.size() : close + 2;
      blank(text, at, end);
      at = end;
    } else {
      ++at;
    }
  }
}

std::string withoutComments(std::string_view text) {
  std::string blanked(text);
  blank(blanked);
  return blanked;
}

std::size_t pastLiteral(std::string_view text, std::size_t quote) {
  std::vector<std::size_t> open; // the parentheses open in each interpolation that is
  bool inside = true;
  std::size_t at = quote + 1;
  while (at < text.size() && !isLineBreak(text[at])) {
    char byte = text[at++];
    if (!inside) {
      if (byte == '"') inside = true;
      if (byte == '(') ++open.back();
      if (byte == ')' && --open.back() == 0) {
        open.pop_back();
        inside = true;
      }
    } else if (byte == '"') {
      if (open.empty()) break;
      inside = false;
    } else if (byte == '\\' && at < text.size() && !isLineBreak(text[at])) {
      inside = text[at] != '(';
      if (!inside) open.push_back(1);
      ++at;
    }
  }
  return at;
}

} // namespace kestu::SourceBlanker
