#include "core/assets/image_header.hpp"

namespace kestu {

namespace {

using namespace std::string_view_literals;

std::uint32_t byteAt(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

std::uint32_t big16(std::string_view bytes, std::size_t at) { return byteAt(bytes, at) << 8U | byteAt(bytes, at + 1); }

std::uint32_t big32(std::string_view bytes, std::size_t at) { return big16(bytes, at) << 16U | big16(bytes, at + 2); }

/// C0 to CF tell the size, but for DHT (C4), JPG (C8) and DAC (CC), which only share the row.
bool isStartOfFrame(std::uint32_t marker) {
  return (marker & 0xF0U) == 0xC0 && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

std::optional<ImageHeader> readJPEG(std::string_view bytes) {
  if (bytes.size() < 5 || !bytes.starts_with("\xFF\xD8"sv)) return std::nullopt;
  std::size_t at = 2;
  while (at + 9 < bytes.size()) {
    if (byteAt(bytes, at) != 0xFF) return std::nullopt;
    std::uint32_t marker = byteAt(bytes, at + 1);
    if (isStartOfFrame(marker)) return ImageHeader{big16(bytes, at + 7), big16(bytes, at + 5), false};
    at += marker == 0xFF ? 1 : big16(bytes, at + 2) + 2;
  }
  return std::nullopt;
}

} // namespace

std::optional<ImageHeader> ImageHeader::read(std::string_view bytes) {
  bytes = bytes.substr(0, limit);
  if (bytes.size() < 26 || !bytes.starts_with("\x89PNG\r\n\x1A\n"sv)) return readJPEG(bytes);
  std::uint32_t colourType = byteAt(bytes, 25);
  return ImageHeader{big32(bytes, 16), big32(bytes, 20), colourType == 4 || colourType == 6};
}

} // namespace kestu
