#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// What lies in the app's repository apart from where it is looked for.
namespace kestu::Project {

/// The bundle IDs that the repository's Xcode projects set, from project files in `.xcodeproj` folders at most three
/// levels below the root. What cannot be read is passed over.
std::set<std::string> bundleIDs(const std::filesystem::path& root);

/// The bundle IDs that one project file's text sets; references to build settings are left out.
std::set<std::string> bundleIDsIn(std::string_view projectFile);

/// The bundle IDs that only targets other than apps set: tests, extensions, watch apps, clips. Told by the targets'
/// product types, as Xcode lays a project file out.
std::set<std::string> partIDsIn(std::string_view projectFile);

/// The repository's bundle IDs that an app may have, without those of `partIDsIn`, of tests by their names, and of what
/// is part of another ("com.example.app.widget" beside "com.example.app"); all of them where nothing would be left.
std::vector<std::string> appIDs(const std::filesystem::path& root);

/// Where the bundle ID comes from that no project sets outright, a sentence each: a variable, an .xcconfig file, a
/// project that is generated. Texts of files stand in them as they are.
std::vector<std::string> bundleIDSources(const std::filesystem::path& root);

/// Listings (`listing`) or screenshots that kestu, run for `root`, doesn't read: in fastlane's folders of one platform
/// and in folders below the root. A sentence each, which says what to do; paths stand in them as they are.
enum class Contents { listing, screenshots };
std::vector<std::string> elsewhere(Contents contents, const std::filesystem::path& root);

} // namespace kestu::Project
