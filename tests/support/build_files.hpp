#pragma once

#include "core/support/process.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/// Builds as Xcode leaves them, made with other programs than those that read them.
namespace kestu::tests {

inline std::string plist(const std::vector<std::pair<std::string, std::string>>& strings,
                         const std::string& platform = "") {
  std::string text = R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)";
  for (const auto& [key, value] : strings) text += "<key>" + key + "</key><string>" + value + "</string>";
  if (!platform.empty()) {
    text += "<key>CFBundleSupportedPlatforms</key><array><string>" + platform + "</string></array>";
  }
  return text + "</dict></plist>";
}

inline std::string plist(const std::string& version, const std::string& number, const std::string& platform = "") {
  return plist({{"CFBundleShortVersionString", version}, {"CFBundleVersion", number}}, platform);
}

/// The same property list in binary form, written by Python.
inline std::string binaryPlist(const std::string& xml) {
  const char* script = "import plistlib,sys; "
                       "sys.stdout.buffer.write(plistlib.dumps(plistlib.loads(sys.argv[1].encode()), "
                       "fmt=plistlib.FMT_BINARY))";
  auto result = Process::run({.arguments = {"python3", "-c", script, xml}}, {});
  EXPECT_TRUE(result.succeeded()) << result.err;
  return result.out;
}

/// An .ipa of these members, in their order; their names begin with "Payload/".
inline std::filesystem::path ipa(const std::filesystem::path& file,
                                 const std::vector<std::pair<std::string, std::string>>& members) {
  TemporaryFolder contents;
  for (const auto& [name, bytes] : members) {
    contents.write(name, bytes);
    auto added = Process::run({.arguments = {"zip", "-q", "-r", (contents.path() / "out.zip").string(), "Payload"},
                               .folder = contents.path()},
                              {});
    EXPECT_TRUE(added.succeeded()) << added.err;
  }
  std::filesystem::create_directories(file.parent_path());
  std::filesystem::copy_file(contents.path() / "out.zip", file, std::filesystem::copy_options::overwrite_existing);
  return file;
}

} // namespace kestu::tests
