#include "tests/chaos/trouble.hpp"

#include <signal.h>

#include <map>
#include <vector>

namespace kestu::chaos {

namespace {

const std::vector<std::string> refusals = {
    "",
    R"({"error":"chaos"})",
    R"({"error":"scope_required","scope":"release"})",
    R"({"error":"app_not_granted"})",
    R"({"error":"agent_quota","limit":"week","resetsAt":"2026-12-01T10:00:00Z"})",
    R"({"message":"No\u001b[31m room\u0007 for \u202ethat.\r\nLook again."})",
    R"({"message":12,"error":[]})",
    "<html><body>Bad gateway</body></html>",
    "\xFF\xFE\x1B]0;title\x07",
};

const std::vector<std::string> nonsense = {
    "",
    "null",
    "[]",
    "{}",
    "7",
    R"("text")",
    "not JSON",
    R"({"plan":{"id":)",
    std::string(600, '['),
    R"({"apps":[7],"versions":{},"builds":"x","languages":7,"displays":3,"storefronts":[{}],"waits":"yes"})",
    R"({"apps":{},"versions":[{}],"builds":[{}],"languages":[{}],"uploads":[{}],"plan":[],"uploadId":4,"parts":{}})",
    "\xFF\xFE\x1B[2J",
};

sandbox::Fault refusal(Random& random, Trouble& trouble) {
  static const std::vector<int> all = {401, 403, 404, 409, 410, 418, 426, 429, 500, 503};
  sandbox::Fault fault;
  fault.status = random.of(all);
  fault.body = random.of(refusals);
  trouble.name = std::to_string(fault.status);
  if ((fault.status == 429 || fault.status == 503) && random.oneIn(2)) {
    const std::vector<std::string> waits = {"1", "5", "3600", "Sat, 21 Nov 2026 12:00:00 GMT", "later"};
    fault.headers["Retry-After"] = random.of(waits);
    trouble.name += " with Retry-After";
  }
  fault.made = fault.status >= 500 && random.oneIn(3);
  return fault;
}

sandbox::Fault signalled(Random& random, Trouble& trouble) {
  const std::vector<std::pair<int, const char*>> all = {
      {SIGKILL, "SIGKILL"}, {SIGKILL, "SIGKILL"}, {SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}};
  const auto& [number, name] = random.of(all);
  trouble.signal = number;
  trouble.name = name;
  sandbox::Fault fault;
  if (random.oneIn(2)) trouble.later = std::chrono::milliseconds(random.below(25));
  fault.made = !random.oneIn(3);
  fault.cut = !fault.made;
  if (random.oneIn(3)) fault.delay = std::chrono::milliseconds(random.below(20));
  return fault;
}

sandbox::Fault faultOf(Random& random, Trouble& trouble) {
  sandbox::Fault fault;
  switch (random.below(12)) {
  case 0:
  case 1:
  case 2:
    return refusal(random, trouble);
  case 3:
  case 4:
  case 5:
    return signalled(random, trouble);
  case 6:
    trouble.name = "cut short";
    fault.half = true;
    break;
  case 7:
    trouble.name = "dropped before the call";
    fault.cut = true;
    break;
  case 8:
    trouble.name = "dropped after the call";
    fault.cut = fault.made = true;
    break;
  case 9:
    trouble.name = "expired address";
    trouble.expires = true;
    break;
  case 10:
    trouble.outlasts = random.below(100) < 50;
    trouble.name = trouble.outlasts ? "time-out" : "delay";
    fault.delay = trouble.outlasts ? std::chrono::seconds(10) : std::chrono::milliseconds(5 + random.below(40));
    fault.cut = trouble.outlasts && random.oneIn(2);
    break;
  default:
    trouble.name = "wrong JSON";
    fault.status = 200;
    fault.body = random.of(nonsense);
    fault.made = true;
  }
  return fault;
}

bool isTransfer(const std::string& path) { return path.starts_with("/upload/") || path.starts_with("/files/"); }

} // namespace

Trouble drawn(Random& random, std::size_t calls) {
  Trouble trouble;
  trouble.fault = faultOf(random, trouble);
  sandbox::Fault& fault = trouble.fault;
  if (random.oneIn(3)) {
    // One kind of call, maybe for good.
    static const std::vector<std::string> paths = {"/upload/", "/files/", "/v1/plans/", "/v1/apps/1234567890/"};
    static const std::vector<int> times = {1, 2, 3, 7, -1};
    fault.path = random.of(paths);
    fault.skip = static_cast<int>(random.below(4));
    if (trouble.signal == 0) fault.times = random.of(times);
  } else {
    fault.skip = static_cast<int>(random.below(calls + 1));
    if (random.oneIn(3) && trouble.signal == 0) fault.times = 3;
  }
  if (trouble.expires) {
    fault.path = "/upload/";
    fault.skip = static_cast<int>(random.below(6));
  }
  return trouble;
}

std::set<int> statuses(const Trouble& trouble, const std::string& path) {
  constexpr int failed = 1, unavailable = 9;
  const sandbox::Fault& fault = trouble.fault;
  if (trouble.expires) return {failed};
  if (fault.cut || fault.half || fault.status == 200 || trouble.outlasts) return {unavailable};
  if (fault.status == 0) return {};
  if (isTransfer(path)) return {fault.status == 429 || fault.status >= 500 ? unavailable : failed};
  const auto says = [&](const char* words) { return fault.body.find(words) != std::string::npos; };
  if (fault.status == 403 && (says("scope_required") || says("app_not_granted") || says(R"("message":")"))) {
    constexpr int notAllowed = 4;
    return {notAllowed};
  }
  static const std::map<int, int> mapped = {{401, 3}, {404, 7}, {426, 11}, {429, 8}, {500, 9}, {503, 9}};
  const auto found = mapped.find(fault.status);
  return {found == mapped.end() ? failed : found->second};
}

std::vector<std::string> words(const Trouble& trouble, const std::string& path) {
  const sandbox::Fault& fault = trouble.fault;
  const std::string number = std::to_string(trouble.expires ? 403 : fault.status);
  const bool isRefusal = trouble.expires || (fault.status != 0 && fault.status != 200);
  if (isTransfer(path)) {
    static const std::set<std::string> renewed = {"401", "403", "404", "410"};
    const std::string reason = "(" + number + (renewed.contains(number) ? ": its address may have expired" : "");
    std::vector<std::string> all;
    for (const char* what : {"Apple took no part of ", "Apple didn't take all of ", "Couldn't download "}) {
      if (path.starts_with("/files/") == (what[0] == 'C')) all.emplace_back(isRefusal ? reason : what);
    }
    return all;
  }
  if (!isRefusal)
    return {fault.status == 200 ? "wasn't what this version of the CLI expects" : "Couldn't reach kestu: "};
  struct Row {
    int status;
    const char* says; ///< in the refusal
    const char* words;
  };
  static const std::vector<Row> rows = {
      {401, "", "kestu no longer takes this sign-in"},
      {426, "", "kestu CLI 1.1.2 is too old to use now"},
      {403, "scope_required", "Run kestu login again and tick Releases"},
      {403, "app_not_granted", "This sign-in doesn't cover that app."},
      {429, "agent_quota", "Over the account's calls for this week until "},
      {0, R"("message":")", "No\\u{1b}[31m room\\u{7} for \\u{202e}that.\nLook again.\n"},
      {429, "", "Too many requests. Try again in a minute."},
      {404, "", "Not found."},
      {500, "", "kestu couldn't answer (500). Try again in a moment."},
      {503, "", "kestu couldn't answer (503). Try again in a moment."},
      {0, "", "kestu refused that ("}};
  for (const Row& row : rows) {
    const bool isOf = row.status == 0 || row.status == fault.status;
    if (isOf && fault.body.find(row.says) != std::string::npos) {
      return {row.words + (row.says[0] == '\0' && row.status == 0 ? number : "")};
    }
  }
  return {};
}

} // namespace kestu::chaos
