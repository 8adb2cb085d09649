#include "core/assets/image_header.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

/// What was read is in the first bytes alone, in the ranges of its format, and doesn't change with what follows.
void imageHeader(std::string_view input) {
  std::string bytes(input);
  auto header = ImageHeader::read(bytes);
  if (!header) return;
  bool isPNG = bytes[0] == '\x89';
  std::int64_t most = isPNG ? 0xFFFFFFFF : 0xFFFF;
  for (std::int64_t side : {header->width, header->height}) require(side >= 0 && side <= most, "a size fits its field");
  require(isPNG || !header->alpha, "a JPEG has no alpha channel");
  require(ImageHeader::read(bytes + "more") == header, "what follows changes nothing");
  // Cut to nothing, a header must be lost at one length and stay lost.
  bool known = false;
  for (std::size_t length = 0; length < bytes.size(); length += bytes.size() / 64 + 1) {
    auto part = ImageHeader::read(bytes.substr(0, length));
    require(!part || part == header, "a part of a file tells the same or nothing");
    require(part || !known, "more of a file tells no less");
    known = part.has_value();
  }
}

} // namespace kestu::fuzz
