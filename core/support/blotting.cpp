#include "core/support/blotting.hpp"

#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <algorithm>

namespace kestu {

namespace {

/// One past the closing quotation mark of the text that begins at `start`.
std::size_t endOfText(std::string_view document, std::size_t start) {
  std::size_t at = start + 1;
  while (at < document.size() && document[at] != '"') at += document[at] == '\\' ? 2 : 1;
  return std::min(at + 1, document.size());
}

bool isKey(std::string_view document, std::size_t end) {
  std::size_t next = document.find_first_not_of(" \t\r\n", end);
  return next != std::string_view::npos && document[next] == ':';
}

constexpr std::string_view blot = "••••";

std::string without(std::string_view text, std::string_view secret) {
  std::string result;
  std::size_t at = 0;
  while (!secret.empty()) {
    std::size_t found = text.find(secret, at);
    if (found == std::string_view::npos) break;
    result.append(text.substr(at, found - at)).append(blot);
    at = found + secret.size();
  }
  return result.append(text.substr(at));
}

} // namespace

std::string blotted(std::string_view text, std::string_view secret) {
  // A request that is told back has the secret as it stands in JSON.
  std::string literal = JSONData(secret).compact();
  return without(without(text, std::string_view(literal).substr(1, literal.size() - 2)), secret);
}

std::string blottedJSON(std::string_view document, std::string_view secret) {
  std::string result;
  for (std::size_t at = 0; at < document.size();) {
    if (document[at] != '"') {
      result += document[at++];
      continue;
    }
    std::size_t end = endOfText(document, at);
    std::string_view literal = document.substr(at, end - at);
    at = end;
    std::string text = isKey(document, end) ? "" : JSONValue::parse(literal).text();
    std::string shown = blotted(text, secret);
    result.append(shown != text ? JSONData(shown).compact() : literal);
  }
  return result;
}

std::string withoutUserinfo(std::string_view text) {
  std::size_t end = text.rfind('@');
  if (end == std::string_view::npos) return std::string(text);
  std::size_t begin = 0; // of the address, which is all of the text, or quoted in it, or stands behind a colon
  if (std::size_t quotation = text.find(" '"); quotation < end) {
    begin = quotation + 2;
  } else if (std::size_t colon = text.rfind(": ", text.find('@')); colon != std::string_view::npos) {
    begin = colon + 2;
  }
  std::size_t scheme = text.find("://", begin);
  if (scheme < end && text.substr(begin, scheme - begin).find_first_of("@: ") == std::string_view::npos) {
    begin = scheme + 3;
  }
  return std::string(text.substr(0, begin)).append(blot).append(text.substr(end));
}

} // namespace kestu
