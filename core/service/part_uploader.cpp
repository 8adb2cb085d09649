#include "core/service/part_uploader.hpp"

#include "core/console/printable.hpp"
#include "core/service/api_url.hpp"
#include "core/service/refusal.hpp"
#include "core/service/retry.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/tasks.hpp"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

CLIError changed(const std::filesystem::path& file) {
  return {CLIError::Kind::failed, printable(file.filename().string()) + " changed while it was being sent."};
}

void requireWhole(const std::filesystem::path& file, const std::vector<UploadPart>& parts) {
  std::int64_t end = 0;
  for (const UploadPart& part : parts) end = std::max(end, part.offset + part.length);
  if (!UploadPart::areWhole(parts, end)) throw notUnderstood();
  std::error_code gone;
  auto size = std::filesystem::file_size(file, gone);
  if (gone || size != static_cast<std::uint64_t>(end)) throw changed(file);
}

/// The part's bytes, read from the file as they are sent; fewer than promised throws `changed`.
RequestBody bodyOf(const std::filesystem::path& file, const UploadPart& part) {
  std::shared_ptr<const FileReader> reader;
  try {
    reader = std::make_shared<const FileReader>(file);
  } catch (const std::system_error&) {
    throw changed(file);
  }
  if (reader->size() < static_cast<std::uint64_t>(part.offset + part.length)) throw changed(file);
  auto offset = static_cast<std::uint64_t>(part.offset);
  return {static_cast<std::uint64_t>(part.length),
          [reader, offset, file](std::uint64_t position, char* buffer, std::size_t capacity) {
            std::size_t count = 0;
            try {
              count = reader->readAt(offset + position, buffer, capacity);
            } catch (const std::system_error&) {
              throw changed(file);
            }
            if (count < capacity) throw changed(file);
            return count;
          }};
}

/// The reader, telling how far it is; what is read again after a rewind is not told twice.
auto told(decltype(RequestBody::read) reader, std::int64_t& read, const PartUploader::Moved& moved) {
  return [reader = std::move(reader), &read, &moved](std::uint64_t offset, char* buffer, std::size_t capacity) {
    std::size_t count = reader(offset, buffer, capacity);
    auto now = static_cast<std::int64_t>(offset + count);
    if (now > read) moved(now - std::exchange(read, now));
    return count;
  };
}

} // namespace

UploadPart UploadPart::read(const JSONValue& value) {
  UploadPart part{value.at("method").text(),
                  value.at("url").text(),
                  value.at("offset").integer(),
                  value.at("length").integer(),
                  {}};
  if (part.offset < 0 || part.length < 0 || part.offset > INT64_MAX - part.length) {
    throw JSONError(value.path() + " is no range of a file");
  }
  if (part.method.empty() ||
      !std::all_of(part.method.begin(), part.method.end(), [](char c) { return c >= 'A' && c <= 'Z'; })) {
    throw JSONError(value.path() + ".method is no request method");
  }
  for (const auto& [name, header] : value.at("headers").members()) part.headers.emplace_back(name, header.text());
  return part;
}

bool UploadPart::areWhole(const std::vector<UploadPart>& parts, std::int64_t size) {
  std::vector<std::pair<std::int64_t, std::int64_t>> ranges;
  for (const UploadPart& part : parts) ranges.emplace_back(part.offset, part.length);
  std::sort(ranges.begin(), ranges.end());
  std::int64_t covered = 0;
  for (const auto& [offset, length] : ranges) {
    if (offset != covered || (length == 0 && size > 0)) return false;
    covered += length;
  }
  return !parts.empty() && covered == size;
}

void PartUploader::send(const std::filesystem::path& file, const std::vector<UploadPart>& parts, int atOnce,
                        const std::stop_token& stop, const Progress& progress, const Moved& moved) const {
  for (const UploadPart& part : parts) {
    if (!mayTransferWith(part.url)) throw notUnderstood();
  }
  requireWhole(file, parts);
  std::mutex mutex;
  std::atomic<int> done = 0;
  fewAtOnce(parts.size(), static_cast<std::size_t>(std::max(atOnce, 1)), stop,
            [&](std::size_t index, const std::stop_token& ending) {
              sendPart(file, parts[index], done, moved, ending);
              std::lock_guard lock(mutex);
              ++done;
              if (progress) progress(done, static_cast<int>(parts.size()));
            });
}

void PartUploader::sendPart(const std::filesystem::path& file, const UploadPart& part, const std::atomic<int>& done,
                            const Moved& moved, const std::stop_token& stop) const {
  std::string name = printable(file.filename().string());
  auto message = [&](const std::string& reason, const std::string& advice) {
    return (done == 0 ? "Apple took no part of " + name : "Apple didn't take all of " + name) + " (" + reason + ")." +
           (advice.empty() ? "" : " " + advice);
  };
  std::int64_t read = 0;
  retried(
      clock_, stop,
      [&] {
        if (moved && read > 0) moved(-std::exchange(read, 0));
        HTTPRequest request;
        request.method = part.method;
        request.url = part.url;
        request.headers = part.headers;
        request.body = bodyOf(file, part);
        if (moved) request.body->read = told(std::move(request.body->read), read, moved);
        request.timeout = std::chrono::seconds(300);
        request.idle = true;
        return transport_.send(request, stop);
      },
      [&](const TransferRefusal& refusal) {
        return CLIError(refusal.kind(),
                        message(refusal.reason(), refusal.isOfTheFile() ? advice_.ofTheFile : advice_.again));
      },
      [&](const std::string& reason) {
        return CLIError(CLIError::Kind::unavailable, message(printable(reason), advice_.again));
      });
}

} // namespace kestu
