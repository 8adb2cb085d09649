#include "core/kit/markdown.hpp"

#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace kestu::Markdown {

namespace {

using View = std::string_view;

struct Line {
  View text;
  bool isCode = false;
};

std::size_t leading(View text, char c) { return std::min(text.find_first_not_of(c), text.size()); }

/// The lines, those of fenced code marked, the fences among them.
std::vector<Line> linesOf(View text) {
  std::vector<Line> lines;
  char fence = 0;
  std::size_t length = 0;
  while (true) {
    View line = text.substr(0, text.find('\n'));
    View bare = line.substr(leading(line, ' '));
    bool indented = line.size() - bare.size() > 3;
    std::size_t run = bare.empty() ? 0 : leading(bare, bare.front());
    bool isFence = !indented && run >= 3 && (bare.front() == '`' || bare.front() == '~');
    if (isFence && fence == 0 && (bare.front() == '~' || bare.find('`', run) == View::npos)) {
      fence = bare.front();
      length = run;
      lines.push_back({line, true});
    } else if (fence != 0) {
      lines.push_back({line, true});
      bool closes = isFence && bare.front() == fence && run >= length;
      if (closes && Text::trimmed(bare.substr(run)).empty()) fence = 0;
    } else {
      lines.push_back({line});
    }
    if (line.size() == text.size()) return lines;
    text.remove_prefix(line.size() + 1);
  }
}

/// The text of "## Heading ##"; none for any other line.
std::optional<std::string> heading(View line) {
  View bare = line.substr(leading(line, ' '));
  std::size_t marks = leading(bare, '#');
  bool is = line.size() - bare.size() <= 3 && marks >= 1 && marks <= 6;
  if (!is || (marks < bare.size() && bare[marks] != ' ' && bare[marks] != '\t' && bare[marks] != '\r')) {
    return std::nullopt;
  }
  std::string text = Text::trimmed(bare.substr(marks));
  std::size_t end = text.find_last_not_of('#');
  if (end == std::string::npos) return "";
  if (end + 1 < text.size() && text[end] == ' ') text = Text::trimmed(View(text).substr(0, end));
  return text;
}

/// A line of "=" or "-" alone, which makes a heading of the line above.
bool underlines(View line) {
  std::string bare = Text::trimmed(line);
  return !bare.empty() && (bare.front() == '=' || bare.front() == '-') && leading(bare, bare.front()) == bare.size();
}

/// A line of a paragraph, so that what is below it can make a heading of it.
bool isParagraph(View line) {
  std::string bare = Text::trimmed(line);
  return !bare.empty() && leading(line, ' ') <= 3 && View("-*+>#|").find(bare.front()) == View::npos;
}

std::string joined(const std::vector<Line>& lines, std::size_t from, std::size_t to) {
  std::string text;
  for (std::size_t at = from; at < to; ++at) text += std::string(lines[at].text) + "\n";
  return text;
}

std::string withoutBlankEnds(const std::string& text) {
  std::size_t end = text.find_last_not_of(" \t\r\n");
  if (end == std::string::npos) return "";
  std::size_t begin = text.rfind('\n', text.find_first_not_of(" \t\r\n"));
  begin = begin == std::string::npos ? 0 : begin + 1;
  return text.substr(begin, end + 1 - begin) + "\n";
}

/// Whether an odd number of backslashes is before the position.
bool isEscaped(View text, std::size_t position) {
  std::size_t begin = text.substr(0, position).find_last_not_of('\\');
  return (position - (begin == View::npos ? 0 : begin + 1)) % 2 == 1;
}

/// What ends a paragraph, and with it code that isn't closed.
bool hasBlankLine(View text) {
  for (std::size_t at = text.find('\n'); at != View::npos; at = text.find('\n', at + 1)) {
    std::size_t next = text.find_first_not_of(" \t\r", at + 1);
    if (next != View::npos && text[next] == '\n') return true;
  }
  return false;
}

/// The text with all code, inline too, written over with blanks.
std::string withoutCode(View text) {
  std::string result;
  for (const Line& line : linesOf(text)) {
    result += (line.isCode ? std::string(line.text.size(), ' ') : std::string(line.text)) + "\n";
  }
  for (std::size_t at = result.find('`'); at != std::string::npos; at = result.find('`', at)) {
    if (isEscaped(result, at)) {
      ++at;
      continue;
    }
    std::size_t run = leading(View(result).substr(at), '`');
    std::string ticks(run, '`');
    std::size_t end = result.find(ticks, at + run);
    while (end != std::string::npos && leading(View(result).substr(end), '`') != run) {
      end = result.find(ticks, end + leading(View(result).substr(end), '`'));
    }
    if (end != std::string::npos && !hasBlankLine(View(result).substr(at, end - at))) {
      for (std::size_t i = at; i < end + run; ++i) result[i] = ' ';
      at = end;
    }
    at += run;
  }
  return result;
}

/// Where a link leads: at the text's start "<a name>", or what goes on to a blank or an unmatched ")".
std::string destination(View text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  if (text.starts_with('<')) {
    std::size_t end = text.find_first_of(">\n");
    return end == View::npos || text[end] != '>' ? "" : std::string(text.substr(1, end - 1));
  }
  std::string result;
  int depth = 0;
  for (std::size_t i = 0; i < text.size() && View(" \t\r\n").find(text[i]) == View::npos; ++i) {
    if (text[i] == '(') ++depth;
    if (text[i] == ')' && depth-- == 0) break;
    if (text[i] == '\\' && i + 1 < text.size() && View("()\\<>").find(text[i + 1]) != View::npos) ++i;
    result += text[i];
  }
  return result;
}

/// The position of the bracket that closes the one before `from`.
std::size_t closing(View text, std::size_t from) {
  int depth = 0;
  for (std::size_t i = from; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '[') {
      ++depth;
    } else if (text[i] == ']' && depth-- == 0) {
      return i;
    }
  }
  return View::npos;
}

using Labels = std::map<std::string, std::string>;

/// As labels are compared: without regard to case and to how many blanks there are.
std::string label(View text) {
  std::string result;
  for (char c : Text::folded(text)) {
    bool blank = View(" \t\r\n").find(c) != View::npos;
    if (!blank || (!result.empty() && result.back() != ' ')) result += blank ? ' ' : c;
  }
  return Text::trimmed(result);
}

constexpr std::size_t longestLabel = 1000;

/// What "[label]: name" defines, by the label as it is compared.
Labels labelsOf(View text) {
  Labels labels;
  for (std::size_t from = 0; from < text.size(); from = std::min(text.find('\n', from), text.size() - 1) + 1) {
    std::size_t at = text.find_first_not_of(" \t>", from); // also in a quotation
    if (at == View::npos || text[at] != '[') continue;
    std::size_t end = closing(text.substr(0, at + longestLabel), at + 1);
    if (end == View::npos || end + 1 >= text.size() || text[end + 1] != ':') continue;
    labels.emplace(label(text.substr(at + 1, end - at - 1)), destination(text.substr(end + 2)));
  }
  return labels;
}

void addInline(View text, const Labels& labels, std::vector<std::string>& found) {
  for (std::size_t at = text.find("!["); at != View::npos; at = text.find("![", at + 2)) {
    if (isEscaped(text, at)) continue;
    std::size_t end = closing(text, at + 2);
    if (end == View::npos) continue;
    View rest = text.substr(end + 1);
    if (rest.starts_with('(')) {
      found.push_back(destination(rest.substr(1)));
      continue;
    }
    View named = text.substr(at + 2, end - at - 2);
    std::size_t last = rest.starts_with('[') ? rest.find(']') : View::npos;
    if (last != View::npos && last > 1) named = rest.substr(1, last - 1);
    if (auto known = labels.find(label(named)); known != labels.end()) found.push_back(known->second);
  }
}

using Attribute = std::pair<std::string, std::string>;

/// The attributes of the tag whose name ends at `at`, names in small letters, values without quotation marks.
std::vector<Attribute> attributesAt(View text, std::size_t at) {
  static constexpr View blanks = " \t\r\n";
  std::vector<Attribute> attributes;
  while (true) {
    at = text.find_first_not_of(" \t\r\n/", at);
    if (at == View::npos || text[at] == '>') return attributes;
    std::size_t end = std::min(text.find_first_of(" \t\r\n/>=", at + 1), text.size());
    Attribute& attribute = attributes.emplace_back(Text::lowercased(text.substr(at, end - at)), "");
    at = text.find_first_not_of(blanks, end);
    if (at == View::npos || text[at] != '=') continue;
    at = text.find_first_not_of(blanks, at + 1);
    if (at == View::npos) return attributes;
    bool quoted = text[at] == '"' || text[at] == '\'';
    end = std::min(quoted ? text.find(text[at], at + 1) : text.find_first_of(" \t\r\n>", at), text.size());
    attribute.second = Text::trimmed(text.substr(at + (quoted ? 1 : 0), end - at - (quoted ? 1 : 0)));
    at = std::min(end + (quoted ? 1 : 0), text.size());
  }
}

/// Each picture of "a.png 1x, b.png 2x"; a comma within a name is part of it.
void addSet(View set, std::vector<std::string>& found) {
  for (std::size_t at = 0; (at = set.find_first_not_of(" \t\r\n,", at)) != View::npos;) {
    std::size_t end = std::min(set.find_first_of(" \t\r\n", at), set.size());
    View name = set.substr(at, end - at);
    bool alone = name.ends_with(',');
    while (name.ends_with(',')) name.remove_suffix(1);
    found.emplace_back(name);
    at = alone ? end : std::min(set.find(',', end), set.size());
  }
}

void addTags(View text, std::vector<std::string>& found) {
  static constexpr std::array<View, 4> tags = {"img", "source", "image", "video"};
  for (std::size_t at = text.find('<'); at != View::npos; at = text.find('<', at + 1)) {
    std::size_t end = std::min(text.find_first_of(" \t\r\n/>", at), text.size());
    std::string tag = Text::lowercased(text.substr(at + 1, end - at - 1));
    if (std::find(tags.begin(), tags.end(), tag) == tags.end()) continue;
    for (const auto& [name, value] : attributesAt(text, end)) {
      if ((name == "src" && tag == "img") || name == "poster" || name == "href") found.push_back(value);
      if (name == "srcset") addSet(value, found);
    }
  }
}

} // namespace

std::optional<TitledMarkdown> titled(std::string_view text) {
  auto lines = linesOf(text);
  for (std::size_t at = 0; at < lines.size(); ++at) {
    if (lines[at].isCode) continue;
    auto title = heading(lines[at].text);
    std::size_t after = at + 1;
    if (!title && isParagraph(lines[at].text) && after < lines.size() && !lines[after].isCode &&
        underlines(lines[after].text)) {
      title = Text::trimmed(lines[at].text);
      ++after;
    }
    if (!title) continue;
    if (title->empty()) return std::nullopt;
    return TitledMarkdown{*title, withoutBlankEnds(joined(lines, 0, at) + joined(lines, after, lines.size()))};
  }
  return std::nullopt;
}

std::vector<std::string> images(std::string_view text) {
  std::string plain = withoutCode(text);
  std::vector<std::string> found, each;
  addInline(plain, labelsOf(plain), found);
  addTags(plain, found);
  for (std::string& name : found) {
    if (std::find(each.begin(), each.end(), name) == each.end()) each.push_back(std::move(name));
  }
  return each;
}

} // namespace kestu::Markdown
