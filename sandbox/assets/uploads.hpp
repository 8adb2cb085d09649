#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

#include <cstdint>
#include <functional>
#include <string>

namespace kestu::sandbox {

// One part of a file on its way to the disk, at its place in the file, in blocks of bounded size.
class PartWriter {
 public:
  PartWriter(const std::string& path, std::uint64_t offset, std::uint64_t length);
  ~PartWriter();
  PartWriter(const PartWriter&) = delete;
  PartWriter& operator=(const PartWriter&) = delete;

  // False once more came than the part's length, or the disk took no more.
  bool write(const char* data, std::size_t size);
  // True when all was written and nothing was missing.
  bool finish();

 private:
  bool flush();

  int file_;
  std::uint64_t at_, left_;
  std::string block_;
};

namespace Uploads {

// Gives the body's bytes to `take` until it answers false; false when the connection broke.
using Body = std::function<bool(std::function<bool(const char* data, std::size_t size)> take)>;

// Reserves a file that is to come in parts, which its size is divided into here. Called with the state held, as are the
// next two.
const Asset& reserve(State& state, Asset asset);
nlohmann::json partsJson(const State& state, const Asset& asset);
void needParts(const Asset& asset); // throws Refused while one is missing

// Takes one part. Called without the state held; the body is always read to its end, so that the connection lives on.
Answer part(State& state, const Call& call, const Body& body);

} // namespace Uploads

} // namespace kestu::sandbox
