#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What the help tells of a command or a topic: data alone, so that it can be kept and told without the command itself.
struct Page {
  /// "-a, --app <app>", and what it means.
  struct Entry {
    std::string head, text;
  };

  struct Section {
    std::string title;
    std::vector<Entry> entries;
    bool examples = false; ///< the heads are lines to run
  };

  std::string path; ///< "kestu assets push", or a topic's "kestu help files"
  std::string abstract;
  std::string discussion; ///< empty where there is no more to say
  std::string usage;      ///< "kestu assets push <version> [options]"; empty for a topic
  std::vector<Section> sections;
  std::string closing; ///< what the page ends with; mostly empty
  bool runs = false;   ///< false for a group, which alone gives its page
};

/// What a command line is broken between: words, "what stands in quotes", <what stands for a value>, each with the
/// option before it.
std::vector<std::string> piecesOf(std::string_view line);

/// The page for the width in columns. No line of it is wider, as far as words are not.
std::string laidOut(const Page& page, int width);

} // namespace kestu
