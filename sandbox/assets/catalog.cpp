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

json everyScreenshot() {
  const auto phone = [](const char* group, const char* name, const Sizes& sizes) {
    return screenshots(group, name, "iphone", "ios", sizes);
  };
  const auto pad = [](const char* group, const char* name, const Sizes& sizes) {
    return screenshots(group, name, "ipad", "ios", sizes);
  };
  const auto watch = [](const char* group, const char* name, const Sizes& sizes) {
    return screenshots(group, name, "watch", "ios", sizes);
  };
  return {phone("IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE", "iPhone 6.9″", {{1260, 2736}, {1290, 2796}, {1320, 2868}}),
          phone("IPHONE_DUO_PROFILE", "iPhone Duo", {{2088, 2844}}),
          phone("IPHONE_BORDERLESS_LARGE_PROFILE", "iPhone 6.5″", {{1242, 2688}, {1284, 2778}}),
          phone("IPHONE_DYNAMIC_ISLAND_PROFILE", "iPhone 6.3″", {{1179, 2556}, {1206, 2622}}),
          phone("IPHONE_BORDERLESS_MEDIUM_PROFILE", "iPhone 6.1″", {{1170, 2532}, {1080, 2340}, {1179, 2556}}),
          phone("IPHONE_BORDERLESS_PROFILE", "iPhone 5.8″", {{1125, 2436}}),
          phone("IPHONE_PLUS_PROFILE", "iPhone 5.5″", {{1242, 2208}}),
          phone("IPHONE_PROFILE", "iPhone 4.7″", {{750, 1334}}),
          phone("IPHONE_SE_PROFILE", "iPhone 4″", {{640, 1136}, {640, 1096}}),
          pad("IPAD_PRO_BORDERLESS_PROFILE", "iPad 13″", {{2064, 2752}, {2048, 2732}}),
          pad("IPAD_PRO_PROFILE", "iPad 12.9″", {{2048, 2732}}),
          pad("IPAD_BORDERLESS_PROFILE", "iPad 11″", {{1488, 2266}, {1668, 2388}, {1668, 2420}, {1640, 2360}}),
          pad("IPAD_AIR_PROFILE", "iPad 10.5″", {{1668, 2224}}),
          pad("IPAD_PROFILE", "iPad 9.7″", {{1536, 2048}, {1536, 2008}, {768, 1024}}),
          watch("WATCH_ULTRA_PROFILE", "Apple Watch Ultra", {{410, 502}, {422, 514}}),
          watch("WATCH_SERIES_10_PROFILE", "Apple Watch Series 10", {{416, 496}}),
          watch("WATCH_SERIES_7_PROFILE", "Apple Watch Series 7", {{396, 484}}),
          watch("WATCH_SERIES_4_PROFILE", "Apple Watch Series 4", {{368, 448}}),
          watch("WATCH_PROFILE", "Apple Watch Series 3", {{312, 390}}),
          screenshots("MAC_PROFILE", "Mac", "mac", "macos", {{1280, 800}, {1440, 900}, {2560, 1600}, {2880, 1800}})};
}

json everyPreview() {
  const auto phone = [](const char* group, const char* name, const Sizes& sizes) {
    return previews(group, name, "iphone", "ios", sizes);
  };
  const auto pad = [](const char* group, const char* name, const Sizes& sizes) {
    return previews(group, name, "ipad", "ios", sizes);
  };
  return {phone("IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE", "iPhone 6.9″", {{886, 1920}}),
          phone("IPHONE_DUO_PROFILE", "iPhone Duo", {{1408, 1920}}),
          phone("IPHONE_BORDERLESS_LARGE_PROFILE", "iPhone 6.5″", {{886, 1920}}),
          phone("IPHONE_DYNAMIC_ISLAND_PROFILE", "iPhone 6.3″", {{886, 1920}}),
          phone("IPHONE_BORDERLESS_MEDIUM_PROFILE", "iPhone 6.1″", {{886, 1920}}),
          phone("IPHONE_BORDERLESS_PROFILE", "iPhone 5.8″", {{886, 1920}}),
          phone("IPHONE_PLUS_PROFILE", "iPhone 5.5″", {{1080, 1920}}),
          phone("IPHONE_PROFILE", "iPhone 4.7″", {{750, 1334}}),
          pad("IPAD_PRO_BORDERLESS_PROFILE", "iPad 13″", {{1200, 1600}, {900, 1200}}),
          pad("IPAD_PRO_PROFILE", "iPad 12.9″", {{1200, 1600}, {900, 1200}}),
          pad("IPAD_BORDERLESS_PROFILE", "iPad 11″", {{1200, 1600}}),
          pad("IPAD_AIR_PROFILE", "iPad 10.5″", {{1200, 1600}}),
          pad("IPAD_PROFILE", "iPad 9.7″", {{900, 1200}}),
          previews("MAC_PROFILE", "Mac", "mac", "macos", {{1920, 1080}})};
}

json everyDisplay() {
  return {{"screenshots", everyScreenshot()},
          {"previews", everyPreview()},
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
