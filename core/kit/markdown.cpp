#include "core/kit/markdown.hpp"

#include "core/support/text.hpp"

#include <algorithm>
#include <map>

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

/// The text with all code, inline too, written over with blanks.
std::string withoutCode(View text) {
  std::string result;
  for (const Line& line : linesOf(text)) {
    result += (line.isCode ? std::string(line.text.size(), ' ') : std::string(line.text)) + "\n";
  }
  for (std::size_t at = result.find('`'); at != std::string::npos; at = result.find('`', at)) {
    std::size_t run = leading(View(result).substr(at), '`');
    std::string ticks(run, '`');
    std::size_t end = result.find(ticks, at + run);
    while (end != std::string::npos && leading(View(result).substr(end), '`') != run) {
      end = result.find(ticks, end + leading(View(result).substr(end), '`'));
    }
    if (end != std::string::npos) {
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

/// What "[label]: name" defines, by the label as it is compared.
Labels labelsOf(View text) {
  Labels labels;
  for (const std::string& line : Text::split(text, '\n')) {
    View bare = View(line).substr(leading(line, ' '));
    std::size_t end = bare.starts_with('[') ? bare.find("]:") : View::npos;
    if (end == View::npos) continue;
    labels.emplace(Text::folded(bare.substr(1, end - 1)), destination(bare.substr(end + 2)));
  }
  return labels;
}

void addInline(View text, const Labels& labels, std::vector<std::string>& found) {
  for (std::size_t at = text.find("!["); at != View::npos; at = text.find("![", at + 2)) {
    if (at > 0 && text[at - 1] == '\\') continue;
    std::size_t end = closing(text, at + 2);
    if (end == View::npos) continue;
    View rest = text.substr(end + 1);
    if (rest.starts_with('(')) {
      found.push_back(destination(rest.substr(1)));
      continue;
    }
    View label = text.substr(at + 2, end - at - 2);
    std::size_t last = rest.starts_with('[') ? rest.find(']') : View::npos;
    if (last != View::npos && last > 1) label = rest.substr(1, last - 1);
    if (auto known = labels.find(Text::folded(label)); known != labels.end()) found.push_back(known->second);
  }
}

void addTags(View text, std::vector<std::string>& found) {
  std::string lowered(text);
  std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  for (std::size_t at = lowered.find("<img"); at != std::string::npos; at = lowered.find("<img", at + 4)) {
    View tag = text.substr(at, lowered.find('>', at) - at);
    std::size_t source = View(lowered).substr(at, tag.size()).find("src");
    std::size_t equals = source == View::npos ? source : tag.find_first_not_of(" \t\r\n", source + 3);
    if (equals == View::npos || tag[equals] != '=') continue;
    std::size_t begin = tag.find_first_not_of(" \t\r\n", equals + 1);
    if (begin == View::npos) continue;
    bool quoted = tag[begin] == '"' || tag[begin] == '\'';
    std::size_t end = quoted ? tag.find(tag[begin], begin + 1) : tag.find_first_of(" \t\r\n", begin);
    if (quoted) ++begin;
    found.emplace_back(tag.substr(begin, end == View::npos ? end : end - begin));
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
