#pragma once

#include "core/builds/build_file.hpp"
#include "core/builds/build_reference.hpp"
#include "core/service/part_uploader.hpp"
#include "core/support/json_data.hpp"

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

/// The service's answer to the reservation of an upload.
struct UploadReservation {
  std::string uploadId;
  std::vector<UploadPart> parts;

  static UploadReservation read(const JSONValue& value);
};

/// An upload that Apple still waits for the whole file of.
struct UnfinishedUpload {
  std::string uploadId;
  std::string platform;
  std::optional<std::string> version;
  std::string build;
  Moment createdAt;

  static UnfinishedUpload read(const JSONValue& value);
  std::string text() const; ///< "1.2 (45)"; printable

  /// The request to remove it: the build that it is for. A CLIError where Apple doesn't say its version.
  JSONData named() const;
};

namespace BuildUpload {

/// The reservation's request.
JSONData request(const BuildFile& file);

/// Sends all parts, four at once. A CLIError when the file isn't the one that was read any more.
void send(const BuildFile& file, const std::vector<UploadPart>& parts, const PartUploader& uploader,
          const std::stop_token& stop, const PartUploader::Progress& progress, const PartUploader::Moved& moved);

std::vector<UnfinishedUpload> fetchUnfinished(const Client& client, const std::string& appPath);

/// The one upload that is meant by the build, the platform and the upload's ID, of which the last two may be left out.
/// None and several are CLIErrors.
const UnfinishedUpload& choose(const std::vector<UnfinishedUpload>& uploads, const BuildReference& build,
                               const std::optional<std::string>& platform, const std::optional<std::string>& uploadId,
                               Moment now);

} // namespace BuildUpload

} // namespace kestu
