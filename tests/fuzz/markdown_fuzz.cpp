#include "core/kit/markdown.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

#include <set>

namespace kestu::fuzz {

namespace {

/// An image may be named with escapes.
std::string withoutEscapes(std::string_view text) {
  std::string result(text);
  std::erase(result, '\\');
  return result;
}

} // namespace

/// A title is a line of the text, the body what else there is, and images are named by what stands there.
void markdown(std::string_view input) {
  if (auto titled = Markdown::titled(input)) {
    require(!titled->title.empty() && Text::trimmed(titled->title) == titled->title, "a title says something");
    require(titled->title.find('\n') == std::string::npos, "a title is one line");
    require(input.find(titled->title) != std::string_view::npos, "a title is in the text");
    require(titled->body.size() + titled->title.size() <= input.size() + 1, "no more than a line feed is added");
    bool ends = titled->body.ends_with('\n') && !titled->body.ends_with("\n\n");
    require(titled->body.empty() || (!titled->body.starts_with('\n') && ends), "no blank lines around");
  }
  std::set<std::string> names;
  for (const std::string& name : Markdown::images(input)) {
    require(names.insert(name).second, "an image is named once");
    // Blanks stand for code in it.
    if (input.find('`') != std::string_view::npos || input.find("~~~") != std::string_view::npos) continue;
    bool isThere = withoutEscapes(input).find(withoutEscapes(name)) != std::string::npos;
    require(isThere, "an image's name is in the text: " + name);
  }
}

} // namespace kestu::fuzz
