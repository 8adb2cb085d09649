#include "core/project/git.hpp"

#include "core/support/tasks.hpp"

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>
#include <system_error>

namespace kestu {

namespace {

/// More of them are asked for by folder: git compares every entry that it meets with every path.
constexpr std::size_t mostPaths = 200;
/// Far below what any system takes as arguments.
constexpr std::size_t mostBytes = 65'536;

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The message's first line, as "not a git repository (…)".
std::string reason(const ProcessResult& result) {
  if (result.end == ProcessResult::End::tooLong) return "git took too long";
  std::string_view line = std::string_view(result.err).substr(0, result.err.find('\n'));
  for (std::string_view lead : {"fatal: ", "error: "}) {
    if (line.starts_with(lead)) line.remove_prefix(lead.size());
  }
  return line.empty() ? "git failed here" : std::string(line);
}

const std::string& output(const ProcessResult& result) {
  if (!result.succeeded()) throw Failure(reason(result));
  return result.out;
}

std::string_view takeUntil(std::string_view& text, char end) {
  std::string_view piece = text.substr(0, text.find(end));
  text.remove_prefix(std::min(text.size(), piece.size() + 1));
  return piece;
}

bool small(const std::vector<std::string>& paths) {
  std::size_t bytes = 0;
  for (const auto& path : paths) bytes += path.size() + 1;
  return paths.size() <= mostPaths && bytes <= mostBytes;
}

/// What to ask git for: the paths, or where they are too many their folders.
std::vector<std::string> asked(const std::vector<std::string>& paths) {
  if (small(paths)) return paths;
  std::set<std::string> folders;
  for (const auto& path : paths) {
    auto slash = path.rfind('/');
    if (slash == std::string::npos) return {"."};
    folders.insert(path.substr(0, slash));
  }
  std::vector<std::string> list(folders.begin(), folders.end());
  return small(list) ? list : std::vector<std::string>{"."};
}

/// The work tree's paths of what was asked for, and what is known of them.
class Dates {
 public:
  Dates(const std::vector<std::string>& paths, const std::string& prefix) {
    for (const auto& path : paths) wanted_.emplace(prefix + path, path);
  }

  /// The first date told of a path stays.
  void tell(std::string_view path, Moment date) {
    if (auto found = wanted_.find(path); found != wanted_.end()) dates.emplace(found->second, date);
  }
  void tellAllIn(std::string_view folder, Moment date) {
    for (auto at = wanted_.lower_bound(folder); at != wanted_.end() && at->first.starts_with(folder); ++at) {
      dates.emplace(at->second, date);
    }
  }

  std::map<std::string, Moment> dates;

 private:
  std::map<std::string, std::string, std::less<>> wanted_;
};

/// Of `git status --porcelain -z`: "XY path", and of a rename its old path as an entry of its own.
void readStatus(std::string_view text, Moment now, Dates& dates) {
  while (!text.empty()) {
    std::string_view entry = takeUntil(text, '\0');
    if (entry.size() < 4) continue;
    std::string_view path = entry.substr(3);
    if (entry.substr(0, 2).find_first_of("RC") != std::string_view::npos) takeUntil(text, '\0');
    // A repository inside this one is an entry that ends with a slash.
    if (path.ends_with('/')) {
      dates.tellAllIn(path, now);
    } else {
      dates.tell(path, now);
    }
  }
}

/// Of `git log -z --name-only --format=/%ct`, newest first. No path in git begins with a slash, so such an entry is a
/// commit's; its first path comes after a line feed, or for a merge after an empty entry.
void readLog(std::string_view text, Dates& dates) {
  Moment date{};
  bool first = false;
  while (!text.empty()) {
    std::string_view entry = takeUntil(text, '\0');
    if (entry.starts_with('/')) {
      std::int64_t seconds = 0;
      std::from_chars(entry.data() + 1, entry.data() + entry.size(), seconds);
      date = Moment(std::chrono::seconds(seconds));
      first = true;
      continue;
    }
    if (first && entry.starts_with('\n')) entry.remove_prefix(1);
    first = false;
    if (!entry.empty()) dates.tell(entry, date);
  }
}

/// A path as git knows it, with the links on its way followed; none when that leads out of the folder.
std::optional<std::string> realPath(const std::string& path, const std::filesystem::path& root) {
  std::error_code failed;
  auto folder = std::filesystem::weakly_canonical(root, failed);
  auto file = std::filesystem::weakly_canonical(root / path, failed);
  std::string under = file.lexically_relative(folder).generic_string();
  if (failed || under.empty() || under.starts_with("..")) return std::nullopt;
  return under;
}

std::vector<std::string> joined(std::vector<std::string> arguments, const std::vector<std::string>& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

} // namespace

ProcessResult SystemGit::run(const std::vector<std::string>& arguments, const std::filesystem::path& root) const {
  ProcessRequest request;
  // A monitor that the repository's settings name would be a program of its own.
  request.arguments =
      joined({program_, "--no-pager", "--literal-pathspecs", "-c", "core.quotePath=false", "-c", "core.fsmonitor=false",
              "-c", "log.showRoot=true", "-c", "log.showSignature=false", "-c", "diff.relative=false"},
             arguments);
  request.folder = root;
  request.environment = {
      {"LC_ALL", "C"}, {"GIT_OPTIONAL_LOCKS", "0"}, {"GIT_TERMINAL_PROMPT", "0"}, {"GIT_NO_LAZY_FETCH", "1"}};
  // Set by a hook that kestu runs in, they would name another repository or another index.
  request.without = {"GIT_DIR",
                     "GIT_WORK_TREE",
                     "GIT_INDEX_FILE",
                     "GIT_PREFIX",
                     "GIT_COMMON_DIR",
                     "GIT_NAMESPACE",
                     "GIT_OBJECT_DIRECTORY",
                     "GIT_ALTERNATE_OBJECT_DIRECTORIES",
                     "GIT_GLOB_PATHSPECS",
                     "GIT_NOGLOB_PATHSPECS",
                     "GIT_ICASE_PATHSPECS",
                     "GIT_EXTERNAL_DIFF"};
  return Process::run(request, stop_);
}

Git::Changes SystemGit::lastChanged(const std::vector<std::string>& paths, const std::filesystem::path& root,
                                    Moment now) {
  if (paths.empty()) return {};
  std::map<std::string, std::vector<std::string>> byReal; // several may be links to one
  for (const auto& path : paths) {
    auto real = realPath(path, root);
    if (!real) return {.unknown = path + " lies outside the repository"};
    byReal[*real].push_back(path);
  }
  std::vector<std::string> reals;
  for (const auto& [real, names] : byReal) reals.push_back(real);
  try {
    auto where = run({"rev-parse", "--is-shallow-repository", "--is-inside-work-tree", "--show-prefix"}, root);
    std::string_view facts = output(where);
    if (takeUntil(facts, '\n') == "true") return {.unknown = "this is a shallow clone"};
    if (takeUntil(facts, '\n') != "true") return {.unknown = "this is no git work tree"};
    if (facts.ends_with('\n')) facts.remove_suffix(1);
    Dates dates(reals, std::string(facts));
    auto pathspecs = asked(reals);
    auto status =
        run(joined({"status", "--porcelain", "-z", "--untracked-files=all", "--no-renames", "--"}, pathspecs), root);
    readStatus(output(status), now, dates);
    auto log =
        run(joined({"log", "-z", "-c", "--name-only", "--no-renames", "--no-color", "--format=tformat:/%ct", "--"},
                   pathspecs),
            root);
    // So long a history is cut at its old end, behind the last whole entry.
    if (log.end == ProcessResult::End::tooMuchOutput) {
      log.out.resize(log.out.rfind('\0') + 1);
    } else if (!log.succeeded() && run({"rev-parse", "--verify", "--quiet", "HEAD"}, root).succeeded()) {
      throw Failure(reason(log));
    }
    readLog(log.out, dates);
    Changes changes;
    for (const auto& [real, date] : dates.dates) {
      for (const auto& name : byReal[real]) changes.dates.emplace(name, date);
    }
    return changes;
  } catch (const Failure& failure) {
    return {.unknown = failure.what()};
  } catch (const std::system_error&) {
    return {.unknown = "git can't be run"};
  }
}

std::map<std::string, Moment> SystemGit::lastCommitted(const std::vector<std::string>& paths,
                                                       const std::filesystem::path& root) {
  std::vector<std::optional<Moment>> dates(paths.size());
  fewAtOnce(paths.size(), 4, stop_, [&](std::size_t i, const std::stop_token&) {
    auto real = realPath(paths[i], root);
    if (!real) return;
    try {
      auto log = run({"log", "-1", "--no-color", "--format=tformat:%ct", "--", *real}, root);
      std::int64_t seconds = 0;
      const char* end = log.out.data() + log.out.size();
      bool read = std::from_chars(log.out.data(), end, seconds).ec == std::errc();
      if (log.succeeded() && read) dates[i] = Moment(std::chrono::seconds(seconds));
    } catch (const std::system_error&) {
      return;
    }
  });
  std::map<std::string, Moment> found;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    if (dates[i]) found.emplace(paths[i], *dates[i]);
  }
  return found;
}

bool SystemGit::isTracked(const std::string& path, const std::filesystem::path& root) {
  try {
    // Asked where the file really lies, which may be behind a link or in a repository inside this one.
    auto file = std::filesystem::weakly_canonical(root / path);
    return run({"ls-files", "--error-unmatch", "--", file.filename().string()}, file.parent_path()).succeeded();
  } catch (const std::system_error&) {
    return false;
  }
}

} // namespace kestu
