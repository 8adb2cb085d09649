#include "core/assets/asset_measure.hpp"

#include "core/assets/image_header.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/md5.hpp"

#include <utility>

namespace kestu {

namespace {

constexpr std::size_t piece = 4'194'304;
constexpr std::size_t mostHeaders =
    65'536; ///< enough for all but JPEGs with large profiles or previews before the size

/// Reads on until the buffer holds `wanted` bytes or the file ends; how many it holds then.
std::size_t fill(FileReader& reader, char* buffer, std::size_t held, std::size_t wanted) {
  while (held < wanted) {
    std::size_t count = reader.read(buffer + held, wanted - held);
    if (count == 0) break;
    held += count;
  }
  return held;
}

} // namespace

AssetMeasurer::Outcome AssetMeasurer::measure(AssetFile& file, const std::stop_token& stop,
                                              const std::function<bool(const AssetFile&)>& isWanted) {
  FileReader reader(file.path);
  file.size = static_cast<std::int64_t>(reader.size());
  Buffer buffer = takeBuffer();
  std::size_t begun = 0;
  bool fine = file.isVideo ? measureVideo(file) : measureImage(file, reader, buffer.get(), begun);
  bool whole = !fine || !options_.hashing || !isWanted(file) || hash(file, reader, buffer.get(), begun, stop);
  giveBack(std::move(buffer));
  return !fine ? Outcome::wrongType : whole ? Outcome::fine : Outcome::changed;
}

bool AssetMeasurer::measureImage(AssetFile& file, FileReader& reader, char* buffer, std::size_t& begun) {
  // What is read for the header is the beginning of what is hashed.
  begun = fill(reader, buffer, 0, options_.hashing ? piece : mostHeaders);
  auto header = ImageHeader::read({buffer, begun});
  if (!header && begun == mostHeaders) {
    begun = fill(reader, buffer, begun, ImageHeader::limit);
    header = ImageHeader::read({buffer, begun});
  }
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

bool AssetMeasurer::hash(AssetFile& file, FileReader& reader, char* buffer, std::size_t begun,
                         const std::stop_token& stop) {
  MD5 digest;
  std::uint64_t total = 0;
  for (std::size_t held = begun; (held = fill(reader, buffer, held, piece)) > 0; held = 0) {
    if (stop.stop_requested()) throw Stopped();
    digest.add({buffer, held});
    total += held;
    tell(held);
  }
  file.md5 = digest.finish();
  return total == reader.size();
}

void AssetMeasurer::tell(std::size_t bytes) {
  if (!options_.progress) return;
  std::lock_guard lock(telling_);
  options_.progress(hashed_ += bytes);
}

AssetMeasurer::Buffer AssetMeasurer::takeBuffer() {
  std::lock_guard lock(mutex_);
  if (buffers_.empty()) return std::make_unique_for_overwrite<char[]>(piece);
  Buffer buffer = std::move(buffers_.back());
  buffers_.pop_back();
  return buffer;
}

void AssetMeasurer::giveBack(Buffer buffer) {
  std::lock_guard lock(mutex_);
  buffers_.push_back(std::move(buffer));
}

} // namespace kestu
