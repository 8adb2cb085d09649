#include "sandbox/text.hpp"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace kestu::sandbox {

namespace {

std::vector<unsigned char> randomBytes(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  if (RAND_bytes(bytes.data(), static_cast<int>(count)) != 1) throw std::runtime_error("OpenSSL has no random bytes.");
  return bytes;
}

} // namespace

std::string isoText(Moment moment) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::chrono::system_clock::to_time_t(moment)));
}

std::optional<Moment> momentOf(const std::string& text) {
  std::tm parts{};
  std::istringstream stream(text);
  stream >> std::get_time(&parts, "%Y-%m-%dT%H:%M:%SZ");
  if (stream.fail()) return std::nullopt;
  const auto moment = std::chrono::system_clock::from_time_t(timegm(&parts));
  return isoText(moment) == text ? std::optional(moment) : std::nullopt;
}

std::string randomHex(std::size_t bytes) {
  const auto random = randomBytes(bytes);
  return fmt::format("{:02x}", fmt::join(random, ""));
}

std::string randomUuid() {
  auto bytes = randomBytes(16);
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0f) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3f) | 0x80);
  const auto hex = fmt::format("{:02X}", fmt::join(bytes, ""));
  const auto piece = [&](std::size_t from, std::size_t size) { return std::string_view(hex).substr(from, size); };
  return fmt::format("{}-{}-{}-{}-{}", piece(0, 8), piece(8, 4), piece(12, 4), piece(16, 4), piece(20, 12));
}

std::string randomUserCode() {
  constexpr std::string_view letters = "BCDFGHJKLMNPQRSTVWXZ";
  constexpr std::string_view digits = "23456789";
  std::string code;
  for (const auto byte : randomBytes(8)) {
    if (code.size() == 4) code += '-';
    const auto& set = code.size() < 4 ? letters : digits;
    code += set[byte % set.size()];
  }
  return code;
}

std::string md5OfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("An uploaded file can't be read.");
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr);
  std::vector<char> block(std::size_t{1} << 18);
  while (file.read(block.data(), static_cast<std::streamsize>(block.size())), file.gcount() > 0) {
    EVP_DigestUpdate(context.get(), block.data(), static_cast<std::size_t>(file.gcount()));
  }
  std::array<unsigned char, 16> digest{};
  EVP_DigestFinal_ex(context.get(), digest.data(), nullptr);
  return fmt::format("{:02x}", fmt::join(digest, ""));
}

std::string lowered(std::string_view text) {
  std::string result(text);
  for (auto& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

std::string htmlEscaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
    case '&':
      result += "&amp;";
      break;
    case '<':
      result += "&lt;";
      break;
    case '>':
      result += "&gt;";
      break;
    case '"':
      result += "&quot;";
      break;
    case '\'':
      result += "&#39;";
      break;
    default:
      result += c;
    }
  }
  return result;
}

std::string platformName(std::string_view platform) {
  if (platform == "ios") return "iOS";
  if (platform == "macos") return "macOS";
  if (platform == "tvos") return "tvOS";
  if (platform == "visionos") return "visionOS";
  return std::string(platform);
}

std::string counted(std::size_t count, std::string_view one, std::string_view several) {
  return fmt::format("{} {}", count, count == 1 ? one : several);
}

} // namespace kestu::sandbox
