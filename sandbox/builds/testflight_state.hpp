#pragma once

#include "sandbox/text.hpp"

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kestu::sandbox {

struct TestBuild {
  std::int64_t appId;
  std::string buildId, platform, version, number;
  Moment uploadedAt;
  std::string state;
  Moment since;        // when it came into that state
  bool upload = false; // no build came of it yet
  std::string error{}; // why Apple couldn't process it
  std::string md5{};   // of the file as it came; empty for the demo's builds
  std::set<std::string> groupIds{};
  std::map<std::string, std::string> notes{}; // What to Test by locale
};

struct TestGroup {
  std::int64_t appId;
  std::string groupId, name;
  bool internal;
};

// Reserved, and not committed yet. Its parts are those of the asset with the same ID.
struct BuildUpload {
  std::string uploadId;
  std::int64_t appId;
  std::string platform, version, build;
  Moment createdAt;
};

struct TestFlight {
  std::vector<TestBuild> builds; // newest first
  std::vector<TestGroup> groups;
  std::vector<BuildUpload> uploads;
  std::string nextError;              // Apple won't be able to process the next build, for this reason
  std::chrono::seconds listing{1};    // how long Apple takes to list a build whose file is there
  std::chrono::seconds processing{4}; // how long Apple takes for a build
  std::chrono::seconds reviewing{4};  // for each step of the review
};

} // namespace kestu::sandbox
