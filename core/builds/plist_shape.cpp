#include "core/builds/plist_shape.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kestu {

namespace {

constexpr int deepest = 100;
constexpr int mostNodes = 200'000;

/// Walks the containers of a binary property list: objects that begin with a marker byte, their places in a table that
/// the trailer leads to.
class BinaryWalk {
 public:
  explicit BinaryWalk(std::string_view bytes) : bytes_(bytes) {}

  bool plain() {
    constexpr std::size_t trailerSize = 32;
    if (bytes_.size() < trailerSize) return false;
    std::size_t trailer = bytes_.size() - trailerSize;
    offsetSize_ = byte(trailer + 6);
    referenceSize_ = byte(trailer + 7);
    objects_ = number(trailer + 8, 8).value_or(0);
    table_ = number(trailer + 24, 8).value_or(0);
    auto top = number(trailer + 16, 8);
    bool sizes = offsetSize_ >= 1 && offsetSize_ <= 8 && referenceSize_ >= 1 && referenceSize_ <= 8;
    return sizes && top && walk(*top, 0);
  }

 private:
  unsigned byte(std::size_t at) const { return static_cast<unsigned char>(bytes_[at]); }

  /// A big-endian number; none where it would reach over the end.
  std::optional<std::uint64_t> number(std::uint64_t at, std::size_t size) const {
    if (at > bytes_.size() || size > bytes_.size() - at) return std::nullopt;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) value = value << 8U | byte(static_cast<std::size_t>(at) + i);
    return value;
  }

  bool walk(std::uint64_t object, int depth) {
    if (depth > deepest || ++nodes_ > mostNodes || object >= objects_ || table_ >= bytes_.size()) return false;
    if (object > bytes_.size()) return false;
    auto offset = number(table_ + object * offsetSize_, offsetSize_);
    if (!offset || *offset >= bytes_.size()) return false;
    std::uint64_t at = *offset;
    unsigned kind = byte(static_cast<std::size_t>(at)) >> 4U;
    bool dictionary = kind == 0xD;
    if (!dictionary && kind != 0xA && kind != 0xB && kind != 0xC) return true;
    std::uint64_t count = byte(static_cast<std::size_t>(at++)) & 0xFU;
    if (count == 0xF) {
      auto size = number(at, 1);
      if (!size || *size >> 4U != 1 || (*size & 0xFU) > 3) return false;
      std::size_t length = std::size_t{1} << (*size & 0xFU);
      auto given = number(at + 1, length);
      if (!given) return false;
      count = *given;
      at += 1 + length;
    }
    if (count > bytes_.size()) return false;
    for (std::uint64_t i = 0; i < count * (dictionary ? 2 : 1); ++i) {
      auto reference = number(at + i * referenceSize_, referenceSize_);
      if (!reference || !walk(*reference, depth + 1)) return false;
    }
    return true;
  }

  std::string_view bytes_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t objects_ = 0;
  std::uint64_t table_ = 0;
  int nodes_ = 0;
};

/// Each start of a container without its end is one level.
bool plainXML(std::string_view text) {
  int depth = 0;
  for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    std::string_view tag = text.substr(at + 1);
    bool end = tag.starts_with('/');
    if (end) tag.remove_prefix(1);
    if (!tag.starts_with("dict") && !tag.starts_with("array")) continue;
    bool alone = tag.substr(0, tag.find('>')).ends_with('/');
    if (alone) continue;
    depth = end ? std::max(0, depth - 1) : depth + 1;
    if (depth > deepest) return false;
  }
  return true;
}

} // namespace

bool hasPlainShape(std::string_view plist) {
  return plist.starts_with("bplist") ? BinaryWalk(plist).plain() : plainXML(plist);
}

} // namespace kestu
