#include "core/assets/pulled.hpp"

#include "core/assets/asset_folders.hpp"
#include "core/support/files.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <optional>

namespace kestu::Pulled {

namespace {

constexpr std::uint64_t longest = 256'000'000;

PulledAssets assetsOf(const JSONValue& document) {
  PulledAssets assets;
  for (const auto& [file, facts] : document.members()) {
    assets[file] = {facts.at("assetId").text(), facts.at("md5").text()};
  }
  return assets;
}

} // namespace

Reading read(AssetKind kind, const std::filesystem::path& root) {
  Reading reading;
  auto folder = Assets::repositoryFolder(kind, root);
  if (!folder) return reading;
  std::string file = *folder + "/" + std::string(fileName);
  try {
    auto bytes = Files::read(root / file, longest);
    if (bytes) reading.assets = assetsOf(JSONValue::parse(*bytes));
  } catch (const JSONError&) {
    reading.notes.push_back(file + " isn't what kestu assets pull writes, so it wasn't used.");
  } catch (const std::system_error& error) {
    reading.notes.push_back(Assets::unreadable(file, error.code()));
  }
  return reading;
}

std::optional<std::string> assetOf(const PulledAssets& assets, const std::string& path, const std::string& md5) {
  auto known = assets.find(path);
  if (known != assets.end() && known->second.md5 == md5) return known->second.assetId;
  for (const auto& [other, asset] : assets) {
    if (asset.md5 == md5) return asset.assetId;
  }
  return std::nullopt;
}

void write(AssetKind kind, const std::filesystem::path& root, const PulledAssets& assets) {
  auto folder = Assets::folder(kind, root).value_or(root / facts(kind).folders.front());
  std::filesystem::path file = folder / fileName;
  if (assets.empty()) {
    std::filesystem::remove(file);
    return;
  }
  JSONData document = JSONData::object();
  for (const auto& [path, asset] : assets) {
    document.set(path, JSONData::object({{"assetId", asset.assetId}, {"md5", asset.md5}}));
  }
  std::filesystem::create_directories(folder);
  Files::writeAtomically(file, document.pretty());
}

} // namespace kestu::Pulled
