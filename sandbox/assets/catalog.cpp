#include "sandbox/assets/catalog.hpp"

#include "sandbox/text.hpp"

#include <map>
#include <utility>
#include <vector>

namespace kestu::sandbox::Catalog {

namespace {

using nlohmann::json;
using Sizes = std::vector<std::pair<int, int>>;

json sized(int width, int height) {
  return {{"minWidth", width}, {"maxWidth", width}, {"minHeight", height}, {"maxHeight", height}};
}

json display(const char* group, const char* name, const char* device, const char* platform, int max) {
  return {{"group", group},          {"name", name},           {"device", device}, {"platform", platform}, {"max", max},
          {"images", json::array()}, {"videos", json::array()}};
}

json screenshots(const char* group, const char* name, const char* device, const char* platform, const Sizes& sizes) {
  auto value = display(group, name, device, platform, 10);
  for (const auto& [width, height] : sizes) {
    auto image = sized(width, height);
    image["alpha"] = false;
    image["extensions"] = {".png", ".jpg", ".jpeg"};
    value["images"].push_back(std::move(image));
  }
  return value;
}

json previews(const char* group, const char* name, const char* device, const char* platform, const Sizes& sizes) {
  auto value = display(group, name, device, platform, 3);
  for (const auto& [width, height] : sizes) {
    auto video = sized(width, height);
    video["fps"] = json::array({{{"min", 23.98}, {"max", 30}}});
    video["minSeconds"] = 15;
    video["maxSeconds"] = 30;
    video["audio"] = false;
    video["maxBytes"] = 500 << 20;
    video["extensions"] = {".mov", ".mp4", ".m4v"};
    value["videos"].push_back(std::move(video));
  }
  return value;
}

json banner(const char* group, const char* name, const char* platform, int maxWidth, int maxHeight) {
  auto value = display(group, name, "other", platform, 1);
  json image{{"minWidth", 2000}, {"maxWidth", maxWidth}, {"minHeight", 900}, {"maxHeight", maxHeight}};
  image["alpha"] = false;
  image["maxBytes"] = 20 << 20;
  image["extensions"] = {".png", ".jpg", ".jpeg"};
  image["universal"] = true;
  value["images"].push_back(std::move(image));
  return value;
}

json everyDisplay() {
  const char* const large = "IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE";
  const char* const duo = "IPHONE_DUO_PROFILE";
  const char* const plus = "IPHONE_PLUS_PROFILE";
  const char* const pad = "IPAD_PRO_BORDERLESS_PROFILE";
  const char* const padSmall = "IPAD_BORDERLESS_PROFILE";
  const char* const mac = "MAC_PROFILE";
  return {{"screenshots",
           {screenshots(large, "iPhone 6.9″", "iphone", "ios", {{1260, 2736}, {1290, 2796}, {1320, 2868}}),
            screenshots(duo, "iPhone 6.5″", "iphone", "ios", {{1242, 2688}, {1284, 2778}}),
            screenshots(plus, "iPhone 5.5″", "iphone", "ios", {{1242, 2208}}),
            screenshots(pad, "iPad 13″", "ipad", "ios", {{2064, 2752}, {2048, 2732}}),
            screenshots(padSmall, "iPad 11″", "ipad", "ios", {{1488, 2266}, {1668, 2388}, {1668, 2420}, {1640, 2360}}),
            screenshots(mac, "Mac", "mac", "macos", {{1280, 800}, {1440, 900}, {2560, 1600}, {2880, 1800}})}},
          {"previews",
           {previews(large, "iPhone 6.9″", "iphone", "ios", {{886, 1920}}),
            previews(duo, "iPhone 6.5″", "iphone", "ios", {{886, 1920}}),
            previews(plus, "iPhone 5.5″", "iphone", "ios", {{1080, 1920}}),
            previews(pad, "iPad 13″", "ipad", "ios", {{1200, 1600}, {900, 1200}}),
            previews(padSmall, "iPad 11″", "ipad", "ios", {{1200, 1600}}),
            previews(mac, "Mac", "mac", "macos", {{1920, 1080}})}},
          {"header",
           {banner("HEADER_IPHONE", "Header", "ios", 4320, 1620), banner("HEADER_MAC", "Header", "macos", 4320, 1620)}},
          {"searchresults", json::array({banner("SEARCH_RESULTS_IPHONE", "Search Results", "ios", 3840, 2160)})}};
}

const json& catalog() {
  static const json all = everyDisplay();
  return all;
}

} // namespace

json displays(const std::string& platform) {
  auto chosen = json::object();
  for (const auto& [kind, displays] : catalog().items()) {
    auto& list = chosen[kind] = json::array();
    for (const auto& each : displays) {
      if (each.at("platform") == platform) list.push_back(each);
    }
  }
  return chosen;
}

std::optional<Display> find(const std::string& platform, const std::string& kind, const std::string& group) {
  if (!isKind(kind)) return std::nullopt;
  for (const auto& each : catalog().at(kind)) {
    if (each.at("platform") == platform && each.at("group") == group) {
      return Display{each.at("name").get<std::string>(), each.at("max").get<std::size_t>()};
    }
  }
  return std::nullopt;
}

bool isKind(const std::string& kind) { return catalog().contains(kind); }

std::string countedAssets(const std::string& kind, std::size_t count) {
  static const std::map<std::string, std::pair<const char*, const char*>> names{
      {"screenshots", {"screenshot", "screenshots"}},
      {"previews", {"app preview", "app previews"}},
      {"header", {"header image", "header images"}},
      {"searchresults", {"search results image", "search results images"}}};
  const auto& [one, several] = names.at(kind);
  return counted(count, one, several);
}

} // namespace kestu::sandbox::Catalog
