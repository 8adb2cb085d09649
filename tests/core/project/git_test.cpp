#include "core/project/git.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kestu::tests {
namespace {

const Moment now = Moment(std::chrono::seconds(2'000'000'000));
const Moment uncommitted = now;

Moment day(int count) { return Moment(std::chrono::hours(24 * count)); }

/// A repository whose commits are dated in days since 1970.
class Repository {
 public:
  explicit Repository(const std::filesystem::path& folder) : folder_(folder) { git({"init", "-q", "-b", "main"}); }

  void git(const std::vector<std::string>& arguments, int onDay = 0, bool mayFail = false) const {
    ProcessRequest request{.arguments = {"git", "-c", "user.name=Ada", "-c", "user.email=ada@example.com"},
                           .folder = folder_,
                           .environment = {{"GIT_AUTHOR_DATE", "@86400 +0000"}, // which counts for nothing
                                           {"GIT_COMMITTER_DATE", "@" + std::to_string(86'400 * onDay) + " +0500"},
                                           {"GIT_CONFIG_GLOBAL", "/dev/null"},
                                           {"GIT_CONFIG_SYSTEM", "/dev/null"}}};
    request.arguments.insert(request.arguments.end(), arguments.begin(), arguments.end());
    auto result = Process::run(request, {});
    if (!mayFail && !result.succeeded()) throw std::runtime_error(arguments.front() + ": " + result.err);
  }
  void commit(int onDay) const {
    git({"add", "-A"});
    git({"commit", "-q", "-m", "A change\n\n/86400"}, onDay);
  }

 private:
  std::filesystem::path folder_;
};

using Dates = std::map<std::string, Moment>;

TEST(Git, SaysWhenEachFileLastChanged) {
  TemporaryFolder folder;
  Repository repository(folder.path());
  auto write = [&](std::initializer_list<const char*> names, std::string_view bytes) {
    for (const char* name : names) folder.write(name, bytes);
  };
  write({".gitignore"}, "ignored\n");
  write({"app/en.json", "app/de.json", "app/fr.json", "app/it.json", "app/x [a]*?.json", "app/\nnew\tline",
         "app/K\xC3\xB6ln.json", "outside", "app/old.json"},
        "1");
  repository.commit(1);
  write({"app/de.json"}, "2");
  repository.commit(2);
  repository.git({"checkout", "-q", "-b", "side", "HEAD~"});
  write({"app/fr.json", "app/it.json"}, "side");
  repository.commit(3);
  repository.git({"checkout", "-q", "main"});
  write({"app/fr.json"}, "main");
  repository.commit(4);
  repository.git({"merge", "-q", "side"}, 6, true);
  write({"app/fr.json"}, "both");
  repository.commit(6);
  repository.git({"mv", "app/old.json", "app/renamed.json"});
  write({"outside"}, "2");
  repository.commit(7);
  write({"app/en.json", "app/untracked/a b.json", "ignored", "app/staged"}, "3");
  repository.git({"add", "app/staged"});
  // What a hook would set for another repository.
  setenv("GIT_DIR", "/nowhere", 1);
  auto found = SystemGit().lastChanged({"en.json", "de.json", "fr.json", "it.json", "x [a]*?.json", "\nnew\tline",
                                        "K\xC3\xB6ln.json", "renamed.json", "old.json", "untracked/a b.json", "staged",
                                        "never.json", "ignored"},
                                       folder.path() / "app", now);
  unsetenv("GIT_DIR");
  EXPECT_EQ(found.unknown, std::nullopt);
  EXPECT_EQ(found.dates, (Dates{{"en.json", uncommitted},
                                {"de.json", day(2)},
                                {"fr.json", day(6)}, // the merge decided it
                                {"it.json", day(3)}, // the merge took it as it was
                                {"x [a]*?.json", day(1)},
                                {"\nnew\tline", day(1)},
                                {"K\xC3\xB6ln.json", day(1)},
                                {"renamed.json", day(7)},
                                {"old.json", day(7)},
                                {"untracked/a b.json", uncommitted},
                                {"staged", uncommitted}}));

  std::vector<std::string> many = {"app/de.json", "outside"};
  for (int i = 0; i < 20'000; ++i) many.push_back("app/" + std::string(200, 'n') + std::to_string(i));
  EXPECT_EQ(SystemGit().lastChanged(many, folder.path(), now).dates,
            (Dates{{"app/de.json", day(2)}, {"outside", day(7)}}));

  for (const char* path : {"de.json", "K\xC3\xB6ln.json", "staged", "../outside"})
    EXPECT_TRUE(SystemGit().isTracked(path, folder.path() / "app")) << path;
  for (const char* path : {"*.json", "untracked/a b.json", "--", "old.json"})
    EXPECT_FALSE(SystemGit().isTracked(path, folder.path() / "app")) << path;
}

TEST(Git, AFileByItselfIsDatedAsItWasDecided) {
  TemporaryFolder folder;
  Repository repository(folder.path());
  folder.write("en.json", "1");
  folder.write("de.json", "1");
  repository.commit(1);
  repository.git({"checkout", "-q", "-b", "side"});
  folder.write("en.json", "side");
  folder.write("de.json", "side");
  repository.commit(5);
  repository.git({"checkout", "-q", "main"});
  folder.write("x", "main");
  repository.commit(3);
  repository.git({"merge", "-q", "--no-commit", "side"}, 6);
  folder.write("en.json", "1"); // the merge takes one file from the branch, and passes the other over
  repository.commit(6);
  folder.write("new.json", "1");
  SystemGit git;
  EXPECT_TRUE(git.lastChanged({"de.json", "en.json"}, folder.path(), now).dates.at("en.json") == day(5)) << "at once";
  EXPECT_EQ(git.lastCommitted({"de.json", "en.json", "new.json", "../x"}, folder.path()),
            (Dates{{"de.json", day(5)}, {"en.json", day(1)}}));
}

TEST(Git, FollowsLinks) {
  TemporaryFolder folder, other;
  Repository repository(folder.path());
  folder.write("real/de/name.txt", "1");
  repository.commit(3);
  std::filesystem::create_directory_symlink("real", folder.path() / "metadata");
  std::filesystem::create_directory_symlink(other.path(), folder.path() / "away");
  repository.commit(5);
  auto changes = SystemGit().lastChanged({"metadata/de/name.txt", "real/de/name.txt"}, folder.path(), now);
  EXPECT_EQ(changes.dates, (Dates{{"metadata/de/name.txt", day(3)}, {"real/de/name.txt", day(3)}}));
  EXPECT_TRUE(SystemGit().isTracked("metadata/de/name.txt", folder.path()));
  EXPECT_EQ(SystemGit().lastChanged({"away/a.txt"}, folder.path(), now).unknown,
            "away/a.txt lies outside the repository");
}

TEST(Git, SaysWhyItHasNoDates) {
  TemporaryFolder folder;
  auto in = [&](const char* name) { return folder.path() / name; };
  folder.write("origin/a", "1");
  folder.write("plain/a", "1");
  Repository origin(in("origin"));
  auto unborn = SystemGit().lastChanged({"a", "b"}, in("origin"), now);
  EXPECT_EQ(unborn.unknown, std::nullopt);
  EXPECT_EQ(unborn.dates, (Dates{{"a", uncommitted}}));
  origin.commit(1);
  folder.write("origin/a", "2");
  origin.commit(2);
  origin.git({"clone", "-q", "--depth=1", "file://" + in("origin").string(), in("shallow").string()});
  for (const auto& [root, program, starts] : Rows<std::filesystem::path, const char*, std::string>{
           {in("shallow"), "git", "this is a shallow clone"},
           {in("plain"), "git", "not a git repository"},
           {in("origin"), "/nowhere/git", "git can't be run"},
           {in("origin"), "false", "git failed here"},
       }) {
    SCOPED_TRACE(starts);
    SystemGit git({}, program);
    auto found = git.lastChanged({"a"}, root, now);
    EXPECT_TRUE(found.dates.empty());
    EXPECT_TRUE(begins(found.unknown.value_or(""), starts));
    EXPECT_EQ(git.isTracked("a", root), starts.starts_with("this is a shallow"));
  }
}

} // namespace
} // namespace kestu::tests
