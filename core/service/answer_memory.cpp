#include "core/service/answer_memory.hpp"

#include "core/support/files.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view apps = "/v1/apps";
constexpr std::uint64_t largest = 4 << 20; // more is no list that is chosen from

/// What stands for a path's answers below the folder: "apps.json", "123/groups.json"; none for other paths.
std::optional<std::string> nameOf(std::string_view path) {
  if (path == apps) return "apps.json";
  if (!path.starts_with(std::string(apps) + "/")) return std::nullopt;
  path.remove_prefix(apps.size() + 1);
  std::size_t end = std::min(path.find('/'), path.size());
  std::string app(path.substr(0, end));
  bool isID = !app.empty() && app.size() < 20 &&
              std::all_of(app.begin(), app.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kept = {{
      {"/assets/catalog", "displays.json"},
      {"/testflight/groups", "groups.json"},
      {"/testflight/builds", "builds.json"},
  }};
  for (const auto& [rest, name] : kept) {
    if (isID && path.substr(end) == rest) return app + "/" + std::string(name);
  }
  return std::nullopt;
}

/// The origin as a folder's name: "https___api.kestu.com".
std::string folderOf(std::string origin) {
  std::replace_if(
      origin.begin(), origin.end(), [](unsigned char c) { return std::isalnum(c) == 0 && c != '.' && c != '-'; }, '_');
  return origin;
}

} // namespace

AnswerMemory::AnswerMemory(const std::optional<fs::path>& folder, const std::string& origin) : origin_(origin) {
  if (folder) folder_ = *folder / folderOf(origin);
}

std::optional<fs::path> AnswerMemory::file(std::string_view path) const {
  auto name = nameOf(path);
  if (!folder_ || !name) return std::nullopt;
  return *folder_ / *name;
}

void AnswerMemory::keep(std::string_view url, std::string_view body) const {
  if (!url.starts_with(origin_) || body.size() > largest) return;
  url.remove_prefix(origin_.size());
  auto target = file(url.substr(0, url.find('?')));
  if (!target) return;
  try {
    fs::create_directories(target->parent_path());
    fs::permissions(*folder_, fs::perms::owner_all);
    Files::writeAtomically(*target, body);
  } catch (const std::system_error&) {
    // Less is completed, that is all.
  }
}

std::optional<std::string> AnswerMemory::find(std::string_view path, Moment now) const {
  auto source = file(path);
  if (!source) return std::nullopt;
  try {
    auto written = fs::last_write_time(*source);
    auto age = now - std::chrono::file_clock::to_sys(written);
    if (age > std::chrono::hours(24)) return std::nullopt;
    return Files::read(*source, largest);
  } catch (const std::system_error&) {
    return std::nullopt;
  }
}

HTTPAnswer RememberingTransport::send(const HTTPRequest& request, const std::stop_token& stop) {
  HTTPAnswer answer = transport_.send(request, stop);
  if (request.method == "GET" && answer.status == 200) memory_.keep(request.url, answer.body);
  return answer;
}

} // namespace kestu
