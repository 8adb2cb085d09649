#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// A command as its help tells it: data alone, so that it can be kept and told without the command itself.
struct Page {
  /// "-a, --app <app>", and what it means.
  struct Entry {
    std::string head, text;
  };

  std::string path; ///< "kestu assets push"
  std::string abstract;
  std::string discussion; ///< empty where there is no more to say
  std::string usage;      ///< "kestu assets push <version> [options]"
  std::vector<Entry> arguments;
  std::vector<Entry> commands;
  std::vector<Entry> options;
  bool runs = false; ///< false for a group, which alone gives its page
};

/// The page for the width in columns.
std::string laidOut(const Page& page, int width);

} // namespace kestu
