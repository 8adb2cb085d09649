#include "core/assets/asset_measure.hpp"

#include "core/assets/image_header.hpp"
#include "core/support/files.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kestu {

namespace {

constexpr std::size_t mostHeaders =
    65'536; ///< enough for all but JPEGs with large profiles or previews before the size
constexpr std::uint64_t tellingPiece = 1'048'576;

} // namespace

struct AssetMeasurer::Opened {
  explicit Opened(const std::filesystem::path& file) : reader(file) {}

  /// Reads on until `wanted` bytes were read ahead or the file ends.
  std::string_view ahead(std::size_t wanted) {
    std::size_t held = begun.size();
    begun.resize(wanted);
    while (held < wanted) {
      std::size_t count = reader.read(begun.data() + held, wanted - held);
      if (count == 0) break;
      held += count;
    }
    begun.resize(held);
    return begun;
  }

  /// The file's bytes from its beginning, those read ahead first.
  std::size_t read(char* buffer, std::size_t capacity) {
    std::size_t count = begun.copy(buffer, capacity, served);
    served += count;
    if (count == 0) count = reader.read(buffer, capacity);
    total += count;
    return count;
  }

  FileReader reader;
  std::string begun; ///< what was read ahead for the measurements is the beginning of what is hashed
  std::size_t served = 0;
  std::uint64_t total = 0, told = 0; ///< bytes
};

std::shared_ptr<AssetMeasurer::Opened> AssetMeasurer::measure(AssetFile& file) {
  auto opened = std::make_shared<Opened>(file.path);
  file.size = static_cast<std::int64_t>(opened->reader.size());
  return (file.isVideo ? measureVideo(file) : measureImage(file, *opened)) ? opened : nullptr;
}

bool AssetMeasurer::measureImage(AssetFile& file, Opened& opened) {
  auto header = ImageHeader::read(opened.ahead(mostHeaders));
  if (!header && opened.begun.size() == mostHeaders) header = ImageHeader::read(opened.ahead(ImageHeader::limit));
  if (!header) return false;
  file.width = header->width;
  file.height = header->height;
  file.alpha = header->alpha;
  return true;
}

bool AssetMeasurer::measureVideo(AssetFile& file) {
  try {
    if (!options_.probe) throw NoVideoModule();
    file.facts = options_.probe(file.path);
  } catch (const NoVideoModule&) {
    unmeasured_ = true;
    return true;
  }
  if (!file.facts) return false;
  file.width = file.facts->width;
  file.height = file.facts->height;
  return true;
}

MD5Message AssetMeasurer::toHash(std::shared_ptr<Opened> opened, AssetFile& file, Ends ends) {
  auto read = [this, opened](char* buffer, std::size_t capacity) {
    std::size_t count = opened->read(buffer, capacity);
    std::uint64_t untold = opened->total - opened->told;
    if (untold >= tellingPiece || (count == 0 && untold > 0)) {
      opened->told = opened->total;
      tell(untold);
    }
    return count;
  };
  auto whole = [opened, &file, done = std::move(ends.done),
                changed = std::move(ends.changed)](const std::string& digest) {
    if (opened->total != opened->reader.size()) return changed();
    file.md5 = digest;
    done();
  };
  return {std::move(read), std::move(whole), std::move(ends.failed)};
}

AssetMeasurer::Outcome AssetMeasurer::measureAndHash(AssetFile& file, const std::stop_token& stop) {
  auto opened = measure(file);
  if (!opened) return Outcome::wrongType;
  auto outcome = Outcome::fine;
  std::optional<std::system_error> failure;
  std::optional<MD5Message> message =
      toHash(opened, file,
             {[] {}, [&] { outcome = Outcome::changed; }, [&](const std::system_error& error) { failure = error; }});
  MD5Several::hash([&] { return std::exchange(message, std::nullopt); }, stop, {.atOnce = 1});
  if (failure) throw std::system_error(*failure);
  return outcome;
}

void AssetMeasurer::tell(std::uint64_t bytes) {
  if (!options_.progress) return;
  std::lock_guard lock(telling_);
  options_.progress(hashed_ += bytes);
}

} // namespace kestu
