#include "core/assets/image_header.hpp"

#include <cstdint>
#include <cstdlib>
#include <string>

using kestu::ImageHeader;

/// What was read is in the first bytes alone, in the ranges of its format, and doesn't change with what follows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly this size, so that reading past it is seen.
  std::string bytes(reinterpret_cast<const char*>(data), size);
  auto header = ImageHeader::read(bytes);
  if (!header) return 0;
  bool isPNG = static_cast<unsigned char>(bytes[0]) == 0x89;
  std::int64_t most = isPNG ? 0xFFFFFFFF : 0xFFFF;
  if (header->width < 0 || header->width > most || header->height < 0 || header->height > most) std::abort();
  if (header->alpha && !isPNG) std::abort();
  if (ImageHeader::read(bytes + "more") != header) std::abort();
  // Cut to nothing, a header must be lost at one length and stay lost.
  std::size_t known = 0;
  std::size_t step = size / 64 + 1;
  for (std::size_t length = 0; length < size; length += step) {
    auto part = ImageHeader::read(bytes.substr(0, length));
    if (part && part != header) std::abort();
    if (known > 0 && !part) std::abort();
    if (part) known = length;
  }
  return 0;
}
