#include "tests/chaos/seed.hpp"

#include "core/support/files.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <signal.h>

#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>

namespace kestu::chaos {

namespace {

using nlohmann::json;
constexpr int unavailable = 9;
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

bool hasOne(const json& answer, const std::vector<std::string>& keys) {
  return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) { return answer.contains(key); });
}

/// One seed on its way.
class Seed {
 public:
  Seed(World& world, const Road& road, Report& report) : world_(world), road_(road), report_(report) {}

  void wrong(const std::string& what) { report_.wrong.push_back(what); }

  void look(const Ended& ended, bool asJSON) {
    lookAtEnd(ended);
    lookAtMessage(ended);
    lookAtText("standard error", ended.err);
    lookAtText("standard output", ended.out);
    if (!world_.filesWith(world_.token).empty()) wrong("the token is in " + world_.filesWith(world_.token));
    if (ended.signal == 0 && ended.status != 0 && ended.err.empty()) wrong("it says nothing about why it failed");
    if (asJSON && ended.signal == 0 && !ended.out.empty() && !json::accept(ended.out)) wrong("it wrote broken JSON");
    bool isDone = ended.signal == 0 && ended.status == 0;
    if (isDone && !asJSON && ended.out.find(road_.says) == std::string::npos) wrong("it says " + ended.out);
    if (isDone && asJSON && !hasOne(json::parse(ended.out, nullptr, false), road_.keys))
      wrong("its JSON is " + ended.out);
  }

 private:
  /// The status is one that something it met leads to.
  void lookAtEnd(const Ended& ended) {
    std::set<int> expected = {0}, signals;
    if (ended.limited) expected.insert(unavailable);
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

  /// It says what it met that its status comes of.
  void lookAtMessage(const Ended& ended) {
    std::string said;
    for (const std::string& line : Text::split(ended.err, '\n')) said += line.starts_with("debug: ") ? "" : line + "\n";
    std::vector<std::string> expected;
    for (const auto& [trouble, path] : ended.met) {
      if (!statuses(*trouble, path).contains(ended.status)) continue;
      for (std::string& each : words(*trouble, path)) expected.push_back(std::move(each));
    }
    if (ended.status == unavailable && ended.limited) expected.emplace_back("imed out after ");
    if (road_.onceOnly) expected.emplace_back(duplicate);
    if (ended.status == 0) expected.clear();
    bool isExpected = std::any_of(expected.begin(), expected.end(),
                                  [&](const std::string& each) { return said.find(each) != std::string::npos; });
    if (ended.status != 0 && !isExpected) wrong("it says nothing of what it met");
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

/// What is in the home folder beside the changes that waited when they were last looked at.
std::string leftInHome(const World& world) {
  Tree home = World::tree(world.home());
  const std::string waiting = ".local/state/kestu/waiting-changes.json";
  if (home.erase(waiting) == 0 || json::accept(Files::read(world.home() / waiting, 1'000'000).value_or(""))) {
    return differing(home, {});
  }
  return " " + waiting + " is torn.";
}

/// What isn't at the road's end as it is to be.
std::string amissIn(const Road& road, const json& told, const World& world) {
  std::string text;
  for (const auto& [place, value] : road.ends) {
    const json::json_pointer pointer(place);
    const json found = told.contains(pointer) ? told[pointer] : json();
    if (found != value) text += " " + place + " is " + found.dump() + ", not " + value.dump() + ".";
  }
  for (const auto& [path, bytes] : road.files) {
    if (Files::read(world.repo() / path, 1'000'000) != bytes) text += " " + path + " isn't as it is to be.";
  }
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
  const std::string amiss = amissIn(road, plain.after, world) + leftInHome(world);
  if (!amiss.empty()) throw std::runtime_error(road.name + " does something else without any trouble:" + amiss);
  plain.calls = ended.calls;
  plain.approved = world.plans("applied");
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
  int unanswered = 0;                  // runs that left a change without having its answer
  std::optional<std::size_t> approved; // when it first said that it is done
  for (bool isDone = false; !isDone && report.wrong.empty();) {
    std::vector<Trouble> troubles;
    bool isTroubled = report.runs == 0 || (report.runs == 1 && random.oneIn(3));
    for (std::size_t count = isTroubled ? 1 + random.below(3) : 0; count > 0; --count) {
      troubles.push_back(drawn(random, wanted.calls));
    }
    const std::size_t unfinished = world.unfinishedUploads(), plans = world.plans(), waiting = world.plans("waiting");
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
      if (!approved) approved = world.plans("applied");
    } else if (!road.onlyEnds) {
      between(now, wanted.before, wanted.after, "", report.wrong);
    }
    lookAtRepository(world, road, tree, wanted.treeBefore, wanted.treeAfter, killed, report);
    if (world.unfinishedUploads() > unfinished && ended.signal != SIGKILL &&
        ended.err.find("nfinished upload") == std::string::npos &&
        ended.err.find("still uploading") == std::string::npos) {
      seed.wrong("an unfinished upload was left and not told of");
    }
    if (world.plans() > plans && (ended.status != 0 || ended.signal != 0)) {
      const bool isTold = ended.signal == SIGKILL || ended.err.find("may have been sent") != std::string::npos ||
                          ended.err.find("still wait") != std::string::npos ||
                          ended.out.find(asJSON ? "\"plan\"" : road.says) != std::string::npos; // the signal was late
      if (isTold) ++unanswered;
      if (!isTold && world.plans("waiting") > waiting) seed.wrong("a change waits and is not told of");
    }
    if (isTroubled) ++report.outcomes[outcome(ended)];
    if (!isTroubled && road.onceOnly && ended.err.find(duplicate) != std::string::npos) isDone = now == wanted.after;
    if (!isTroubled && !isDone) seed.wrong("without any trouble: " + outcome(ended) + ": " + ended.err);
    if (!report.wrong.empty()) report.wrong.push_back("run " + std::to_string(report.runs) + " said: " + ended.err);
    if (report.runs == mostRuns && !isDone) seed.wrong("it doesn't come to its end");
  }
  if (!report.wrong.empty()) return report;
  report.approvedAgain = static_cast<int>(approved.value_or(wanted.approved)) - static_cast<int>(wanted.approved);
  if (report.approvedAgain > unanswered) seed.wrong("a change was approved again, of which no run had lost the answer");
  world.approveWaiting(); // plans that nobody waits for any more must do no harm
  between(world.told(), wanted.after, wanted.after, "when all that waits is approved, ", report.wrong);
  const std::string left = differing(World::tree(world.repo()), wanted.treeAfter) + leftInHome(world) +
                           differing(World::tree(world.temporary()), {});
  if (!left.empty()) seed.wrong("in the repository or the home folder:" + left);
  return report;
}

} // namespace kestu::chaos
