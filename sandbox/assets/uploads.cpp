#include "sandbox/assets/uploads.hpp"

#include <fmt/format.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace kestu::sandbox {

namespace {

constexpr std::size_t blockSize = std::size_t{1} << 18;

Answer text(int status, const std::string& message) {
  Answer answer;
  answer.status = status;
  answer.contentType = "text/plain; charset=utf-8";
  answer.body = message + "\n";
  return answer;
}

class BadPart : public std::runtime_error {
 public:
  BadPart(int code, const std::string& message) : std::runtime_error(message), status(code) {}
  const int status;
};

struct Target {
  std::string assetId, path;
  std::size_t index;
  std::uint64_t offset, length;
};

std::size_t partIndex(const std::string& text, std::size_t count) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > count) {
    throw BadPart(404, "The file has no such part.");
  }
  return number - 1;
}

// Which part the call is for; throws BadPart when it isn't sent as it was asked for.
Target target(State& state, const Call& call) {
  const std::lock_guard held(state.mutex);
  const auto* const asset = call.segments.size() == 3 ? state.asset(call.segments[1]) : nullptr;
  if (asset == nullptr) throw BadPart(404, "No such file is reserved.");
  const auto index = partIndex(call.segments[2], asset->parts.size());
  const auto& part = asset->parts[index];
  if (call.method != "PUT") throw BadPart(405, "A part is sent with PUT.");
  if (call.param("signature") != asset->signature) throw BadPart(403, "The signature isn't the one of this upload.");
  if (call.headers.contains("authorization")) {
    throw BadPart(400, "A part carries its signature and takes no Authorization header.");
  }
  for (const auto& [name, value] : part.headers) {
    if (call.header(lowered(name)) != value)
      throw BadPart(400, fmt::format("The header {} has to be {}.", name, value));
  }
  if (call.header("content-length") != std::to_string(part.length)) {
    throw BadPart(400, fmt::format("The part has {} bytes.", part.length));
  }
  if (asset->complete) throw BadPart(409, "The file is complete already.");
  return {asset->assetId, state.filePath(*asset), index, part.offset, part.length};
}

} // namespace

PartWriter::PartWriter(const std::string& path, std::uint64_t offset, std::uint64_t length)
    : file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)), at_(offset), left_(length) {
  block_.reserve(blockSize);
}

PartWriter::~PartWriter() {
  if (file_ >= 0) ::close(file_);
}

bool PartWriter::write(const char* data, std::size_t size) {
  if (file_ < 0 || size > left_) return false;
  left_ -= size;
  block_.append(data, size);
  return block_.size() < blockSize || flush();
}

bool PartWriter::finish() { return file_ >= 0 && left_ == 0 && flush(); }

bool PartWriter::flush() {
  std::size_t done = 0;
  while (done < block_.size()) {
    const auto count = ::pwrite(file_, block_.data() + done, block_.size() - done, static_cast<off_t>(at_));
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
    at_ += static_cast<std::uint64_t>(count);
  }
  block_.clear();
  return true;
}

const Asset& Uploads::reserve(State& state, Asset asset) {
  asset.signature = randomHex(20);
  for (std::uint64_t offset = 0; offset < asset.size; offset += state.settings.partSize) {
    Part part{offset, std::min(state.settings.partSize, asset.size - offset), {}};
    part.headers = {{"Content-Type", "application/octet-stream"},
                    {"X-Upload-Part", std::to_string(asset.parts.size() + 1)}};
    asset.parts.push_back(std::move(part));
  }
  auto id = asset.assetId;
  return state.assets.emplace(std::move(id), std::move(asset)).first->second;
}

nlohmann::json Uploads::partsJson(const State& state, const Asset& asset) {
  auto parts = nlohmann::json::array();
  for (const auto& part : asset.parts) {
    parts.push_back({{"method", "PUT"},
                     {"url", fmt::format("{}/upload/{}/{}?signature={}", state.origin, asset.assetId, parts.size() + 1,
                                         asset.signature)},
                     {"offset", part.offset},
                     {"length", part.length},
                     {"headers", part.headers}});
  }
  return parts;
}

void Uploads::needParts(const Asset& asset) {
  for (std::size_t index = 0; index < asset.parts.size(); ++index) {
    if (asset.parts[index].there) continue;
    throw Refused(409, "incomplete",
                  fmt::format("Part {} of {} of {} never came.", index + 1, asset.parts.size(), asset.fileName));
  }
}

Answer Uploads::part(State& state, const Call& call, const Body& body) {
  const auto discard = [&] { return body([](const char*, std::size_t) { return true; }); };
  try {
    const auto to = target(state, call);
    PartWriter writer(to.path, to.offset, to.length);
    bool written = true;
    const bool whole = body([&](const char* data, std::size_t size) {
      written = written && writer.write(data, size);
      return true;
    });
    if (!whole || !written || !writer.finish()) return text(400, "The part didn't come whole.");
    const std::lock_guard held(state.mutex);
    auto* const asset = state.asset(to.assetId);
    if (asset == nullptr) return text(404, "The file is no longer reserved.");
    asset->parts[to.index].there = true;
    return text(200, "Taken.");
  } catch (const BadPart& bad) {
    discard();
    return text(bad.status, bad.what());
  }
}

} // namespace kestu::sandbox
