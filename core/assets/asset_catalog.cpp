#include "core/assets/asset_catalog.hpp"

#include "core/support/error.hpp"
#include "core/support/file_name.hpp"
#include "core/support/json.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

template <class Number>
void needRange(Number min, Number max) {
  if (min <= max) return;
  throw CLIError(CLIError::Kind::unavailable, "kestu's answer wasn't what this version of the CLI expects. "
                                              "Update the CLI, or try again.");
}

Dimensions readDimensions(const JSONValue& value) {
  Dimensions read{value.at("minWidth").integer(), value.at("maxWidth").integer(), value.at("minHeight").integer(),
                  value.at("maxHeight").integer()};
  needRange(read.minWidth, read.maxWidth);
  needRange(read.minHeight, read.maxHeight);
  return read;
}

template <class Read>
auto readList(const JSONValue& value, std::string_view key, Read read) {
  return value.find(key) ? value.listAt(key, read) : decltype(value.listAt(key, read)){};
}

FrameRates readRates(const JSONValue& value) {
  FrameRates read{value.at("min").number(), value.at("max").number()};
  needRange(read.min, read.max);
  return read;
}

template <class Spec>
Spec readCommon(const JSONValue& value) {
  Spec read;
  read.dimensions = readDimensions(value);
  read.maxBytes = value.find("maxBytes", &JSONValue::integer);
  read.extensions = value.find("extensions", &JSONValue::texts);
  read.universal = value.whenTrue("universal");
  return read;
}

ImageSpec readImage(const JSONValue& value) {
  auto read = readCommon<ImageSpec>(value);
  read.alpha = value.whenTrue("alpha");
  return read;
}

VideoSpec readVideo(const JSONValue& value) {
  auto read = readCommon<VideoSpec>(value);
  read.fps = readList(value, "fps", readRates);
  read.minSeconds = value.find("minSeconds", &JSONValue::number);
  read.maxSeconds = value.find("maxSeconds", &JSONValue::number);
  if (read.minSeconds && read.maxSeconds) needRange(*read.minSeconds, *read.maxSeconds);
  read.audio = value.whenTrue("audio");
  return read;
}

AssetDisplay readDisplay(const JSONValue& value) {
  return {value.at("group").text(),
          value.at("name").text(),
          value.at("device").text(),
          value.at("platform").text(),
          value.at("max").integer(),
          readList(value, "images", readImage),
          readList(value, "videos", readVideo)};
}

/// A display's name and a folder's are the same when this is.
std::string plainName(std::string_view name) {
  std::string text(name);
  for (std::string_view mark : {"\"", "″"}) {
    for (std::size_t at; (at = text.find(mark)) != std::string::npos;) text.erase(at, mark.size());
  }
  return Text::joined(Text::words(Text::lowercased(FileName::composed(text))), " ");
}

} // namespace

std::size_t AssetDisplays::position(const AssetDisplay& display) const {
  auto same = [&](const AssetDisplay& other) { return other.group == display.group; };
  return static_cast<std::size_t>(std::find_if(displays.begin(), displays.end(), same) - displays.begin());
}

const AssetDisplay* AssetDisplays::named(std::string_view text) const& {
  std::string id = Text::lowercased(text);
  for (const AssetDisplay& display : displays) {
    if (Text::lowercased(display.group) == id) return &display;
  }
  std::string name = plainName(text);
  const AssetDisplay* found = nullptr;
  for (const AssetDisplay& display : displays) {
    if (plainName(display.name) != name) continue;
    if (found) return nullptr;
    found = &display;
  }
  return found;
}

std::vector<std::string> AssetDisplays::sharing(std::string_view text) const {
  std::vector<std::string> groups;
  for (const AssetDisplay& display : displays) {
    if (plainName(display.name) == plainName(text)) groups.push_back(display.group);
  }
  return groups.size() < 2 || named(text) ? std::vector<std::string>() : groups;
}

AssetCatalog AssetCatalog::read(const JSONValue& value) {
  AssetCatalog catalog;
  for (const auto& [key, list] : value.members()) {
    // A later service may list something else under a key that no kind has.
    if (!assetKindOfKey(key)) continue;
    for (const JSONValue& display : list.list()) catalog.kinds[key].push_back(readDisplay(display));
  }
  return catalog;
}

void AssetCatalog::add(const AssetCatalog& other) {
  for (const auto& [key, displays] : other.kinds) {
    std::vector<AssetDisplay>& list = kinds[key];
    for (const AssetDisplay& display : displays) {
      auto same = [&](const AssetDisplay& each) { return each.group == display.group; };
      if (std::none_of(list.begin(), list.end(), same)) list.push_back(display);
    }
  }
}

AssetDisplays AssetCatalog::operator[](AssetKind kind) const { return {kind, displays(std::string(facts(kind).key))}; }

const std::vector<AssetDisplay>& AssetCatalog::displays(const std::string& key) const {
  static const std::vector<AssetDisplay> none;
  auto found = kinds.find(key);
  return found == kinds.end() ? none : found->second;
}

} // namespace kestu
