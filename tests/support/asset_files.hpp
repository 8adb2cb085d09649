#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Media files made in memory.
namespace kestu::tests {

inline std::string big(std::uint32_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) text += static_cast<char>(value >> shift & 0xFFU);
  return text;
}

inline std::uint32_t crc32(std::string_view bytes) {
  std::uint32_t sum = 0xFFFFFFFF;
  for (char c : bytes) {
    sum ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) sum = sum >> 1U ^ (sum & 1U ? 0xEDB88320 : 0);
  }
  return ~sum;
}

inline std::string pngChunk(std::string_view type, std::string_view data) {
  std::string body = std::string(type).append(data);
  return big(static_cast<std::uint32_t>(data.size()), 4) + body + big(crc32(body), 4);
}

/// A zlib stream of `count` equal rows, uncompressed, each in a block of its own.
inline std::string storedRows(std::uint32_t count, const std::string& row) {
  std::string stream("\x78\x01", 2);
  std::uint32_t low = 1;
  std::uint32_t high = 0;
  auto size = static_cast<std::uint32_t>(row.size());
  for (std::uint32_t i = 1; i <= count; ++i) {
    stream += i == count ? '\x01' : '\0';
    for (std::uint32_t length : {size, ~size}) {
      stream += static_cast<char>(length & 0xFFU);
      stream += static_cast<char>(length >> 8U & 0xFFU);
    }
    stream += row;
    for (char c : row) {
      low = (low + static_cast<unsigned char>(c)) % 65521;
      high = (high + low) % 65521;
    }
  }
  return stream + big(high << 16U | low, 4);
}

enum class PNGColours { grey = 0, colour = 2, palette = 3, greyAlpha = 4, colourAlpha = 6 };

/// A PNG of one colour that any viewer shows, rows up to 65,535 bytes wide; `shade` makes the bytes of two differ.
/// Palettes and plain grey take one bit a pixel.
inline std::string png(std::uint32_t width, std::uint32_t height, PNGColours colours = PNGColours::palette,
                       std::uint8_t shade = 0x80) {
  bool bits = colours == PNGColours::grey || colours == PNGColours::palette;
  std::uint32_t samples = colours == PNGColours::colour        ? 3
                          : colours == PNGColours::greyAlpha   ? 2
                          : colours == PNGColours::colourAlpha ? 4
                                                               : 1;
  std::string row(1 + (bits ? (width + 7) / 8 : width * samples), static_cast<char>(bits ? 0 : shade));
  row[0] = 0;
  std::string header = big(width, 4) + big(height, 4) + static_cast<char>(bits ? 1 : 8) + static_cast<char>(colours) +
                       std::string(3, '\0');
  std::string palette =
      colours == PNGColours::palette ? pngChunk("PLTE", std::string(6, static_cast<char>(shade))) : "";
  return "\x89PNG\r\n\x1A\n" + pngChunk("IHDR", header) + palette + pngChunk("IDAT", storedRows(height, row)) +
         pngChunk("IEND", "");
}

inline std::string jpegSegment(int marker, std::string_view data) {
  return std::string("\xFF") + static_cast<char>(marker) + big(static_cast<std::uint32_t>(data.size()) + 2, 2) +
         std::string(data);
}

/// The segments of a JPEG before its frame header.
inline std::string jpegStart() {
  return "\xFF\xD8" + jpegSegment(0xE0, std::string("JFIF\0\x01\x01\0\0\x01\0\x01\0\0", 14)) +
         jpegSegment(0xDB, std::string(65, '\x01')) + jpegSegment(0xC4, std::string(17, '\0'));
}

/// A JPEG's header, by default a progressive one (SOF2), and its end: enough for a size, no picture.
inline std::string jpeg(std::uint32_t width, std::uint32_t height, int frameMarker = 0xC2) {
  std::string frame = "\x08" + big(height, 2) + big(width, 2) + std::string("\x01\x01\x11\0", 4);
  return jpegStart() + jpegSegment(frameMarker, frame) + std::string(16, '\0') + "\xFF\xD9";
}

} // namespace kestu::tests
