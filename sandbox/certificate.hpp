#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

namespace kestu::sandbox {

// A self-signed certificate for 127.0.0.1 and localhost, made anew each time and kept in memory only.
class Certificate {
 public:
  Certificate(); // throws std::runtime_error

  X509* certificate() const { return certificate_.get(); }
  EVP_PKEY* key() const { return key_.get(); }
  std::string pem() const; // of the certificate alone

 private:
  struct Free {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  };
  std::unique_ptr<EVP_PKEY, Free> key_;
  std::unique_ptr<X509, Free> certificate_;
};

} // namespace kestu::sandbox
