#include "core/assets/shown_assets.hpp"

#include "core/assets/asset_file.hpp"
#include "core/assets/frames.hpp"
#include "core/support/json.hpp"

#include <algorithm>

namespace kestu {

namespace {

bool isChecksum(const std::string& text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool isLetterOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

/// Letters and digits in pieces of at most 8 ("en-US", "zh-Hans").
bool isLanguage(const std::string& text) {
  std::size_t inPiece = 0;
  for (char c : text) {
    if (c == '-' ? inPiece == 0 : !isLetterOrDigit(c) || inPiece == 8) return false;
    inPiece = c == '-' ? 0 : inPiece + 1;
  }
  return inPiece > 0 && text.size() >= 2;
}

} // namespace

ShownAsset ShownAsset::read(const JSONValue& value) {
  ShownAsset asset{
      value.at("assetId").text(),           value.at("fileName").text(), value.find("md5", &JSONValue::text),
      value.at("size").integer(),           value.whenTrue("video"),     value.at("url").text(),
      value.find("frame", &JSONValue::text)};
  if (asset.size < 0) throw JSONError(value.path() + ".size is below 0");
  if (asset.md5 && !isChecksum(*asset.md5)) throw JSONError(value.path() + ".md5 is no checksum");
  if (asset.frame && !Frames::isFrame(*asset.frame)) throw JSONError(value.path() + ".frame is no poster frame");
  return asset;
}

std::string ShownAsset::extension() const {
  auto type = mediaType("a" + dottedExtension(fileName));
  if (type == (video ? MediaType::video : MediaType::image)) return dottedExtension(fileName);
  return video ? ".mov" : ".png";
}

ShownDisplay ShownDisplay::read(const JSONValue& value) {
  auto kind = assetKindOfKey(value.at("kind").text());
  if (!kind) throw JSONError(value.path() + ".kind is no kind of asset");
  return {*kind, value.at("group").text(), value.listAt("assets", ShownAsset::read)};
}

ShownLanguage ShownLanguage::read(const JSONValue& value) {
  ShownLanguage language{value.at("locale").text(), value.listAt("displays", ShownDisplay::read)};
  if (!isLanguage(language.locale)) throw JSONError(value.path() + ".locale is no language");
  return language;
}

ShownAssets ShownAssets::read(const JSONValue& value) { return {value.listAt("languages", ShownLanguage::read)}; }

} // namespace kestu
