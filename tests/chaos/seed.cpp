#include "tests/chaos/seed.hpp"

#include "core/support/files.hpp"
#include "core/support/utf8.hpp"

#include <signal.h>

#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>

namespace kestu::chaos {

namespace {

using nlohmann::json;
constexpr const char* duplicate = "takes each build number of a version once";

std::string signalName(int number) {
  return number == SIGKILL ? "SIGKILL" : number == SIGINT ? "SIGINT" : number == SIGTERM ? "SIGTERM" : "a signal";
}

std::string outcome(const Ended& ended) {
  if (ended.hung) return "hung";
  if (ended.signal != 0) return signalName(ended.signal);
  return ended.status == 0 ? "done" : "status " + std::to_string(ended.status);
}

/// The values that stand in neither, by their places; a list counts as one value.
void between(const json& now, const json& before, const json& after, const std::string& place,
             std::vector<std::string>& wrong) {
  if (now == before || now == after) return;
  if (!now.is_object()) {
    wrong.push_back(place + " is " + now.dump(-1, ' ', true) + ", neither what it was (" + before.dump() +
                    ") nor what it is to be (" + after.dump() + ")");
    return;
  }
  std::set<std::string> keys;
  for (const json* each : {&now, &before, &after}) {
    if (each->is_object()) {
      for (const auto& [key, value] : each->items()) keys.insert(key);
    }
  }
  const auto at = [](const json& value, const std::string& key) {
    return value.is_object() && value.contains(key) ? value[key] : json();
  };
  for (const std::string& key : keys) between(at(now, key), at(before, key), at(after, key), place + "/" + key, wrong);
}

/// One seed on its way.
class Seed {
 public:
  Seed(World& world, const Road& road, Report& report) : world_(world), road_(road), report_(report) {}

  void wrong(const std::string& what) { report_.wrong.push_back(what); }

  void look(const Ended& ended, bool json) {
    lookAtEnd(ended);
    lookAtText("standard error", ended.err);
    lookAtText("standard output", ended.out);
    if (ended.signal == 0 && ended.status != 0 && ended.err.empty()) wrong("it says nothing about why it failed");
    if (json && ended.signal == 0 && !ended.out.empty() && !json::accept(ended.out)) wrong("it wrote broken JSON");
  }

 private:
  /// The status is one that something it met leads to.
  void lookAtEnd(const Ended& ended) {
    std::set<int> expected = {0}, signals;
    for (const auto& [trouble, path] : ended.met) {
      expected.merge(statuses(*trouble, path));
      if (trouble->signal != 0) signals.insert(trouble->signal);
    }
    bool isDuplicate = road_.onceOnly && ended.err.find(duplicate) != std::string::npos;
    if (ended.hung) {
      wrong("it hung");
    } else if (ended.signal != 0) {
      if (!signals.contains(ended.signal)) wrong("signal " + std::to_string(ended.signal) + " ended it");
    } else if (!expected.contains(ended.status) && !isDuplicate) {
      wrong("status " + std::to_string(ended.status) + " comes of nothing that it met");
    }
  }

  void lookAtText(const std::string& where, const std::string& text) {
    for (const char* no : {"std::", "exception", "nlohmann", "basic_string", "terminate called", "ssertion",
                           "Sanitizer", "Something went wrong", "signature=", "{\"error", "\xE2\x80\xAE"}) {
      if (text.find(no) != std::string::npos) wrong(where + " holds " + no);
    }
    if (text.find(world_.token) != std::string::npos) wrong(where + " holds the token");
    if (!UTF8::isValid(text)) wrong(where + " isn't UTF-8");
    if (std::any_of(text.begin(), text.end(), [](unsigned char c) { return (c < ' ' && c != '\n') || c == 0x7F; })) {
      wrong(where + " holds a control character");
    }
  }

  World& world_;
  const Road& road_;
  Report& report_;
};

/// The repository between runs: files are whole, and the user's own that are to stay are there.
void lookAtRepository(const World& world, const Road& road, const Tree& now, const Tree& before, const Tree& after,
                      bool killed, Report& report) {
  auto wrong = [&](const std::string& what) { report.wrong.push_back(what); };
  if (!road.writes) {
    if (now != before) wrong("it wrote in the repository");
    return;
  }
  std::set<std::string> known, there;
  for (const Tree* tree : {&before, &after}) {
    for (const auto& [path, md5] : *tree) known.insert(md5);
  }
  for (const auto& [path, md5] : now) {
    there.insert(md5);
    bool isHidden = path.find("/.") != std::string::npos;
    if (isHidden && !killed) wrong(path + " was left behind");
    if (path.ends_with(".json")) {
      if (!json::accept(Files::read(world.repo() / path, 1'000'000).value_or(""))) wrong(path + " is torn");
    } else if (!isHidden && !known.contains(md5)) {
      wrong(path + " isn't whole");
    }
  }
  std::set<std::string> kept;
  for (const auto& [path, md5] : after) kept.insert(md5);
  for (const auto& [path, md5] : before) {
    if (!path.ends_with(".json") && kept.contains(md5) && !there.contains(md5)) wrong(path + " is lost");
  }
}

std::string differing(const Tree& now, const Tree& wanted) {
  std::string text;
  for (const auto& [path, md5] : now) {
    if (!wanted.contains(path)) text += " " + path + " is too much.";
    if (wanted.contains(path) && wanted.at(path) != md5) text += " " + path + " differs.";
  }
  for (const auto& [path, md5] : wanted) text += now.contains(path) ? "" : " " + path + " is missing.";
  return text;
}

} // namespace

const Chaos::Plain& Chaos::plain(std::size_t command, std::size_t variant) {
  auto [at, isNew] = plain_.try_emplace({command, variant});
  Plain& plain = at->second;
  if (!isNew) return plain;
  const Road& road = roads_[command][variant];
  World world;
  road.lay(world);
  plain.before = world.told();
  plain.treeBefore = World::tree(world.repo());
  const Ended ended = run(world, program_, road.words, {});
  if (ended.status != 0 || ended.signal != 0) {
    throw std::runtime_error(road.name + " fails without any trouble: " + ended.err);
  }
  plain.after = world.told();
  plain.treeAfter = World::tree(world.repo());
  plain.home = World::tree(world.home());
  plain.calls = ended.calls;
  plain.approved = world.approved();
  return plain;
}

Report Chaos::seed(std::uint64_t number) {
  Random random(number);
  const std::size_t command = number % roads_.size();
  const std::size_t variant = random.below(roads_[command].size());
  const Road& road = roads_[command][variant];
  const Plain& wanted = plain(command, variant);
  Report report;
  report.command = road.name;
  World world;
  road.lay(world);
  Seed seed(world, road, report);
  std::vector<std::string> words = road.words;
  bool asJSON = random.oneIn(4);
  if (asJSON) words.emplace_back("--json");

  if (random.oneIn(5)) world.variables = {"KESTU_DEBUG=1"};

  constexpr int mostRuns = 4;
  bool killed = false;
  std::optional<std::size_t> approved; // when it first said that it is done
  for (bool isDone = false; !isDone && report.wrong.empty();) {
    std::vector<Trouble> troubles;
    bool isTroubled = report.runs == 0 || (report.runs == 1 && random.oneIn(3));
    for (std::size_t count = isTroubled ? 1 + random.below(3) : 0; count > 0; --count) {
      troubles.push_back(drawn(random, wanted.calls));
    }
    std::size_t unfinished = world.unfinishedUploads();
    const Ended ended = run(world, program_, words, troubles);
    ++report.runs;
    killed = killed || ended.signal == SIGKILL;
    seed.look(ended, asJSON);
    for (const auto& [trouble, path] : ended.met) ++report.met[trouble->name];
    const json now = world.told();
    const Tree tree = World::tree(world.repo());
    if (ended.status == 0 && ended.signal == 0) {
      between(now, wanted.after, wanted.after, "it said that it is done, and ", report.wrong);
      isDone = !isTroubled;
      if (!approved) approved = world.approved();
    } else if (!road.onlyEnds) {
      between(now, wanted.before, wanted.after, "", report.wrong);
    }
    lookAtRepository(world, road, tree, wanted.treeBefore, wanted.treeAfter, killed, report);
    if (world.unfinishedUploads() > unfinished && ended.signal != SIGKILL &&
        ended.err.find("nfinished upload") == std::string::npos &&
        ended.err.find("still uploading") == std::string::npos) {
      seed.wrong("an unfinished upload was left and not told of");
    }
    if (isTroubled) ++report.outcomes[outcome(ended)];
    if (!isTroubled && road.onceOnly && ended.err.find(duplicate) != std::string::npos) isDone = now == wanted.after;
    if (!isTroubled && !isDone) seed.wrong("without any trouble: " + outcome(ended) + ": " + ended.err);
    if (!report.wrong.empty()) report.wrong.push_back("run " + std::to_string(report.runs) + " said: " + ended.err);
    if (report.runs == mostRuns && !isDone) seed.wrong("it doesn't come to its end");
  }
  if (!report.wrong.empty()) return report;
  report.approvedAgain = static_cast<int>(approved.value_or(wanted.approved)) - static_cast<int>(wanted.approved);
  world.approveWaiting(); // plans that nobody waits for any more must do no harm
  between(world.told(), wanted.after, wanted.after, "when all that waits is approved, ", report.wrong);
  const std::string left = differing(World::tree(world.repo()), wanted.treeAfter) +
                           differing(World::tree(world.home()), wanted.home) +
                           differing(World::tree(world.temporary()), {});
  if (!left.empty()) seed.wrong("in the repository or the home folder:" + left);
  return report;
}

} // namespace kestu::chaos
