#include "core/builds/build_upload.hpp"
#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "tests/support/builds_test.hpp"
#include "tests/support/endings.hpp"

#include <thread>

namespace kestu::tests {
namespace {

using nlohmann::json;
using sandbox::Fault;

class UploadTest : public BuildsTest {
 protected:
  std::string bytes;

  /// A build of several parts, the last a short one.
  void make(const std::string& number, const std::string& name = "Daylight.ipa") {
    std::string noise;
    std::uint32_t random = 1;
    for (int i = 0; i < 7'300; ++i) noise += static_cast<char>((random = random * 1664525 + 1013904223) >> 24U);
    auto file = ipa(repo.path() / name, {{"Payload/Daylight.app/Info.plist", plist("1.3", number)},
                                         {"Payload/Daylight.app/Daylight", noise}});
    bytes = Files::read(file, 1'000'000).value();
  }
  std::size_t parts() { return calls("PUT /upload/"); }
};

TEST_F(UploadTest, SendsEveryByteStraightToAppleAndCommits) {
  make("50");
  EXPECT_TRUE(ended(builds("upload Daylight.ipa"), 0, equals,
                    "Daylight.ipa: Daylight Weather (com.example.daylight) 1.3 (50) for iOS, 8 KB, straight to Apple…\n"
                    "✓ Uploaded 1.3 (50) for iOS. Apple is processing it, usually 5 to 30 minutes.\n"
                    "Next: kestu builds wait \"1.3 (50)\" --platform ios\n"));
  EXPECT_EQ(parts(), (bytes.size() + 999) / 1000);
  EXPECT_EQ(build("50").md5, MD5::hex(std::string_view(bytes)));
  for (const auto& request : server.requests()) {
    if (request.path.starts_with("/upload/")) EXPECT_FALSE(request.headers.contains("authorization"));
  }
  EXPECT_EQ(bodies("POST", "/uploads").back().dump(), R"({"build":"50","fileName":"Daylight.ipa","fileSize":)" +
                                                          std::to_string(bytes.size()) +
                                                          R"(,"platform":"ios","version":"1.3"})");
  EXPECT_TRUE(
      ended(builds("upload Daylight.ipa"), 1, equals,
            "Apple has Daylight Weather 1.3 (50) for iOS already, and takes each build number of a version once.\n"));
  repo.write("Mac.pkg", "xar!");
  Ran ran = builds("upload Mac.pkg --version 1.3 --build 50 --json");
  auto answer = json::parse(ran.out);
  EXPECT_EQ(answer["platform"], "macos");
  EXPECT_TRUE(answer["uploadId"].is_string());
  EXPECT_EQ(ran.err, "Mac.pkg: Daylight Weather (com.example.daylight) 1.3 (50) for macOS, 0 KB, straight to Apple…\n");
}

TEST_F(UploadTest, ADryRunReservesNothing) {
  make("50");
  EXPECT_EQ(builds("upload Daylight.ipa --dry-run").out, "Dry run: Daylight Weather (com.example.daylight) 1.3 (50) "
                                                         "for iOS (Daylight.ipa, 8 KB) would upload. Nothing sent.\n");
  EXPECT_EQ(server.requests().back().query, "dryRun=true");
  server.withState([](sandbox::State& state) { EXPECT_TRUE(state.testFlight.uploads.empty()); });
  EXPECT_EQ(builds("upload Daylight.ipa --build 44 --version 1.2 --dry-run").status, 1);
  repo.write("junk.ipa", "no zip");
  Ran ran = builds("upload junk.ipa --build 50 --version 1.3 --platform ios --dry-run");
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.err, "junk.ipa goes as it is. It can't be read as a zip archive, which an .ipa is.\n");
}

TEST_F(UploadTest, WaitsForThisBuildAndNoEarlierOneOfItsName) {
  make("50");
  server.withState([](sandbox::State& state) {
    state.testFlight.nextError = "No icon.";
    state.testFlight.listing = std::chrono::minutes(1);
    state.testFlight.processing = std::chrono::minutes(7);
  });
  Ran ran = builds("upload Daylight.ipa --wait");
  EXPECT_TRUE(ended(ran, 1, equals, "1.3 (50) for iOS: Apple couldn't process it: No icon.\n"));
  EXPECT_TRUE(has(ran.out, "● Waiting for Apple to list 1.3 (50).\n● 1.3 (50) for iOS: processing.\n"));
  // Apple takes the number again, and still lists the failed one, for a minute it alone.
  auto begun = clock.continuous();
  ran = builds("upload Daylight.ipa --wait --json");
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_GE(clock.continuous() - begun, std::chrono::minutes(7));
  EXPECT_EQ(json::parse(ran.out)["processed"]["state"], "missingcompliance");
  make("51");
  begun = clock.continuous();
  ran = builds("upload Daylight.ipa --wait --timeout 5");
  EXPECT_EQ(ran.status, 10);
  EXPECT_EQ(
      ran.err,
      "The time ran out with it still on its way. To keep waiting: kestu builds wait \"1.3 (51)\" --platform ios\n");
  EXPECT_EQ(clock.continuous() - begun, std::chrono::minutes(5));
  // The file alone says that it is for macOS; the command that is named next must too.
  repo.write("Mac.pkg", "xar!");
  EXPECT_TRUE(ended(builds("upload Mac.pkg --version 1.3 --build 52 --wait --timeout 0"), 10, ends,
                    " To keep waiting: kestu builds wait \"1.3 (52)\" --platform macos\n"));
}

TEST_F(UploadTest, PartsThatArentTheFileAreRefusedBeforeAnyIsSent) {
  make("59", "A.ipa");
  json part = {{"method", "PUT"}, {"url", server.origin() + "/upload/1"}, {"offset", 0}, {"length", bytes.size() - 1}};
  part["headers"] = json::object();
  const json reserved = {{"uploadId", "U"}, {"parts", json::array({part})}};
  server.onNext({.path = base + "uploads", .method = "POST", .status = 200, .body = reserved.dump(), .exact = true});
  EXPECT_TRUE(ended(builds("upload A.ipa"), 9, has, "stays at Apple until it's removed: kestu builds remove"));
  EXPECT_EQ(parts() + calls("POST " + base + "uploads/U/commit"), 0U);
}

TEST_F(UploadTest, WhatEndsTooSoonSaysHowToClearUp) {
  int number = 60;
  auto remedy = [&](bool isNamed = true) {
    std::string line = "kestu builds remove \"1.3 (" + std::to_string(number) + ")\" --platform ios --app 1234567890";
    server.withState([&](sandbox::State& state) {
      if (isNamed) line += " --upload " + state.testFlight.uploads.back().uploadId;
    });
    return line + "\n";
  };
  const std::string commit = base + "uploads/", none = "Apple took no part of A.ipa (";
  for (const auto& [fault, status, commits, reason] : std::vector<std::tuple<Fault, int, std::size_t, std::string>>{
           {Fault{.path = "/upload/", .times = -1, .status = 403}, 1, 0, none + "403: its "},
           {Fault{.path = "/upload/", .skip = 5, .times = -1, .status = 500}, 9, 0,
            "A.ipa (500). Run it again to send it anew.\nThe unfinished"},
           {Fault{.path = "/upload/", .times = -1, .status = 413}, 1, 0,
            none + "413: Apple refuses it as it is).\nThe unfinished"},
           {Fault{.path = commit, .method = "POST", .status = 409, .body = R"({"message":"Torn."})"}, 1, 1, "Torn."},
       }) {
    SCOPED_TRACE(reason);
    ++number;
    make(std::to_string(number), "A.ipa");
    server.forgetRequests();
    server.onNext(fault);
    Ran ran = builds("upload A.ipa --app 1234567890");
    EXPECT_TRUE(ended(ran, status, has, reason));
    EXPECT_TRUE(has(ran.err, "The unfinished upload stays at Apple until it's removed: " + remedy()));
    EXPECT_EQ(calls("POST " + commit), commits);
    server.faults().clear();
  }
  // Where no answer came, nobody knows what the service did.
  for (const auto& [fault, named, note] : std::vector<std::tuple<Fault, bool, std::string>>{
           {Fault{.path = base + "uploads", .method = "POST", .half = true, .exact = true}, false,
            "An unfinished upload may be at Apple now. kestu builds list --app 1234567890 shows it; to remove it: "},
           {Fault{.path = commit, .method = "POST", .cut = true}, true,
            "Whether Apple has the whole file now isn't known. kestu builds list --app 1234567890 shows where it is; "
            "if it's still uploading, remove it: "},
       }) {
    SCOPED_TRACE(note);
    ++number;
    make(std::to_string(number), "A.ipa");
    server.withState([](sandbox::State& state) { state.testFlight.uploads.clear(); });
    server.onNext(fault);
    Ran ran = builds("upload A.ipa --app 1234567890");
    EXPECT_TRUE(ended(ran, 9, ends, "\n" + note + remedy(named)));
    EXPECT_FALSE(has(ran.err, "stays"));
    server.withState([&](sandbox::State& state) { EXPECT_EQ(state.testFlight.uploads.size(), 1U); });
    server.faults().clear();
  }
}

TEST_F(UploadTest, AnInterruptionSaysHowToClearUp) {
  make("70");
  clock.onSleep = [&](std::chrono::milliseconds) { stopping.request_stop(); };
  server.onNext({.path = "/upload/", .times = -1, .status = 500});
  EXPECT_THROW(builds("upload Daylight.ipa"), Stopped);
  std::string id;
  server.withState([&](sandbox::State& state) { id = state.testFlight.uploads.back().uploadId; });
  EXPECT_TRUE(
      ends(terminal.errText(), "removed: kestu builds remove \"1.3 (70)\" --platform ios --upload " + id + "\n"));
  repo.write("Mac.pkg", "xar!");
  stopping = {};
  server.faults().clear();
  server.onNext({.path = base + "uploads", .method = "POST", .delay = std::chrono::seconds(2)});
  std::jthread stopper([&] {
    if (terminal.awaitText("Mac.pkg: Daylight")) stopping.request_stop();
  });
  EXPECT_THROW(builds("upload Mac.pkg --version 1 --build 71"), Stopped);
  EXPECT_TRUE(ends(terminal.errText(), "\nAn unfinished upload may be at Apple now. kestu builds list shows it; to "
                                       "remove it: kestu builds remove \"1 (71)\" --platform macos\n"));
}

TEST_F(UploadTest, AFileThatChangesUnderTheUploadIsNotCommitted) {
  const std::filesystem::path file = repo.path() / "Daylight.ipa";
  auto replace = [&] { // by another one of the same size and time
    auto time = std::filesystem::last_write_time(file);
    auto other = repo.path() / "other";
    std::filesystem::copy_file(file, other);
    std::filesystem::last_write_time(other, time);
    std::filesystem::rename(other, file);
  };
  int number = 50;
  for (const std::function<void()>& change : std::vector<std::function<void()>>{
           [&] { std::filesystem::resize_file(file, 100'000); },
           replace,
           [&] { std::filesystem::last_write_time(file, {}); },
           // Last, as it leaves parts on their way that would meet the next row's fault.
           [&] { std::filesystem::resize_file(file, 100); },
       }) {
    SCOPED_TRACE(++number);
    make(std::to_string(number));
    server.onNext({.path = "/upload/", .status = 500});
    clock.onSleep = [&](std::chrono::milliseconds) { change(); };
    EXPECT_TRUE(ended(builds("upload Daylight.ipa"), 1, has, "Daylight.ipa changed while it was being sent.\n"));
    EXPECT_TRUE(bodies("POST", "/commit").empty());
  }
}

TEST_F(UploadTest, AFileThatChangedSinceItWasReadIsNotSent) {
  make("50");
  BuildFile file = BuildFile::read(repo.path(), "Daylight.ipa", {}, {});
  std::filesystem::last_write_time(file.file, {});
  CurlTransport transport;
  const UploadPart part{"PUT", server.origin() + "/upload/x", 0, 10, {}};
  EXPECT_THROW(BuildUpload::send(file, {part}, PartUploader(transport, clock), {}, {}, {}), CLIError);
  EXPECT_EQ(parts(), 0U);
}

TEST_F(UploadTest, RemoveClearsTheOneUploadThatIsMeant) {
  server.withState([](sandbox::State& state) {
    auto begun = state.clock() - std::chrono::hours(3);
    state.testFlight.uploads = {{"u1", 1234567890, "ios", "1.3", "50", begun},
                                {"u2", 1234567890, "ios", "1.3", "50", begun},
                                {"u3", 1234567890, "macos", "1.3", "50", begun},
                                {"u4", 1234567890, "ios", "1.2", "51", begun},
                                {"u5", 1234567890, "ios", "", "52", begun}};
  });
  expectErrors([&](const auto& options) { return builds("remove " + options); }, equals,
               {
                   {"50", 2,
                    "3 unfinished uploads of 50. Name one with --upload:\n"
                    "  u1  1.3 (50)  iOS    3 hours ago\n"
                    "  u2  1.3 (50)  iOS    3 hours ago\n"
                    "  u3  1.3 (50)  macOS  3 hours ago\n"},
                   {"'1.2 (50)'", 7, "There's no unfinished upload of 1.2 (50).\n"},
                   {"51 --platform macos", 7, "There's no unfinished upload of 51.\n"},
                   {"50 --upload u4", 7, "u4 isn't an unfinished upload of 50.\n"},
                   {"52", 1, "Apple doesn't say which version upload u5 is of, so kestu can't name it to remove.\n"},
                   {"'1.3 (50)' --platform macos", 6,
                    "Remove the unfinished upload of Daylight Weather (com.example.daylight) 1.3 (50) for macOS, begun "
                    "3 hours ago. Can't be undone.\n"
                    "Nothing sent. Run it again with --yes to send it for approval in the kestu app.\n"},
               });
  EXPECT_EQ(calls("DELETE "), 0U);
  server.scriptNextPlan({.waitingPolls = -1});
  Ran ran = builds("remove 50 --upload u2 --yes");
  EXPECT_TRUE(ends(ran.out, "\n✓ Removed the unfinished upload of 1.3 (50).\n"));
  EXPECT_EQ(bodies("DELETE", "/u2").at(0), (json{{"platform", "ios"}, {"version", "1.3"}, {"build", "50"}}));
  server.withState([](sandbox::State& state) { EXPECT_EQ(state.testFlight.uploads.size(), 4U); });
}

} // namespace
} // namespace kestu::tests
