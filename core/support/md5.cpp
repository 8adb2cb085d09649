#include "core/support/md5.hpp"

#include "core/support/error.hpp"
#include "core/support/files.hpp"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>

namespace kestu {

void MD5::Free::operator()(evp_md_ctx_st* context) const { EVP_MD_CTX_free(context); }

MD5::MD5() : context_(EVP_MD_CTX_new()) {
  if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_md5(), nullptr) != 1) throw std::bad_alloc();
}

MD5::~MD5() = default;

void MD5::add(std::string_view bytes) { EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()); }

std::string MD5::finish() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  EVP_DigestFinal_ex(context_.get(), digest.data(), &length);
  std::string text;
  for (unsigned int i = 0; i < length; ++i) text += fmt::format("{:02x}", digest[i]);
  return text;
}

std::string MD5::hex(std::string_view bytes) {
  MD5 digest;
  digest.add(bytes);
  return digest.finish();
}

std::string MD5::hex(const std::filesystem::path& file, const std::stop_token& stop) {
  constexpr std::size_t piece = 4'194'304;
  MD5 digest;
  FileReader reader(file);
  std::string buffer(std::min<std::uint64_t>(piece, reader.size() + 1), '\0');
  while (std::size_t count = reader.read(buffer.data(), buffer.size())) {
    if (stop.stop_requested()) throw Stopped();
    digest.add(std::string_view(buffer.data(), count));
  }
  return digest.finish();
}

} // namespace kestu
