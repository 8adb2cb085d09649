#include "cli/command_tree.hpp"
#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/support/process.hpp"
#include "core/support/text.hpp"
#include "tests/support/command_lines.hpp"
#include "tests/support/release_test.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <set>

// Tables as other programs read them: CSV by Python's reader, Markdown by one that knows nothing but its rules.
namespace kestu::tests {
namespace {

using Cells = std::vector<std::vector<std::string>>;

const std::string start = "=1+1|\\|\"b\", c\\<b>*x*_y_[l](u)`&lt;~~";
const std::string hostile = start + "\n\r'@d\xF0\x9F\x8C\xA6\\";

/// By name, the rows that Python's csv module finds in each file of the folder.
std::map<std::string, Cells> readByPython(const std::filesystem::path& folder) {
  const char* script = "import csv, json, os, sys\n"
                       "rows = lambda f: list(csv.reader(open(f, newline='', encoding='utf-8'), strict=True))\n"
                       "print(json.dumps({f: rows(f) for f in os.listdir('.')}))\n";
  auto result = Process::run({.arguments = {"python3", "-c", script}, .folder = folder}, {});
  EXPECT_TRUE(result.succeeded()) << result.err;
  return nlohmann::json::parse(result.out).get<std::map<std::string, Cells>>();
}

/// A table of GitHub's Markdown: cells between bars, what follows a backslash as it stands, <br> for a line's end.
Cells readMarkdown(const std::string& text) {
  Cells rows;
  for (const std::string& line : Text::split(text.substr(0, text.rfind('\n')), '\n')) {
    EXPECT_TRUE(begins(line, "| "));
    std::vector<std::string> cells = {""};
    for (std::size_t i = 1; i < line.size(); ++i) {
      if (line[i] == '|') {
        cells.emplace_back();
      } else if (line.compare(i, 4, "<br>") == 0) {
        cells.back() += '\n';
        i += 3;
      } else {
        EXPECT_EQ(std::string_view("<*[`~").find(line[i]), std::string_view::npos) << "markup: " << line;
        cells.back() += line[i == line.size() - 1 || line[i] != '\\' ? i : ++i];
      }
    }
    EXPECT_EQ(cells.back(), "") << "ends with a bar: " << line;
    cells.pop_back();
    for (std::string& cell : cells) {
      EXPECT_TRUE(cell.size() >= 2 && cell.starts_with(' ') && cell.ends_with(' ')) << line;
      cell = cell.substr(1, cell.size() - 2);
    }
    rows.push_back(std::move(cells));
  }
  EXPECT_TRUE(rows.size() > 1 && rows[1] == std::vector<std::string>(rows[0].size(), "---")) << text;
  if (rows.size() > 1) rows.erase(rows.begin() + 1);
  return rows;
}

TEST(Tables, AreReadByOthersAsTheyWere) {
  Table table{{"Name", "Note, \"all\""},
              {{hostile, "-5"}, {" +1 ", "@a\tb"}, {"\"", "\n"}, {"", "\r"}, {"a\r\nb", "|"}}};
  Cells rows = table.rows;
  rows.insert(rows.begin(), table.headings);
  TemporaryFolder folder;
  folder.write("table.csv", Format::csv(table));
  EXPECT_EQ(readByPython(folder.path())["table.csv"], rows);
  for (auto& row : rows) {
    for (std::string& cell : row) { // a line's end is one, of whatever kind
      for (std::size_t at = cell.find("\r\n"); at != std::string::npos; at = cell.find("\r\n")) cell.erase(at, 1);
      std::replace(cell.begin(), cell.end(), '\r', '\n');
    }
  }
  EXPECT_EQ(readMarkdown(Format::markdown(table)), rows);
}

class CommandTables : public ReleaseRoadTest {
 protected:
  CommandTables() {
    server.withState([](sandbox::State& state) {
      auto& kit = state.kit;
      state.app(1234567890)->name = hostile;
      kit.flags[1234567890].front().notes = hostile;
      kit.experiments[1234567890].front().name = hostile;
      kit.prompts[1234567890].front().promptId = hostile;
      state.testFlight.groups.front().name = hostile;
      for (auto& event : state.events.events) event.fields["name"] = hostile;
      state.offers.codes.push_back(
          {1234567890, "offer-1", hostile, "com.example.daylight.tip", {"nonspender"}, {}, {{"se", 100}}});
    });
    repo.write("metadata/listing/en-US.json", nlohmann::json{{"supportUrl", hostile}}.dump());
    repo.write("App/A.swift", "let on = KestuFlags.isOn(\"none\")\n");
  }

  /// No line but one to be copied is wider than the window.
  void expectFits(const std::string& command) {
    terminal.outIsTerminal = true;
    for (int width : {40, 50, 80}) {
      terminal.windowColumns = width;
      for (const std::string& line : Text::split(TextStyle::plain(run(command).out), '\n')) {
        bool copied = line.find("kestu ") != std::string::npos || line.find("https://") != std::string::npos;
        EXPECT_TRUE(copied || Text::columns(line) <= static_cast<std::size_t>(width)) << width << ": " << line;
      }
    }
    terminal.outIsTerminal = false;
  }
};

TEST_F(CommandTables, AreTheSameAsCSVAndAsMarkdown) {
  // A cell has the text that was planted.
  const std::set<std::string> planted = {
      "apps",        "kit flags list",         "kit experiments list", "kit update-prompts list",
      "builds list", "metadata validate",      "release check 1.2",    "events",
      "events list", "events view 6500000001", "offer-codes list"};
  std::vector<std::string> lines = {"kit whats-new list",
                                    "versions list",
                                    "assets sizes",
                                    "assets screenshots sizes",
                                    "assets previews sizes",
                                    "assets header sizes",
                                    "assets search-results sizes",
                                    "prices tiers --country se",
                                    "intro-offers list"};
  lines.insert(lines.end(), planted.begin(), planted.end());
  TemporaryFolder folder;
  std::map<std::string, Cells> tables;
  std::set<std::string> seen, commands;
  const Command tree = rootCommand("*");
  for (const std::string& line : lines) {
    SCOPED_TRACE(line);
    seen.insert(commandOf(tree, wordsOf(line)).path);
    Ran csv = run(line + " -ocsv");
    EXPECT_LE(csv.status, 1) << csv.err;
    folder.write(line, csv.out);
    tables[line] = readMarkdown(run(line + " -omd").out);
    expectFits(line);
  }
  for (const auto& [line, rows] : readByPython(folder.path())) {
    SCOPED_TRACE(line);
    EXPECT_EQ(rows, tables[line]);
    EXPECT_GT(rows.size(), 1U);
    bool isThere = false;
    for (const auto& row : rows) {
      EXPECT_EQ(row.size(), rows[0].size());
      for (const std::string& cell : row) isThere = isThere || has(cell, start);
    }
    EXPECT_EQ(isThere, planted.contains(line));
  }
  for (const char* line : {"status", "whoami", "kit experiments view exp-radar"}) expectFits(line);
  eachGiving(tree, "csv", [&](const Command& command) { commands.insert(command.path); });
  EXPECT_EQ(seen, commands);
}

} // namespace
} // namespace kestu::tests
