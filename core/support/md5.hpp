#pragma once

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace kestu {

/// The MD5 message digest (RFC 1321), as 32 lowercase hexadecimal digits.
class MD5 {
 public:
  MD5();
  ~MD5();
  void add(std::string_view bytes);
  std::string finish();

  static std::string hex(std::string_view bytes);

  /// Reads the file in pieces of 4 MiB. Throws std::system_error when it cannot be read, Stopped when stopped.
  static std::string hex(const std::filesystem::path& file, const std::stop_token& stop = {});

 private:
  struct Free {
    void operator()(evp_md_ctx_st* context) const;
  };
  std::unique_ptr<evp_md_ctx_st, Free> context_;
};

} // namespace kestu
