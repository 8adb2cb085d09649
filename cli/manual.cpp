#include "cli/manual.hpp"

#include "core/support/utf8.hpp"
#include "core/support/version.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdio>

namespace kestu::Manual {

namespace {

bool isTopic(const Page& page) { return page.path.starts_with("kestu help "); }

std::string section(const Page& page) { return isTopic(page) ? "7" : "1"; }

std::string name(const Page& page) {
  std::string name = isTopic(page) ? "kestu " + page.path.substr(11) : page.path;
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

/// As it stands, wherever it stands: without what roff would take for its own or draw as another character.
std::string escaped(std::string_view text) {
  std::string result = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
  for (std::size_t at = 0; at < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, at);
    char32_t point = decoded.value;
    if (point == U'\\') {
      result += "\\(rs";
    } else if (point == U'-') {
      result += "\\-";
    } else if (point == U'\'') {
      result += "\\(aq";
    } else if (point == U'"') {
      result += "\\(dq";
    } else if (point == U'`') {
      result += "\\(ga";
    } else if (point == U'^') {
      result += "\\(ha";
    } else if (point == U'~') {
      result += "\\(ti";
    } else if (point >= 0x80) {
      std::array<char, 16> code{};
      std::snprintf(code.data(), code.size(), "\\[u%04X]", static_cast<unsigned>(point));
      result += code.data();
    } else {
      result += text.substr(at, decoded.length);
    }
    at += decoded.length;
  }
  return result;
}

std::string uppercased(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

/// A command line, broken only where the help breaks it.
std::string unbroken(std::string_view line) {
  std::string result = line.starts_with(' ') ? " " : "";
  for (const std::string& piece : piecesOf(line.substr(result.size()))) {
    std::string text = escaped(piece);
    for (std::size_t at = text.find(' '); at != std::string::npos; at = text.find(' ', at + 2))
      text.replace(at, 1, "\\~");
    result += (result.empty() || result == " " ? "" : " ") + text;
  }
  return result;
}

/// What the abstract begins with, for lists of pages.
std::string briefly(const std::string& abstract) {
  std::size_t end = std::min({abstract.find(": "), abstract.find(". "), abstract.size()});
  constexpr std::ptrdiff_t fewest = 4; // blanks; what is shorter says too little: "KestuKit in an app"
  if (std::count(abstract.begin(), abstract.begin() + static_cast<std::ptrdiff_t>(end), ' ') < fewest)
    end = std::min(abstract.find(". "), abstract.size());
  return abstract.substr(0, end == abstract.size() && abstract.ends_with('.') ? end - 1 : end);
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }

/// Text with its empty lines as the ends of paragraphs.
std::string paragraphs(std::string_view text) {
  std::string result;
  for (bool begins = true; !text.empty();) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (!line.empty()) result += (begins ? ".PP\n" : ".br\n") + escaped(line) + "\n";
    begins = line.empty();
  }
  return result;
}

std::string entries(const Page::Section& section) {
  std::string text = ".SH " + escaped(uppercased(section.title)) + "\n";
  for (const Page::Entry& entry : section.entries) {
    if (!section.examples) {
      text += ".TP\n" + bold(entry.head) + "\n" + escaped(entry.text) + "\n";
      continue;
    }
    if (&entry != &section.entries.front()) text += ".PP\n";
    text += "\\fB" + unbroken(entry.head) + "\\fR\n.RS 4\n" + escaped(entry.text) + "\n.RE\n";
  }
  return text;
}

bool isBelow(const Page& upper, const Page& lower) {
  return lower.path.starts_with(upper.path + " ") && !isTopic(lower);
}

/// Whether a page refers to the other: one above it, right below it or a topic.
bool refers(const Page& page, const Page& other) {
  if (isTopic(other)) return other.path != page.path;
  if (isTopic(page)) return other.path == "kestu";
  bool isNext = isBelow(page, other) && other.path.find(' ', page.path.size() + 1) == std::string::npos;
  return isNext || isBelow(other, page);
}

std::string seeAlso(const Page& page, const std::vector<Page>& all) {
  std::string text = ".SH SEE ALSO\n";
  for (const Page& other : all) {
    if (!refers(page, other)) continue;
    if (text.ends_with(")\n")) text.insert(text.size() - 1, ",");
    text += ".BR " + escaped(name(other)) + " (" + section(other) + ")\n";
  }
  return text;
}

} // namespace

std::string fileName(const Page& page) { return name(page) + "." + section(page); }

std::string text(const Page& page, const std::vector<Page>& all) {
  std::string text = ".TH " + escaped(uppercased(name(page))) + " " + section(page) + " \"\" \"kestu " +
                     std::string(CLI::version) + "\" kestu\n.nh\n.ad l\n.SH NAME\n" + escaped(name(page)) + " \\- " +
                     escaped(briefly(page.abstract)) + "\n";
  if (!page.usage.empty())
    text += ".SH SYNOPSIS\n" + bold(page.path) + unbroken(page.usage.substr(page.path.size())) + "\n";
  text += ".SH DESCRIPTION\n" + escaped(page.abstract) + "\n" + paragraphs(page.discussion);
  for (const Page::Section& section : page.sections) text += entries(section);
  return text + seeAlso(page, all);
}

} // namespace kestu::Manual
