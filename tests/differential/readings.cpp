#include "core/assets/image_header.hpp"
#include "core/assets/video_probe.hpp"
#include "core/builds/info_plist.hpp"
#include "core/support/files.hpp"
#include "core/support/json_data.hpp"
#include "core/support/md5_several.hpp"

#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace kestu;
using Paths = std::vector<std::filesystem::path>;

JSONData image(const std::filesystem::path& file) {
  auto header = ImageHeader::read(Files::read(file, ImageHeader::limit).value_or(""));
  if (!header) return {};
  return JSONData::object({{"width", header->width}, {"height", header->height}, {"alpha", header->alpha}});
}

JSONData video(const std::filesystem::path& file) {
  auto facts = VideoProbe::system()(file);
  if (!facts) return {};
  return JSONData::object({{"width", facts->width},
                           {"height", facts->height},
                           {"seconds", facts->seconds},
                           {"fps", facts->fps},
                           {"audio", facts->audio}});
}

JSONData plist(const std::filesystem::path& file) {
  auto list = InfoPlist::read(Files::read(file, 1 << 24).value_or(""));
  if (!list) return {};
  return JSONData::object({{"version", list->version}, {"number", list->number}, {"platform", list->platform}});
}

} // namespace

/// A line of JSON for each file: kestu-readings image|video|plist|md5 FILE…
int main(int count, char** words) {
  const std::map<std::string, std::function<JSONData(const std::filesystem::path&)>> readers = {
      {"image", image}, {"video", video}, {"plist", plist}};
  const std::string what = count > 1 ? words[1] : "";
  Paths files(words + std::min(count, 2), words + count);
  if (what == "md5") {
    for (const auto& digest : MD5Several::ofFiles(files, {})) std::cout << JSONData(digest).compact() << "\n";
    return 0;
  }
  auto reader = readers.find(what);
  if (reader == readers.end()) return 2;
  for (const auto& file : files) std::cout << reader->second(file).compact() << "\n";
  return 0;
}
