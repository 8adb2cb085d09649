#include "cli/command.hpp"
#include "cli/command_tree.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"
#include "tests/support/command_lines.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

// Whatever a message tells a person to run has to be there.
namespace kestu::tests {
namespace {

/// What a C++ source's string literals say, those that stand beside each other as one text.
std::vector<std::string> textsOf(const std::string& source) {
  std::vector<std::string> texts;
  bool joins = false;
  for (std::size_t i = 0; i < source.size(); ++i) {
    auto at = [&](const char* word) { return source.compare(i, std::string(word).size(), word) == 0; };
    if (at("//")) {
      i = std::min(source.find('\n', i), source.size());
    } else if (at("/*")) {
      i = source.find("*/", i) + 1;
    } else if (at("R\"(")) {
      std::size_t end = source.find(")\"", i);
      texts.push_back(source.substr(i + 3, end - i - 3));
      i = end + 1;
      joins = true;
    } else if (source[i] == '\'' && i + 2 < source.size() &&
               (i == 0 || !std::isalnum(static_cast<unsigned char>(source[i - 1])))) {
      i = source.find('\'', source[i + 1] == '\\' ? i + 3 : i + 2);
      joins = false;
    } else if (source[i] == '"') {
      if (!joins) texts.emplace_back();
      for (++i; i < source.size() && source[i] != '"'; ++i) {
        bool isEscaped = source[i] == '\\';
        if (isEscaped) ++i;
        texts.back() += isEscaped && source[i] == 'n' ? '\n' : source[i];
      }
      joins = true;
    } else if (!std::isspace(static_cast<unsigned char>(source[i]))) {
      joins = false;
    }
  }
  return texts;
}

/// A command line in a text as far as its words are sure: "kestu kit flags create <key>" of "…, make it: kestu kit …".
struct Mention {
  std::vector<std::string> words; ///< after "kestu"
  bool told = false;              ///< what stands before it says that it is to be run
};

std::vector<Mention> mentionsIn(const std::string& text) {
  const std::string name = "kestu ";
  std::vector<Mention> found;
  for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
    if (at > 0 &&
        (std::isalnum(static_cast<unsigned char>(text[at - 1])) || text[at - 1] == '-' || text[at - 1] == '/'))
      continue;
    Mention mention;
    for (const char* before : {"Next: ", "Run ", "run ", "with: "}) {
      mention.told = mention.told || std::string_view(text).substr(0, at).ends_with(before);
    }
    std::string rest = text.substr(at + name.size());
    rest = rest.substr(0, rest.find_first_of("`|\\\n"));
    for (std::string word : Text::split(rest, ' ')) {
      std::size_t end = word.find_last_not_of(".,;:)\"'");
      bool last = word.empty() || end + 1 < word.size();
      mention.words.push_back(word.substr(0, end == std::string::npos ? 0 : end + 1));
      if (last) break;
    }
    found.push_back(std::move(mention));
  }
  return found;
}

bool isWord(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

/// What is wrong with it; empty where it can be run as far as it goes.
std::string problem(const Command& root, const Mention& mention) {
  const Command& at = commandOf(root, mention.words);
  std::size_t next = Text::split(at.path, ' ').size() - 1;
  if (&at == &root) {
    // "run kestu in its repo" and a word that is added at run time name no command.
    bool prose = mention.words[0].empty() || mention.words[0] == "in" || mention.words[0] == "help";
    return mention.told && !prose ? "no command " + mention.words[0] : "";
  }
  if (at.takesAnything) return at.path + " isn't built";
  if (!at.run && next < mention.words.size() && isWord(mention.words[next]) && mention.told) {
    return at.path + " has no command " + mention.words[next];
  }
  for (; next < mention.words.size(); ++next) {
    static const std::set<std::string> everywhere = {"--", "--help", "--version"};
    std::string option = mention.words[next].substr(0, mention.words[next].find('='));
    if (option.starts_with("--") && isWord(option) && !everywhere.contains(option) && !optionOf(at, option)) {
      return at.path + " has no option " + option;
    }
  }
  return "";
}

TEST(CommandTexts, EachCommandThatIsNamedCanBeRun) {
  const std::filesystem::path root = KESTU_SOURCES;
  Command tree = rootCommand("*");
  std::size_t count = 0;
  std::set<std::string> problems;
  auto look = [&](const std::string& where, const std::string& text) {
    for (const Mention& mention : mentionsIn(text)) {
      ++count;
      if (std::string wrong = problem(tree, mention); !wrong.empty()) problems.insert(wrong + "  (" + where + ")");
    }
  };
  for (const char* folder : {"cli", "core", "sandbox", "docs"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
      if (!entry.is_regular_file()) continue;
      std::string where = entry.path().lexically_relative(root).string();
      std::string source = Files::read(entry.path(), 4'194'304).value_or("");
      if (!where.ends_with(".cpp") && !where.ends_with(".hpp")) {
        look(where, source);
        continue;
      }
      for (const std::string& text : textsOf(source)) look(where, text);
    }
  }
  look("README.md", Files::read(root / "README.md", 4'194'304).value_or(""));
  EXPECT_GT(count, 100U);
  std::string all;
  for (const std::string& each : problems) {
    // A family that the tree lists and this version hasn't.
    if (!each.starts_with("kestu reviews isn't built")) all += each + "\n";
  }
  EXPECT_EQ(all, "");
}

TEST(CommandTexts, WhatCanNotBeRunIsFound) {
  Command tree = rootCommand("*");
  for (const auto& [source, wrong] : std::vector<std::pair<std::string, std::string>>{
           {"\"Run kestu lo\"\n \"gin.\"", ""},
           {"\"Next: kestu apps --json\"", ""},
           {"\"Next: kestu kit flags create -- -beta.\"", ""},
           {"\"the kestu app\" // Run kestu nothing", ""},
           {"\"Run kestu lo\" + x + \"gin.\"", "no command lo"},
           {"'\"', \"Next: kestu apps --jsn\"", "kestu apps has no option --jsn"},
           {"\"Next: kestu kit flags make x\"", "kestu kit flags has no command make"},
       }) {
    SCOPED_TRACE(source);
    std::string found;
    for (const std::string& text : textsOf(source)) {
      for (const Mention& mention : mentionsIn(text)) found += problem(tree, mention);
    }
    EXPECT_EQ(found, wrong);
  }
}

} // namespace
} // namespace kestu::tests
