#include "sandbox/certificate.hpp"

#include "sandbox/text.hpp"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace kestu::sandbox {

namespace {

void extend(X509* certificate, int what, const char* value) {
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, what, value), X509_EXTENSION_free);
  if (!extension || X509_add_ext(certificate, extension.get(), -1) != 1) {
    throw std::runtime_error("Couldn't make a certificate.");
  }
}

} // namespace

Certificate::Certificate() : key_(EVP_EC_gen("P-256")), certificate_(X509_new()) {
  auto* const made = certificate_.get();
  if (!key_ || made == nullptr) throw std::runtime_error("Couldn't make a certificate.");
  constexpr long week = 7L * 24 * 60 * 60;
  X509_set_version(made, X509_VERSION_3);
  // Browsers refuse a second certificate of the same issuer and serial number.
  const auto serial = std::stoull(randomHex(7), nullptr, 16);
  ASN1_INTEGER_set_uint64(X509_get_serialNumber(made), serial);
  X509_gmtime_adj(X509_getm_notBefore(made), -60);
  X509_gmtime_adj(X509_getm_notAfter(made), week);
  auto* const name = X509_get_subject_name(made);
  const auto* const common = reinterpret_cast<const unsigned char*>("kestu sandbox");
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, common, -1, -1, 0);
  X509_set_issuer_name(made, name);
  X509_set_pubkey(made, key_.get());
  extend(made, NID_basic_constraints, "critical,CA:TRUE");
  extend(made, NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost");
  if (X509_sign(made, key_.get(), EVP_sha256()) == 0) throw std::runtime_error("Couldn't sign the certificate.");
}

std::string Certificate::pem() const {
  const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
  PEM_write_bio_X509(memory.get(), certificate_.get());
  char* data = nullptr;
  const auto size = BIO_get_mem_data(memory.get(), &data);
  return {data, static_cast<std::size_t>(size)};
}

} // namespace kestu::sandbox
